// ondrel pict, as users run it.
#include <filesystem>

#include "tests/support/Corpus.h"
#include "tests/system/tool/PictureFixture.h"

namespace OndrelTool::Testing {
namespace {

namespace fs = std::filesystem;

class ThePictures : public ToolTest {};

TEST_F(ThePictures, BecomePngFilesInAFolderThatIsMade) {
    Write("in/a.pict", HalfBlackPict());
    Write("in/b", std::string(512, '\0') + HalfBlackPict());
    ExpectRun({"pict", "in/a.pict", "in/b", "-o", "out/deeper"}, 0, "", "");
    EXPECT_EQ(Names("out/deeper"), "a.png b.png");
    for (const char* name : {"out/deeper/a.png", "out/deeper/b.png"}) {
        const auto picture = Unpacked(ReadAll(Path(name)));
        EXPECT_EQ(picture.width, 20);
        EXPECT_EQ(picture.height, 10);
        EXPECT_EQ(PixelAt(picture, 3, 5), "FF 00 00 00");
        EXPECT_EQ(PixelAt(picture, 15, 5), "00");
    }
}

TEST_F(ThePictures, AreDrawnOnWhiteAndSmallerWhereItIsAskedFor) {
    Write("a.pict", HalfBlackPict());
    ExpectRun({"pict", "a.pict", "-o", ".", "--white", "--size", "10"}, 0, "", "");
    const auto picture = Unpacked(ReadAll(Path("a.png")));
    EXPECT_EQ(picture.width, 10);
    EXPECT_EQ(picture.height, 5);
    EXPECT_EQ(PixelAt(picture, 2, 2), "FF 00 00 00");
    EXPECT_EQ(PixelAt(picture, 8, 2), "FF FF FF FF");
}

TEST_F(ThePictures, ThatAreNoneDoNotKeepTheOthersBack) {
    Write("a.pict", HalfBlackPict());
    Write("empty.pict", "");
    Write("random.pict", std::string(12, '\xFE') + RandomBytes(1000));
    fs::create_directory(Path("folder.pict"));
    ExpectRun(
        {"pict", "missing.pict", "empty.pict", "random.pict", "folder.pict", "a.pict", "-o", "out"},
        3, "",
        "ondrel: missing.pict: no such file\n"
        "ondrel: empty.pict: is empty\n"
        "ondrel: random.pict: is no picture\n"
        "ondrel: folder.pict: is a folder\n");
    EXPECT_EQ(Names("out"), "a.png");
    EXPECT_EQ(Ondrel({"pict", "missing.pict", "-o", "out"}).Run().status, 1);
}

TEST_F(ThePictures, OfOneNameDoNotTakeEachOthersPlace) {
    Write("x/a.pict", HalfBlackPict());
    Write("y/a.pct", HalfBlackPict());
    ExpectRun({"pict", "x/a.pict", "y/a.pct", "-o", "out"}, 3, "",
              "ondrel: y/a.pct: out/a.png was made from another of these pictures\n");
    EXPECT_EQ(Names("out"), "a.png");
}

TEST_F(ThePictures, WhereTheyCannotGoNothingIsMade) {
    Write("a.pict", HalfBlackPict());
    Write("file", "data");
    ExpectRun({"pict", "a.pict", "-o", "file"}, 3, "", "ondrel: file: is no folder\n");
    fs::create_directory(Path("closed"));
    fs::permissions(Path("closed"), fs::perms(0555));
    Expect(Ondrel({"pict", "a.pict", "-o", "closed"}).AsNobody().Run(), 3, "",
           "ondrel: closed/a.png: permission denied\n");
    Expect(Ondrel({"pict", "a.pict", "-o", "closed/more"}).AsNobody().Run(), 3, "",
           "ondrel: closed/more: the folder cannot be made\n");
    fs::permissions(Path("a.pict"), fs::perms::none);
    Expect(Ondrel({"pict", "a.pict", "-o", Path("file/..")}).AsNobody().Run(), 3, "",
           "ondrel: " + Path("file/..") + ": the folder cannot be made\n");
    EXPECT_EQ(Names("closed"), "");
}

TEST_F(ThePictures, OnAFullDiskTheOldFileStays) {
    const SmallDisk disk(Path("disk"), 64);
    if (!disk.IsThere()) GTEST_SKIP() << "a small file system cannot be mounted here";
    Write("a.pict", HalfBlackPict());
    Write("disk/a.png", "old");
    disk.Fill();
    ExpectRun({"pict", "a.pict", "-o", "disk"}, 3, "",
              "ondrel: disk/a.png: the disk is full, or the file would be too large\n");
    EXPECT_EQ(ReadAll(Path("disk/a.png")), "old");
    EXPECT_EQ(Names("disk"), "a.png filler");
}

TEST_F(ThePictures, OfOthersAreConvertedInBulk) {
    const auto files = ::Ondrel::Testing::CorpusFiles("pict/");
    if (files.empty()) GTEST_SKIP() << "there is no corpus beside the checkout";
    std::vector<std::string> words = {"pict", "-o", "out", "--size", "64"};
    for (const auto& file : files)
        words.push_back(file.path);
    const ProgramResult result = Ondrel(words).Run(300);
    EXPECT_LE(result.status, 3);
    EXPECT_EQ(result.signal, 0) << result.errors;
    std::size_t made = 0;
    for (const auto& entry : fs::directory_iterator(Path("out"))) {
        const auto picture = Unpacked(ReadAll(entry.path()));
        made += picture.width > 0 && std::max(picture.width, picture.height) <= 64;
    }
    EXPECT_GE(made, files.size() * 9 / 10) << result.errors;
}

}  // namespace
}  // namespace OndrelTool::Testing
