// The commands that draw images: every depth and packing, from bytes written out here.
#include "ondrel/platform/quickdraw/Bits.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/quickdraw/ImageCommands.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;

constexpr std::uint16_t kBitsRect = 0x90;
constexpr std::uint16_t kBitsRgn = 0x91;
constexpr std::uint16_t kPackBitsRect = 0x98;
constexpr std::uint16_t kPackBitsRgn = 0x99;
constexpr std::uint16_t kDirectBitsRect = 0x9A;
constexpr std::uint16_t kDirectBitsRgn = 0x9B;

struct Drawn {
    bool isGood = false;
    std::size_t left = 0;
};

Drawn Draw(std::uint16_t opcode, const std::string& stored, Page& page) {
    PictureBytes bytes(stored);
    const bool isGood = DrawBits(opcode, bytes, page.state, page.canvas);
    return {isGood, bytes.Left()};
}

// What a command leaves on a canvas of the size of its bounds; "-" in front when it failed, the
// number of bytes left behind it at the end when there are any.
std::string ResultOf(std::uint16_t opcode, const std::string& stored, int width, int height,
                     std::string (*text)(const Canvas&) = Letters) {
    Page page(width, height);
    const Drawn drawn = Draw(opcode, stored, page);
    return (drawn.isGood ? "" : "-") + text(page.canvas) +
           (drawn.left == 0 ? "" : std::to_string(drawn.left));
}

std::string BitMap(int rowBytes, const Rect& bounds, int mode = 0) {
    return Word(rowBytes) + RectBytes(bounds) + PlaceBytes(bounds, bounds, mode);
}

const std::vector<unsigned> kColors = {0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF,
                                       0xFFFF00, 0x00FFFF, 0xFF00FF, 0x000000};

std::string Indexed(const MapFields& map, std::string_view seed = "00000000") {
    return MapBytes(map) + TableBytes(kColors, seed) + PlaceBytes(map.bounds, map.bounds);
}

std::string Direct(const MapFields& map) {
    return Bytes("000000FF") + MapBytes(map) + PlaceBytes(map.bounds, map.bounds);
}

TEST(Bits, ABitMapIsDrawnInBlackAndWhite) {
    const Rect bounds{0, 0, 2, 10};
    EXPECT_EQ(ResultOf(kBitsRect, BitMap(2, bounds) + Bytes("A080 5540"), 10, 2),
              "KWKWWWWWKW|WKWKWKWKWK|");
}

TEST(Bits, ABitMapTakesTheForegroundAndTheBackgroundColour) {
    Page page(4, 1);
    page.state.fore = 0xFFFF0000;
    page.state.back = 0xFF00FF00;
    ASSERT_TRUE(Draw(kBitsRect, BitMap(2, {0, 0, 1, 4}) + Bytes("A000"), page).isGood);
    EXPECT_EQ(Letters(page.canvas), "RGRG|");
}

TEST(Bits, RowsOfFewerThanEightBytesAreNotPacked) {
    const Rect bounds{0, 0, 2, 4};
    EXPECT_EQ(ResultOf(kPackBitsRect, BitMap(6, bounds) + Bytes("A00000000000 500000000000"), 4, 2),
              "KWKW|WKWK|");
}

TEST(Bits, RowsOfEightBytesArePacked) {
    const Rect bounds{0, 0, 2, 12};
    EXPECT_EQ(ResultOf(kPackBitsRect, BitMap(8, bounds) + Bytes("02 F9AA 05 00F1 FA00 80"), 12, 2),
              "KWKWKWKWKWKW|KKKKWWWKWWWW|");
}

struct MapCase {
    const char* why;
    std::uint16_t opcode;
    std::string stored;
    int width;
    int height;
    const char* result;
};

