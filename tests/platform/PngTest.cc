// PNG files read into pixels: every colour type and depth, from bytes written out here.
#include "ondrel/platform/Png.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/platform/PngMaker.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;
using Testing::MakePng;
using Testing::PngChunk;
using Testing::PngParts;

std::string PixelsOf(const PngPicture& picture) {
    return Hex({reinterpret_cast<const char*>(picture.pixels.data()), picture.pixels.size()});
}

struct ColourCase {
    const char* why;
    std::uint32_t width;
    int depth;
    int colourType;
    const char* row;  // its filter byte first
    const char* palette;
    const char* transparency;
    const char* pixels;
};

const ColourCase kColourCases[] = {
    {"bits of grey", 3, 1, 0, "00 A0", "", "", "FF FF FF FF FF 00 00 00 FF FF FF FF"},
    {"two bits of grey", 4, 2, 0, "00 1B", "", "",
     "FF 00 00 00 FF 55 55 55 FF AA AA AA FF FF FF FF"},
    {"four bits of grey", 2, 4, 0, "00 1E", "", "", "FF 11 11 11 FF EE EE EE"},
    {"grey", 2, 8, 0, "00 12 34", "", "", "FF 12 12 12 FF 34 34 34"},
    {"16 bits of grey are rounded", 2, 16, 0, "00 12 9A 12 34", "", "", "FF 13 13 13 FF 12 12 12"},
    {"a grey that is transparent", 2, 8, 0, "00 12 34", "", "00 34", "FF 12 12 12 00 34 34 34"},
    {"colours", 2, 8, 2, "00 01 02 03 FF FE FD", "", "", "FF 01 02 03 FF FF FE FD"},
    {"colours and the filter of differences", 2, 8, 2, "01 01 02 03 01 01 01", "", "",
     "FF 01 02 03 FF 02 03 04"},
    {"16 bits a channel", 1, 16, 2, "00 01 00 80 80 FF FF", "", "", "FF 01 80 FF"},
    {"a colour that is transparent", 2, 8, 2, "00 01 02 03 04 05 06", "", "00 04 00 05 00 06",
     "FF 01 02 03 00 04 05 06"},
    {"a bit of palette", 2, 1, 3, "00 40", "01 02 03 F1 F2 F3", "", "FF 01 02 03 FF F1 F2 F3"},
    {"two bits of palette", 2, 2, 3, "00 90", "01 02 03 04 05 06 07 08 09", "",
     "FF 07 08 09 FF 04 05 06"},
    {"four bits of palette", 2, 4, 3, "00 10", "01 02 03 04 05 06", "", "FF 04 05 06 FF 01 02 03"},
    {"a palette", 2, 8, 3, "00 01 00", "01 02 03 04 05 06", "", "FF 04 05 06 FF 01 02 03"},
    {"a palette, half of it transparent", 2, 8, 3, "00 01 00", "01 02 03 04 05 06", "80",
     "FF 04 05 06 80 01 02 03"},
    {"grey with alpha", 1, 8, 4, "00 33 44", "", "", "44 33 33 33"},
    {"grey with alpha, 16 bits", 1, 16, 4, "00 33 00 44 00", "", "", "44 33 33 33"},
    {"colours with alpha", 1, 8, 6, "00 01 02 03 04", "", "", "04 01 02 03"},
    {"colours with alpha, 16 bits", 1, 16, 6, "00 01 00 02 00 03 00 FF FF", "", "", "FF 01 02 03"},
};

std::string FileOf(const ColourCase& of) {
    PngParts parts{of.width, 1, of.depth, of.colourType, Bytes(of.row), {}, false};
    if (*of.palette != '\0') parts.chunksBefore += PngChunk("PLTE", Bytes(of.palette));
    if (*of.transparency != '\0') parts.chunksBefore += PngChunk("tRNS", Bytes(of.transparency));
    return MakePng(parts);
}

