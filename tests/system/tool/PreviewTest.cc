// ondrel preview show and preview set, as users run them.
#include <filesystem>

#include "tests/system/tool/PictureFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

// 40 by 4 pixels are enough for packed rows; red with alpha, and the rest as told.
constexpr int kWidth = 40;
constexpr int kHeight = 4;

class ThePreview : public ToolTest {
 protected:
    void WritePictures() const {
        Write("a", "data");
        Write("red.png", PngOfColour(kWidth, kHeight, Bytes("FF FF 00 00")));
        Write("blue.png", PngOfColour(kWidth, kHeight, Bytes("FF 00 00 FF")));
    }
    std::string ColourOfPreview(const std::string& file) const {
        const ProgramResult result = Ondrel({"preview", "show", file, "-o", "-"}).Run();
        EXPECT_EQ(result.status, 0) << result.errors;
        return result.status == 0 ? PixelAt(Unpacked(result.output), 5, 2) : "none";
    }
};

TEST_F(ThePreview, IsSetAndShown) {
    WritePictures();
    ExpectRun({"preview", "set", "a", "red.png"}, 0, "", "");
    const std::string resources = Ondrel({"fork", "list", "a"}).Run().output;
    EXPECT_EQ(resources.find("PICT    256  "), 0U) << resources;
    EXPECT_NE(resources.find("\npnot      0  "), std::string::npos) << resources;
    EXPECT_NE(resources.find("\nicns -16455  "), std::string::npos) << resources;
    ExpectRun({"preview", "show", "a", "-o", "out.png"}, 0, "", "");
    const auto picture = Unpacked(ReadAll(Path("out.png")));
    EXPECT_EQ(picture.width, kWidth);
    EXPECT_EQ(picture.height, kHeight);
    EXPECT_EQ(PixelAt(picture, 0, 0), "FF FF 00 00");
    EXPECT_EQ(PixelAt(picture, kWidth - 1, kHeight - 1), "FF FF 00 00");
    EXPECT_EQ(ReadAll(Path("a")), "data");
}

TEST_F(ThePreview, SetAgainIsTheNewOneAndCodesStay) {
    WritePictures();
    ASSERT_EQ(Ondrel({"codes", "a", "--type", "PNTG"}).Run().status, 0);
    ExpectRun({"preview", "set", "a", "red.png"}, 0, "", "");
    ExpectRun({"preview", "set", "a", "blue.png"}, 0, "", "");
    ExpectRun({"preview", "set", "a", "blue.png"}, 0, "", "");
    EXPECT_EQ(ColourOfPreview("a"), "FF 00 00 FF");
    EXPECT_EQ(Ondrel({"codes", "a"}).Run().output, "type     PNTG\ncreator  none\n");
    EXPECT_EQ(Names(), "._a a blue.png red.png");
}

TEST_F(ThePreview, OtherResourcesAreNotLostUnawares) {
    WritePictures();
    Write("._a", SmallSidecar());
    ExpectRun({"preview", "set", "a", "red.png"}, 3, "",
              "ondrel: a: has 2 resources that a new preview would take the place of; --replace "
              "does it all the same\n");
    EXPECT_EQ(Hex(ReadAll(Path("._a"))), Hex(SmallSidecar()));
    ExpectRun({"preview", "set", "a", "red.png", "--replace"}, 0, "", "");
    EXPECT_EQ(ColourOfPreview("a"), "FF FF 00 00");
}

TEST_F(ThePreview, IsTransparentWhereTheMaskIsDark) {
    WritePictures();
    Write("dark.png", PngOfColour(kWidth, kHeight, Bytes("FF 10 10 10")));
    Write("bright.png", PngOfColour(kWidth, kHeight, Bytes("FF F0 F0 F0")));
    Write("clear.png", PngOfColour(kWidth, kHeight, Bytes("20 00 FF 00")));
    ExpectRun({"preview", "set", "a", "red.png", "--mask", "dark.png"}, 0, "", "");
    EXPECT_EQ(ColourOfPreview("a"), "00");
    ExpectRun({"preview", "set", "a", "red.png", "--mask=bright.png"}, 0, "", "");
    EXPECT_EQ(ColourOfPreview("a"), "FF FF 00 00");
    ExpectRun({"preview", "set", "a", "clear.png"}, 0, "", "");
    EXPECT_EQ(ColourOfPreview("a"), "00");
}

TEST_F(ThePreview, KeepsItsResolution) {
    WritePictures();
    ExpectRun({"preview", "set", "a", "red.png", "--resolution", "300"}, 0, "", "");
    const std::string fork = Ondrel({"fork", "export", "a"}).Run().output;
    EXPECT_NE(fork.find(Bytes("01 2C 00 00 01 2C 00 00")), std::string::npos);
}

