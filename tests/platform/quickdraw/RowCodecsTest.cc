// The compressors that go by rows: none at all, animation, planes.
#include <gtest/gtest.h>

#include <string>

#include "tests/platform/quickdraw/Frames.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;

constexpr FourCC kRaw = MakeFourCC("raw ");
constexpr FourCC kAnimation = MakeFourCC("rle ");
constexpr FourCC kPlanar = MakeFourCC("8BPS");

const FrameCase kRawFrames[] = {
    {"bits", 1, 4, 2, Bytes("50 00 A0 00"), "WRWR|RWRW|"},
    {"two bits", 2, 4, 1, Bytes("1B 00"), "WRGB|"},
    {"four bits", 4, 3, 1, Bytes("12 30"), "RGB|"},
    {"eight bits, rows padded to 2 bytes", 8, 3, 2, Bytes("010203 00 040506 00"), "RGB|YCM|"},
    {"eight bits, rows not padded", 8, 3, 2, Bytes("010203 040506"), "RGB|YCM|"},
    {"eight bits, rows padded to 4 bytes", 8, 2, 2, Bytes("0102 0000 0304 0000"), "RG|BY|"},
    {"eight bits, rows padded to 16 bytes", 8, 2, 2,
     Bytes("0102000000000000 0000000000000000 0304000000000000 0000000000000000"), "RG|BY|"},
    {"more data than rows", 8, 2, 2, Bytes("0102 0304 00"), "RG|BY|"},
    {"a row that is missing", 8, 2, 2, Bytes("0102"), "RG|..|"},
    {"half a row", 8, 2, 1, Bytes("01"), "none"},
    {"nothing", 8, 2, 1, "", "none"},
    {"16 bits", 16, 3, 1, Bytes("7C00 03E0 801F"), "RGB|"},
    {"24 bits", 24, 2, 1, Bytes("FF0000 00FF00"), "RG|"},
    {"32 bits", 32, 2, 1, Bytes("00FF0000 AA00FF00"), "RG|"},
    {"a bit of grey", 33, 2, 1, Bytes("40 00"), "WK|"},
    {"eight bits of grey", 40, 2, 1, Bytes("FF00"), "KW|"},
    {"a depth that is none", 3, 2, 1, Bytes("FF00"), "none"},
    {"no depth", 0, 2, 1, Bytes("FF00"), "none"},
};

TEST(RawFrames, EveryDepthAndPaddingIsRead) {
    for (const FrameCase& of : kRawFrames) {
        EXPECT_EQ(Decoded(kRaw, of), of.result) << of.why;
        CutEverywhere(kRaw, of);
    }
}

TEST(RawFrames, GreysOfEveryDepthGoFromWhiteToBlack) {
    EXPECT_EQ(Decoded(kRaw, {"", 34, 4, 1, Bytes("1B 00"), ""}, Colors),
              "FFFFFF AAAAAA 555555 000000|");
    EXPECT_EQ(Decoded(kRaw, {"", 36, 4, 1, Bytes("01EF"), ""}, Colors),
              "FFFFFF EEEEEE 111111 000000|");
    EXPECT_EQ(Decoded(kRaw, {"", 40, 2, 1, Bytes("017F"), ""}, Colors), "FEFEFE 808080|");
}

TEST(RawFrames, TheFourthByteIsAlphaWhereTheImageHasIt) {
    CompressedImage image;
    const std::string data = Bytes("80112233");
    image.depth = 32;
    image.hasAlpha = true;
    image.data = data;
    Frame frame(1, 1);
    ASSERT_TRUE(DecodeRaw(image, &frame));
    EXPECT_EQ(frame.Row(0)[0], 0x80112233U);
}

// The length in front is not looked at.
std::string Whole(const std::string& hex) {
    return Bytes("00000000 0000" + hex);
}

