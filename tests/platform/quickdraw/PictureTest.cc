// Pictures as programs use them: found in their bytes, and drawn over a context.
#include "ondrel/platform/Pictures.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "tests/platform/quickdraw/Art.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using QuickDraw::Rect;
using Testing::Art;
using Testing::Bytes;
using Testing::Hex;
using Testing::PictureOf;

// A context of its own pixels, all bytes the same before.
class Sheet {
 public:
    Sheet(int width, int height, unsigned char fill)
        : width_(width),
          height_(height),
          pixels_(
              std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
              fill) {}

    BitmapContext Context() {
        return {pixels_.data(), width_, height_, std::size_t{4} * static_cast<std::size_t>(width_)};
    }
    std::string Row(int y) const {
        const std::size_t bytes = std::size_t{4} * static_cast<std::size_t>(width_);
        return Hex(std::string(
            pixels_.begin() + static_cast<std::ptrdiff_t>(bytes * static_cast<std::size_t>(y)),
            pixels_.begin() +
                static_cast<std::ptrdiff_t>(bytes * static_cast<std::size_t>(y + 1))));
    }

 private:
    int width_;
    int height_;
    std::vector<unsigned char> pixels_;
};

Picture Read(const std::string& bytes) {
    Picture picture;
    EXPECT_EQ(picture.Read(bytes), noErr);
    return picture;
}

TEST(Pictures, AreReadWithAndWithoutTheHeaderOfAFile) {
    for (const int version : {1, 2}) {
        const std::string bytes = PictureOf(version, {2, 3, 9, 13}, "");
        for (const std::string& front :
             {std::string(), std::string(512, '\0'), std::string(512, 'x')}) {
            const Picture picture = Read(front + bytes);
            EXPECT_EQ(picture.Width(), 10);
            EXPECT_EQ(picture.Height(), 7);
        }
        Picture picture;
        EXPECT_EQ(picture.Read(std::string(511, '\0') + bytes), paramErr);
    }
}

TEST(Pictures, WhatDoesNotBeginAsOneIsNone) {
    for (const char* bytes :
         {"", "00", "0000 0000 0000 0009 0009 11", "0000 0000 0000 0009 0009 1102 FF",
          "0000 0000 0000 0009 0009 0011 01FF", "0000 0000 0000 0009 0009 0011 02",
          "89504E47 0D0A1A0A 0000000D 49484452"}) {
        Picture picture = Read(PictureOf(1, {0, 0, 2, 2}, ""));
        EXPECT_EQ(picture.Read(Bytes(bytes)), paramErr) << bytes;
        EXPECT_EQ(picture.Width(), 0) << "nothing is left of one read before";
        EXPECT_EQ(picture.Height(), 0);
    }
}

TEST(Pictures, AnEmptyFrameIsNone) {
    for (const Rect& frame : {Rect{0, 0, 0, 5}, Rect{0, 0, 5, 0}, Rect{3, 3, 2, 9}}) {
        Picture picture;
        EXPECT_EQ(picture.Read(PictureOf(1, frame, "")), paramErr);
    }
    EXPECT_EQ(Read(PictureOf(1, {-32768, -32768, 32767, 32767}, "")).Width(), 65535);
}

TEST(Pictures, AreDrawnOverWhatIsThere) {
    const Picture picture =
        Read(PictureOf(1, {0, 0, 1, 3}, "1A 1200 3400 5600 31 0000 0001 0001 0002"));
    Sheet sheet(3, 1, 0x77);
    ASSERT_EQ(picture.Render(sheet.Context()), noErr);
    EXPECT_EQ(sheet.Row(0), "77 77 77 77 FF 12 34 56 77 77 77 77");
}

