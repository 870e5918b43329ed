// ondrel codes, as users run it.
#include <filesystem>

#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

class TheCodes : public ToolTest {};

TEST_F(TheCodes, AreShown) {
    Write("a", "data");
    Write("._a", SmallSidecar());
    ExpectRun({"codes", "a"}, 0, "type     TEXT\ncreator  ttxt\n", "");
    ExpectRun({"codes", "a", "--json"}, 0, "{\n  \"type\": \"TEXT\",\n  \"creator\": \"ttxt\"\n}\n",
              "");
}

TEST_F(TheCodes, AreSetAndEverythingElseStays) {
    Write("a", "data");
    Write("._a", SidecarOf("TEXTttxt\x04\x01place", SmallFork()));
    ExpectRun({"codes", "a", "--type", "PNTG"}, 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SidecarOf("PNTGttxt\x04\x01place", SmallFork())));
    ExpectRun({"codes", "a", "--creator=\xC3\xA9\xE2\x80\xA0 a", "--type=0x00000001"}, 0, "", "");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))),
              Hex(SidecarOf(Bytes("00 00 00 01 8E A0 20 61 04 01") + "place", SmallFork())));
    ExpectRun({"codes", "a"}, 0, "type     0x00000001\ncreator  \xC3\xA9\xE2\x80\xA0 a\n", "");
    EXPECT_EQ(ReadAll(Path("a")), "data");
    EXPECT_EQ(Names(), "._a a");
}

TEST_F(TheCodes, TakenAwayTheyLeaveNoSidecar) {
    Write("a", "data");
    ExpectRun({"codes", "a", "--type", "TEXT"}, 0, "", "");
    ExpectRun({"codes", "a"}, 0, "type     TEXT\ncreator  none\n", "");
    ExpectRun({"codes", "a", "--type", "0x00000000"}, 0, "", "");
    EXPECT_EQ(Names(), "a");
}

TEST_F(TheCodes, AFileWithoutAnyExitsWithOne) {
    Write("a", "");
    ExpectRun({"codes", "a"}, 1, "", "ondrel: a: has no codes\n");
    ExpectRun({"codes", "a", "--json"}, 1, "{\n  \"type\": null,\n  \"creator\": null\n}\n", "");
}

TEST_F(TheCodes, WhatIsNoCodeIsRefusedAndChangesNothing) {
    Write("a", "data");
    for (const std::string code : {"abc", "abcde", "0x123", "0x0000000G", "ab\xE6\x97\xA5", ""})
        ExpectRun({"codes", "a", "--type", "TEXT", "--creator", code}, 2, "",
                  "ondrel: --creator takes four characters, or 0x and eight digits, not '" + code +
                      "'\n");
    EXPECT_EQ(Names(), "a");
}

TEST_F(TheCodes, WhatIsNoFileIsRefused) {
    std::filesystem::create_directory(Path("folder"));
    ExpectRun({"codes", "missing"}, 1, "", "ondrel: missing: no such file\n");
    ExpectRun({"codes", "folder", "--type", "TEXT"}, 3, "", "ondrel: folder: is a folder\n");
    EXPECT_EQ(Names(), "folder");
}

TEST_F(TheCodes, ADamagedSidecarIsToldOfAndLeftAlone) {
    Write("a", "data");
    const std::string kDamaged[] = {SmallSidecar().substr(0, 60), RandomBytes(200), "x"};
    for (const std::string& damaged : kDamaged) {
        Write("._a", damaged);
        for (const auto& more : {std::vector<std::string>{"codes", "a"},
                                 std::vector<std::string>{"codes", "a", "--type", "TEXT"}})
            ExpectRun(more, 3, "", "ondrel: a: its resource fork or its sidecar is damaged\n");
        EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(damaged));
    }
}

TEST_F(TheCodes, WithoutPermissionTheyStay) {
    std::filesystem::create_directory(Path("closed"));
    Write("closed/a", "data");
    Write("closed/._a", SmallSidecar());
    std::filesystem::permissions(Path("closed"), std::filesystem::perms(0555));
    Expect(Ondrel({"codes", "closed/a", "--type", "PNTG"}).AsNobody().Run(), 3, "",
           "ondrel: closed/a: permission denied\n");
    EXPECT_EQ(Hex(ReadAll(Path("closed/._a"))), Hex(SmallSidecar()));
}

TEST_F(TheCodes, OnAFullDiskTheyStay) {
    const SmallDisk disk(Path("disk"), 64);
    if (!disk.IsThere()) GTEST_SKIP() << "a small file system cannot be mounted here";
    Write("disk/a", "data");
    Write("disk/._a", SmallSidecar());
    disk.Fill();
    ExpectRun({"codes", "disk/a", "--type", "PNTG"}, 3, "",
              "ondrel: disk/a: the disk is full, or the file would be too large\n");
    EXPECT_EQ(Hex(ReadAll(Path("disk/._a"))), Hex(SmallSidecar()));
    EXPECT_EQ(Names("disk"), "._a a filler");
}

}  // namespace
}  // namespace OndrelTool::Testing
