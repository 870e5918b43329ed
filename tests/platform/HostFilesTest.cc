// Status, making and deleting of items, against real files.
#include "ondrel/platform/HostFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "ondrel/platform/ModificationTime.h"
#include "ondrel/platform/Sidecar.h"
#include "tests/platform/ForkHelpers.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Bytes;
using Testing::Exists;
using Testing::Hex;
using Testing::OpenedFork;
using Testing::OpenFork;
using Testing::ReadAll;
using Testing::Scratch;

constexpr FourCC kText = MakeFourCC("TEXT");
constexpr FourCC kEditor = MakeFourCC("ttxt");

// Type TEXT, creator ttxt, no fork.
constexpr char kTextSidecar[] =
    "00 05 16 07 00 02 00 00 4D 61 63 20 4F 53 20 58 20 20 20 20 20 20 20 20 00 02 "
    "00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52 00 00 00 00 "
    "54 45 58 54 74 74 78 74 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00";

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST(HostFiles, TheStatusTellsFileFolderLinkAndOther) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "12345");
    const std::string folder = scratch.MakeFolder("folder");
    const std::string link = scratch.Path("link");
    const std::string pipe = scratch.Path("pipe");
    ASSERT_EQ(symlink("file", link.c_str()), 0);
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

    ItemStatus status;
    ASSERT_EQ(GetItemStatus(file.c_str(), &status), noErr);
    EXPECT_EQ(status.kind, ItemKind::kFile);
    EXPECT_EQ(status.size, 5);
    struct stat host;
    ASSERT_EQ(stat(file.c_str(), &host), 0);
    EXPECT_EQ(status.device, host.st_dev);
    EXPECT_EQ(status.inode, host.st_ino);
    ASSERT_EQ(GetItemStatus(folder.c_str(), &status), noErr);
    EXPECT_EQ(status.kind, ItemKind::kFolder);
    ASSERT_EQ(GetItemStatus(link.c_str(), &status), noErr);
    EXPECT_EQ(status.kind, ItemKind::kLink);
    ASSERT_EQ(GetItemStatus(pipe.c_str(), &status), noErr);
    EXPECT_EQ(status.kind, ItemKind::kOther);
    ASSERT_EQ(GetTargetStatus(link.c_str(), &status), noErr);
    EXPECT_EQ(status.kind, ItemKind::kFile);
}

TEST(HostFiles, AMissingItemHasNoStatusAndTheOldOneStays) {
    const Scratch scratch;
    ASSERT_EQ(symlink("nowhere", scratch.Path("dangling").c_str()), 0);
    ItemStatus status;
    status.size = 7;
    EXPECT_EQ(GetItemStatus(scratch.Path("missing").c_str(), &status), fnfErr);
    EXPECT_EQ(GetTargetStatus(scratch.Path("dangling").c_str(), &status), fnfErr);
    EXPECT_EQ(status.size, 7);
    EXPECT_EQ(GetItemStatus(scratch.Path("dangling").c_str(), &status), noErr);
}

TEST(HostFiles, TheModificationTimeIsInSecondsAndFollowsLinks) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    const std::string link = scratch.Path("link");
    ASSERT_EQ(symlink("file", link.c_str()), 0);
    const timespec times[2] = {{1000000, 0}, {1234567890, 999999999}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    std::int64_t seconds = 0;
    EXPECT_EQ(GetModificationTime(file.c_str(), &seconds), 0);
    EXPECT_EQ(seconds, 1234567890);
    seconds = 0;
    EXPECT_EQ(GetModificationTime(link.c_str(), &seconds), 0);
    EXPECT_EQ(seconds, 1234567890);
    EXPECT_EQ(GetModificationTime(scratch.Path("missing").c_str(), &seconds), ENOENT);
    EXPECT_EQ(GetModificationTime((file + "/x").c_str(), &seconds), ENOTDIR);
    EXPECT_EQ(seconds, 1234567890);
}

