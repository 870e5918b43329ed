// How the platform layer makes a system call: through the table, again while it is interrupted, and
// with descriptors in owners. Internal to platform/.
#ifndef ONDREL_PLATFORM_HOSTCALLS_H
#define ONDREL_PLATFORM_HOSTCALLS_H

#include <cerrno>
#include <string_view>
#include <utility>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Host {

// Makes a call until it is no longer interrupted: Retry([&] { return syscalls.fsync(fd); }).
template <class Call>
auto Retry(Call call) {
    for (;;) {
        const auto result = call();
        if (result != -1 || errno != EINTR) return result;
    }
}

// The code of a call that has just failed.
inline OSErr LastHostError() {
    return ErrorFromErrno(errno);
}

// noErr, or the code of a call that answers -1 when it fails.
template <class Result>
OSErr CodeOf(Result result) {
    return result == -1 ? LastHostError() : noErr;
}

// Owns a descriptor.
class Descriptor {
 public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            (void)Close();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    bool IsOpen() const { return fd_ >= 0; }
    int Get() const { return fd_; }
    int Release() { return std::exchange(fd_, -1); }

    // The descriptor is gone afterwards, whatever the result; an interrupted close has closed it.
    OSErr Close() {
        if (fd_ < 0) return noErr;
        const int fd = std::exchange(fd_, -1);
        return syscalls.close(fd) == -1 && errno != EINTR ? LastHostError() : noErr;
    }

 private:
    int fd_ = -1;
};

// Opens a path, never handed on to child processes; not open when it failed, with errno set.
inline Descriptor OpenPath(const char* path, int flags, mode_t mode = 0) {
    return Descriptor(
        Retry([&] { return syscalls.openat(AT_FDCWD, path, flags | O_CLOEXEC, mode); }));
}

// Writes all the bytes at a position of the file; a short transfer is continued.
inline OSErr WriteAll(const Descriptor& file, std::string_view bytes, off_t offset) {
    while (!bytes.empty()) {
        const auto put =
            Retry([&] { return syscalls.pwrite(file.Get(), bytes.data(), bytes.size(), offset); });
        if (put == -1) return LastHostError();
        if (put == 0) return ioErr;
        bytes.remove_prefix(static_cast<std::size_t>(put));
        offset += put;
    }
    return noErr;
}

}  // namespace Ondrel::Host

#endif