const FrameCase kAnimations[] = {
    {"pixels as they are, 16 bits", 16, 3, 1, Whole("01 03 7C00 03E0 001F FF"), "RGB|"},
    {"a pixel repeated", 16, 3, 1, Whole("01 FD 7C00 FF"), "RRR|"},
    {"pixels left out in front", 16, 3, 1, Whole("03 01 7C00 FF"), "..R|"},
    {"pixels left out within", 16, 4, 1, Whole("01 01 7C00 00 02 FE 001F FF"), "R.BB|"},
    {"rows", 16, 2, 2, Whole("01 FE 7C00 FF 01 FE 001F FF"), "RR|BB|"},
    {"the end before the last row", 16, 2, 2, Whole("01 FE 7C00 FF 00"), "RR|..|"},
    {"more pixels than the row has", 16, 2, 1, Whole("02 FD 7C00 03 7C00 03E0 001F FF"), ".R|"},
    {"some rows", 16, 2, 3,
     Bytes("00000000 0008 0001 0000 0001 0000  01 FE 7C00 FF  01 FE 001F FF"), "..|RR|..|"},
    {"more rows than there are", 16, 1, 2,
     Bytes("00000000 0008 0001 0000 FFFF 0000  01 01 7C00 FF  01 01 001F FF"), ".|R|"},
    {"rows behind the last", 16, 1, 1, Bytes("00000000 0008 0009 0000 0001 0000  01 01 7C00 FF"),
     ".|"},
    {"24 bits", 24, 3, 1, Whole("01 01 FF0000 FE 00FF00 FF"), "RGG|"},
    {"32 bits", 32, 3, 1, Whole("01 01 00FF0000 FE 0000FF00 FF"), "RGG|"},
    {"eight bits in fours", 8, 10, 1, Whole("01 01 01020304 FE 05060700 FF"), "RGBYCMKWCM|"},
    {"eight bits, four left out", 8, 8, 1, Whole("02 01 01020304 FF"), "....RGBY|"},
    {"four bits in eights", 4, 16, 1, Whole("01 01 12345670 FF"), "RGBYCMKW........|"},
    {"two bits in sixteens", 2, 16, 1, Whole("01 01 1B1B1B1B FF"), "WRGBWRGBWRGBWRGB|"},
    {"bits", 1, 16, 2, Whole("80 01 00FF 80 FF 81 01 0000 00 00"),
     "WWWWWWWWRRRRRRRR|................|"},
    {"a bit row repeated and left out", 1, 40, 2, Whole("80 FE FF00 80 01 0F0F 01 01 F000 00 00"),
     "RRRRRRRRWWWWWWWWRRRRRRRRWWWWWWWW........|"
     "WWWWRRRRWWWWRRRR................RRRRWWWW|"},
    {"bits without a row", 1, 16, 1, Whole("00 01 FFFF 00 00"), "................|"},
    {"greys", 40, 4, 1, Whole("01 01 00FF00FF FF"), "WKWK|"},
    {"no header", 16, 2, 1, Bytes("00000000 00"), "none"},
    {"nothing", 16, 2, 1, "", "none"},
    {"a depth that is none", 5, 2, 1, Whole("01 FE 7C00 FF"), "none"},
};

TEST(Animations, EveryCodeAndDepthIsRead) {
    for (const FrameCase& of : kAnimations) {
        EXPECT_EQ(Decoded(kAnimation, of), of.result) << of.why;
        CutEverywhere(kAnimation, of);
    }
}

const FrameCase kPlanarFrames[] = {
    {"three planes", 24, 2, 1, Bytes("0003 0003 0002  01FF00 0100FF FF00"), "RG|"},
    {"four planes, the last of no meaning", 32, 1, 2,
     Bytes("0002 0002 0002 0002 0002 0002 0002 0002  00FF 0000 0000 00FF 0000 0000 0077 0088"),
     "R|G|"},
    {"indices", 8, 2, 2, Bytes("0003 0002  010102 FF03"), "RG|BB|"},
    {"rows that are missing", 8, 2, 2, Bytes("0003 0002  010102"), "RG|..|"},
    {"lengths that are missing", 8, 2, 2, Bytes("0003 00"), "none"},
    {"a depth that is none", 16, 2, 1, Bytes("0003 010102"), "none"},
};

TEST(PlanarFrames, PlanesBecomePixels) {
    for (const FrameCase& of : kPlanarFrames) {
        EXPECT_EQ(Decoded(kPlanar, of), of.result) << of.why;
        CutEverywhere(kPlanar, of);
    }
}

TEST(SystemColors, TheTablesAreTheSystems) {
    const ColorTable colors = SystemColors(8);
    EXPECT_EQ(colors[0], 0xFFFFFFFF);
    EXPECT_EQ(colors[1], 0xFFFFFFCC);
    EXPECT_EQ(colors[6], 0xFFFFCCFF);
    EXPECT_EQ(colors[36], 0xFFCCFFFF);
    EXPECT_EQ(colors[214], 0xFF000033);
    EXPECT_EQ(colors[215], 0xFFEE0000);
    EXPECT_EQ(colors[224], 0xFF110000);
    EXPECT_EQ(colors[225], 0xFF00EE00);
    EXPECT_EQ(colors[244], 0xFF000011);
    EXPECT_EQ(colors[245], 0xFFEEEEEE);
    EXPECT_EQ(colors[254], 0xFF111111);
    EXPECT_EQ(colors[255], 0xFF000000);
    EXPECT_EQ(SystemColors(4)[3], 0xFFDD0806);
    EXPECT_EQ(SystemColors(4)[15], 0xFF000000);
    EXPECT_EQ(SystemColors(1)[0], kWhite);
    EXPECT_EQ(SystemColors(1)[1], kBlack);
}

}  // namespace
}  // namespace Ondrel::QuickDraw
