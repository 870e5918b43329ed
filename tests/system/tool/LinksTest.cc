// ondrel links, as users run it: what is listed, and what a repair leaves in the folder.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/Program.h"
#include "tests/support/Scratch.h"
#include "tests/tools/LinkedDocument.h"

namespace OndrelTool::Testing {
namespace {

using namespace Ondrel::Testing;

class TheLinks : public ::testing::Test, public LinkedDocuments {
 protected:
    TheLinks() { std::filesystem::permissions(Folder().Path(), std::filesystem::perms(0755)); }

    Program Links(const std::vector<std::string>& more) const {
        std::vector<std::string> words = {ONDREL_TOOL, "links"};
        words.insert(words.end(), more.begin(), more.end());
        return Program(std::move(words))
            .In(Folder().Path())
            .With("ONDREL_VOLUMES", "Vol=" + Folder().Path());
    }

    static void Expect(const ProgramResult& result, int status, const std::string& output,
                       const std::string& errors) {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, output);
        EXPECT_EQ(result.errors, errors);
    }

    // A document with a link that leads to a file and two that are lost.
    std::string Lost() const {
        return Block16(AbsoluteRecord("Vol:Proj:here.txt") + AbsoluteRecord("HD:Pics:a.tif") +
                       RelativeRecord(1, 2, "dummy:Pics:a.tif")) +
               "end";
    }
    std::string Repaired() const {
        return Block16(AbsoluteRecord("Vol:Proj:here.txt") + AbsoluteRecord("Vol:In:Deep:a.tif") +
                       RelativeRecord(1, 2, "dummy:In:Deep:a.tif")) +
               "end";
    }
    void WriteLost() const {
        Folder().Write("Proj/doc", Lost());
        Folder().Write("Proj/here.txt", "");
    }
    void ExpectUnchanged() const {
        EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/doc"))), Hex(Lost()));
        EXPECT_EQ(NamesIn("Proj"), (std::vector<std::string>{"doc", "here.txt"}));
    }
};

const char* const kLayout = "block16 { ref ref to: refrel } text 3";

TEST_F(TheLinks, AreListedAndTheExitCodeTellsOfLostOnes) {
    WriteLost();
    Expect(Links({"Proj/doc", "--layout", kLayout}).Run(), 1,
           "       2  found           ref  Vol:Proj:here.txt\n"
           "      23  lost            ref  HD:Pics:a.tif\n"
           "      40  lost            to: refrel  Vol:Pics:a.tif\n",
           "ondrel: Proj/doc: 2 of 3 links lead nowhere\n");
    Folder().Write("Pics/a.tif", "");
    Folder().Write("Proj/doc", RelativeRecord(1, 2, "dummy:Pics:a.tif"));
    Expect(Links({"Proj/doc", "--layout", "refrel"}).Run(), 0,
           "       0  found           refrel  Vol:Pics:a.tif\n", "");
    EXPECT_EQ(NamesIn("Proj"), (std::vector<std::string>{"doc", "here.txt"}));
}

TEST_F(TheLinks, AreListedAsJson) {
    Folder().Write("Proj/doc", AbsoluteRecord("Vol:Proj:doc") + RelativeRecord(1, 1, "dummy:b") +
                                   "\x02" + Big16(0));
    Expect(Links({"Proj/doc", "--layout", "ref refrel ref", "--json"}).Run(), 1,
           "{\n"
           "  \"file\": \"" +
               Folder().Path("Proj/doc") +
               "\",\n"
               "  \"links\": [\n"
               "    {\n"
               "      \"position\": 0,\n"
               "      \"size\": 16,\n"
               "      \"name\": \"ref\",\n"
               "      \"type\": \"ref\",\n"
               "      \"value\": \"Vol:Proj:doc\",\n"
               "      \"state\": \"found\",\n"
               "      \"place\": \"" +
               Folder().Path("Proj/doc") +
               "\"\n"
               "    },\n"
               "    {\n"
               "      \"position\": 16,\n"
               "      \"size\": 15,\n"
               "      \"name\": \"refrel\",\n"
               "      \"type\": \"refrel\",\n"
               "      \"value\": \"Vol:Proj:b\",\n"
               "      \"stored\": \"dummy:b\",\n"
               "      \"state\": \"lost\",\n"
               "      \"place\": \"" +
               Folder().Path("Proj/b") +
               "\",\n"
               "      \"found\": null\n"
               "    },\n"
               "    {\n"
               "      \"position\": 31,\n"
               "      \"size\": 3,\n"
               "      \"name\": \"ref\",\n"
               "      \"type\": \"ref\",\n"
               "      \"value\": null,\n"
               "      \"state\": \"empty\",\n"
               "      \"place\": null\n"
               "    }\n"
               "  ],\n"
               "  \"lost\": 1,\n"
               "  \"saved\": false\n"
               "}\n",
           "ondrel: Proj/doc: 1 of 3 links lead nowhere\n");
}

TEST_F(TheLinks, ARepairFindsThemAndSavesTheDocument) {
    WriteLost();
    Folder().Write("In/Deep/a.tif", "");
    Expect(Links({"Proj/doc", "--layout", kLayout, "--relink", "In"}).Run(), 0,
           "       2  found           ref  Vol:Proj:here.txt\n"
           "      23  lost            ref  HD:Pics:a.tif\n"
           "          found again:    Vol:In:Deep:a.tif\n"
           "      40  lost            to: refrel  Vol:Pics:a.tif\n"
           "          found again:    Vol:In:Deep:a.tif\n",
           "");
    EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/doc"))), Hex(Repaired()));
    EXPECT_EQ(NamesIn("Proj"), (std::vector<std::string>{"doc", "here.txt"}));
    EXPECT_EQ(Links({"Proj/doc", "--layout", kLayout}).Run().status, 0);
}

TEST_F(TheLinks, ARepairIsAllOrNothing) {
    Folder().Write("Proj/doc", AbsoluteRecord("HD:a") + AbsoluteRecord("HD:b"));
    Folder().Write("In/a", "");
    Expect(Links({"Proj/doc", "--layout", "ref ref", "--relink", "In"}).Run(), 1,
           "       0  lost            ref  HD:a\n"
           "          found again:    Vol:In:a\n"
           "       8  lost            ref  HD:b\n",
           "ondrel: Proj/doc: 1 of 2 lost links cannot be told below In; nothing was changed\n");
    EXPECT_EQ(ReadAll(Folder().Path("Proj/doc")), AbsoluteRecord("HD:a") + AbsoluteRecord("HD:b"));
}

TEST_F(TheLinks, ARepairLeavesAChoiceToTheUser) {
    WriteLost();
    Folder().Write("In/1/a.tif", "");
    Folder().Write("In/2/a.tif", "");
    const ProgramResult result = Links({"Proj/doc", "--layout", kLayout, "--relink", "In"}).Run();
    EXPECT_EQ(result.status, 1);
    for (const char* place : {"In/1/a.tif", "In/2/a.tif"})
        EXPECT_NE(result.output.find("          might be:       " + Folder().Path(place) + "\n"),
                  std::string::npos)
            << result.output;
    ExpectUnchanged();
}

TEST_F(TheLinks, ARepairWithoutLostLinksHasNothingToDo) {
    Folder().Write("Proj/doc", AbsoluteRecord("Vol:Proj:doc"));
    const ProgramResult result = Links({"Proj/doc", "--layout", "ref", "--relink", "Proj"}).Run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "ondrel: Proj/doc: no link is lost; nothing was changed\n");
}