std::vector<MapCase> IndexedCases() {
    return {
        {"a bit, not packed", kBitsRect, Indexed({2, {0, 0, 1, 4}, 0, 1}) + Bytes("50FF"), 4, 1,
         "WRWR|"},
        {"two bits", kBitsRect, Indexed({2, {0, 0, 1, 5}, 0, 2}) + Bytes("1B40"), 5, 1, "WRGBR|"},
        {"four bits", kBitsRect, Indexed({2, {0, 0, 1, 4}, 0, 4}) + Bytes("7654"), 4, 1, "KMCY|"},
        {"four bits and an index that has no colour", kBitsRect,
         Indexed({2, {0, 0, 1, 4}, 0, 4}) + Bytes("01 F8"), 4, 1, "WRKK|"},
        {"eight bits", kBitsRect, Indexed({4, {0, 0, 2, 3}, 0, 8}) + Bytes("010203FF 04050600"), 3,
         2, "RGB|YCM|"},
        {"eight bits, packed", kPackBitsRect,
         Indexed({8, {0, 0, 2, 3}, 0, 8}) + Bytes("05 010102 FB00 04 FF03 FB07"), 3, 2, "RGW|BBK|"},
        {"eight bits, that the map says not to pack", kPackBitsRect,
         Indexed({8, {0, 0, 1, 3}, 1, 8}) + Bytes("0102030000000000"), 3, 1, "RGB|"},
        {"eight bits in short rows", kPackBitsRect,
         Indexed({6, {0, 0, 1, 3}, 0, 8}) + Bytes("010203000000"), 3, 1, "RGB|"},
        {"bounds that do not start at nought", kBitsRect,
         MapBytes({2, {5, 7, 6, 9}, 0, 8}) + TableBytes(kColors) +
             PlaceBytes({5, 7, 6, 9}, {0, 0, 1, 2}) + Bytes("0102"),
         2, 1, "RG|"},
        {"bytes behind the rows", kBitsRect, Indexed({2, {0, 0, 1, 2}, 0, 8}) + Bytes("0102 ABCD"),
         2, 1, "RG|2"},
    };
}

TEST(Bits, IndicesOfEveryDepthHaveTheirColours) {
    for (const MapCase& of : IndexedCases())
        EXPECT_EQ(ResultOf(of.opcode, of.stored, of.width, of.height), of.result) << of.why;
}

std::vector<MapCase> DirectCases() {
    const std::string wide = Bytes("0000 7FFF 7C00 03E0 001F");
    return {
        {"sixteen bits", kDirectBitsRect, Direct({4, {0, 0, 1, 2}, 0, 16, 3}) + Bytes("7FFF 0421"),
         2, 1, "FFFFFF 080808|"},
        {"sixteen bits, not packed", kDirectBitsRect, Direct({10, {0, 0, 1, 5}, 1, 16, 3}) + wide,
         5, 1, "000000 FFFFFF FF0000 00FF00 0000FF|"},
        {"sixteen bits that nothing can be left out of", kDirectBitsRect,
         Direct({10, {0, 0, 1, 5}, 2, 16, 3}) + wide, 5, 1, "000000 FFFFFF FF0000 00FF00 0000FF|"},
        {"sixteen bits, words packed", kDirectBitsRect,
         Direct({10, {0, 0, 1, 5}, 3, 16, 3}) + Bytes("08 017C0083E0 FE801F"), 5, 1,
         "FF0000 00FF00 0000FF 0000FF 0000FF|"},
        {"sixteen bits, packed by default", kDirectBitsRect,
         Direct({10, {0, 0, 1, 5}, 0, 16, 3}) + Bytes("03 FC4210"), 5, 1,
         "848484 848484 848484 848484 848484|"},
        {"32 bits, not packed", kDirectBitsRect,
         Direct({8, {0, 0, 2, 2}, 1, 32, 3}) + Bytes("AA010203 BB040506 CC070809 DD0A0B0C"), 2, 2,
         "010203 040506|070809 0A0B0C|"},
        {"32 bits, but for the byte that is not used", kDirectBitsRect,
         Direct({8, {0, 0, 2, 2}, 2, 32, 3}) + Bytes("010203 040506 070809 0A0B0C"), 2, 2,
         "010203 040506|070809 0A0B0C|"},
        {"32 bits, three planes packed", kDirectBitsRect,
         Direct({8, {0, 0, 2, 2}, 4, 32, 3}) + Bytes("07 05010203040506 04 FF07 FD08"), 2, 2,
         "010305 020406|070808 070808|"},
        {"32 bits, four planes packed", kDirectBitsRect,
         Direct({8, {0, 0, 1, 2}, 4, 32, 4}) + Bytes("09 07AABB010203040506"), 2, 1,
         "010305 020406|"},
        {"32 bits, packed by default", kDirectBitsRect,
         Direct({8, {0, 0, 1, 2}, 0, 32, 3}) + Bytes("07 05010203040506"), 2, 1, "010305 020406|"},
        {"one pixel of 32 bits is not packed", kDirectBitsRect,
         Direct({4, {0, 0, 1, 1}, 4, 32, 3}) + Bytes("AA010203"), 1, 1, "010203|"},
        {"rows longer than their pixels", kDirectBitsRect,
         Direct({12, {0, 0, 1, 2}, 1, 32, 3}) + Bytes("AA010203 BB040506 CC070809"), 2, 1,
         "010203 040506|"},
    };
}

