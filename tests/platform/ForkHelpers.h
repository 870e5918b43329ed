// What the tests of forks share: opening by path, requests, and cold files.
#ifndef TESTS_PLATFORM_FORKHELPERS_H
#define TESTS_PLATFORM_FORKHELPERS_H

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Testing {

// The host's table, in which a test may replace entries; this puts them back.
class TableGuard {
 public:
    TableGuard() = default;
    ~TableGuard() { syscalls = before_; }
    TableGuard(const TableGuard&) = delete;
    TableGuard& operator=(const TableGuard&) = delete;

 private:
    Syscalls before_ = syscalls;
};

inline OSErr OpenFork(const std::string& path, signed char permissions, short* number) {
    FSRef ref;
    if (const OSErr code = FSPathMakeRef(path.c_str(), &ref); code != noErr) return code;
    return FSOpenFork(&ref, 0, nullptr, permissions, number);
}

// An open fork of a test; closed when it goes.
class OpenedFork {
 public:
    OpenedFork(const std::string& path, signed char permissions) {
        EXPECT_EQ(OpenFork(path, permissions, &number_), noErr) << path;
    }
    ~OpenedFork() {
        if (number_ != 0) {
            EXPECT_EQ(FSCloseFork(number_), noErr);
        }
    }
    OpenedFork(const OpenedFork&) = delete;
    OpenedFork& operator=(const OpenedFork&) = delete;

    operator short() const { return number_; }
    OSErr Close() { return FSCloseFork(std::exchange(number_, short{0})); }

 private:
    short number_ = 0;
};

inline FSForkIOParam Request(short fork, std::int64_t offset, std::size_t count, void* buffer,
                             unsigned short mode = fsFromStart) {
    FSForkIOParam request{};
    request.forkRefNum = fork;
    request.positionMode = mode;
    request.positionOffset = offset;
    request.requestCount = count;
    request.buffer = buffer;
    return request;
}

// Reads `count` bytes at `offset` and waits; the bytes that arrived.
inline std::string Read(short fork, std::int64_t offset, std::size_t count, OSErr* code) {
    std::string bytes(count, '#');
    FSForkIOParam request = Request(fork, offset, count, bytes.data());
    (void)PBReadForkAsync(&request);
    *code = PBWaitFork(&request);
    bytes.resize(request.actualCount);
    return bytes;
}

inline std::int64_t Position(short fork) {
    std::int64_t position = -1;
    EXPECT_EQ(FSGetForkPosition(fork, &position), noErr);
    return position;
}

// Bytes that tell every place from every other.
inline std::string Pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>((i * 2654435761U) >> 13);
    return bytes;
}

// Brings a file to the disk and takes it out of the page cache, where the file system lets us.
inline void MakeCold(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(fdatasync(fd), 0);
    EXPECT_EQ(posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED), 0);
    close(fd);
}

// Runs `work` in another process; what it answers, a byte.
template <class Work>
int InAnotherProcess(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(static_cast<unsigned char>(work()));
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "the other process died of signal " << WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A code as InAnotherProcess hands it on.
constexpr int AsByte(OSErr code) {
    return static_cast<unsigned char>(code);
}

}  // namespace Ondrel::Testing

#endif