TEST(HostFiles, ANewFileIsEmptyAndHasTheUsersPermission) {
    const Scratch scratch;
    const std::string path = scratch.Path("new");
    const mode_t mask = umask(027);
    EXPECT_EQ(CreateFile(path.c_str(), 0, 0), noErr);
    umask(mask);
    EXPECT_EQ(ModeOf(path), mode_t{0640});
    EXPECT_EQ(ReadAll(path), "");
    EXPECT_FALSE(Exists(scratch.Path("._new")));
}

TEST(HostFiles, ANewFileLikeAnotherHasThatOnesPermission) {
    struct {
        mode_t mode;
        mode_t expected;
    } const kCases[] = {
        {0600, 0600},
        {0644, 0644},
        {0666, 0666},
        {0604, 0604},
        {0755, 0755},
        {07755, 0755},
        // its owner may read and write it in any case
        {0444, 0644},
        {0040, 0640},
        {0000, 0600},
    };
    const mode_t mask = umask(0);
    for (const auto& row : kCases) {
        const Scratch scratch;
        const std::string other = scratch.Write("other", "text");
        ASSERT_EQ(symlink("other", scratch.Path("link").c_str()), 0);
        ASSERT_EQ(chmod(other.c_str(), row.mode), 0);
        for (const char* const like : {"other", "link"}) {
            const std::string path = scratch.Path("new, like " + std::string(like));
            EXPECT_EQ(CreateFile(path.c_str(), 0, kText, scratch.Path(like).c_str()), noErr);
            EXPECT_EQ(ModeOf(path), row.expected) << std::oct << row.mode;
            const mode_t sidecar = ModeOf(scratch.Path("._new, like " + std::string(like)));
            EXPECT_EQ(sidecar, row.expected & 0666) << std::oct << row.mode;
        }
    }
    umask(mask);
}

TEST(HostFiles, ANewFileLikeAnotherHasThatOnesAccessList) {
    // Version 2: its owner, user 12345 r--, group ---, mask r--, others ---.
    struct {
        const char* owner;
        mode_t expected;
        bool hasList;
    } const kCases[] = {
        {"01 00 06 00 FF FF FF FF", 0640, true},
        // The list of one that its owner may not write: the group may not do more without it.
        {"01 00 04 00 FF FF FF FF", 0600, false},
    };
    for (const auto& row : kCases) {
        const Scratch scratch;
        const std::string other = scratch.Write("other", "text");
        const std::string list =
            Bytes("02 00 00 00" + std::string(row.owner) +
                  "02 00 04 00 39 30 00 00"
                  "04 00 00 00 FF FF FF FF 10 00 04 00 FF FF FF FF 20 00 00 00 FF FF FF FF");
        if (setxattr(other.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) != 0)
            GTEST_SKIP() << "the file system of the scratch folder has no access lists";
        const std::string path = scratch.Path("new");
        ASSERT_EQ(CreateFile(path.c_str(), 0, 0, other.c_str()), noErr);
        EXPECT_EQ(ModeOf(path), row.expected);
        std::string found(256, '\0');
        const ssize_t size =
            getxattr(path.c_str(), "system.posix_acl_access", found.data(), found.size());
        found.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
        EXPECT_EQ(Hex(found), row.hasList ? Hex(list) : "");
    }
}

TEST(HostFiles, ANewFileLikeNoFileHasTheUsersPermission) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    ASSERT_EQ(chmod(scratch.Path("folder").c_str(), 0700), 0);
    ASSERT_EQ(symlink("nowhere", scratch.Path("dangling").c_str()), 0);
    const mode_t mask = umask(027);
    for (const char* const like : {"folder", "missing", "dangling"}) {
        const std::string path = scratch.Path("new, like " + std::string(like));
        EXPECT_EQ(CreateFile(path.c_str(), 0, 0, scratch.Path(like).c_str()), noErr);
        EXPECT_EQ(ModeOf(path), mode_t{0640}) << like;
    }
    umask(mask);
}