TEST_F(ThePreview, WrongPicturesAndMasksChangeNothing) {
    WritePictures();
    Write("small.png", PngOfColour(3, 3, Bytes("FF 00 00 00")));
    Write("wide.png", PngOfColour(9000, 1, Bytes("FF 00 00 00")));
    Write("text.png", "this is no picture");
    Write("cut.png", ReadAll(Path("red.png")).substr(0, 60));
    Write("empty.png", "");
    fs::create_directory(Path("folder"));
    const std::string noPng = ": is no PNG file, or a damaged or too large one\n";
    const std::pair<std::vector<std::string>, std::string> kRows[] = {
        {{"text.png"}, "text.png" + noPng},
        {{"cut.png"}, "cut.png" + noPng},
        {{"empty.png"}, "empty.png" + noPng},
        {{"folder"}, "folder: is a folder\n"},
        {{"red.png", "--mask", "text.png"}, "text.png" + noPng},
        {{"red.png", "--mask", "small.png"},
         "small.png: is 3 x 3 pixels and the picture 40 x 4; a mask has the same size\n"},
        {{"wide.png"}, "a: a preview has at most 8191 x 32767 pixels, not 9000 x 1\n"},
    };
    for (const auto& [more, errors] : kRows) {
        std::vector<std::string> words = {"preview", "set", "a"};
        words.insert(words.end(), more.begin(), more.end());
        ExpectRun(words, 3, "", "ondrel: " + errors);
        EXPECT_FALSE(Exists(Path("._a")));
    }
    ExpectRun({"preview", "set", "a", "missing.png"}, 1, "", "ondrel: missing.png: no such file\n");
    ExpectRun({"preview", "set", "missing", "red.png"}, 1, "", "ondrel: missing: no such file\n");
    ExpectRun({"preview", "set", "folder", "red.png"}, 3, "", "ondrel: folder: is a folder\n");
    EXPECT_FALSE(Exists(Path("._a")));
}

TEST_F(ThePreview, WithoutPermissionOrOnAFullDiskTheOldOneStays) {
    WritePictures();
    fs::create_directory(Path("closed"));
    Write("closed/a", "data");
    fs::permissions(Path("closed"), fs::perms(0555));
    Expect(Ondrel({"preview", "set", "closed/a", "red.png"}).AsNobody().Run(), 3, "",
           "ondrel: closed/a: permission denied\n");
    const SmallDisk disk(Path("disk"), 64);
    if (!disk.IsThere()) GTEST_SKIP() << "a small file system cannot be mounted here";
    Write("disk/a", "data");
    ASSERT_EQ(Ondrel({"preview", "set", "disk/a", "red.png"}).Run().status, 0);
    const std::string before = ReadAll(Path("disk/._a"));
    disk.Fill();
    ExpectRun({"preview", "set", "disk/a", "blue.png"}, 3, "",
              "ondrel: disk/a: the preview could not be stored; is the disk full?\n");
    EXPECT_EQ(Hex(ReadAll(Path("disk/._a"))), Hex(before));
    EXPECT_EQ(ColourOfPreview("disk/a"), "FF FF 00 00");
    EXPECT_EQ(Names("disk"), "._a a filler");
}

TEST_F(ThePreview, ThatIsNotThereExitsWithOne) {
    Write("a", "data");
    Write("empty", "");
    Write("b", "data");
    Write("._b", SmallSidecar());
    for (const char* file : {"a", "empty", "b"})
        ExpectRun({"preview", "show", file, "-o", "out.png"}, 1, "",
                  std::string("ondrel: ") + file + ": has no preview\n");
    ExpectRun({"preview", "show", "missing", "-o", "out.png"}, 1, "",
              "ondrel: missing: no such file\n");
    ExpectRun({"preview", "show", "a"}, 2, "",
              "ondrel: standard output is no terminal; say where the picture goes with -o\n");
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(ThePreview, DamagedOnesAreToldOf) {
    WritePictures();
    ASSERT_EQ(Ondrel({"preview", "set", "a", "red.png"}).Run().status, 0);
    const std::string whole = ReadAll(Path("._a"));
    Write("._a", whole.substr(0, whole.size() / 2));
    ExpectRun({"preview", "show", "a", "-o", "out.png"}, 3, "",
              "ondrel: a: its resource fork or its sidecar is damaged\n");
    Write("._a", SidecarOf("", RandomBytes(600)));
    ExpectRun({"preview", "show", "a", "-o", "out.png"}, 3, "",
              "ondrel: a: its resource fork or its sidecar is damaged\n");
    Write("._a", whole);
    fs::permissions(Path("a"), fs::perms::none);
    Expect(Ondrel({"preview", "show", "a", "-o", "-"}).AsNobody().Run(), 3, "",
           "ondrel: a: permission denied\n");
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(ThePreview, WhereItCannotGoNothingIsMade) {
    WritePictures();
    ASSERT_EQ(Ondrel({"preview", "set", "a", "red.png"}).Run().status, 0);
    Write("out.png", "old");
    Expect(Ondrel({"preview", "show", "a", "-o", "out.png"}).WithFilesUpTo(75).Run(), 3, "",
           "ondrel: out.png: the disk is full, or the file would be too large\n");
    EXPECT_EQ(ReadAll(Path("out.png")), "old");
    Expect(Ondrel({"preview", "show", "a", "-o", "-"}).WithClosedPipe().Run(), 3, "",
           "ondrel: standard output: its reader has gone\n");
    EXPECT_EQ(Names(), "._a a blue.png out.png red.png");
}

TEST_F(ThePreview, OnATerminalIsHalfBlocksOfItsWidth) {
    WritePictures();
    ASSERT_EQ(Ondrel({"preview", "set", "a", "red.png"}).Run().status, 0);
    const auto shown = [&](const char* terminal) {
        return Ondrel({"preview", "show", "a"})
            .OnTerminal(20, 24)
            .With("TERM", terminal)
            .Run()
            .output;
    };
    std::string row;
    for (int i = 0; i < 20; ++i)
        row += "\xE2\x96\x80";
    // 40 by 4 pixels become 20 by 2, which are one line.
    EXPECT_EQ(shown("xterm"), "\x1B[48;2;255;0;0m\x1B[38;2;255;0;0m" + row + "\x1B[0m\r\n");
    EXPECT_EQ(shown("dumb").find('\x1B'), std::string::npos);
    EXPECT_EQ(shown("dumb").size(), 20U * 3 + 2);
}

}  // namespace
}  // namespace OndrelTool::Testing
