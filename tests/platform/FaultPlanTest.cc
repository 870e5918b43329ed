// The faults that other tests rely on: what they count, what they fail, and how.
#include "tests/support/FaultPlan.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "ondrel/platform/Syscalls.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

TEST(FaultPlan, TheNthCallFailsAndTheOthersPass) {
    struct stat status;
    const FaultPlan plan(2, ENOSPC);
    EXPECT_EQ(syscalls.fstatat(AT_FDCWD, "/", &status, 0), 0);
    EXPECT_FALSE(plan.Fired());
    EXPECT_EQ(plan.Where(), "");
    EXPECT_EQ(syscalls.fdatasync(-1), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(plan.Fired());
    EXPECT_EQ(plan.Where(), "fdatasync");
    EXPECT_EQ(syscalls.fstatat(AT_FDCWD, "/", &status, 0), 0);
    EXPECT_EQ(plan.Calls(), 3);
}

TEST(FaultPlan, OneEntryAloneMayBeMeant) {
    struct stat status;
    const FaultPlan plan(2, EACCES, "fstatat");
    EXPECT_EQ(syscalls.fstatat(AT_FDCWD, "/", &status, 0), 0);
    EXPECT_EQ(syscalls.fdatasync(-1), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(syscalls.fstatat(AT_FDCWD, "/", &status, 0), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(plan.Calls(), 2);
}

TEST(FaultPlan, SeveralCallsOrAllMayFail) {
    struct stat status;
    for (const int times : {3, -1}) {
        const FaultPlan plan(2, EIO, {}, times);
        int failed = 0;
        for (int i = 0; i < 10; ++i)
            failed += syscalls.fstatat(AT_FDCWD, "/", &status, 0) == -1;
        EXPECT_EQ(failed, times == 3 ? 3 : 9);
    }
}

TEST(FaultPlan, EachEntryFailsInItsOwnWay) {
    const FaultPlan plan(1, ENOSPC, {}, -1);
    EXPECT_EQ(syscalls.fadvise(-1, 0, 0, 0), ENOSPC);
    EXPECT_EQ(syscalls.ring_init(1, nullptr, 0), -ENOSPC);
    EXPECT_EQ(syscalls.ring_submit(nullptr), -ENOSPC);
    EXPECT_EQ(syscalls.ring_wait(nullptr, nullptr), -ENOSPC);
    EXPECT_EQ(syscalls.pread(-1, nullptr, 0, 0), -1);
    EXPECT_EQ(plan.Calls(), 5);
}

TEST(FaultPlan, AFailingCloseStillCloses) {
    const int descriptors = OpenDescriptors();
    const int fd = open("/", O_RDONLY | O_CLOEXEC);
    const FaultPlan plan(1, EIO, "close");
    EXPECT_EQ(syscalls.close(fd), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(FaultPlan, TheTableIsAsBeforeWhenThePlanGoes) {
    const ShortTransfers few(2);
    const auto pread = syscalls.pread;
    {
        const FaultPlan plan(1, EIO);
        EXPECT_NE(syscalls.pread, pread);
    }
    EXPECT_EQ(syscalls.pread, pread);
}

TEST(ShortTransfers, EachTransferMovesFewBytes) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    char bytes[10];
    {
        const ShortTransfers three(3);
        const iovec parts[] = {{bytes, 0}, {bytes, 10}};
        EXPECT_EQ(syscalls.pread(fd, bytes, 10, 0), 3);
        EXPECT_EQ(syscalls.preadv2(fd, parts, 2, 0, 0), 3);
        EXPECT_EQ(syscalls.pwrite(fd, "abcdef", 6, 0), 3);
        EXPECT_EQ(syscalls.pwritev2(fd, parts, 2, 5, 0), 3);
        EXPECT_EQ(syscalls.pread(fd, bytes, 2, 0), 2);
    }
    EXPECT_EQ(syscalls.pread(fd, bytes, 10, 0), 10);
    EXPECT_EQ(std::string(bytes, 10), "abc3401289");
    close(fd);
}

}  // namespace
}  // namespace Ondrel::Testing