TEST(HostFiles, ANewFileWithCodesHasASidecarOfThem) {
    const Scratch scratch;
    const std::string path = scratch.Path("new");
    ASSERT_EQ(CreateFile(path.c_str(), kEditor, kText), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._new"))), kTextSidecar);
    ASSERT_EQ(CreateFile(scratch.Path("typed").c_str(), 0, kText), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._typed")));
    ASSERT_EQ(CreateFile(scratch.Path("made").c_str(), kEditor, 0), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._made")));
}

TEST(HostFiles, WhatIsThereIsNotCreatedAgain) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "content");
    scratch.Write("._file", Bytes(kTextSidecar));
    scratch.MakeFolder("folder");
    ASSERT_EQ(symlink("nowhere", scratch.Path("dangling").c_str()), 0);
    for (const char* name : {"file", "folder", "dangling"}) {
        EXPECT_EQ(CreateFile(scratch.Path(name).c_str(), 0, 0), dupFNErr) << name;
        EXPECT_EQ(CreateFile(scratch.Path(name).c_str(), 1, 2), dupFNErr) << name;
    }
    EXPECT_EQ(ReadAll(file), "content");
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._file"))), kTextSidecar);
    EXPECT_FALSE(Exists(scratch.Path("nowhere")));
    EXPECT_FALSE(Exists(scratch.Path("._folder")));
}

TEST(HostFiles, ASidecarOfAFileLongGoneDoesNotBecomeTheNewFiles) {
    const Scratch scratch;
    scratch.Write("._plain", Bytes(kTextSidecar));
    ASSERT_EQ(CreateFile(scratch.Path("plain").c_str(), 0, 0), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._plain")));

    scratch.Write("._coded", Bytes(kTextSidecar) + "an old fork");
    ASSERT_EQ(CreateFile(scratch.Path("coded").c_str(), kEditor, kText), noErr);
    EXPECT_EQ(Hex(ReadAll(scratch.Path("._coded"))), kTextSidecar);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(scratch.Path()), {}), 3);
}

TEST(HostFiles, AForeignFileAtTheSidecarsNameIsNeverOverwritten) {
    const Scratch scratch;
    scratch.Write("._plain", "notes of mine");
    scratch.Write("._coded", "notes of mine");
    EXPECT_EQ(CreateFile(scratch.Path("plain").c_str(), 0, 0), noErr);
    EXPECT_EQ(CreateFile(scratch.Path("coded").c_str(), kEditor, kText), mapReadErr);
    EXPECT_FALSE(Exists(scratch.Path("coded")));
    EXPECT_EQ(ReadAll(scratch.Path("._plain")), "notes of mine");
    EXPECT_EQ(ReadAll(scratch.Path("._coded")), "notes of mine");
}

TEST(HostFiles, ANameTooLongForASidecarIsGoodForAFileWithoutCodes) {
    const Scratch scratch;
    const std::string path = scratch.Path(std::string(254, 'n'));
    EXPECT_EQ(CreateFile(path.c_str(), kEditor, kText), bdNamErr);
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(CreateFile(path.c_str(), 0, 0), noErr);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(CreateFile(scratch.Path(std::string(256, 'n')).c_str(), 0, 0), bdNamErr);
    EXPECT_EQ(DeleteFile(path.c_str()), noErr);
}

TEST(HostFiles, CreatingFailsWithTheHostsCode) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    EXPECT_EQ(CreateFile(scratch.Path("missing/new").c_str(), 0, 0), fnfErr);
    EXPECT_EQ(CreateFile((file + "/new").c_str(), 0, 0), dirNFErr);
}

TEST(HostFiles, DeletingTakesTheSidecarAlong) {
    const Scratch scratch;
    const std::string path = scratch.Write("file", "x");
    scratch.Write("._file", Bytes(kTextSidecar));
    EXPECT_EQ(DeleteFile(path.c_str()), noErr);
    EXPECT_FALSE(Exists(path));
    EXPECT_FALSE(Exists(scratch.Path("._file")));
    EXPECT_EQ(DeleteFile(path.c_str()), fnfErr);
}

TEST(HostFiles, AFolderIsNotDeleted) {
    const Scratch scratch;
    const std::string folder = scratch.MakeFolder("folder");
    scratch.Write("._folder", Bytes(kTextSidecar));
    EXPECT_EQ(DeleteFile(folder.c_str()), fnfErr);
    EXPECT_EQ(DeleteFile((folder + "/").c_str()), fnfErr);
    EXPECT_TRUE(Exists(folder));
    EXPECT_TRUE(Exists(scratch.Path("._folder")));
}

