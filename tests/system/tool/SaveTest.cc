// ondrel save, as users run it.
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

class TheSave : public ToolTest {
 protected:
    Program Save(const std::string& file, const std::string& bytes) const {
        return Ondrel({"save", file}).Input(bytes);
    }
};

TEST_F(TheSave, MakesAFile) {
    Expect(Save("new", "data").Run(), 0, "", "");
    EXPECT_EQ(ReadAll(Path("new")), "data");
    EXPECT_EQ(Names(), "new");
}

TEST_F(TheSave, TakesBytesOfAnyKindAndNumber) {
    const std::string bytes = RandomBytes(300000);
    Expect(Save("new", bytes).Run(), 0, "", "");
    EXPECT_TRUE(ReadAll(Path("new")) == bytes);
}

TEST_F(TheSave, KeepsCodesForkPermissionAndAttributes) {
    Write("a", "a longer text that was there before");
    Write("._a", SmallSidecar());
    fs::permissions(Path("a"), fs::perms(0640));
    const bool hasAttributes = setxattr(Path("a").c_str(), "user.note", "kept", 4, 0) == 0;
    Expect(Save("a", "new").Run(), 0, "", "");
    EXPECT_EQ(ReadAll(Path("a")), "new");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SmallSidecar()));
    EXPECT_EQ(fs::status(Path("a")).permissions(), fs::perms(0640));
    char value[5] = {};
    if (hasAttributes) {
        EXPECT_EQ(getxattr(Path("a").c_str(), "user.note", value, 4), 4);
        EXPECT_STREQ(value, "kept");
    }
    EXPECT_EQ(Names(), "._a a");
}

TEST_F(TheSave, ThroughALinkReplacesItsTarget) {
    Write("sub/real", "old");
    fs::create_symlink("sub/real", Path("link"));
    Expect(Save("link", "new").Run(), 0, "", "");
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_EQ(ReadAll(Path("sub/real")), "new");
    EXPECT_EQ(Names(), "link sub");
    EXPECT_EQ(Names("sub"), "real");
}

TEST_F(TheSave, OfNothingIsRefusedUnlessItIsAskedFor) {
    Write("a", "old");
    Expect(Save("a", "").Run(), 1, "",
           "ondrel: a: there is nothing to save (--allow-empty saves an empty file)\n");
    EXPECT_EQ(ReadAll(Path("a")), "old");
    Expect(Save("new", "").Run(), 1, "",
           "ondrel: new: there is nothing to save (--allow-empty saves an empty file)\n");
    ExpectRun({"save", "--allow-empty", "a"}, 0, "", "");
    EXPECT_EQ(ReadAll(Path("a")), "");
    EXPECT_EQ(Names(), "a");
}

TEST_F(TheSave, WhereItCannotBeChangesNothing) {
    fs::create_directory(Path("folder"));
    fs::create_symlink("gone", Path("dangling"));
    Expect(Save("folder", "x").Run(), 3, "", "ondrel: folder: is a folder\n");
    Expect(Save("missing/a", "x").Run(), 3, "", "ondrel: missing/a: its folder does not exist\n");
    Expect(Save("dangling", "x").Run(), 1, "", "ondrel: dangling: no such file\n");
    Expect(Save("/dev/null", "x").Run(), 3, "", "ondrel: /dev/null: is no plain file\n");
    Expect(Ondrel({"save", "a"}).WithClosedInput().Run(), 3, "",
           "ondrel: standard input: is closed\n");
    EXPECT_EQ(Names(), "dangling folder");
    EXPECT_EQ(Names("folder"), "");
}

TEST_F(TheSave, WithoutPermissionTheOldFileStays) {
    Write("a", "old");
    fs::permissions(Path("a"), fs::perms(0444));
    Expect(Save("a", "new").AsNobody().Run(), 3, "", "ondrel: a: permission denied\n");
    fs::create_directory(Path("closed"));
    fs::permissions(Path("closed"), fs::perms(0555));
    Expect(Save("closed/a", "new").AsNobody().Run(), 3, "",
           "ondrel: closed/a: permission denied\n");
    EXPECT_EQ(ReadAll(Path("a")), "old");
    EXPECT_EQ(Names(), "a closed");
}

TEST_F(TheSave, OnAFullDiskTheOldFileStays) {
    const SmallDisk disk(Path("disk"), 256);
    if (!disk.IsThere()) GTEST_SKIP() << "a small file system cannot be mounted here";
    Write("disk/a", "old");
    for (const std::size_t size : {1UL << 20, 1UL << 18, 3UL << 16})
        if (const ProgramResult result = Save("disk/a", RandomBytes(size)).Run();
            result.status != 0) {
            Expect(result, 3, "",
                   "ondrel: disk/a: the disk is full, or the file would be too large\n");
            EXPECT_EQ(ReadAll(Path("disk/a")), "old");
        }
    EXPECT_EQ(Names("disk"), "a");
    disk.Fill();
    const std::string before = ReadAll(Path("disk/a"));
    EXPECT_EQ(Save("disk/a", "new").Run().status, 3);
    EXPECT_EQ(ReadAll(Path("disk/a")), before);
    EXPECT_EQ(Names("disk"), "a filler");
}

TEST_F(TheSave, BeyondTheLimitForAFilesSizeTheOldFileStays) {
    Write("a", "old");
    Expect(Save("a", RandomBytes(100000)).WithFilesUpTo(50000).Run(), 3, "",
           "ondrel: a: the disk is full, or the file would be too large\n");
    EXPECT_EQ(ReadAll(Path("a")), "old");
    EXPECT_EQ(Names(), "a");
}

// Waits until the temporary file is there; the program is in the middle of its work then.
void WaitForTemporary(const std::string& folder) {
    for (int i = 0; i < 5000; ++i) {
        for (const auto& entry : fs::directory_iterator(folder))
            if (entry.path().filename().string().ends_with(" Temp")) return;
        usleep(1000);
    }
    ADD_FAILURE() << "there is no temporary file";
}

TEST_F(TheSave, AnInterruptInTheMiddleLeavesTheOldFileAndNothingElse) {
    Write("a", "old");
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        const ProgramResult result = Save("a", RandomBytes(20000))
                                         .WithOpenInput()
                                         .Meanwhile([&](pid_t child) {
                                             WaitForTemporary(Path(""));
                                             kill(child, number);
                                         })
                                         .Run();
        EXPECT_EQ(result.signal, number) << result.errors;
        EXPECT_EQ(result.errors, "");
        EXPECT_EQ(ReadAll(Path("a")), "old");
        EXPECT_EQ(Names(), "a");
    }
}

}  // namespace
}  // namespace OndrelTool::Testing
