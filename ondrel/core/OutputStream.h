// The abstract byte sink of the family.
#ifndef ONDREL_CORE_OUTPUTSTREAM_H
#define ONDREL_CORE_OUTPUTSTREAM_H

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Producers write against it; what a failed write left behind, and what hasError tells, is told by
// each implementation. The virtual operations are in this order, the destructor last.
class ONDREL_EXPORT OutputStream {
 public:
    virtual bool writeByte(unsigned char byte) = 0;
    virtual bool writeBytes(const unsigned char* data, int size) = 0;
    virtual bool hasError() const = 0;
    virtual const char* getLastError() = 0;  // UTF-8; valid until the next call
    virtual void flush() = 0;
    virtual void close() = 0;
    virtual void discard() = 0;
    virtual int currentPosition() const = 0;  // bytes from the start
    virtual ~OutputStream();

 protected:
    OutputStream() = default;
    OutputStream(const OutputStream&) = default;
    OutputStream& operator=(const OutputStream&) = default;
};

}  // namespace Ondrel

#endif
