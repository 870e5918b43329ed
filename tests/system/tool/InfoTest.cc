// ondrel info, as users run it.
#include <sys/stat.h>

#include <filesystem>

#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

class TheInfo : public ToolTest {};

TEST_F(TheInfo, TellsWhatAFileHolds) {
    Write("sub/a b.txt", "data!");
    Write("sub/._a b.txt", SidecarOf("TEXTttxt\x48\x04", SmallFork()));
    ExpectRun({"info", "sub/a b.txt"}, 0,
              Path("sub/a b.txt") +
                  "\n"
                  "  data fork      5 bytes\n"
                  "  resource fork  345 bytes\n"
                  "  type           TEXT\n"
                  "  creator        ttxt\n"
                  "  Finder flags   0x4804 (colour 2, stationery, invisible)\n"
                  "  resources      TEXT    128  5 bytes  One\n"
                  "                 PICT    300  2 bytes\n"
                  "  mac path       Vol:sub:a b.txt\n"
                  "  windows path   \\\\Vol\\sub\\a b.txt\n"
                  "  generic path   /Vol/sub/a b.txt\n"
                  "  url path       /Vol/sub/a%20b.txt\n",
              "");
}

TEST_F(TheInfo, TellsTheSameAsJson) {
    Write("a", "1");
    Write("._a", SidecarOf("TEXTttxt\x04", ""));
    ExpectRun({"info", "--json", "a"}, 0, R"([
  {
    "path": ")" + Path("a") + R"(",
    "dataForkSize": 1,
    "resourceForkSize": 0,
    "type": "TEXT",
    "creator": "ttxt",
    "finderFlags": {
      "value": 1024,
      "names": [
        "custom icon"
      ]
    },
    "resources": [],
    "preview": null,
    "icons": [],
    "paths": {
      "mac": "Vol:a",
      "windows": "\\\\Vol\\a",
      "generic": "/Vol/a",
      "posix": ")" + Path("a") + R"(",
      "url": "/Vol/a"
    }
  }
]
)",
              "");
}

TEST_F(TheInfo, APlainAndAnEmptyFileHaveNoCodes) {
    Write("empty", "");
    ExpectRun({"info", "empty"}, 0,
              Path("empty") +
                  "\n"
                  "  data fork      0 bytes\n"
                  "  resource fork  0 bytes\n"
                  "  type           none\n"
                  "  creator        none\n"
                  "  mac path       Vol:empty\n"
                  "  windows path   \\\\Vol\\empty\n"
                  "  generic path   /Vol/empty\n"
                  "  url path       /Vol/empty\n",
              "");
}

TEST_F(TheInfo, PreviewAndIconAreToldOf) {
    Write("a", "data");
    Write("p.png", PngOfColour(40, 30, Bytes("FF 10 20 30")));
    ASSERT_EQ(Ondrel({"preview", "set", "a", "p.png"}).Run().status, 0);
    const std::string output = Ondrel({"info", "a"}).Run().output;
    EXPECT_NE(output.find("\n  preview        40 x 30 pixels (PICT 256)\n"
                          "  icon           16, 32 pixels\n"),
              std::string::npos)
        << output;
    const std::string json = Ondrel({"info", "a", "--json"}).Run().output;
    EXPECT_NE(json.find("\"preview\": {\n      \"id\": 256,\n      \"width\": 40,\n"
                        "      \"height\": 30\n    }"),
              std::string::npos)
        << json;
}

TEST_F(TheInfo, WhatCannotBeToldDoesNotKeepTheOthersBack) {
    Write("a", "1");
    fs::create_directory(Path("folder"));
    const ProgramResult result = Ondrel({"info", "missing", "folder", "a"}).Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(result.output.starts_with(Path("a") + "\n")) << result.output;
    EXPECT_EQ(result.errors,
              "ondrel: missing: no such file\n"
              "ondrel: folder: is a folder\n");
    EXPECT_EQ(Ondrel({"info", "missing", "a"}).Run().status, 1);
    ExpectRun({"info", "--json", "missing"}, 1, "[]\n", "ondrel: missing: no such file\n");
}

TEST_F(TheInfo, OfAFileWithACutOrRandomSidecarTellsTheRest) {
    Write("a", "data");
    for (const std::string& damaged : {SmallSidecar().substr(0, 200), RandomBytes(400)}) {
        Write("._a", damaged);
        ExpectRun({"info", "a"}, 3,
                  Path("a") +
                      "\n"
                      "  data fork      4 bytes\n"
                      "  mac path       Vol:a\n"
                      "  windows path   \\\\Vol\\a\n"
                      "  generic path   /Vol/a\n"
                      "  url path       /Vol/a\n",
                  "ondrel: a: its resource fork or its sidecar is damaged\n");
    }
}

TEST_F(TheInfo, OfAFileWithADamagedForkTellsItsSize) {
    Write("a", "data");
    Write("._a", SidecarOf("TEXTttxt", RandomBytes(400)));
    const ProgramResult result = Ondrel({"info", "a"}).Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("  resource fork  400 bytes\n  type           TEXT\n"),
              std::string::npos)
        << result.output;
    EXPECT_EQ(result.errors, "ondrel: a: its resource fork or its sidecar is damaged\n");
}

TEST_F(TheInfo, WithoutPermissionTellsWhatTheFolderDoes) {
    Write("a", "data");
    fs::permissions(Path("a"), fs::perms::none);
    const ProgramResult result = Ondrel({"info", "a"}).AsNobody().Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("  data fork      4 bytes\n"), std::string::npos);
    EXPECT_EQ(result.errors, "ondrel: a: permission denied\n");
}

TEST_F(TheInfo, OfALinkIsThatOfItsTarget) {
    Write("a", "data");
    Write("._a", SmallSidecar());
    fs::create_symlink("a", Path("link"));
    fs::create_symlink("gone", Path("dangling"));
    fs::create_symlink("round", Path("round"));
    const ProgramResult result = Ondrel({"info", "link"}).Run();
    EXPECT_NE(result.output.find("  type           TEXT\n"), std::string::npos) << result.output;
    ExpectRun({"info", "dangling"}, 1, "", "ondrel: dangling: no such file\n");
    ExpectRun({"info", "round"}, 3, "", "ondrel: round: its links lead in a circle\n");
}

TEST_F(TheInfo, ANameThatIsNotUtf8HasNoPathsAndDoesNotBreakTheJson) {
    Write("bad\xFFname", "data");
    const ProgramResult result = Ondrel({"info", "--json", "bad\xFFname"}).Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("bad\xEF\xBF\xBDname\""), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("\"dataForkSize\": 4"), std::string::npos);
    EXPECT_EQ(result.errors, "ondrel: bad\\xFFname: the name is not UTF-8\n");
}

TEST_F(TheInfo, WhatIsNoPlainFileIsNotWaitedFor) {
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    ExpectRun({"info", "pipe", "/dev/null"}, 3, "",
              "ondrel: pipe: is no plain file\n"
              "ondrel: /dev/null: is no plain file\n");
}

}  // namespace
}  // namespace OndrelTool::Testing