TEST(Bits, DirectPixelsOfEveryPackingHaveTheirColours) {
    for (const MapCase& of : DirectCases())
        EXPECT_EQ(ResultOf(of.opcode, of.stored, of.width, of.height, Colors), of.result) << of.why;
}

TEST(Bits, TheIndicesOfADeviceTableAreItsPlaces) {
    const std::string table = Bytes("00000000 8000 0001 0000 FFFF 0000 0000 0000 0000 FFFF 0000");
    EXPECT_EQ(ResultOf(kBitsRect,
                       MapBytes({2, {0, 0, 1, 2}, 0, 8}) + table +
                           PlaceBytes({0, 0, 1, 2}, {0, 0, 1, 2}) + Bytes("0001"),
                       2, 1),
              "RG|");
}

TEST(Bits, TheIndicesOfOtherTablesAreThoseThatAreStored) {
    const std::string table = Bytes("00000000 0000 0001 0005 FFFF 0000 0000 00FF 0000 FFFF 0000");
    EXPECT_EQ(ResultOf(kBitsRect,
                       MapBytes({2, {0, 0, 1, 2}, 0, 8}) + table +
                           PlaceBytes({0, 0, 1, 2}, {0, 0, 1, 2}) + Bytes("05FF"),
                       2, 1),
              "RG|");
}

// 63 pixels of 32 bits are 252 bytes a row: lengths of two bytes.
TEST(Bits, RowsAbove250BytesHaveLengthsOfTwoBytes) {
    const Rect bounds{0, 0, 1, 63};
    EXPECT_EQ(ResultOf(kDirectBitsRect,
                       Direct({252, bounds, 4, 32, 3}) + Bytes("0006 C2FF C200 C200"), 63, 1),
              std::string(63, 'R') + "|");
}

TEST(Bits, LengthsOfOneByteAreReadWhereTheyShouldHaveTwo) {
    const Rect bounds{0, 0, 2, 70};
    EXPECT_EQ(
        ResultOf(kDirectBitsRect,
                 Direct({280, bounds, 4, 32, 3}) + Bytes("06 BB00 BBFF BB00 06 BBFF BB00 BB00"), 70,
                 2),
        std::string(70, 'G') + "|" + std::string(70, 'R') + "|");
}

// A row of 8200 pixels of 32 bits is 32800 bytes, more than a row's 15 bits can say.
TEST(Bits, TheWidestRowsOfOurPreviewsAreReadBack) {
    std::string row = "\x86";  // the length of the row, 390, cut to a byte
    for (const char color : {'\xFF', '\0', '\0'}) {
        for (int i = 0; i < 64; ++i)
            row += std::string("\x81") + color;
        row += std::string("\xF9") + color;
    }
    EXPECT_EQ(ResultOf(kDirectBitsRect,
                       Direct({32800 & 0x7FFF, {0, 0, 2, 8200}, 4, 32, 3}) + row + row, 8200, 2),
              std::string(8200, 'R') + "|" + std::string(8200, 'R') + "|");
}

TEST(Bits, ShortRowsOfThisLibrarysMasksArePacked) {
    const Rect bounds{0, 0, 2, 9};
    const std::string map = MapBytes({2, bounds, 0, 1});
    const std::string place = PlaceBytes(bounds, bounds);
    EXPECT_EQ(
        ResultOf(kPackBitsRect,
                 map + TableBytes({0xFFFFFF, 0}, "5AFEC0DE") + place + Bytes("03 01AA80 02 FFFF"),
                 9, 2),
        "KWKWKWKWK|KKKKKKKKK|");
    EXPECT_EQ(
        ResultOf(kPackBitsRect, map + TableBytes({0xFFFFFF, 0}) + place + Bytes("AA80 FFFF"), 9, 2),
        "KWKWKWKWK|KKKKKKKKK|");
}

TEST(Bits, AMaskIsInTheCoordinatesOfTheDestination) {
    Page page(Rect{10, 20, 12, 24});
    const std::string stored = Word(2) + RectBytes({0, 0, 2, 4}) +
                               PlaceBytes({0, 0, 2, 4}, {10, 20, 12, 24}) +
                               Bytes("000A 000A 0015 000B 0017") + Bytes("FFFF FFFF");
    EXPECT_TRUE(Draw(kBitsRgn, stored, page).isGood);
    EXPECT_EQ(Letters(page.canvas), ".KK.|....|");
}

