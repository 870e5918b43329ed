// ondrel fork, as users run it.
#include <filesystem>

#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDamaged = "its resource fork or its sidecar is damaged";

class TheFork : public ToolTest {
 protected:
    void WriteFile() const {
        Write("a", "data");
        Write("._a", SmallSidecar());
    }
    void ExpectUnchanged() const {
        EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SmallSidecar()));
        EXPECT_EQ(ReadAll(Path("a")), "data");
    }
};

TEST_F(TheFork, IsListed) {
    WriteFile();
    ExpectRun({"fork", "list", "a"}, 0,
              "TEXT    128  5 bytes  One\n"
              "PICT    300  2 bytes\n",
              "");
    ExpectRun({"fork", "list", "a", "--json"}, 0, R"({
  "size": 345,
  "resources": [
    {
      "type": "TEXT",
      "id": 128,
      "name": "One",
      "size": 5,
      "attributes": 0,
      "state": "plain"
    },
    {
      "type": "PICT",
      "id": 300,
      "name": null,
      "size": 2,
      "attributes": 0,
      "state": "plain"
    }
  ]
}
)",
              "");
}

TEST_F(TheFork, ThatIsNotThereExitsWithOne) {
    Write("a", "data");
    Write("b", "");
    for (const char* file : {"a", "b"}) {
        const std::string line = std::string("ondrel: ") + file + ": has no resource fork\n";
        ExpectRun({"fork", "list", file}, 1, "", line);
        ExpectRun({"fork", "export", file}, 1, "", line);
        ExpectRun({"fork", "export", file, "-o", "out"}, 1, "", line);
    }
    ExpectRun({"fork", "list", "a", "--json"}, 1, "{\n  \"size\": 0,\n  \"resources\": []\n}\n",
              "");
    EXPECT_EQ(Names(), "a b");
}

TEST_F(TheFork, LeavesAsItIs) {
    WriteFile();
    EXPECT_EQ(Hex(Ondrel({"fork", "export", "a"}).Run().output), Hex(SmallFork()));
    ExpectRun({"fork", "export", "a", "-o", "out"}, 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("out"))), Hex(SmallFork()));
    ExpectRun({"fork", "export", "a", "--output=-"}, 0, SmallFork(), "");
    EXPECT_EQ(Names(), "._a a out");
}

TEST_F(TheFork, IsNotWrittenToATerminal) {
    WriteFile();
    const ProgramResult result = Ondrel({"fork", "export", "a"}).OnTerminal(80, 24).Run();
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output,
              "ondrel: a resource fork is no text for a terminal; say where to with -o\r\n");
}

TEST_F(TheFork, ComesBackAndCodesAndDataStay) {
    Write("a", "data");
    Write("._a", SidecarOf("PNTGmine", std::string(9000, 'l') + "onger than the new one"));
    Write("fork", SmallFork());
    ExpectRun({"fork", "import", "a", "-i", "fork"}, 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SidecarOf("PNTGmine", SmallFork())));
    Write("b", "other");
    Expect(Ondrel({"fork", "import", "b"}).Input(SmallFork()).Run(), 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._b"))), Hex(SidecarOf("", SmallFork())));
    EXPECT_EQ(ReadAll(Path("a")), "data");
    EXPECT_EQ(Names(), "._a ._b a b fork");
}

TEST_F(TheFork, BytesThatAreNoneAreRefusedUnlessTheyAreForced) {
    WriteFile();
    Expect(Ondrel({"fork", "import", "a"}).Input(RandomBytes(500)).Run(), 3, "",
           "ondrel: standard input: is no resource fork (--force takes it all the same)\n");
    Expect(Ondrel({"fork", "import", "a"}).Input(SmallFork().substr(0, 300)).Run(), 3, "",
           "ondrel: standard input: is no resource fork (--force takes it all the same)\n");
    Expect(Ondrel({"fork", "import", "a"}).Run(), 3, "",
           "ondrel: standard input: is empty (--force takes the fork away)\n");
    ExpectUnchanged();
    Expect(Ondrel({"fork", "import", "a", "--force"}).Input("bytes").Run(), 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SidecarOf("TEXTttxt", "bytes")));
    ExpectRun({"fork", "import", "a", "--force"}, 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SidecarOf("TEXTttxt", "")));
}

TEST_F(TheFork, InputThatCannotBeReadChangesNothing) {
    WriteFile();
    fs::create_directory(Path("folder"));
    Write("closed", SmallFork());
    fs::permissions(Path("closed"), fs::perms::none);
    ExpectRun({"fork", "import", "a", "-i", "missing"}, 1, "", "ondrel: missing: no such file\n");
    ExpectRun({"fork", "import", "a", "-i", "folder"}, 3, "", "ondrel: folder: is a folder\n");
    Expect(Ondrel({"fork", "import", "a"}).WithClosedInput().Run(), 3, "",
           "ondrel: standard input: is closed\n");
    Expect(Ondrel({"fork", "import", "a", "-i", "closed"}).AsNobody().Run(), 3, "",
           "ondrel: closed: permission denied\n");
    ExpectUnchanged();
}

