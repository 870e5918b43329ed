// Loaded before the C library of a program under test: counts the calls that change files, and at
// the n-th one sends the program a signal (before the call is made) or lets the call fail.
//
//   TROUBLE=INT:5   SIGINT before the fifth call
//   TROUBLE=ENOSPC:5   the fifth call fails as on a full disk
//   TROUBLE_MET=FILE   is made when it has happened
//
// Calls on the three standard streams do not count.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

enum class Kind { kNone, kInterrupt, kFull };

struct Plan {
    Kind kind = Kind::kNone;
    long n = 0;
};

Plan ReadPlan() {
    const char* const text = std::getenv("TROUBLE");
    if (text == nullptr) return {};
    const char* const number = std::strchr(text, ':') + 1;
    return {text[0] == 'I' ? Kind::kInterrupt : Kind::kFull, std::strtol(number, nullptr, 10)};
}

void TellThatItWasMet() {
    const char* const path = std::getenv("TROUBLE_MET");
    if (path != nullptr) syscall(SYS_close, syscall(SYS_open, path, O_WRONLY | O_CREAT, 0600));
}

// True where the call is to fail, with errno set.
bool Fails() {
    static const Plan plan = ReadPlan();
    static std::atomic<long> calls{0};
    if (plan.kind == Kind::kNone || ++calls != plan.n) return false;
    TellThatItWasMet();
    if (plan.kind == Kind::kInterrupt) {
        raise(SIGINT);
        return false;
    }
    errno = ENOSPC;
    return true;
}

template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsStandard(int fd) {
    return fd >= 0 && fd <= 2;
}

}  // namespace

#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED ssize_t write(int fd, const void* bytes, size_t size) {
    static auto* const next = Next<ssize_t(int, const void*, size_t)>("write");
    return !IsStandard(fd) && Fails() ? -1 : next(fd, bytes, size);
}

EXPORTED ssize_t pwrite(int fd, const void* bytes, size_t size, off_t offset) {
    static auto* const next = Next<ssize_t(int, const void*, size_t, off_t)>("pwrite");
    return Fails() ? -1 : next(fd, bytes, size, offset);
}

EXPORTED ssize_t pwrite64(int fd, const void* bytes, size_t size, off_t offset) {
    static auto* const next = Next<ssize_t(int, const void*, size_t, off_t)>("pwrite64");
    return Fails() ? -1 : next(fd, bytes, size, offset);
}

EXPORTED int fsync(int fd) {
    static auto* const next = Next<int(int)>("fsync");
    return Fails() ? -1 : next(fd);
}

EXPORTED int fdatasync(int fd) {
    static auto* const next = Next<int(int)>("fdatasync");
    return Fails() ? -1 : next(fd);
}

EXPORTED int rename(const char* from, const char* to) noexcept {
    static auto* const next = Next<int(const char*, const char*)>("rename");
    return Fails() ? -1 : next(from, to);
}

EXPORTED int renameat2(int from, const char* oldPath, int to, const char* newPath,
                       unsigned flags) noexcept {
    static auto* const next = Next<int(int, const char*, int, const char*, unsigned)>("renameat2");
    return Fails() ? -1 : next(from, oldPath, to, newPath, flags);
}

EXPORTED int mkostemp(char* name, int flags) {
    static auto* const next = Next<int(char*, int)>("mkostemp");
    return Fails() ? -1 : next(name, flags);
}

EXPORTED int fchmod(int fd, mode_t mode) noexcept {
    static auto* const next = Next<int(int, mode_t)>("fchmod");
    return Fails() ? -1 : next(fd, mode);
}

}  // extern "C"