TEST(Bits, EveryKindOfImageCanHaveAMask) {
    const std::string mask = Bytes("000A 0000 0001 0001 0002");
    const Rect bounds{0, 0, 1, 3};
    EXPECT_EQ(ResultOf(kPackBitsRgn,
                       MapBytes({8, bounds, 0, 8}) + TableBytes(kColors) +
                           PlaceBytes(bounds, bounds) + mask + Bytes("02 F901"),
                       3, 1),
              ".R.|");
    EXPECT_EQ(ResultOf(kDirectBitsRgn,
                       Bytes("000000FF") + MapBytes({12, bounds, 1, 32, 3}) +
                           PlaceBytes(bounds, bounds) + mask + Bytes("00FF0000 0000FF00 000000FF"),
                       3, 1),
              ".G.|");
}

TEST(Bits, TheClipBoundsWhatIsDrawn) {
    Page page(4, 3);
    page.state.clip = Region(Rect{1, 1, 3, 2});
    page.state.clip |= Region(Rect{1, 3, 2, 4});
    ASSERT_TRUE(Draw(kBitsRect, BitMap(2, {0, 0, 3, 4}) + Bytes("F000 F000 F000"), page).isGood);
    EXPECT_EQ(Letters(page.canvas), "....|.K.K|.K..|");
}

struct ModeCase {
    int mode;
    const char* bits;    // of 1 0 1 0 over white, white, black, black
    const char* colors;  // of black, white, black, white over the same
};

const ModeCase kModes[] = {
    {0, "KWKW", "KWKW"},  {1, "KWKK", "KWKK"},  {2, "KWWK", "KWWK"},  {3, "WWWK", "WWWK"},
    {4, "WKWK", "WKWK"},  {5, "WKKK", "WKKK"},  {6, "WKKW", "WKKW"},  {7, "WWKW", "WWKW"},
    {64, "KWKW", "KWKW"}, {37, "WWKW", "WWKW"}, {39, "KWKK", "KWKK"}, {36, "KWKK", "KWKK"},
};

TEST(Bits, ModesCombineWithWhatIsThere) {
    const Rect bounds{0, 0, 1, 4};
    for (const ModeCase& of : kModes) {
        for (const bool isBitMap : {true, false}) {
            Page page(4, 1);
            for (int x = 0; x < 4; ++x)
                page.canvas.Row(0)[x] = x < 2 ? kWhite : kBlack;
            const std::string stored =
                isBitMap ? BitMap(2, bounds, of.mode) + Bytes("A000")
                         : MapBytes({2, bounds, 0, 1}) + TableBytes({0xFFFFFF, 0}) +
                               PlaceBytes(bounds, bounds, of.mode) + Bytes("A000");
            ASSERT_TRUE(Draw(kBitsRect, stored, page).isGood);
            EXPECT_EQ(Letters(page.canvas), std::string(isBitMap ? of.bits : of.colors) + "|")
                << of.mode;
        }
    }
}

TEST(Bits, InvertingBecomesHighlightingWhenThePictureAskedForIt) {
    Page page(2, 1);
    page.state.nextIsHilite = true;
    page.state.hilite = 0xFF00FF00;
    ASSERT_TRUE(Draw(kBitsRect, BitMap(2, {0, 0, 1, 2}, 2) + Bytes("8000"), page).isGood);
    EXPECT_EQ(Letters(page.canvas), "G.|");
}

// Cut at every byte: the whole rows in front of the cut are drawn, and nothing else.
TEST(Bits, APictureCutOffKeepsTheRowsInFrontOfTheCut) {
    const std::string packed = Indexed({8, {0, 0, 3, 2}, 0, 8}) + Bytes("02 F901 02 F902 02 F903");
    const std::string plain = Direct({8, {0, 0, 3, 2}, 1, 32, 3}) +
                              Bytes("00FF0000 00FF0000 0000FF00 0000FF00 000000FF 000000FF");
    struct {
        std::uint16_t opcode;
        std::string stored;
        std::size_t rowBytes;
    } const cases[] = {{kPackBitsRect, packed, 3}, {kDirectBitsRect, plain, 8}};
    for (const auto& of : cases) {
        const std::size_t head = of.stored.size() - 3 * of.rowBytes;
        for (std::size_t size = 0; size < of.stored.size(); ++size) {
            const std::size_t rows = size < head ? 0 : (size - head) / of.rowBytes;
            const std::string expected =
                std::string(rows > 0 ? "RR|" : "..|") + (rows > 1 ? "GG|" : "..|") + "..|";
            Page page(2, 3);
            EXPECT_FALSE(Draw(of.opcode, of.stored.substr(0, size), page).isGood) << size;
            EXPECT_EQ(Letters(page.canvas), expected) << size;
        }
    }
}