TEST(HostFiles, ALinkIsDeletedItself) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "x");
    const std::string folder = scratch.MakeFolder("folder");
    ASSERT_EQ(symlink("file", scratch.Path("a").c_str()), 0);
    ASSERT_EQ(symlink("folder", scratch.Path("b").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", scratch.Path("c").c_str()), 0);
    for (const char* name : {"a", "b", "c"}) {
        EXPECT_EQ(DeleteFile(scratch.Path(name).c_str()), noErr) << name;
        EXPECT_FALSE(Exists(scratch.Path(name))) << name;
    }
    EXPECT_TRUE(Exists(file));
    EXPECT_TRUE(Exists(folder));
}

TEST(HostFiles, AFileWithAnOpenForkIsBusy) {
    const Scratch scratch;
    const std::string path = scratch.Write("file", "x");
    scratch.Write("._file", Bytes(kTextSidecar));
    ASSERT_EQ(symlink("file", scratch.Path("link").c_str()), 0);
    for (const signed char permission : {fsRdPerm, fsWrPerm}) {
        const OpenedFork fork(path, permission);
        EXPECT_EQ(DeleteFile(path.c_str()), fBsyErr);
        EXPECT_TRUE(Exists(path));
        EXPECT_TRUE(Exists(scratch.Path("._file")));
    }
    {
        const OpenedFork fork(path, fsRdPerm);
        EXPECT_EQ(DeleteFile(scratch.Path("link").c_str()), noErr) << "a link is not its target";
    }
    EXPECT_EQ(DeleteFile(path.c_str()), noErr);
}

// Opens the file in another process, and holds it until it is destroyed.
class OtherProcess {
 public:
    OtherProcess(const std::string& path, signed char permissions) {
        int ready[2];
        int done[2];
        EXPECT_EQ(pipe(ready), 0);
        EXPECT_EQ(pipe(done), 0);
        child_ = fork();
        if (child_ == 0) {
            close(done[1]);
            short number = 0;
            char byte = OpenFork(path, permissions, &number) == noErr ? 'y' : 'n';
            const bool wrote = write(ready[1], &byte, 1) == 1;
            _exit(wrote && read(done[0], &byte, 1) == 0 ? 0 : 1);
        }
        close(done[0]);
        close(ready[1]);
        char byte = 0;
        EXPECT_EQ(read(ready[0], &byte, 1), 1);
        EXPECT_EQ(byte, 'y');
        close(ready[0]);
        done_ = done[1];
    }
    ~OtherProcess() {
        close(done_);
        int status = -1;
        EXPECT_EQ(waitpid(child_, &status, 0), child_);
        EXPECT_EQ(status, 0);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

 private:
    pid_t child_ = -1;
    int done_ = -1;
};

TEST(HostFiles, AWriterInAnotherProcessMakesAFileBusyAndAReaderDoesNot) {
    const Scratch scratch;
    const std::string path = scratch.Write("file", "x");
    {
        const OtherProcess writer(path, fsWrPerm);
        EXPECT_EQ(DeleteFile(path.c_str()), fBsyErr);
        EXPECT_TRUE(Exists(path));
    }
    const OtherProcess reader(path, fsRdPerm);
    EXPECT_EQ(DeleteFile(path.c_str()), noErr);
    EXPECT_FALSE(Exists(path));
}

TEST(HostFiles, AFolderIsMadeOnce) {
    const Scratch scratch;
    const std::string path = scratch.Path("folder");
    EXPECT_EQ(CreateFolder(path.c_str(), 0750), noErr);
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 0077, mode_t{0050});
    EXPECT_EQ(CreateFolder(path.c_str(), 0700), dupFNErr);
    EXPECT_EQ(CreateFolder(scratch.Write("file", "").c_str(), 0700), dupFNErr);
    EXPECT_EQ(CreateFolder(scratch.Path("missing/folder").c_str(), 0700), fnfErr);
}

}  // namespace
}  // namespace Ondrel::Host
