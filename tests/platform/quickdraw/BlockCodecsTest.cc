// The compressors that go by blocks of four by four pixels: graphics, video, Cinepak.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/quickdraw/Frames.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;

constexpr FourCC kGraphics = MakeFourCC("smc ");
constexpr FourCC kVideo = MakeFourCC("rpza");
constexpr FourCC kCinepak = MakeFourCC("cvid");

// Behind the flags and a length, which are not looked at.
std::string Codes(const std::string& hex) {
    return Bytes("00 000000" + hex);
}

const FrameCase kGraphicsFrames[] = {
    {"a block of one colour", 8, 4, 4, Codes("60 01"), "RRRR|RRRR|RRRR|RRRR|"},
    {"blocks of one colour", 8, 8, 4, Codes("61 01"), "RRRRRRRR|RRRRRRRR|RRRRRRRR|RRRRRRRR|"},
    {"blocks of one colour, more than 16", 8, 4, 8, Codes("70 01 02"),
     "GGGG|GGGG|GGGG|GGGG|GGGG|GGGG|GGGG|GGGG|"},
    {"blocks over the edges", 8, 5, 5, Codes("60 01 60 02 60 03 60 04"),
     "RRRRG|RRRRG|RRRRG|RRRRG|BBBBY|"},
    {"a block left out", 8, 8, 1, Codes("00 60 01"), "....RRRR|"},
    {"blocks left out", 8, 12, 1, Codes("10 01 60 01"), "........RRRR|"},
    {"the last block again", 8, 12, 1, Codes("60 01 21"), "RRRRRRRRRRRR|"},
    {"the last block again, as often as a byte says", 8, 12, 1, Codes("60 01 30 01"),
     "RRRRRRRRRRRR|"},
    {"the last two blocks again", 8, 24, 1, Codes("60 01 60 02 41"), "RRRRGGGGRRRRGGGGRRRRGGGG|"},
    {"the last two blocks, as often as a byte says", 8, 16, 1, Codes("60 01 60 02 50 00"),
     "RRRRGGGGRRRRGGGG|"},
    {"no last block", 8, 4, 1, Codes("20"), "....|"},
    {"two colours", 8, 4, 4, Codes("80 01 02 1248"), "RRRG|RRGR|RGRR|GRRR|"},
    {"two blocks of two colours", 8, 8, 1, Codes("81 01 02 F000 5000"), "GGGGRGRG|"},
    {"two colours that were remembered", 8, 12, 1, Codes("80 01 02 5000 80 03 04 5000 90 00 A000"),
     "RGRGBYBYGRGR|"},
    {"four colours", 8, 4, 4, Codes("A0 01 02 03 04 1BE41BE4"), "RGBY|YBGR|RGBY|YBGR|"},
    {"four colours that were remembered", 8, 8, 1, Codes("A0 01 02 03 04 1B000000 B0 00 E4000000"),
     "RGBYYBGR|"},
    // rows 0 1 2 3, 4 5 6 7, 7 6 5 4, and 3 2 1 0 of three bits, whose nibbles are 6 8 8
    {"eight colours", 8, 4, 4, Codes("C0 00 01 02 03 04 05 06 07 0536 9778 FAC8"),
     "WRGB|YCMK|KMCY|BGRW|"},
    {"eight colours that were remembered", 8, 8, 1,
     Codes("C0 00 01 02 03 04 05 06 07 053000000000 D0 00 FAC000000000"), "WRGBKMCY|"},
    {"sixteen colours", 8, 4, 4, Codes("E0 01020304 05060700 01020304 05060700"),
     "RGBY|CMKW|RGBY|CMKW|"},
    {"a code that is none", 8, 8, 1, Codes("60 01 F0 60 02"), "RRRR....|"},
    {"more blocks than the image has", 8, 4, 4, Codes("6F 01 6F 02"), "RRRR|RRRR|RRRR|RRRR|"},
    {"greys", 40, 4, 1, Codes("80 00 FF 5000"), "WKWK|"},
    {"direct colours", 16, 4, 4, Codes("60 01"), "none"},
    {"no codes", 8, 4, 1, Codes(""), "....|"},
    {"nothing", 8, 4, 1, "", "none"},
};

TEST(GraphicsFrames, EveryCodeIsRead) {
    for (const FrameCase& of : kGraphicsFrames) {
        EXPECT_EQ(Decoded(kGraphics, of), of.result) << of.why;
        CutEverywhere(kGraphics, of);
    }
}

std::string Chunk(const std::string& hex) {
    return Bytes("E1 000000" + hex);
}

