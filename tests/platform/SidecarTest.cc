// Sidecars beside real files: replaced in one step, with the permission of their file.
#include "ondrel/platform/Sidecar.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Exists;
using Testing::ReadAll;
using Testing::Scratch;

AppleDouble SidecarOf(std::string_view fork) {
    AppleDouble sidecar;
    sidecar.SetResourceFork(fork);
    return sidecar;
}

mode_t ModeOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

TEST(Sidecars, TheNameStandsBesideTheFile) {
    EXPECT_EQ(SidecarPath("/a/b"), "/a/._b");
    EXPECT_EQ(SidecarPath("/b"), "/._b");
    EXPECT_EQ(SidecarPath("/a/folder/"), "/a/._folder");
    EXPECT_EQ(SidecarPath("b"), "._b");
    EXPECT_EQ(SidecarPath("/a/._b"), "/a/._._b");
}

TEST(Sidecars, ANameHasTheMarkAndSomethingBehindIt) {
    EXPECT_TRUE(IsSidecarName("._a"));
    EXPECT_TRUE(IsSidecarName("._._a"));
    for (const char* name : {"", ".", "..", "._", ".a", "_a", "a._"})
        EXPECT_FALSE(IsSidecarName(name)) << name;
}

TEST(Sidecars, AFileWithoutOneHasAnEmptyOne) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    AppleDouble sidecar = SidecarOf("old");
    EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    EXPECT_TRUE(sidecar.IsEmpty());
    FinderInfo info;
    info.SetType(1);
    EXPECT_EQ(ReadFinderInfo(path.c_str(), &info), noErr);
    EXPECT_TRUE(info.IsEmpty());
    EXPECT_EQ(CheckSidecarFile(scratch.Path("._a")), fnfErr);
}

TEST(Sidecars, WhatIsWrittenIsReadBackByteForByte) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "data");
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("._a")), SidecarOf("fork").Bytes());
    AppleDouble sidecar;
    ASSERT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetResourceFork(), "fork");
    EXPECT_EQ(CheckSidecarFile(scratch.Path("._a")), noErr);
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(Sidecars, ALongForkIsReadWhole) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    std::string fork(20 * 1024 * 1024 + 7, 'f');
    fork.back() = 'e';
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf(fork)), noErr);
    AppleDouble sidecar;
    ASSERT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    EXPECT_TRUE(sidecar.GetResourceFork() == fork);
}

TEST(Sidecars, AnEmptyOneIsTakenAway) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    EXPECT_EQ(WriteSidecar(path.c_str(), AppleDouble()), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
    EXPECT_EQ(WriteSidecar(path.c_str(), AppleDouble()), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

TEST(Sidecars, AReplacedSidecarIsANewFileSoThatReadersKeepTheOld) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("old")), noErr);
    std::filesystem::create_hard_link(scratch.Path("._a"), scratch.Path("kept"));
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("new")), noErr);
    EXPECT_EQ(ReadAll(scratch.Path("kept")), SidecarOf("old").Bytes());
    EXPECT_EQ(ReadAll(scratch.Path("._a")), SidecarOf("new").Bytes());
}

TEST(Sidecars, WhatIsNoAppleDoubleFileIsRefusedAndNeverOverwritten) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string text = "a text of mine that happens to have this name, rather long";
    for (const std::string& content :
         {std::string(), text, SidecarOf("fork").Bytes().substr(0, 84)}) {
        scratch.Write("._a", content);
        AppleDouble sidecar;
        FinderInfo info;
        EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), mapReadErr);
        EXPECT_EQ(ReadFinderInfo(path.c_str(), &info), mapReadErr);
        EXPECT_EQ(CheckSidecarFile(scratch.Path("._a")), mapReadErr);
        info.SetType(1);
        EXPECT_EQ(WriteFinderInfo(path.c_str(), info), mapReadErr);
        EXPECT_EQ(WriteSidecar(path.c_str(), SidecarOf("new")), mapReadErr);
        EXPECT_EQ(WriteSidecar(path.c_str(), AppleDouble()), mapReadErr);
        EXPECT_EQ(ReadAll(scratch.Path("._a")), content);
    }
}