TEST_F(TheLinks, ARepairKeepsTheSidecar) {
    WriteLost();
    Folder().Write("In/Deep/a.tif", "");
    const std::string sidecar =
        Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " +
        Bytes("00 02 00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52 00 00 00 00") +
        "TEXTMine" + std::string(24, '\0');
    Folder().Write("Proj/._doc", sidecar);
    EXPECT_EQ(Links({"Proj/doc", "--layout", kLayout, "--relink", "In"}).Run().status, 0);
    EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/doc"))), Hex(Repaired()));
    EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/._doc"))), Hex(sidecar));
}

TEST_F(TheLinks, MeetTroubleWithAClearMessageAndAnUntouchedDocument) {
    WriteLost();
    Folder().Write("In/Deep/a.tif", "");
    Folder().MakeFolder("Empty");
    const struct {
        std::vector<std::string> words;
        int status;
        std::string errors;
    } kTable[] = {
        {{"Proj/doc", "--layout", "u8"}, 2, "ondrel: --layout: no ref or refrel is in it\n"},
        {{"Proj/doc", "--layout", "ref }"}, 2, "ondrel: --layout: column 5: this '}' has no '{'\n"},
        {{"missing", "--layout", "ref"}, 1, "ondrel: missing: no such file\n"},
        {{"Proj", "--layout", "ref"}, 3, "ondrel: Proj: is a folder\n"},
        {{"Proj/here.txt", "--layout", "ref"},
         3,
         "ondrel: Proj/here.txt: at 0, ref: the document ends at 0: Unexpected end of file error "
         "(#-39) while reading file Vol:Proj:here.txt.\n"},
        {{"Proj/doc", "--layout", "ref"},
         3,
         "ondrel: Proj/doc: at 0, ref: it begins with 00 and not with 02: Error #-50 while reading "
         "file Vol:Proj:doc.\n"},
        {{"Proj/doc", "--layout", kLayout, "--relink", "Gone"}, 1, "ondrel: Gone: no such file\n"},
        {{"Proj/doc", "--layout", kLayout, "--relink", "Proj/here.txt"},
         3,
         "ondrel: Proj/here.txt: is no folder\n"},
        {{"Proj/doc", "--layout", kLayout, "--relink", "Empty"},
         1,
         "ondrel: Proj/doc: 2 of 2 lost links cannot be told below Empty; nothing was changed\n"},
    };
    for (const auto& row : kTable) {
        const ProgramResult result = Links(row.words).Run();
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.errors, row.errors);
        ExpectUnchanged();
    }
}