const FrameCase kVideoFrames[] = {
    {"a block of one colour", 16, 4, 4, Chunk("A0 7C00"), "RRRR|RRRR|RRRR|RRRR|"},
    {"blocks of one colour", 16, 8, 1, Chunk("A1 FC00"), "RRRRRRRR|"},
    {"blocks left out", 16, 12, 1, Chunk("81 A0 7C00"), "........RRRR|"},
    {"blocks over the edges", 16, 5, 5, Chunk("A0 7C00 A0 03E0 A0 001F A0 0000"),
     "RRRRG|RRRRG|RRRRG|RRRRG|BBBBK|"},
    {"the first and the last of four colours", 16, 4, 2, Chunk("C0 7C00 03E0 C3000000"),
     "RGGR|GGGG|"},
    {"two blocks of four colours", 16, 8, 1, Chunk("C1 7C00 03E0 C0000000 0C000000"), "RGGGGGRG|"},
    {"one block of four colours, without a code", 16, 4, 1, Chunk("7C00 83E0 C0000000"), "RGGG|"},
    {"sixteen colours", 16, 4, 4,
     Chunk("7C00 03E0 001F 0000  7FFF 7C00 7C00 7C00  03E0 03E0 03E0 03E0  001F 001F 001F 001F"),
     "RGBK|WRRR|GGGG|BBBB|"},
    {"a code that is none", 16, 8, 1, Chunk("A0 7C00 E0 A0 03E0"), "RRRR....|"},
    {"more blocks than the image has", 16, 4, 4, Chunk("BF 7C00 BF 03E0"), "RRRR|RRRR|RRRR|RRRR|"},
    {"another start", 16, 4, 4, Bytes("E2 000000 A0 7C00"), "none"},
    {"nothing", 16, 4, 4, "", "none"},
};

TEST(VideoFrames, EveryCodeIsRead) {
    for (const FrameCase& of : kVideoFrames) {
        EXPECT_EQ(Decoded(kVideo, of), of.result) << of.why;
        CutEverywhere(kVideo, of);
    }
}

// 31 and 0 a third of the way: (21 x 31) / 32 = 20 and (11 x 31) / 32 = 10 of 31 parts.
TEST(VideoFrames, TheColoursInBetweenAreThirds) {
    EXPECT_EQ(Decoded(kVideo, {"", 16, 4, 1, Chunk("C0 7C00 001F E4000000"), ""}, Colors),
              "FF0000 A50052 5200A5 0000FF|");
}

// The header of an image of one strip, and the head of the strip; lengths as they have to be.
std::string Strips(int width, int height, int count, const std::string& strips, int flags = 0) {
    return std::string(1, static_cast<char>(flags)) + std::string(1, '\0') +
           Word(static_cast<int>(strips.size()) + 10) + Word(width) + Word(height) + Word(count) +
           strips;
}

std::string Strip(const Rect& place, const std::string& parts) {
    return Word(0x1000) + Word(static_cast<int>(parts.size()) + 12) + RectBytes(place) + parts;
}

std::string Part(int kind, const std::string& hex) {
    const std::string bytes = Bytes(hex);
    return Word(kind) + Word(static_cast<int>(bytes.size()) + 4) + bytes;
}

constexpr const char* kGreys = "00FF00FF FF00FF00";  // two entries without colour

std::string OneStrip(int width, int height, const std::string& parts) {
    return Strips(width, height, 1, Strip({0, 0, height, width}, parts));
}

