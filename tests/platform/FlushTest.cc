// Bringing a file to the disk.
#include <cerrno>
#include <vector>

#include "ondrel/platform/Flush.h"
#include "tests/platform/ForkHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

struct stat lastSynced;
std::vector<std::string> steps;

TEST(Flush, TheFileAndThenItsFolderAreFlushedAndNothingElse) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    const TableGuard guard;
    steps.clear();
    syscalls.fdatasync = [](int fd) {
        steps.push_back("file");
        return kHostSyscalls.fdatasync(fd);
    };
    syscalls.fsync = [](int fd) {
        EXPECT_EQ(kHostSyscalls.fstat(fd, &lastSynced), 0);
        steps.push_back("folder");
        return kHostSyscalls.fsync(fd);
    };
    EXPECT_EQ(FSFlushFile(path.c_str()), noErr);
    EXPECT_EQ(steps, (std::vector<std::string>{"file", "folder"}));
    struct stat folder;
    ASSERT_EQ(stat(scratch.Path().c_str(), &folder), 0);
    EXPECT_EQ(lastSynced.st_ino, folder.st_ino);
    EXPECT_EQ(lastSynced.st_dev, folder.st_dev);
}

TEST(Flush, OnlyARegularFileCanBeFlushed) {
    const Scratch scratch;
    ASSERT_EQ(mkfifo(scratch.Path("fifo").c_str(), 0600), 0);
    const int descriptors = OpenDescriptors();
    for (const std::string& path :
         {scratch.Path("missing"), scratch.Path(), scratch.Path("fifo"), std::string("/dev/null"),
          std::string("/"), std::string("relative"), std::string()})
        EXPECT_EQ(FSFlushFile(path.c_str()), -43) << path;
    EXPECT_EQ(FSFlushFile(nullptr), -50);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(Flush, AFileThatMayOnlyBeWrittenCanBeFlushed) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(path.c_str(), 0222), 0);
    const int code = InAnotherProcess([&] {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) return 1;
        return AsByte(FSFlushFile(path.c_str()));
    });
    EXPECT_EQ(code, 0);
}

TEST(Flush, AFileSystemThatFlushesNoFoldersIsNoFailure) {
    const Scratch scratch;
    const FaultPlan plan(1, EINVAL, "fsync");
    EXPECT_EQ(FSFlushFile(scratch.Write("a", "").c_str()), noErr);
    EXPECT_TRUE(plan.Fired());
}

TEST(Flush, TheFirstFailureIsToldAndTheFolderIsStillFlushed) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const TableGuard guard;
    static int folders;
    folders = 0;
    syscalls.fdatasync = [](int) {
        errno = ENOSPC;
        return -1;
    };
    syscalls.fsync = [](int) {
        ++folders;
        errno = EIO;
        return -1;
    };
    EXPECT_EQ(FSFlushFile(path.c_str()), -34);
    EXPECT_EQ(folders, 1);
    syscalls.fdatasync = kHostSyscalls.fdatasync;
    EXPECT_EQ(FSFlushFile(path.c_str()), -36);
}

TEST(Flush, TheFolderOfATemporaryFileIsLeftAloneWhileItsForkIsOpen) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    short fork = 0;
    ASSERT_EQ(OpenFork(path, fsWrPerm, &fork), noErr);
    EXPECT_EQ(FSMarkForkTemporary(fork), noErr);
    {
        const FaultPlan folders(1000, EIO, "fsync");
        EXPECT_EQ(FSFlushFile(path.c_str()), noErr);
        EXPECT_EQ(folders.Calls(), 0);
    }
    EXPECT_EQ(FSCloseFork(fork), noErr);
    const FaultPlan folders(1000, EIO, "fsync");
    EXPECT_EQ(FSFlushFile(path.c_str()), noErr);
    EXPECT_EQ(folders.Calls(), 1);
    EXPECT_EQ(FSMarkForkTemporary(fork), -51);
}

// What a flush that may be left out does to a file: whether the disk is asked.
bool AsksTheDisk(const std::string& path) {
    const FaultPlan files(1000, EIO, "fdatasync");
    EXPECT_EQ(Host::FlushContents(path.c_str(), Host::FlushWhen::kUnlessFlushed, nullptr), noErr);
    return files.Calls() == 1;
}

TEST(Flush, AFileFlushedBeforeIsFlushedAgainOnlyAfterItWasWrittenTo) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    EXPECT_TRUE(AsksTheDisk(path));
    EXPECT_FALSE(AsksTheDisk(path));
    EXPECT_EQ(FSFlushFile(path.c_str()), noErr) << "and whenever that is asked for";
    EXPECT_FALSE(AsksTheDisk(path));

    short fork = 0;
    ASSERT_EQ(OpenFork(path, fsRdWrPerm, &fork), noErr);
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0, 5, "HELLO", nullptr), noErr);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    EXPECT_TRUE(AsksTheDisk(path)) << "the same size, and perhaps the same time";
    scratch.Write("a", "hello there");
    EXPECT_TRUE(AsksTheDisk(path));
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    EXPECT_TRUE(AsksTheDisk(path));
}

TEST(Flush, AFlushBeforeTheForkIsClosedCountsForWhatWasWritten) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    short fork = 0;
    ASSERT_EQ(OpenFork(path, fsWrPerm, &fork), noErr);
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0, 5, "HELLO", nullptr), noErr);
    EXPECT_EQ(FSFlushFile(path.c_str()), noErr);
    EXPECT_EQ(FSCloseFork(fork), noErr);
    EXPECT_FALSE(AsksTheDisk(path));
}

TEST(Flush, FilesThatWereForgottenAreFlushed) {
    const Scratch scratch;
    std::vector<std::string> paths;
    for (int i = 0; i < 20; ++i) {
        paths.push_back(scratch.Write("file " + std::to_string(i), "x"));
        EXPECT_TRUE(AsksTheDisk(paths.back()));
    }
    EXPECT_FALSE(AsksTheDisk(paths.back()));
    EXPECT_TRUE(AsksTheDisk(paths.front()));
}

TEST(Flush, EachSystemCallCanFailOnce) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "hello");
    const int descriptors = OpenDescriptors();
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO);
        const OSErr code = FSFlushFile(path.c_str());
        EXPECT_EQ(code, plan.Fired() ? -36 : 0) << plan.Where();
        EXPECT_EQ(OpenDescriptors(), descriptors);
        if (!plan.Fired()) break;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
