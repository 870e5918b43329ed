// The thumbnailer, called as the desktop's convention says: "%i %o %s" of its entry.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Png.h"
#include "ondrel/preview/ResourceFork.h"
#include "ondrel/preview/pictpreview.h"
#include "tests/preview/Pixels.h"
#include "tests/support/Program.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// A document with a preview: the upper left quarter red, the rest blue.
void GivePreview(const std::string& path, int width, int height) {
    const OwnedPix map = BlankMap(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (x < width / 2 && y < height / 2)
                SetPixel(map, x, y, 250, 10, 20);
            else
                SetPixel(map, x, y, 10, 20, 250);
    filpictpreview(FileSpec(UTF8ToUni16String(path)), map.get(), 72, nullptr);
}

// The value of a key in the entry that is installed.
std::string EntryValue(const std::string& key) {
    std::istringstream lines(ReadAll(SOURCE_FOLDER "/tools/thumbnailer/ondrel.thumbnailer"));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(key + "=")) return line.substr(key.size() + 1);
    return "";
}

class TheThumbnailer : public ::testing::Test {
 protected:
    TheThumbnailer() {
        std::filesystem::permissions(scratch_.Path(), std::filesystem::perms(0777));
    }

    // Runs the entry's command line, its field codes filled in.
    Program Make(const std::string& input, const std::string& output, const std::string& size) {
        std::vector<std::string> words;
        std::istringstream line(EntryValue("Exec"));
        for (std::string word; line >> word;) {
            if (word == "ondrel-thumbnailer") word = ONDREL_THUMBNAILER;
            if (word == "%i") word = input;
            if (word == "%o") word = output;
            if (word == "%s") word = size;
            words.push_back(word);
        }
        return Program(std::move(words)).In(scratch_.Path());
    }

    PngPicture Picture(const std::string& name) {
        PngPicture picture;
        EXPECT_EQ(ReadPng(ReadAll(scratch_.Path(name)), &picture), noErr);
        return picture;
    }

    std::string Pixel(const PngPicture& picture, int x, int y) {
        const auto at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                         static_cast<std::size_t>(x)) *
                        4;
        return Hex(std::string(picture.pixels.begin() + static_cast<std::ptrdiff_t>(at),
                               picture.pixels.begin() + static_cast<std::ptrdiff_t>(at) + 4));
    }

    void ExpectNothing(const ProgramResult& result, int status, const std::string& errors) {
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors, errors);
        EXPECT_FALSE(Exists(scratch_.Path("out.png")));
    }

    Scratch scratch_;
};

TEST_F(TheThumbnailer, WritesThePreviewInTheSizeThatIsAskedFor) {
    const struct {
        int width, height;
        const char* size;
        int thumbWidth, thumbHeight;
    } kTable[] = {
        {200, 100, "128", 128, 64},  {100, 200, "128", 64, 128},   {100, 80, "256", 100, 80},
        {128, 128, "128", 128, 128}, {2000, 1000, "128", 128, 64}, {900, 3, "90", 90, 1},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(std::to_string(row.width) + " x " + std::to_string(row.height));
        const std::string path = scratch_.Write("letter.ondoc", "data");
        GivePreview(path, row.width, row.height);
        const ProgramResult result = Make(path, scratch_.Path("out.png"), row.size).Run();
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_EQ(result.errors, "");
        EXPECT_EQ(ReadAll(scratch_.Path("out.png")).substr(0, 8), "\x89PNG\r\n\x1A\n");
        const PngPicture picture = Picture("out.png");
        EXPECT_EQ(picture.width, row.thumbWidth);
        EXPECT_EQ(picture.height, row.thumbHeight);
        if (row.thumbHeight == 1) continue;
        EXPECT_EQ(Pixel(picture, 2, 2), "FF FA 0A 14");
        EXPECT_EQ(Pixel(picture, picture.width - 2, 2), "FF 0A 14 FA");
        EXPECT_EQ(Pixel(picture, 2, picture.height - 2), "FF 0A 14 FA");
    }
}

// A picture of 64 by 64 whose left half is painted black.
const char* const kHalfPicture =
    "00 00 0000 0000 0040 0040 0011 02FF 0C00 FFFF FFFF 0000 0000 0000 0000 0040 0000 0040 0000 "
    "0000 0000 0031 0000 0000 0040 0020 00FF";

TEST_F(TheThumbnailer, WhatAPreviewDoesNotCoverIsTransparent) {
    const std::string path = scratch_.Write("letter.ondoc", "data");
    const std::string bytes = Bytes(kHalfPicture);
    {
        ResourceFork fork(UTF8ToUni16String(path));
        fork.NewResource(MakeFourCC("PICT"), 256, "Preview");
        fork.Append(bytes.data(), bytes.size());
        fork.CloseResource();
    }
    for (const int size : {64, 32}) {
        EXPECT_EQ(Make(path, scratch_.Path("out.png"), std::to_string(size)).Run().status, 0);
        const PngPicture picture = Picture("out.png");
        ASSERT_EQ(picture.width, size);
        EXPECT_EQ(Pixel(picture, 5, 20), "FF 00 00 00");
        EXPECT_EQ(Pixel(picture, size - 5, 5).substr(0, 2), "00");
    }
}