TEST(Sidecars, LinksPipesAndFoldersAreNoSidecars) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string target = scratch.Write("target", SidecarOf("fork").Bytes());
    const std::string name = scratch.Path("._a");
    AppleDouble sidecar;
    ASSERT_EQ(symlink(target.c_str(), name.c_str()), 0);
    EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), mapReadErr);
    EXPECT_EQ(WriteSidecar(path.c_str(), SidecarOf("new")), mapReadErr);
    ASSERT_EQ(unlink(name.c_str()), 0);
    ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
    EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), mapReadErr);
    ASSERT_EQ(unlink(name.c_str()), 0);
    ASSERT_EQ(mkdir(name.c_str(), 0700), 0);
    EXPECT_EQ(ReadSidecar(path.c_str(), &sidecar), mapReadErr);
    EXPECT_EQ(WriteSidecar(path.c_str(), SidecarOf("new")), mapReadErr);
    EXPECT_EQ(ReadAll(target), SidecarOf("fork").Bytes());
}

TEST(Sidecars, CodesAreReadAndWrittenWithoutTouchingTheFork) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
    FinderInfo info;
    info.SetType(MakeFourCC("TEXT"));
    info.SetFlags(kFinderFlagHasCustomIcon);
    ASSERT_EQ(WriteFinderInfo(path.c_str(), info), noErr);
    AppleDouble sidecar;
    ASSERT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetResourceFork(), "fork");
    EXPECT_EQ(sidecar.GetFinderInfo().bytes, info.bytes);
    FinderInfo read;
    ASSERT_EQ(ReadFinderInfo(path.c_str(), &read), noErr);
    EXPECT_EQ(read.bytes, info.bytes);
}

TEST(Sidecars, CodesOfAFileWithNothingElseGoWithTheSidecar) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    FinderInfo info;
    info.SetType(MakeFourCC("TEXT"));
    ASSERT_EQ(WriteFinderInfo(path.c_str(), info), noErr);
    EXPECT_TRUE(Exists(scratch.Path("._a")));
    ASSERT_EQ(WriteFinderInfo(path.c_str(), FinderInfo()), noErr);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

TEST(Sidecars, CodesFarBehindInAFileAreFound) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    // A table of 400 entries, longer than what is read at first, the Finder Info as its last one.
    std::string bytes = AppleDouble().Bytes().substr(0, 24) + std::string("\x01\x90", 2);
    for (int i = 0; i < 399; ++i)
        bytes += Testing::Bytes("00 00 00 63 00 00 00 00 00 00 00 00");
    bytes += Testing::Bytes("00 00 00 09 00 01 00 00 00 00 00 20");
    bytes.resize(0x10000, '-');
    bytes += "TEXTttxt" + std::string(24, '\0');
    scratch.Write("._a", bytes);
    FinderInfo info;
    ASSERT_EQ(ReadFinderInfo(path.c_str(), &info), noErr);
    EXPECT_EQ(info.Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(info.Creator(), MakeFourCC("ttxt"));
    AppleDouble sidecar;
    ASSERT_EQ(ReadSidecar(path.c_str(), &sidecar), noErr);
    EXPECT_EQ(sidecar.GetFinderInfo().bytes, info.bytes);
}

TEST(Sidecars, AFolderHasOneAsAFileHas) {
    const Scratch scratch;
    const std::string path = scratch.MakeFolder("folder");
    FinderInfo info;
    info.SetFlags(kFinderFlagHasCustomIcon);
    ASSERT_EQ(WriteFinderInfo((path + "/").c_str(), info), noErr);
    FinderInfo read;
    ASSERT_EQ(ReadFinderInfo(path.c_str(), &read), noErr);
    EXPECT_EQ(read.Flags(), kFinderFlagHasCustomIcon);
    EXPECT_TRUE(Exists(scratch.Path("._folder")));
}

TEST(Sidecars, AMissingFileGetsNone) {
    const Scratch scratch;
    EXPECT_EQ(WriteSidecar(scratch.Path("missing").c_str(), SidecarOf("fork")), fnfErr);
    EXPECT_TRUE(std::filesystem::is_empty(scratch.Path()));
}

