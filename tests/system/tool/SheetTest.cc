// ondrel preview sheet, as users run it.
#include <filesystem>

#include "tests/system/tool/PictureFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

class TheSheet : public ToolTest {
 protected:
    TheSheet() {
        Write("docs/plain.txt", "data");
        Write("docs/sub/with preview", "data");
        Write("docs/sub/half.pict", HalfBlackPict());
        Write("docs/.hidden", "data");
        Write("docs/.folder/x", "data");
        fs::create_symlink("plain.txt", Path("docs/link"));
        Write("green.png", PngOfColour(40, 30, Bytes("FF 00 FF 00")));
        Write("docs/<b>&\"q\".png", ReadAll(Path("green.png")));
        EXPECT_EQ(Ondrel({"preview", "set", "docs/sub/with preview", "green.png"}).Run().status, 0);
    }
};

std::size_t Count(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

TEST_F(TheSheet, IsAPageOfEveryDocumentBelowTheFolder) {
    ExpectRun({"preview", "sheet", "docs", "-o", "sheet.html"}, 0, "", "");
    const std::string page = ReadAll(Path("sheet.html"));
    EXPECT_TRUE(page.starts_with("<!DOCTYPE html>\n"));
    EXPECT_TRUE(page.ends_with("</html>\n"));
    EXPECT_NE(page.find("<p>4 documents</p>"), std::string::npos);
    EXPECT_EQ(Count(page, "<figure>"), 4U);
    EXPECT_EQ(Count(page, "<img alt=\"\" src=\"data:image/png;base64,iVBORw0KGgo"), 3U);
    EXPECT_NE(page.find("<figcaption>&lt;b&gt;&amp;&quot;q&quot;.png<br><small>40 &times; 30<"),
              std::string::npos);
    EXPECT_NE(page.find("<figcaption>sub/with preview<br><small>40 &times; 30<"),
              std::string::npos);
    EXPECT_NE(page.find("<figcaption>sub/half.pict<br><small>20 &times; 10<"), std::string::npos);
    EXPECT_NE(page.find("<span class=\"none\">txt</span>"), std::string::npos);
    EXPECT_NE(page.find("href=\"./docs/sub/with%20preview\""), std::string::npos);
    EXPECT_EQ(page.find("hidden"), std::string::npos);
    EXPECT_EQ(Count(page, "link"), 0U);
}

TEST_F(TheSheet, LeavesOutWhatHasNoPictureWhereItIsAskedTo) {
    ExpectRun({"preview", "sheet", "docs", "--pictures", "-o", "sheet.html"}, 0, "", "");
    EXPECT_NE(ReadAll(Path("sheet.html")).find("<p>3 documents</p>"), std::string::npos);
}

TEST_F(TheSheet, IsAPictureToo) {
    ExpectRun({"preview", "sheet", "docs", "-o", "sheet.png"}, 0, "", "");
    const auto sheet = Unpacked(ReadAll(Path("sheet.png")));
    EXPECT_EQ(sheet.width, 2 * 32 + 4 * (176 + 16) - 16);
    EXPECT_EQ(sheet.height, 2 * 32 + 48 + 228);
    // The first card's picture, in the middle of its square, and the ground beside it.
    EXPECT_EQ(PixelAt(sheet, 32 + 88, 80 + 88), "FF 00 FF 00");
    EXPECT_EQ(PixelAt(sheet, 32 + 4, 80 + 4), "FF EE EE EE");
    EXPECT_EQ(PixelAt(sheet, 5, 5), "FF FF FF FF");
}

TEST_F(TheSheet, IsNotOnItselfWhenItIsMadeAgain) {
    for (int i = 0; i < 2; ++i) {
        ExpectRun({"preview", "sheet", "docs/", "-o", "docs/sheet.png"}, 0, "", "");
        ExpectRun({"preview", "sheet", ".", "-o", "all.html"}, 0, "", "");
    }
    const std::string page = ReadAll(Path("all.html"));
    EXPECT_NE(page.find("<p>6 documents</p>"), std::string::npos) << "with sheet.png and green.png";
    EXPECT_NE(page.find("href=\"./docs/sheet.png\""), std::string::npos);
}

TEST_F(TheSheet, DocumentsThatCannotBeReadAreToldOfAndHaveAnEmptyCard) {
    Write("docs/bad", "data");
    Write("docs/._bad", SidecarOf("", RandomBytes(600)));
    Write("docs/cut.png", ReadAll(Path("green.png")).substr(0, 50));
    ExpectRun({"preview", "sheet", "docs", "-o", "sheet.html"}, 3, "",
              "ondrel: " + Path("docs/bad") +
                  ": its resource fork or its sidecar is damaged\n"
                  "ondrel: " +
                  Path("docs/cut.png") + ": is no PNG file, or a damaged or too large one\n");
    EXPECT_NE(ReadAll(Path("sheet.html")).find("<p>6 documents</p>"), std::string::npos);
}

TEST_F(TheSheet, OfNothingIsNotMade) {
    fs::create_directory(Path("empty"));
    ExpectRun({"preview", "sheet", "empty", "-o", "out.html"}, 1, "",
              "ondrel: empty: holds no documents\n");
    ExpectRun({"preview", "sheet", "missing", "-o", "out.html"}, 1, "",
              "ondrel: missing: no such file\n");
    ExpectRun({"preview", "sheet", "green.png", "-o", "out.html"}, 3, "",
              "ondrel: green.png: is no folder\n");
    ExpectRun({"preview", "sheet", "docs", "-o", "out.gif"}, 2, "",
              "ondrel: the sheet's name ends in .html or .png\n");
    fs::permissions(Path("docs"), fs::perms::none);
    Expect(Ondrel({"preview", "sheet", "docs", "-o", "out.html"}).AsNobody().Run(), 3, "",
           "ondrel: docs: permission denied\n");
    EXPECT_EQ(Names(), "docs empty green.png");
}

TEST_F(TheSheet, ThatCannotBeWrittenLeavesTheOldOne) {
    Write("sheet.html", "old");
    Expect(Ondrel({"preview", "sheet", "docs", "-o", "sheet.html"}).WithFilesUpTo(1000).Run(), 3,
           "", "ondrel: sheet.html: the disk is full, or the file would be too large\n");
    EXPECT_EQ(ReadAll(Path("sheet.html")), "old");
    ExpectRun({"preview", "sheet", "docs", "-o", "missing/sheet.html"}, 3, "",
              "ondrel: missing/sheet.html: its folder does not exist\n");
    EXPECT_EQ(Names(), "docs green.png sheet.html");
}

TEST_F(TheSheet, ATerminalSeesABar) {
    const std::string picture = PngOfColour(20, 20, Bytes("FF 00 FF 00"));
    for (int i = 0; i < 7; ++i)
        Write("many/" + std::to_string(i), picture);
    const std::string shown = Ondrel({"preview", "sheet", "many", "-o", "s.html"})
                                  .OnTerminal(80, 24)
                                  .With("ONDREL_PROGRESS", "now")
                                  .Run()
                                  .output;
    EXPECT_NE(shown.find("\rDocuments ["), std::string::npos) << shown;
    EXPECT_NE(shown.find("/7 "), std::string::npos) << shown;
    EXPECT_TRUE(shown.ends_with("\r\x1B[K")) << "the line is cleared";
}

}  // namespace
}  // namespace OndrelTool::Testing