TEST_F(TheThumbnailer, TakesTheFileThatTheFileManagerHasMade) {
    const std::string path = scratch_.Write("letter.ondoc", "data");
    GivePreview(path, 20, 20);
    const std::string output = scratch_.Write("out.png", "");
    EXPECT_EQ(Make("letter.ondoc", "out.png", "128").Run().status, 0);
    EXPECT_EQ(Picture("out.png").width, 20);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_.Path())) {
        (void)entry;
        ++files;
    }
    EXPECT_EQ(files, 3) << "the document, its sidecar and the thumbnail";
}

TEST_F(TheThumbnailer, HasNothingToShowOfOtherFiles) {
    const std::string plain = scratch_.Write("plain", "data");
    scratch_.Write("empty", "");
    scratch_.Write("cut", "data");
    scratch_.Write("._cut", Bytes("00 05 16 07 00 02"));
    scratch_.Write("noise", "data");
    std::string noise = Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " +
                        Bytes(
                            "00 02 00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52 "
                            "00 00 01 00") +
                        std::string(32, '\0');
    for (int i = 0; i < 256; ++i)
        noise += static_cast<char>(i * 37 + 11);
    scratch_.Write("._noise", noise);
    scratch_.MakeFolder("folder");
    const std::string out = scratch_.Path("out.png");
    ExpectNothing(Make("plain", out, "128").Run(), 1, "ondrel: plain: it has no preview\n");
    ExpectNothing(Make("empty", out, "128").Run(), 1, "ondrel: empty: it has no preview\n");
    ExpectNothing(Make("missing", out, "128").Run(), 1, "ondrel: missing: no such file\n");
    ExpectNothing(Make("folder", out, "128").Run(), 3, "ondrel: folder: is a folder\n");
    for (const char* damaged : {"cut", "noise"}) {
        const ProgramResult result = Make(damaged, out, "128").Run();
        EXPECT_EQ(result.status, 3) << damaged;
        EXPECT_NE(result.errors, "");
        EXPECT_FALSE(Exists(out));
    }
}

TEST_F(TheThumbnailer, RefusesWrongUsage) {
    const std::string path = scratch_.Write("letter.ondoc", "data");
    for (const char* size : {"0", "-3", "", "12x", "99999999999"}) {
        const ProgramResult result = Make(path, "out.png", size).Run();
        EXPECT_EQ(result.status, 2) << size;
        EXPECT_FALSE(Exists(scratch_.Path("out.png")));
    }
    EXPECT_EQ(Program({ONDREL_THUMBNAILER}).Run().status, 2);
    EXPECT_EQ(Program({ONDREL_THUMBNAILER, path, "out.png"}).Run().status, 2);
}

TEST_F(TheThumbnailer, ReportsWhatItCannotReadOrWrite) {
    const std::string path = scratch_.Write("letter.ondoc", "data");
    GivePreview(path, 200, 200);
    const ProgramResult gone = Make(path, "gone/out.png", "128").Run();
    EXPECT_EQ(gone.status, 3);
    EXPECT_TRUE(gone.errors.starts_with("ondrel: gone/out.png: ")) << gone.errors;
    const ProgramResult full = Make(path, "out.png", "128").WithFilesUpTo(20).Run();
    EXPECT_EQ(full.status, 3);
    EXPECT_FALSE(Exists(scratch_.Path("out.png")));
    std::filesystem::permissions(path, std::filesystem::perms::none);
    const ProgramResult secret = Make(path, "out.png", "128").AsNobody().Run();
    EXPECT_EQ(secret.status, 3);
    EXPECT_EQ(secret.errors, "ondrel: " + path + ": permission denied\n");
}

TEST_F(TheThumbnailer, IsAskedForTheTypeOfTheMimePackage) {
    const std::string type = EntryValue("MimeType");
    ASSERT_TRUE(type.ends_with(";"));
    const std::string package = ReadAll(SOURCE_FOLDER "/tools/thumbnailer/ondrel-document.xml");
    EXPECT_NE(package.find("type=\"" + type.substr(0, type.size() - 1) + "\""), std::string::npos);
    EXPECT_NE(package.find("<glob pattern=\"*.ondoc\"/>"), std::string::npos);
    EXPECT_EQ(EntryValue("TryExec"), "ondrel-thumbnailer");
}

// Where the desktop's own tools are installed, they say what they make of the package.
TEST_F(TheThumbnailer, ItsMimePackageIsTakenByTheDesktop) {
    const char* const update = "/usr/bin/update-mime-database";
    if (!std::filesystem::exists(update)) GTEST_SKIP() << update << " is not installed";
    scratch_.Write("mime/packages/ondrel-document.xml",
                   ReadAll(SOURCE_FOLDER "/tools/thumbnailer/ondrel-document.xml"));
    const ProgramResult result = Program({update, scratch_.Path("mime")}).Run();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(ReadAll(scratch_.Path("mime/globs")).find("application/x-ondrel-document:*.ondoc"),
              std::string::npos);
}

}  // namespace
}  // namespace Ondrel::Testing
