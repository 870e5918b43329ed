// Stored colour patterns of every kind.
#include <gtest/gtest.h>

#include <string>

#include "ondrel/platform/quickdraw/Pattern.h"
#include "tests/platform/quickdraw/ImageCommands.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;

const std::string kBits = Bytes("0102030405060708");

// The tile's size and the letters of its pixels.
std::string TileText(const Pattern& pattern) {
    if (pattern.tile == nullptr) return "none";
    const ColorTile& tile = *pattern.tile;
    std::string text = std::to_string(tile.width) + "x" + std::to_string(tile.height) + " ";
    for (const Pixel pixel : tile.pixels)
        text += Letter(pixel);
    return text;
}

// What is read, "-" in front when that failed, and the number of bytes left behind it.
std::string Read(const std::string& stored, Pattern* pattern) {
    PictureBytes bytes(stored);
    const bool isGood = ReadColorPattern(bytes, pattern);
    return (isGood ? "" : "-") + TileText(*pattern) +
           (bytes.Left() == 0 ? "" : " " + std::to_string(bytes.Left()));
}

std::string Pixels(const MapFields& map) {
    return Word(1) + kBits + MapBytes(map) + TableBytes({0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF});
}

struct PatternCase {
    const char* why;
    std::string stored;
    const char* result;
};

std::vector<PatternCase> PatternCases() {
    return {
        {"bits", Word(0) + kBits, "none"},
        {"bytes behind it", Word(0) + kBits + "ab", "none 2"},
        {"one colour", Word(2) + kBits + Bytes("0000 FFFF 0000"), "1x1 G"},
        {"bits of two colours", Pixels({1, {0, 0, 2, 8}, 0, 1}) + Bytes("AA 0F"),
         "8x2 RWRWRWRWWWWWRRRR"},
        {"two bits", Pixels({1, {0, 0, 2, 4}, 0, 2}) + Bytes("1B E4"), "4x2 WRGBBGRW"},
        {"eight bits, packed", Pixels({8, {0, 0, 2, 8}, 0, 8}) + Bytes("02 F901 04 FD02 FD03"),
         "8x2 RRRRRRRRGGGGBBBB"},
        {"a third row and column are cut",
         Pixels({3, {0, 0, 3, 3}, 0, 8}) + Bytes("010203 010203 010203"), "2x2 RGRG"},
        {"no row", Pixels({2, {0, 0, 0, 2}, 0, 8}), "none"},
        {"rows that are missing", Pixels({2, {0, 0, 2, 2}, 0, 8}) + Bytes("0102 01"), "-none"},
        {"rows of no bytes", Pixels({0, {0, 0, 2, 2}, 0, 8}), "-none"},
        {"a kind that is none", Word(3) + kBits, "-none"},
        {"bits that are missing", Word(0) + kBits.substr(1), "-none"},
        {"nothing", "", "-none"},
    };
}

TEST(ColorPattern, EveryKindIsRead) {
    for (const PatternCase& of : PatternCases()) {
        Pattern pattern;
        EXPECT_EQ(Read(of.stored, &pattern), of.result) << of.why;
    }
}

TEST(ColorPattern, TheBitsForOldMachinesAreKept) {
    Pattern pattern;
    ASSERT_EQ(Read(Word(2) + kBits + Bytes("FFFF FFFF FFFF"), &pattern), "1x1 W");
    EXPECT_EQ(pattern.bits, (Bits8x8{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(ColorPattern, BitsTakeTheTileAway) {
    Pattern pattern{kBlackBits, std::make_shared<const ColorTile>(ColorTile{1, 1, {kWhite}})};
    EXPECT_EQ(Read(Word(0) + kBits, &pattern), "none");
}

TEST(ColorPattern, ATileIsNotLargerThan1024PixelsASide) {
    Pattern pattern;
    std::string stored = Pixels({256, {0, 0, 2000, 2048}, 0, 1});
    for (int y = 0; y < 2000; ++y)
        stored += Bytes("0004 8100 8100");
    EXPECT_EQ(Read(stored, &pattern).substr(0, 9), "1024x1024");
    EXPECT_EQ(pattern.tile->pixels.size(), 1024U * 1024U);
}

}  // namespace
}  // namespace Ondrel::QuickDraw
