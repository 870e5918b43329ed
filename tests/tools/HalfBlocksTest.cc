// Pictures as characters.
#include "tools/ondrel/HalfBlocks.h"

#include <gtest/gtest.h>

#include "tests/support/Scratch.h"

namespace OndrelTool {
namespace {

using Ondrel::Testing::Bytes;

Pixels PictureOf(int width, int height, const char* pixels) {
    Pixels picture;
    picture.width = width;
    picture.height = height;
    const std::string bytes = Bytes(pixels);
    picture.pixels.assign(bytes.begin(), bytes.end());
    return picture;
}

constexpr const char* kUpper = "\xE2\x96\x80";
constexpr const char* kLower = "\xE2\x96\x84";

TEST(HalfBlocks, TwoPixelsAreTheFrontAndTheGroundOfOneCharacter) {
    EXPECT_EQ(HalfBlocks(PictureOf(1, 2, "FF 01 02 03 FF 04 05 06"), true),
              "\x1B[48;2;4;5;6m\x1B[38;2;1;2;3m" + std::string(kUpper) + "\x1B[0m\n");
}

TEST(HalfBlocks, WhatIsNotSeenShowsTheTerminalsOwnGround) {
    EXPECT_EQ(HalfBlocks(PictureOf(1, 2, "FF 01 02 03 7F 04 05 06"), true),
              "\x1B[38;2;1;2;3m" + std::string(kUpper) + "\x1B[0m\n");
    EXPECT_EQ(HalfBlocks(PictureOf(1, 2, "00 01 02 03 80 04 05 06"), true),
              "\x1B[38;2;4;5;6m" + std::string(kLower) + "\x1B[0m\n");
    EXPECT_EQ(HalfBlocks(PictureOf(1, 2, "00 01 02 03 00 04 05 06"), true), " \x1B[0m\n");
    EXPECT_EQ(HalfBlocks(PictureOf(1, 1, "FF 01 02 03"), true),
              "\x1B[38;2;1;2;3m" + std::string(kUpper) + "\x1B[0m\n")
        << "a last row without a partner";
}

TEST(HalfBlocks, AGroundThatEndsIsTakenBackAndEqualColoursAreNotRepeated) {
    EXPECT_EQ(HalfBlocks(PictureOf(3, 2,
                                   "FF 01 01 01 FF 01 01 01 FF 01 01 01"
                                   "FF 02 02 02 FF 02 02 02 00 00 00 00"),
                         true),
              "\x1B[48;2;2;2;2m\x1B[38;2;1;1;1m" + std::string(kUpper) + kUpper + "\x1B[49m" +
                  kUpper + "\x1B[0m\n");
}

TEST(HalfBlocks, WithoutColoursDarknessIsFiveShades) {
    EXPECT_EQ(HalfBlocks(PictureOf(5, 2,
                                   "FF FF FF FF FF FF FF FF FF FF FF FF FF 40 40 40 FF 00 00 00"
                                   "FF FF FF FF FF 80 80 80 FF 00 00 00 FF 40 40 40 00 00 00 00"),
                         false),
              " \xE2\x96\x91\xE2\x96\x92\xE2\x96\x93\xE2\x96\x92\n");
}

}  // namespace
}  // namespace OndrelTool
