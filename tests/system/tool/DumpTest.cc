// ondrel dump, as users run it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/Program.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

class TheDump : public ::testing::Test {
 protected:
    std::vector<std::string> Words(std::vector<std::string> more) const {
        std::vector<std::string> words = {ONDREL_TOOL, "dump"};
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    Program Dump(std::vector<std::string> more) const {
        return Program(Words(std::move(more)))
            .In(scratch_.Path())
            .With("ONDREL_VOLUMES", "Vol=" + scratch_.Path());
    }

    void Expect(const ProgramResult& result, int status, const std::string& output,
                const std::string& errors) const {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.errors, errors);
    }

    Scratch scratch_;
};

TEST_F(TheDump, PrintsEachValueWithPositionBytesAndMeaning) {
    scratch_.Write("doc", Bytes("12 34 00 00 00 03 61 1B C3 00 01 07"));
    Expect(Dump({"doc", "--layout", "n: u16 str block16 { u8 }"}).Run(), 0,
           "       0  12 34                                    n: u16  4660\n"
           "       2  00 00 00 03 61 1B C3                     str  \"a\\x1B\\xC3\"\n"
           "       9  00 01                                    block16  1 byte, to 12\n"
           "      11  07                                       u8  7\n",
           "");
}

TEST_F(TheDump, PrintsJson) {
    scratch_.Write("doc", Bytes("FE 00 00 00 01 FF 02 00 03 56 3A 00 03 00 01 00 01 00 03 78 3A 00 "
                                "00 01 09 AA BB"));
    Expect(
        Dump({"--json", "doc", "--layout",
              "n: i8 str ref to: refrel list: repeat u16 { u8 } skip 1"})
            .Run(),
        0,
        "{\n"
        "  \"file\": \"" +
            scratch_.Path("doc") +
            "\",\n"
            "  \"values\": [\n"
            "    {\"position\":0,\"size\":1,\"name\":\"n\",\"type\":\"i8\",\"depth\":0,"
            "\"bytes\":\"FE\",\"value\":-2},\n"
            "    {\"position\":1,\"size\":5,\"name\":\"str\",\"type\":\"str\",\"depth\":0,"
            "\"bytes\":\"00000001FF\",\"value\":\"\xEF\xBF\xBD\"},\n"
            "    {\"position\":6,\"size\":6,\"name\":\"ref\",\"type\":\"ref\",\"depth\":0,"
            "\"bytes\":\"020003563A00\",\"value\":\"V:\"},\n"
            "    {\"position\":12,\"size\":10,\"name\":\"to\",\"type\":\"refrel\",\"depth\":0,"
            "\"bytes\":\"0300010001000378"
            "3A00\",\"value\":\"Vol:\",\"stored\":\"x:\",\"skip\":1,\"up\":1},\n"
            "    {\"position\":22,\"size\":2,\"name\":\"list\",\"type\":\"repeat\",\"depth\":0,"
            "\"bytes\":\"0001\",\"count\":1},\n"
            "    {\"position\":24,\"size\":1,\"name\":\"list[0].u8\",\"type\":\"u8\",\"depth\":1,"
            "\"bytes\":\"09\",\"value\":9},\n"
            "    {\"position\":25,\"size\":1,\"name\":\"skip\",\"type\":\"skip\",\"depth\":0,"
            "\"bytes\":\"AA\"},\n"
            "    {\"position\":26,\"size\":1,\"name\":null,\"type\":\"undescribed\",\"depth\":0,"
            "\"bytes\":\"BB\"}\n"
            "  ]\n"
            "}\n",
        "");
}

TEST_F(TheDump, TellsInJsonWhereADocumentDoesNotFollow) {
    scratch_.Write("doc", "\x05");
    Expect(
        Dump({"--json", "doc", "--layout", "a: u16"}).Run(), 3,
        "{\n"
        "  \"file\": \"" +
            scratch_.Path("doc") +
            "\",\n"
            "  \"values\": [\n"
            "  ],\n"
            "  \"fault\": {\"position\":0,\"name\":\"a\",\"what\":\"the document ends at 1\","
            "\"message\":\"Unexpected end of file error (#-39) while reading file Vol:doc.\"}\n"
            "}\n",
        "ondrel: doc: at 0, a: the document ends at 1: Unexpected end of file error (#-39) while "
        "reading file Vol:doc.\n");
}

TEST_F(TheDump, CutsLongTextsAtACharacter) {
    std::string text;
    for (int i = 0; i < 150; ++i)
        text += "\xC3\xA9";
    scratch_.Write("doc", "x" + text + std::string(1, '\0'));
    const ProgramResult result = Dump({"doc", "--layout", "nul"}).Run();
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("nul  \"x" + text.substr(0, 198) + "\"..., 301 bytes\n"),
              std::string::npos)
        << result.output;
}