TEST(Png, EveryColourTypeAndDepthIsRead) {
    for (const ColourCase& of : kColourCases) {
        PngPicture picture;
        ASSERT_EQ(ReadPng(FileOf(of), &picture), noErr) << of.why;
        EXPECT_EQ(picture.width, static_cast<int>(of.width)) << of.why;
        EXPECT_EQ(picture.height, 1) << of.why;
        EXPECT_EQ(PixelsOf(picture), of.pixels) << of.why;
    }
}

// The pixels of a 3 x 3 picture come in the order 1st: (0,0); 4th: (2,0); 5th: (0,2), (2,2);
// 6th: (1,0), (1,2); 7th: the row of y = 1. The second and third pass have none.
TEST(Png, AnInterlacedPictureIsPutTogether) {
    PngPicture picture;
    ASSERT_EQ(
        ReadPng(
            MakePng(
                {3, 3, 8, 0, Bytes("00 00  00 02  00 20 22  00 01  00 21  00 10 11 12"), {}, true}),
            &picture),
        noErr);
    EXPECT_EQ(PixelsOf(picture),
              "FF 00 00 00 FF 01 01 01 FF 02 02 02 FF 10 10 10 FF 11 11 11 FF 12 12 12 "
              "FF 20 20 20 FF 21 21 21 FF 22 22 22");
}

TEST(Png, ColoursStayAsTheyAreStoredWhateverIsSaidOfGamma) {
    PngParts parts{1, 1, 8, 2, Bytes("00 40 80 C0"), {}, false};
    parts.chunksBefore = PngChunk("gAMA", Bytes("00 01 86 A0"));  // linear light
    PngPicture picture;
    ASSERT_EQ(ReadPng(MakePng(parts), &picture), noErr);
    EXPECT_EQ(PixelsOf(picture), "FF 40 80 C0");
}

TEST(Png, APictureThatWasWrittenIsReadBack) {
    std::string pixels;
    for (int i = 0; i < 4 * 70 * 30; ++i)
        pixels += static_cast<char>(i * i / 7);
    const Image image{reinterpret_cast<const unsigned char*>(pixels.data()), 70, 30, 280,
                      AlphaInfo::kFirst};
    std::string png;
    ASSERT_EQ(AppendPng(image, &png), noErr);
    PngPicture picture;
    ASSERT_EQ(ReadPng(png, &picture), noErr);
    EXPECT_EQ(PixelsOf(picture), Hex(pixels));
    EXPECT_TRUE(picture.AsImage().IsValid());
    EXPECT_EQ(picture.AsImage().alpha, AlphaInfo::kFirst);
}

// A picture of noise is not packed by the quick form, one of stripes is.
TEST(Png, TheQuickFormPacksOnlyWhatRepeatsAndShowsTheSame) {
    const struct {
        int stripe;  // pixels in a row that are equal
        bool isPacked;
        const char* why;
    } cases[] = {{1, false, "no pixel equals its neighbour"},
                 {2, true, "half of them do"},
                 {3, true, "two of three"},
                 {64, true, "nearly all"}};
    for (const auto& c : cases) {
        std::string pixels;
        for (int i = 0; i < 64 * 64; ++i)
            for (int channel = 0; channel < 4; ++channel)
                pixels += static_cast<char>(i % 64 / c.stripe * (channel + 3) + i / 64);
        const Image image{reinterpret_cast<const unsigned char*>(pixels.data()), 64, 64, 256,
                          AlphaInfo::kFirst};
        std::string png = "before";
        ASSERT_EQ(AppendQuickPng(image, &png), noErr);
        ASSERT_TRUE(png.starts_with("before"));
        png.erase(0, 6);
        EXPECT_EQ(png.size() < pixels.size(), c.isPacked) << c.why;
        PngPicture picture;
        ASSERT_EQ(ReadPng(png, &picture), noErr) << c.why;
        EXPECT_EQ(PixelsOf(picture), Hex(pixels)) << c.why;
    }
}

