// Where the links of a document lead.
#include "tools/ondrel/layout/Links.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/tools/LinkedDocument.h"

namespace OndrelTool::Testing {
namespace {

class DocumentsLinks : public ::testing::Test, public LinkedDocuments {
 protected:
    std::vector<std::string> States(const std::string& bytes, std::string_view layout) {
        Folder().Write("Proj/doc", bytes);
        DocumentLinks links;
        EXPECT_FALSE(ReadLinks(Spec("Proj/doc"), ParsedLayout(layout), nullptr, &links));
        std::vector<std::string> states;
        for (const Link& link : links.links)
            states.push_back(std::string(StateName(link.state)) + " " +
                             (link.place.starts_with(Folder().Path())
                                  ? link.place.substr(Folder().Path().size())
                                  : link.place));
        return states;
    }
};

TEST_F(DocumentsLinks, LeadToFilesAndFoldersOrNowhere) {
    Folder().Write("Pics/a.tif", "a");
    Folder().MakeFolder("Pics/Old");
    const struct {
        std::string record;
        const char* state;
    } kTable[] = {
        {AbsoluteRecord("Vol:Pics:a.tif"), "found /Pics/a.tif"},
        {AbsoluteRecord("Vol:Pics:A.TIF"), "lost /Pics/A.TIF"},
        {AbsoluteRecord("Vol:Pics:Old:x"), "found /Pics/Old"},
        {AbsoluteRecord("Vol:Pics:b.tif"), "lost /Pics/b.tif"},
        {AbsoluteRecord("No Such Volume:a"), "lost /Volumes/No Such Volume/a"},
        {AbsoluteRecord("a.tif"), "lost "},
        {AbsoluteRecord(":Pics:a.tif"), "lost "},
        {"\x02" + Big16(0), "empty "},
    };
    for (const auto& row : kTable)
        EXPECT_EQ(States(row.record, "ref"), std::vector<std::string>{row.state});
}

TEST_F(DocumentsLinks, ARelativeOneLeadsBesideTheDocumentElseToItsOldPlace) {
    Folder().Write("Pics/a.tif", "a");
    Folder().Write("Old/b.tif", "b");
    const struct {
        std::string record;
        const char* state;
    } kTable[] = {
        {RelativeRecord(2, 2, "Was:There:Pics:a.tif"), "found /Pics/a.tif"},
        {RelativeRecord(1, 2, "dummy:Pics:a.tif"), "found /Pics/a.tif"},
        {RelativeRecord(1, 1, "Vol:Old:b.tif"), "at its old place /Old/b.tif"},
        {RelativeRecord(1, 1, "dummy:c.tif"), "lost /Proj/c.tif"},
        {RelativeRecord(0, 3, "Vol:Pics:a.tif"), "found /Pics/a.tif"},
    };
    for (const auto& row : kTable)
        EXPECT_EQ(States(row.record, "refrel"), std::vector<std::string>{row.state});
}

TEST_F(DocumentsLinks, ALinkToAFileThatMayNotBeReadIsNotLost) {
    const std::string path = Folder().Write("secret", "s");
    std::filesystem::permissions(path, std::filesystem::perms::none);
    EXPECT_EQ(States(AbsoluteRecord("Vol:secret"), "ref"),
              std::vector<std::string>{"found /secret"});
}

TEST_F(DocumentsLinks, ALinkToASymbolicLinkGoesByItsTarget) {
    Folder().Write("a", "a");
    std::filesystem::create_symlink("a", Folder().Path("good"));
    std::filesystem::create_symlink("b", Folder().Path("bad"));
    EXPECT_EQ(States(AbsoluteRecord("Vol:good"), "ref").at(0).substr(0, 5), "found");
    EXPECT_EQ(States(AbsoluteRecord("Vol:bad"), "ref").at(0).substr(0, 4), "lost");
}

TEST_F(DocumentsLinks, AreReadWithTheBlocksAroundThem) {
    Folder().Write("doc", Block32(Block16(AbsoluteRecord("Vol:a")) + Block16("xyz")) + "end");
    DocumentLinks links;
    const Layout layout = ParsedLayout("block { block16 { ref } block16 { rest } } text 3");
    ASSERT_FALSE(ReadLinks(Spec("doc"), layout, nullptr, &links));
    ASSERT_EQ(links.blocks.size(), 3U);
    const int expected[3][3] = {{0, 4, 20}, {4, 2, 15}, {15, 2, 20}};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(links.blocks[i].begin, expected[i][0]);
        EXPECT_EQ(links.blocks[i].width, expected[i][1]);
        EXPECT_EQ(links.blocks[i].end, expected[i][2]);
    }
    EXPECT_EQ(links.size, 23);
    ASSERT_EQ(links.links.size(), 1U);
    EXPECT_EQ(links.links[0].value.begin, 6);
    EXPECT_EQ(links.links[0].value.end, 15);
}

TEST_F(DocumentsLinks, OfADocumentThatIsALinkBelongToItsTarget) {
    Folder().Write("Real/doc", RelativeRecord(1, 1, "dummy:a"));
    Folder().Write("Real/a", "a");
    Folder().MakeFolder("Other");
    std::filesystem::create_symlink("../Real/doc", Folder().Path("Other/doc"));
    DocumentLinks links;
    ASSERT_FALSE(ReadLinks(Spec("Other/doc"), ParsedLayout("refrel"), nullptr, &links));
    EXPECT_EQ(links.links.at(0).state, LinkState::kFound);
    std::string path;
    ASSERT_TRUE(links.file.GetFullPath(path));
    EXPECT_EQ(path, Folder().Path("Real/doc"));
}

TEST_F(DocumentsLinks, ABlockOfAnyLengthDoesNotOverflow) {
    Folder().Write("doc", "xx" + Big32(2147483647) + "x");
    DocumentLinks links;
    EXPECT_TRUE(ReadLinks(Spec("doc"), ParsedLayout("skip 2 block { ref }"), nullptr, &links));
    ASSERT_EQ(links.blocks.size(), 1U);
    EXPECT_EQ(links.blocks[0].end, 2147483647);
}

}  // namespace
}  // namespace OndrelTool::Testing
