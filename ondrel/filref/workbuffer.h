// A buffer for texts that are built before they are handed over: as long as the longest result can
// be, so that what fills it needs no checks; on the stack for the sizes that occur. Internal to
// filref/.
#ifndef ONDREL_FILREF_WORKBUFFER_H
#define ONDREL_FILREF_WORKBUFFER_H

#include <cstddef>
#include <memory>
#include <new>

namespace Ondrel {

class WorkBuffer {
 public:
    explicit WorkBuffer(std::size_t size) {
        if (size > sizeof fixed_) large_.reset(new (std::nothrow) char[size]);
        text_ = size > sizeof fixed_ ? large_.get() : fixed_;
    }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    char* Text() { return text_; }  // null when there is no memory

 private:
    char* text_;
    std::unique_ptr<char[]> large_;
    char fixed_[3072];
};

}  // namespace Ondrel

#endif