TEST(Bits, ARowThatComesOutTooShortEndsThePicture) {
    EXPECT_EQ(ResultOf(kPackBitsRect,
                       Indexed({8, {0, 0, 3, 2}, 0, 8}) + Bytes("02 F901 02 FB02 02 F903"), 2, 3),
              "-RR|..|..|3");
}

struct BadCase {
    const char* why;
    std::uint16_t opcode;
    std::string stored;
    bool isGood;
};

TEST(Bits, WhatMakesNoSenseDrawsNothing) {
    const Rect bounds{0, 0, 1, 2};
    const std::string place = PlaceBytes(bounds, bounds);
    const std::string table = TableBytes({0xFF0000});
    const BadCase cases[] = {
        {"rows of no bytes", kBitsRect, BitMap(0, bounds), false},
        {"no row", kBitsRect, BitMap(2, {3, 0, 3, 2}) + Bytes("FFFF"), true},
        {"bounds upside down", kBitsRect, BitMap(2, {3, 0, 1, 2}) + Bytes("FFFF"), true},
        {"bounds as wide as can be", kBitsRect,
         Word(2) + RectBytes({0, -32768, 1, 32767}) + place + Bytes("FF"), false},
        {"a depth that is none", kBitsRect, MapBytes({2, bounds, 0, 3}) + table + place + "ab",
         false},
        {"no depth", kBitsRect, MapBytes({2, bounds, 0, 0}) + table + place + "ab", false},
        {"colours longer than the bytes", kBitsRect,
         MapBytes({2, bounds, 0, 8}) + Bytes("00000000 0000 00FF 0000") + place + "ab", false},
        {"no colours and rows missing", kBitsRect,
         MapBytes({2, bounds, 0, 8}) + Bytes("00000000 0000 FFFF") + place, false},
        {"a mask longer than the bytes", kBitsRgn, BitMap(2, bounds) + Bytes("0FFF 0000"), false},
        {"an empty destination", kBitsRect,
         Word(2) + RectBytes(bounds) + PlaceBytes(bounds, {0, 1, 1, 1}) + "ab", true},
        {"an empty source", kBitsRect,
         Word(2) + RectBytes(bounds) + PlaceBytes({0, 0, 0, 2}, bounds) + "ab", true},
    };
    for (const BadCase& of : cases) {
        Page page(2, 1);
        EXPECT_EQ(Draw(of.opcode, of.stored, page).isGood, of.isGood) << of.why;
        EXPECT_EQ(Letters(page.canvas), "..|") << of.why;
    }
}

TEST(Bits, OddRowsAreRead) {
    EXPECT_EQ(ResultOf(kBitsRect, Indexed({3, {0, 0, 2, 3}, 0, 8}) + Bytes("010203 040506"), 3, 2),
              "RGB|YCM|");
    EXPECT_EQ(ResultOf(kPackBitsRect, Indexed({9, {0, 0, 1, 3}, 0, 8}) + Bytes("02 F801"), 3, 1),
              "RRR|");
    EXPECT_EQ(
        ResultOf(kDirectBitsRect, Direct({9, {0, 0, 1, 3}, 3, 16, 3}) + Bytes("03 FD7C00"), 3, 1),
        "RRR|");
}

TEST(Bits, RowsWithFewerPixelsThanTheBoundsLeaveTheRestAlone) {
    EXPECT_EQ(ResultOf(kBitsRect, Indexed({2, {0, 0, 1, 4}, 0, 8}) + Bytes("0102"), 4, 1), "RG..|");
}

TEST(Bits, ThePictureIsOverWhenItsWorkIsUsedUp) {
    const Page page(4, 4);
    Canvas canvas(4, 4, 6);  // four for the clip, one for each row
    const std::string stored = BitMap(2, {0, 0, 4, 4}) + Bytes("F000 F000 F000 F000");
    PictureBytes bytes(stored);
    EXPECT_FALSE(DrawBits(kBitsRect, bytes, page.state, canvas));
    EXPECT_EQ(Letters(canvas), "KKKK|KKKK|....|....|");
}

}  // namespace
}  // namespace Ondrel::QuickDraw