TEST(Pictures, FillTheContext) {
    const Picture picture =
        Read(PictureOf(1, {5, 5, 7, 9}, "31 0005 0005 0007 0006 31 0005 0008 0006 0009"));
    Sheet half(2, 1, 0xFF);
    ASSERT_EQ(picture.Render(half.Context()), noErr);
    EXPECT_EQ(half.Row(0), "FF 80 80 80 FF C0 C0 C0")
        << "a half and a quarter of each pixel are covered";
    Sheet whole(4, 2, 0xFF);
    ASSERT_EQ(picture.Render(whole.Context()), noErr);
    EXPECT_EQ(whole.Row(0), "FF 00 00 00 FF FF FF FF FF FF FF FF FF 00 00 00");
    EXPECT_EQ(whole.Row(1), "FF 00 00 00 FF FF FF FF FF FF FF FF FF FF FF FF");
}

TEST(Pictures, WithoutOneOrAContextNothingIsDrawn) {
    Sheet sheet(1, 1, 0x77);
    EXPECT_EQ(Picture().Render(sheet.Context()), paramErr);
    const Picture picture = Read(PictureOf(1, {0, 0, 1, 1}, "31 0000 0000 0001 0001"));
    EXPECT_EQ(picture.Render(BitmapContext{}), paramErr);
    EXPECT_EQ(sheet.Row(0), "77 77 77 77");
}

// A canvas of the frame's size would take 17 GB.
TEST(Pictures, OfVeryManyPixelsAreScaledToTheContextAtOnce) {
    const Picture picture = Read(PictureOf(1, {-32768, -32768, 32767, 32767},
                                           "31 8000 8000 0000 0000 51 0000 0000 7FFF 7FFF"
                                           "20 0000 8000 0000 0000"));
    Sheet sheet(8, 8, 0xFF);
    ASSERT_EQ(picture.Render(sheet.Context()), noErr);
    std::string art;
    for (int y = 0; y < 8; ++y) {
        const std::string row = Bytes(sheet.Row(y));
        for (std::size_t x = 0; x < 8; ++x)
            art += row[4 * x + 1] == 0 ? '#' : '_';
        art += '\n';
    }
    EXPECT_EQ(art,
              "####____\n"
              "####____\n"
              "####____\n"
              "####____\n"
              "#######_\n"
              "____####\n"
              "____####\n"
              "_____##_\n");
}

TEST(Pictures, OfAnotherResolutionShowTheirSourceInTheFrame) {
    // 144 pixels per inch: the commands' rectangle is twice the frame, and has its own origin.
    const std::string head = "0C00 FFFE 0000 00900000 00900000 000A 0014 0012 001C 00000000";
    EXPECT_EQ(
        Art(PictureOf(2, {0, 0, 4, 4}, head + "0031 000A 0014 000E 0016 0030 000C 0018 0012 001C")),
        "#...\n"
        "#.##\n"
        "..##\n"
        "..##\n");
}

TEST(Pictures, AnExtendedHeaderWithoutASourceIsOfNoUse) {
    const std::string empty = "0C00 FFFE 0000 00900000 00900000 000A 0014 000A 001C 00000000";
    const std::string plain = "0C00 FFFF FFFF 00000000 00000000 00010000 00010000 00000000";
    for (const std::string& head : {empty, plain}) {
        EXPECT_EQ(Art(PictureOf(2, {1, 1, 3, 4}, head + "0031 0001 0001 0002 0002")),
                  "#..\n"
                  "...\n");
    }
}

TEST(Pictures, AHeaderCutShortLeavesThePictureEmpty) {
    const std::string whole =
        PictureOf(2, {0, 0, 1, 1}, "0C00 FFFE 0000 00900000 00900000 0000 0000 0001 0001 00000000");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        Picture picture;
        const OSErr error = picture.Read(whole.substr(0, length));
        EXPECT_EQ(error, length < 14 ? paramErr : noErr) << length;
        if (error != noErr) continue;
        Sheet sheet(1, 1, 0x77);
        EXPECT_EQ(picture.Render(sheet.Context()), noErr);
        EXPECT_EQ(sheet.Row(0), "77 77 77 77");
    }
}

}  // namespace
}  // namespace Ondrel
