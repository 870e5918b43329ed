// The family's output stream over an open file stream.
#ifndef ONDREL_FIL_FILEOUTPUTSTREAM_H
#define ONDREL_FIL_FILEOUTPUTSTREAM_H

#include <string>

#include "ondrel/core/OutputStream.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

struct fil;

// Writes to a stream that is open for writing. The stream belongs to the caller, who keeps it in
// place as long as this object uses it, unless `ownsFile` is set: then the destructor closes it. A
// stream with an error context raises through it; this class throws nothing.
class ONDREL_EXPORT FileOutputStream : public OutputStream {
 public:
    explicit FileOutputStream(fil* f);
    FileOutputStream(const FileOutputStream&) = delete;
    FileOutputStream& operator=(const FileOutputStream&) = delete;

    // True when it was written.
    bool writeByte(unsigned char byte) override;
    bool writeBytes(const unsigned char* data, int size) override;

    // The outcome of the last write as it stands: TRUE AFTER A WRITE THAT SUCCEEDED, false after
    // one that failed and before the first. The sense is inverted, and callers rely on it.
    bool hasError() const override;

    // The user's message for the stream's state, and the last such message once it has been closed;
    // never null. Clears lasterror.
    const char* getLastError() override;

    // Does nothing: data reach the disk through the stream's own buffers and filflu.
    void flush() override;

    // Closes the stream and lets go of it; does nothing the second time.
    void close() override;

    // Deletes the stream's file, without closing the stream. A file that is open cannot be deleted
    // on this host, and then nothing happens.
    void discard() override;

    // The stream's position. Not after close.
    int currentPosition() const override;

    ~FileOutputStream() override;

    fil* file;  // null after close
    bool ownsFile = false;
    std::string lastError;     // the text that getLastError answered last
    bool lastWriteOk = false;  // the outcome of the last write
};

}  // namespace Ondrel

#endif