TEST_F(TheDump, TakesALayoutFromAFile) {
    scratch_.Write("doc", "ab");
    scratch_.Write("layout", "u8 # one\nu8\n");
    EXPECT_EQ(Dump({"doc", "--layout=@layout"}).Run().status, 0);
    scratch_.Write("layout", "u8\n u9\n");
    Expect(Dump({"doc", "--layout", "@layout"}).Run(), 2, "",
           "ondrel: layout: line 2, column 2: there is no form 'u9'\n");
    Expect(Dump({"doc", "--layout", "@missing"}).Run(), 1, "", "ondrel: missing: no such file\n");
}

TEST_F(TheDump, RefusesWrongUsage) {
    scratch_.Write("doc", "ab");
    const struct {
        std::vector<std::string> words;
        const char* says;
    } kTable[] = {
        {{"doc"}, "layout"},
        {{"--layout", "u8"}, "FILE"},
        {{"doc", "doc", "--layout", "u8"}, "doc"},
        {{"doc", "--layout"}, "layout"},
        {{"doc", "--layout", "u8 {"}, "--layout: column 4: a form is wanted here"},
        {{"doc", "--layout", "u8", "--colour"}, "colour"},
    };
    for (const auto& row : kTable) {
        const ProgramResult result = Dump(row.words).Run();
        EXPECT_EQ(result.status, 2) << row.says;
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find(row.says), std::string::npos) << result.errors;
    }
}

TEST_F(TheDump, MeetsBadFilesWithAClearMessage) {
    scratch_.Write("empty", "");
    scratch_.MakeFolder("folder");
    scratch_.Write("secret", "s");
    std::filesystem::permissions(scratch_.Path("secret"), std::filesystem::perms::none);
    std::filesystem::permissions(scratch_.Path(), std::filesystem::perms(0755));
    const struct {
        const char* file;
        int status;
        std::string errors;
    } kTable[] = {
        {"missing", 1, "ondrel: missing: no such file\n"},
        {"folder", 3, "ondrel: folder: is a folder\n"},
        {"secret", 3, "ondrel: secret: permission denied\n"},
        {"/dev/null", 3, "ondrel: /dev/null: is no plain file\n"},
        {"empty", 3,
         "ondrel: empty: at 0, u16: the document ends at 0: Unexpected end of file error (#-39) "
         "while reading file Vol:empty.\n"},
    };
    for (const auto& row : kTable)
        Expect(Dump({row.file, "--layout", "u16"}).AsNobody().Run(), row.status, "", row.errors);
    EXPECT_EQ(Dump({"empty", "--layout", ""}).Run().status, 0);
}

TEST_F(TheDump, SurvivesRandomBytesUnderAnyLayout) {
    unsigned seed = 7;
    for (int round = 0; round < 30; ++round) {
        std::string bytes;
        for (int i = 0; i < 400; ++i) {
            seed = seed * 1103515245U + 12345U;
            bytes += static_cast<char>(seed >> (round % 2 == 0 ? 16 : 29));
        }
        scratch_.Write("noise", bytes);
        const ProgramResult result =
            Dump({"noise", "--layout",
                  "u8 block { repeat * { u8 str } } repeat u16 { refrel ref crlf u16str }"})
                .Run();
        EXPECT_TRUE(result.status == 0 || result.status == 3) << result.signal;
        EXPECT_EQ(result.errors.empty(), result.status == 0);
    }
}

TEST_F(TheDump, ReadsTheDataWhateverTheSidecarIs) {
    scratch_.Write("doc", "\x07");
    scratch_.Write("._doc", Bytes("00 05 16 07 00 02"));
    EXPECT_EQ(Dump({"doc", "--layout", "u8"}).Run().status, 0);
}

TEST_F(TheDump, TellsThatItsReaderHasGoneAndThatTheDiskIsFull) {
    scratch_.Write("doc", std::string(100000, 'a'));
    const ProgramResult gone = Dump({"doc", "--layout", "repeat * { u8 }"}).WithClosedPipe().Run();
    EXPECT_EQ(gone.status, 3);
    EXPECT_EQ(gone.errors, "ondrel: standard output: its reader has gone\n");
    const ProgramResult full =
        Program({"/bin/sh", "-c", "exec \"$0\" dump doc --layout 'u8' >/dev/full", ONDREL_TOOL})
            .In(scratch_.Path())
            .Run();
    EXPECT_EQ(full.status, 3);
    EXPECT_NE(full.errors.find("ondrel: standard output: "), std::string::npos) << full.errors;
}

TEST_F(TheDump, EndsWhenItIsInterrupted) {
    scratch_.Write("doc", "");
    std::filesystem::resize_file(scratch_.Path("doc"), 2000000000);
    const ProgramResult result = Dump({"doc", "--layout", "repeat * { u8 }"})
                                     .Meanwhile([](pid_t child) {
                                         usleep(100000);
                                         kill(child, SIGINT);
                                     })
                                     .Run();
    EXPECT_EQ(result.signal, SIGINT);
}

}  // namespace
}  // namespace Ondrel::Testing