TEST(Png, APictureOfOnePixelIsWrittenAsTheseBytes) {
    const std::string pixel = Bytes("80 11 22 33");
    const Image image{reinterpret_cast<const unsigned char*>(pixel.data()), 1, 1, 4,
                      AlphaInfo::kFirst};
    std::string png;
    ASSERT_EQ(AppendQuickPng(image, &png), noErr);
    EXPECT_EQ(Hex(png.substr(0, 46)),
              "89 50 4E 47 0D 0A 1A 0A "
              "00 00 00 0D 49 48 44 52 00 00 00 01 00 00 00 01 08 06 00 00 00 1F 15 C4 89 "
              "00 00 00 01 73 52 47 42 00 AE CE 1C E9");
    EXPECT_EQ(Hex(png.substr(png.size() - 12)), "00 00 00 00 49 45 4E 44 AE 42 60 82");
    EXPECT_NE(png.find(Bytes("01 11 22 33 80")), std::string::npos) << "filter, colours, alpha";
    EXPECT_EQ(AppendQuickPng({}, &png), paramErr);
}

TEST(Png, AFileCutOffAnywhereBeforeTheEndOfItsRowsIsRefused) {
    const std::string png =
        MakePng({2, 2, 8, 2, Bytes("00 010203 040506 00 070809 0A0B0C"), {}, false});
    const std::size_t endOfRows = png.size() - 12 - 4 - 4;  // IEND, the sums of data and of chunk
    for (std::size_t size = 0; size < endOfRows; ++size) {
        PngPicture picture{7, 8, {9}};
        EXPECT_EQ(ReadPng(png.substr(0, size), &picture), paramErr) << size;
        EXPECT_EQ(picture.width, 7);
        EXPECT_EQ(picture.pixels, std::vector<unsigned char>{9});
    }
}

TEST(Png, ABitWrongInTheRowsIsRefused) {
    std::string png = MakePng({1, 1, 8, 2, Bytes("00 010203"), {}, false});
    png[png.find("IDAT") + 4 + 9] ^= 1;
    PngPicture picture;
    EXPECT_EQ(ReadPng(png, &picture), paramErr);
}

TEST(Png, WhatIsNoPngFileIsRefused) {
    PngPicture picture;
    EXPECT_EQ(ReadPng("", &picture), paramErr);
    EXPECT_EQ(ReadPng("GIF89a and so on, for more than eight bytes", &picture), paramErr);
    EXPECT_EQ(ReadPng(Bytes("89 50 4E 47 0D 0A 1A 0A"), &picture), paramErr);
}

struct SizeCase {
    std::uint32_t width;
    std::uint32_t height;
    const char* why;
};

const SizeCase kSizesRefused[] = {
    {0, 1, "no column"},
    {1, 0, "no row"},
    {32767, 1, "wider than a picture may be"},
    {1, 32767, "higher than a picture may be"},
    {0x7FFFFFFF, 0x7FFFFFFF, "the largest there is"},
    {0x80000000, 1, "larger than that"},
    {30000, 30000, "more than the data can hold"},
};

TEST(Png, ASizeThatCannotBeIsRefusedBeforeMemoryIsAskedFor) {
    for (const SizeCase& size : kSizesRefused) {
        PngPicture picture;
        EXPECT_EQ(
            ReadPng(MakePng({size.width, size.height, 1, 0, std::string(300, '\0'), {}, false}),
                    &picture),
            paramErr)
            << size.why;
    }
}

TEST(Png, MorePixelsThanTheCallerTakesAreRefused) {
    const std::string png = MakePng({3, 2, 8, 0, Bytes("00 010203 00 040506"), {}, false});
    PngPicture picture;
    EXPECT_EQ(ReadPng(png, &picture, 5), paramErr);
    EXPECT_EQ(ReadPng(png, &picture, 6), noErr);
}

}  // namespace
}  // namespace Ondrel