TEST_F(TheLinks, ARepairWithoutPermissionChangesNothing) {
    WriteLost();
    Folder().Write("In/Deep/a.tif", "");
    const auto folder = Folder().Path("Proj");
    std::filesystem::permissions(folder, std::filesystem::perms(0555));
    const ProgramResult result =
        Links({"Proj/doc", "--layout", kLayout, "--relink", "In"}).AsNobody().Run();
    std::filesystem::permissions(folder, std::filesystem::perms(0755));
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(
        result.errors.starts_with("ondrel: Proj/doc: Error #-54 while opening file Vol:Proj:"))
        << result.errors;
    EXPECT_TRUE(result.errors.ends_with("; nothing was changed\n")) << result.errors;
    ExpectUnchanged();
}

TEST_F(TheLinks, ARepairOnAFullDiskChangesNothing) {
    WriteLost();
    Folder().Write("In/Deep/a.tif", "");
    const ProgramResult result =
        Links({"Proj/doc", "--layout", kLayout, "--relink", "In"}).WithFilesUpTo(70).Run();
    EXPECT_EQ(result.status, 3);
    EXPECT_TRUE(result.errors.starts_with(
        "ondrel: Proj/doc: Disk full error (#-34) while writing file Vol:Proj:"))
        << result.errors;
    ExpectUnchanged();
}

TEST_F(TheLinks, AnInterruptLeavesTheOldDocumentOrTheNewOne) {
    Folder().Write("In/a.tif", "");
    Folder().Write("Proj/doc", AbsoluteRecord("HD:a.tif"));
    const std::uintmax_t size = 400000000;
    std::filesystem::resize_file(Folder().Path("Proj/doc"), size);
    const auto interrupt = [&](pid_t child) {
        for (int i = 0; i < 5000 && NamesIn("Proj").size() < 2; ++i)
            usleep(1000);
        kill(child, SIGINT);
    };
    const ProgramResult result =
        Links({"Proj/doc", "--layout", "ref rest", "--relink", "In"}).Meanwhile(interrupt).Run();
    EXPECT_EQ(result.signal, SIGINT);
    EXPECT_EQ(NamesIn("Proj"), std::vector<std::string>{"doc"});
    EXPECT_EQ(std::filesystem::file_size(Folder().Path("Proj/doc")), size);
}

}  // namespace
}  // namespace OndrelTool::Testing