TEST_F(TheFork, WhatIsNoFileIsRefused) {
    fs::create_directory(Path("folder"));
    for (const char* verb : {"list", "export", "import"}) {
        Expect(Ondrel({"fork", verb, "missing"}).Input(SmallFork()).Run(), 1, "",
               "ondrel: missing: no such file\n");
        Expect(Ondrel({"fork", verb, "folder"}).Input(SmallFork()).Run(), 3, "",
               "ondrel: folder: is a folder\n");
    }
    EXPECT_EQ(Names(), "folder");
}

TEST_F(TheFork, ADamagedSidecarOrForkIsToldOfAndLeftAlone) {
    Write("a", "data");
    Write("new", SmallFork());
    for (const std::string& damaged : {SmallSidecar().substr(0, 200), RandomBytes(300)}) {
        Write("._a", damaged);
        for (const char* verb : {"list", "export"})
            ExpectRun({"fork", verb, "a"}, 3, "", std::string("ondrel: a: ") + kDamaged + "\n");
        ExpectRun({"fork", "import", "a", "-i", "new"}, 3, "",
                  std::string("ondrel: a: ") + kDamaged + "\n");
        EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(damaged));
    }
    Write("._a", SidecarOf("", RandomBytes(300)));
    ExpectRun({"fork", "list", "a"}, 3, "", std::string("ondrel: a: ") + kDamaged + "\n");
    EXPECT_EQ(Hex(Ondrel({"fork", "export", "a"}).Run().output), Hex(RandomBytes(300)));
}

TEST_F(TheFork, WithoutPermissionNothingIsReadOrWritten) {
    fs::create_directory(Path("closed"));
    Write("closed/a", "data");
    Write("closed/._a", SmallSidecar());
    fs::permissions(Path("closed/a"), fs::perms(0400));
    fs::permissions(Path("closed/._a"), fs::perms(0400));
    fs::permissions(Path("closed"), fs::perms(0555));
    const std::string denied = "ondrel: closed/a: permission denied\n";
    Expect(Ondrel({"fork", "list", "closed/a"}).AsNobody().Run(), 3, "", denied);
    Expect(Ondrel({"fork", "import", "closed/a"}).Input(SmallFork()).AsNobody().Run(), 3, "",
           denied);
    WriteFile();
    Expect(Ondrel({"fork", "export", "a", "-o", "closed/out"}).AsNobody().Run(), 3, "",
           "ondrel: closed/out: permission denied\n");
    Expect(Ondrel({"fork", "export", "a", "-o", "closed"}).AsNobody().Run(), 3, "",
           "ondrel: closed: is a folder\n");
    Expect(Ondrel({"fork", "export", "a", "-o", "missing/out"}).Run(), 3, "",
           "ondrel: missing/out: its folder does not exist\n");
    EXPECT_EQ(Names("closed"), "._a a");
}

TEST_F(TheFork, AnOldFileIsReplacedWithItsPermissionAndALinkStays) {
    WriteFile();
    Write("real", "old");
    fs::permissions(Path("real"), fs::perms(0604));
    fs::create_symlink("real", Path("out"));
    ExpectRun({"fork", "export", "a", "-o", "out"}, 0, "", "");
    EXPECT_TRUE(fs::is_symlink(Path("out")));
    EXPECT_EQ(Hex(ReadAll(Path("real"))), Hex(SmallFork()));
    EXPECT_EQ(fs::status(Path("real")).permissions(), fs::perms(0604));
    EXPECT_EQ(Names(), "._a a out real");
}

TEST_F(TheFork, OnAFullDiskTheOldFileStays) {
    WriteFile();
    Write("old", "old");
    Expect(Ondrel({"fork", "export", "a", "-o", "old"}).WithFilesUpTo(100).Run(), 3, "",
           "ondrel: old: the disk is full, or the file would be too large\n");
    EXPECT_EQ(ReadAll(Path("old")), "old");
    Expect(Ondrel({"fork", "import", "a", "--force"})
               .Input(std::string(5000, 'f'))
               .WithFilesUpTo(1000)
               .Run(),
           3, "", "ondrel: a: the disk is full, or the file would be too large\n");
    ExpectUnchanged();
    ExpectRun({"fork", "export", "a", "-o", "/dev/full"}, 3, "",
              "ondrel: /dev/full: the disk is full, or the file would be too large\n");
    EXPECT_EQ(Names(), "._a a old");
}

}  // namespace
}  // namespace OndrelTool::Testing