const FrameCase kCinepaks[] = {
    {"large entries, all blocks", 24, 8, 4,
     OneStrip(8, 4, Part(0x2600, kGreys) + Part(0x3200, "00 01")),
     "KKWWWWKK|KKWWWWKK|KKWWWWKK|KKWWWWKK|"},
    {"four small entries", 24, 4, 4,
     OneStrip(4, 4, Part(0x2400, "FFFFFFFF 00FFFF00") + Part(0x3000, "80000000 00 01 01 00")),
     "WWKW|WWWK|KWWW|WKWW|"},
    {"large and small in turn", 24, 8, 4,
     OneStrip(8, 4,
              Part(0x2400, "00FFFF00") + Part(0x2600, "FFFFFFFF") +
                  Part(0x3000, "40000000 00 00 00 00 00")),
     "WWWWKWKW|WWWWWKWK|WWWWKWKW|WWWWWKWK|"},
    {"some blocks", 24, 12, 4,
     OneStrip(12, 4,
              Part(0x2400, "00FFFF00") + Part(0x2600, "FFFFFFFF") +
                  Part(0x3100, "58000000 00 00 00 00 00")),
     "....WWWWKWKW|....WWWWWKWK|....WWWWKWKW|....WWWWWKWK|"},
    {"a part of a book", 24, 8, 4,
     OneStrip(8, 4,
              Part(0x2600, kGreys) + Part(0x2700, "40000000 00000000") + Part(0x3200, "00 01")),
     "KKWWKKKK|KKWWKKKK|KKWWKKKK|KKWWKKKK|"},
    {"blocks over the edges", 24, 5, 5,
     OneStrip(5, 5, Part(0x2600, "00000000 FFFFFFFF") + Part(0x3200, "00 01 01 00")),
     "KKKKW|KKKKW|KKKKW|KKKKW|WWWWK|"},
    {"two strips, the second with the books of the first", 24, 4, 8,
     Strips(4, 8, 2,
            Strip({0, 0, 4, 4}, Part(0x2600, "FFFFFFFF 00000000") + Part(0x3200, "00")) +
                Strip({0, 0, 4, 4}, Part(0x3200, "01"))),
     "WWWW|WWWW|WWWW|WWWW|KKKK|KKKK|KKKK|KKKK|"},
    {"a second strip whose place is told", 24, 4, 8,
     Strips(4, 8, 2,
            Strip({0, 0, 4, 4}, Part(0x2600, "FFFFFFFF 00000000") + Part(0x3200, "00")) +
                Strip({4, 0, 8, 4}, Part(0x3200, "01"))),
     "WWWW|WWWW|WWWW|WWWW|KKKK|KKKK|KKKK|KKKK|"},
    {"a second strip with books of its own", 24, 4, 8,
     Strips(4, 8, 2,
            Strip({0, 0, 4, 4}, Part(0x2600, "FFFFFFFF FFFFFFFF") + Part(0x3200, "00")) +
                Strip({0, 0, 4, 4}, Part(0x3200, "01")),
            1),
     "WWWW|WWWW|WWWW|WWWW|....|....|....|....|"},
    {"a part that is not known", 24, 4, 1,
     OneStrip(4, 1, Part(0x2600, "FFFFFFFF") + Part(0x4000, "1234") + Part(0x3200, "00")), "WWWW|"},
    {"indices of colours", 8, 4, 1, OneStrip(4, 1, Part(0x2600, "01020304") + Part(0x3200, "00")),
     "RRGG|"},
    {"greys", 40, 4, 1, OneStrip(4, 1, Part(0x2600, "00FF00FF") + Part(0x3200, "00")), "KKWW|"},
    {"a strip larger than the image", 24, 4, 1,
     Strips(4, 1, 1, Strip({0, 0, 16, 16}, Part(0x2600, "FFFFFFFF") + Part(0x3200, "00"))),
     "WWWW|"},
    {"a strip that starts before the image", 24, 4, 1,
     Strips(4, 1, 1, Strip({-4, -4, 4, 4}, Part(0x2600, "FFFFFFFF") + Part(0x3200, "00"))),
     "....|"},
    {"no strips", 24, 4, 1, Strips(4, 1, 0, ""), "....|"},
    {"nothing", 24, 4, 1, "", "none"},
};

TEST(CinepakFrames, EveryPartIsRead) {
    for (const FrameCase& of : kCinepaks) {
        EXPECT_EQ(Decoded(kCinepak, of), of.result) << of.why;
        CutEverywhere(kCinepak, of);
    }
}

// 100 of light, 21 of blue and -31 of red: 100 - 62, 100 - 10 + 31, 100 + 42; then what goes over
// the bounds.
TEST(CinepakFrames, DifferencesBecomeColours) {
    const std::string parts = Part(0x2200, "64646464 15E1 FF000000 7F80") + Part(0x3200, "00 01");
    EXPECT_EQ(Decoded(kCinepak, {"", 24, 8, 1, OneStrip(8, 1, parts), ""}, Colors),
              "26798E 26798E 26798E 26798E 00FFFF 00FFFF 0041FE 0041FE|");
}

TEST(CinepakFrames, SmallEntriesHaveColoursToo) {
    const std::string parts = Part(0x2000, "00FF8001 0000") + Part(0x3000, "80000000 00000000");
    EXPECT_EQ(Decoded(kCinepak, {"", 24, 4, 2, OneStrip(4, 2, parts), ""}, Colors),
              "000000 FFFFFF 000000 FFFFFF|808080 010101 808080 010101|");
}

}  // namespace
}  // namespace Ondrel::QuickDraw