TEST(Sidecars, ThePermissionIsThatOfTheFileWithoutExecution) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const mode_t mask = umask(0);
    for (const mode_t mode :
         {mode_t{0600}, mode_t{0640}, mode_t{0755}, mode_t{0444}, mode_t{0666}}) {
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
        EXPECT_EQ(ModeOf(scratch.Path("._a")), mode & 0666);
    }
    umask(mask);
}

// Runs a function in a child without the rights of root; true when it answered true.
template <class Function>
bool AsOrdinaryUser(Function function) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr unsigned int kNobody = 65534;
        const bool hasRights = geteuid() == 0;
        if (hasRights && (setresgid(kNobody, kNobody, kNobody) != 0 ||
                          setresuid(kNobody, kNobody, kNobody) != 0))
            _exit(2);
        _exit(function() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(Sidecars, WhereTheGroupCannotBeGivenItGetsNoMoreThanAllOthers) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a file of somebody else";
    const Scratch scratch;
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0777), 0);
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chown(path.c_str(), 12345, 12345), 0);
    ASSERT_EQ(chmod(path.c_str(), 0664), 0);
    EXPECT_TRUE(
        AsOrdinaryUser([&] { return WriteSidecar(path.c_str(), SidecarOf("fork")) == noErr; }));
    EXPECT_EQ(ModeOf(scratch.Path("._a")), mode_t{0644});
}

TEST(Sidecars, RootGivesTheSidecarToTheOwnerOfTheFile) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can make a file of somebody else";
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chown(path.c_str(), 12345, 23456), 0);
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
    struct stat status {};
    ASSERT_EQ(stat(scratch.Path("._a").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12345U);
    EXPECT_EQ(status.st_gid, 23456U);
}

TEST(Sidecars, AnAccessListIsTakenOver) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    // Version 2: user rw-, user 12345 r--, group ---, mask r--, others ---.
    const std::string list = Testing::Bytes(
        "02 00 00 00  01 00 06 00 FF FF FF FF  02 00 04 00 39 30 00 00"
        "04 00 00 00 FF FF FF FF  10 00 04 00 FF FF FF FF  20 00 00 00 FF FF FF FF");
    if (setxattr(path.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "the file system of the scratch folder has no access lists";
    ASSERT_EQ(ModeOf(path), mode_t{0640}) << "the mask shows as the group's permission";
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("fork")), noErr);
    std::string taken(256, '\0');
    const ssize_t size = getxattr(scratch.Path("._a").c_str(), "system.posix_acl_access",
                                  taken.data(), taken.size());
    ASSERT_GT(size, 0);
    EXPECT_EQ(taken.substr(0, static_cast<std::size_t>(size)), list);
}

TEST(Sidecars, AFolderThatMayNotBeWrittenGivesPermErr) {
    const Scratch scratch;
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0755), 0);
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0555), 0);
    EXPECT_TRUE(
        AsOrdinaryUser([&] { return WriteSidecar(path.c_str(), SidecarOf("fork")) == permErr; }));
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0755), 0);
    EXPECT_FALSE(Exists(scratch.Path("._a")));
}

TEST(Sidecars, ASidecarThatMayNotBeReadIsLeftAlone) {
    const Scratch scratch;
    ASSERT_EQ(chmod(scratch.Path().c_str(), 0777), 0);
    const std::string path = scratch.Write("a", "");
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(WriteSidecar(path.c_str(), SidecarOf("old")), noErr);
    ASSERT_EQ(chmod(scratch.Path("._a").c_str(), 0), 0);
    EXPECT_TRUE(AsOrdinaryUser([&] {
        AppleDouble sidecar;
        return ReadSidecar(path.c_str(), &sidecar) == permErr &&
               WriteSidecar(path.c_str(), SidecarOf("new")) == permErr;
    }));
    ASSERT_EQ(chmod(scratch.Path("._a").c_str(), 0600), 0);
    EXPECT_EQ(ReadAll(scratch.Path("._a")), SidecarOf("old").Bytes());
}

}  // namespace
}  // namespace Ondrel::Host
