// The loop over a picture's commands: what is left out, and how a picture ends.
#include "ondrel/platform/quickdraw/Player.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureHead.h"
#include "tests/platform/quickdraw/Art.h"
#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw {
namespace {

using Testing::Art;
using Testing::ArtOf;
using Testing::Bytes;
using Testing::PictureOf;
using Testing::WorkOf;

std::string HexOf(unsigned number, int digits) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string hex;
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        hex += kDigits[(number >> shift) & 15];
    return hex;
}

std::string Many(std::size_t count, const std::string& text) {
    std::string all;
    all.reserve(count * text.size());
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

// Opcodes that draw nothing and set nothing visible, with data of their documented length: each
// data byte is FF, which would be the end of the picture, or a command that is not.
struct Skipped {
    unsigned first;
    unsigned last;
    const char* data;
};
constexpr Skipped kSkippedInBoth[] = {
    {0x00, 0x00, ""},
    {0x15, 0x15, "FFFF"},
    {0x17, 0x19, ""},
    {0x24, 0x27, "0003 FFFFFF"},
    {0x2E, 0x2F, "0003 FFFFFF"},
    {0x24, 0x27, "0000"},
    {0x35, 0x37, "FFFFFFFFFFFFFFFF"},
    {0x3D, 0x3F, ""},
    {0x45, 0x47, "FFFFFFFFFFFFFFFF"},
    {0x4D, 0x4F, ""},
    {0x55, 0x57, "FFFFFFFFFFFFFFFF"},
    {0x5D, 0x5F, ""},
    {0x65, 0x67, "FFFFFFFFFFFFFFFFFFFFFFFF"},
    {0x6D, 0x6F, "FFFFFFFF"},
    {0x75, 0x77, "000E FFFFFFFFFFFFFFFFFFFFFFFF"},
    {0x75, 0x77, "0000"},
    {0x7D, 0x7F, ""},
    {0x85, 0x87, "000D FFFFFFFFFFFFFFFFFFFFFF"},
    {0x8D, 0x8F, ""},
    {0x92, 0x97, "0005 FFFFFFFFFF"},
    {0x9C, 0x9F, "0005 FFFFFFFFFF"},
    {0xA0, 0xA0, "FFFF"},
    {0xA1, 0xA1, "FFFF 0003 FFFFFF"},
    {0xA2, 0xAF, "0003 FFFFFF"},
    {0xB0, 0xCF, ""},
    {0xD0, 0xFE, "00000003 FFFFFF"},
};

TEST(Player, ReservedCommandsAreLeftOutByTheirLengths) {
    for (const Skipped& skipped : kSkippedInBoth) {
        for (unsigned opcode = skipped.first; opcode <= skipped.last; ++opcode) {
            const std::string data = Bytes(skipped.data);
            const std::string first = HexOf(opcode, 2) + skipped.data;
            EXPECT_EQ(Art(2, 1, first + "31 0000 0000 0001 0001"), "#.\n") << first;
            const std::string second = HexOf(opcode, 4) + skipped.data +
                                       (data.size() % 2 == 0 ? "" : "FF") +
                                       "0031 0000 0000 0001 0001";
            EXPECT_EQ(Art(PictureOf(2, {0, 0, 1, 2}, second)), "#.\n") << second;
        }
    }
}

TEST(Player, OpcodesOfTwoBytesAreLeftOutByTheirLengths) {
    for (unsigned i = 4; i < 4 * 256; ++i) {
        constexpr unsigned kLowBytes[] = {0x00, 0x02, 0x7F, 0xFF};
        const unsigned opcode = (i / 4) << 8 | kLowBytes[i % 4];
        if (opcode == 0x8200) continue;
        std::string data;
        if (opcode < 0x8000)
            data = Many(opcode >> 8, "FFFF");
        else if (opcode >= 0x8100)
            data = "00000003 FFFFFF FF";
        const std::string commands = HexOf(opcode, 4) + data + "0031 0000 0000 0001 0001";
        ASSERT_EQ(Art(PictureOf(2, {0, 0, 1, 2}, commands)), "#.\n") << commands;
    }
}

TEST(Player, AVersionInTheMiddleIsLeftOut) {
    EXPECT_EQ(Art(2, 1, "1101 31 0000 0000 0001 0001"), "#.\n");
    EXPECT_EQ(Art(PictureOf(2, {0, 0, 1, 2}, "0011 02FF 0031 0000 0000 0001 0001")), "#.\n");
}

TEST(Player, CommandsOfVersion2StandAtEvenPlaces) {
    const std::string face = "0004 01FF";  // one byte of data and one of padding
    const std::string comment = "00A1 0001 0001 AAFF";
    EXPECT_EQ(Art(PictureOf(2, {0, 0, 1, 2}, face + comment + "0031 0000 0000 0001 0001")), "#.\n");
}

TEST(Player, TheEndEndsIt) {
    EXPECT_EQ(Art(2, 1, "31 0000 0000 0001 0001 FF 31 0000 0000 0001 0002"), "#.\n");
    EXPECT_EQ(
        Art(PictureOf(2, {0, 0, 1, 2}, "0031 0000 0000 0001 0001 00FF 0031 0000 0000 0001 0002")),
        "#.\n");
}

TEST(Player, LengthsBeyondTheDataEndIt) {
    for (const char* damaged :
         {"24 FFFF", "A1 0000 FFFF", "D0 FFFFFFFF", "75 FFFF", "30 0000", "28 0000 0000 FF 41",
          "01 FFFF 0000 0000 0001 0001", "09 0000", "2C 0005 0001"}) {
        EXPECT_EQ(Art(2, 1, std::string("31 0000 0000 0001 0001") + damaged), "#.\n") << damaged;
    }
}

// One of each kind of command.
constexpr const char* kMixed =
    "0001 000A 0000 0000 0008 0008 0002 AA55AA55AA55AA55 0003 0004 0004 0100 0005 0001"
    "0006 00010000 0007 0001 0002 0008 0009 0009 8844221188442211 000A 1122334455667788"
    "000B 0004 0004 000C 0001 0001 000D 000C 000E 000000CD 000F 0000001E"
    "0010 0001 0001 0001 0001 0016 1000 001A FFFF 0000 0000 001B 0000 FFFF 0000 001C"
    "001D FFFF FFFF 0000 001E 001F 8000 8000 8000 0020 0000 0000 0005 0007 0021 0007 0001"
    "0022 0001 0001 0403 0023 FD02 002C 0008 0005 0456 65 6E 69 63 002D 0008 00000000 00010000"
    "0030 0000 0000 0006 0006 0039 0042 0001 0001 0005 0005 004B 0054 0000 0000 0003 0007 0058"
    "0061 0000 0000 0007 0007 0000 0078 006C 0078 0010"
    "0071 0016 0000 0000 0007 0007 0000 0000 0006 0006 0006 0000 0078"
    "0081 001C 0000 0000 0004 0006 0000 0000 0006 7FFF 0004 0000 0006 7FFF 7FFF 0088"
    "00A0 0001 00A1 0001 0002 0000 0C01 000000000000000000000000000000000000000000000000"
    "8100 00000002 0000";

TEST(Player, APictureCutAnywhereIsDrawnAsFarAsItGoes) {
    const std::string whole = PictureOf(2, {0, 0, 9, 9}, kMixed);
    PictureHead head;
    ASSERT_TRUE(ReadPictureHead(whole, &head));
    for (std::size_t length = head.commands; length < whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        Canvas canvas(9, 9, 100'000);
        PlayPicture(cut, head, canvas);
        EXPECT_FALSE(canvas.IsExhausted()) << length;
        if (length + 8 > whole.size()) {
            EXPECT_EQ(ArtOf(canvas), Art(whole)) << length;
        }
    }
}

// A compressed image of two green pixels at (0, 0): raw 32-bit pixels, or of a kind that nobody
// knows.
std::string QuickTimeImage(const std::string& kind) {
    const std::string head =
        "0000"
        "00010000 00000000 00000000  00000000 00010000 00000000  00000000 00000000 40000000"
        "00000000 0000000000000000 0000 0000 0000 0001 0002 00000300 00000000";
    const std::string description = "00000056" + kind +
                                    "00000000 0000 0000 0000 0000 00000000 00000000 00000000"
                                    "0002 0001 00480000 00480000 00000008 0001" +
                                    Many(32, "00") + "0020 FFFF";
    const std::string data = "00 00FF00 00 00FF00";
    const std::size_t length = Bytes(head + description + data).size();
    return "8200" + HexOf(static_cast<unsigned>(length), 8) + head + description + data;
}

constexpr const char* kRaw = "72617720";
constexpr const char* kUnknown = "78787878";

TEST(Player, TheSubstituteOfAQuickTimeImageThatWasDrawnIsLeftOut) {
    const std::string announced = "0007 00AE 0010 0007 0001 0001 0031 0000 0000 0001 0002";
    const std::string bits =
        "0098 0002 0000 0000 0001 0002 0000 0000 0001 0002 0000 0000 0001 0002 0000 FFFF";
    const std::string behind = "0031 0000 0002 0001 0003 00FF";
    for (const std::string& substitute : {announced, bits}) {
        EXPECT_EQ(Art(PictureOf(2, {0, 0, 1, 4}, QuickTimeImage(kRaw) + substitute + behind)),
                  "GG#.\n");
        EXPECT_EQ(Art(PictureOf(2, {0, 0, 1, 4}, QuickTimeImage(kUnknown) + substitute + behind)),
                  "###.\n");
    }
}

TEST(Player, ACanvasThatAllowsNoMoreWorkEndsIt) {
    const std::string hostile =
        PictureOf(1, {0, 0, 1000, 1000},
                  "33 0000 0000 03E8 03E8" + Many(5000, "3B") + "32 0000 0000 0001 0001");
    EXPECT_EQ(WorkOf(hostile, 1'000'000), 1'000'000U);
}

// What costs time costs work, though it may paint nothing.
TEST(Player, EveryCommandCostsWork) {
    const Rect frame{0, 0, 1000, 1000};
    const std::string outside = "01 000A 0000 0000 03E8 0001";  // a clip of one column
    const std::string comb = [] {
        std::string points;
        for (unsigned i = 0; i < 500; ++i)
            points += HexOf(i % 2 == 0 ? 0 : 1000, 4) + HexOf(i, 4);
        return "71" + HexOf(10 + 500 * 4, 4) + "0000 0000 03E8 03E8" + points;
    }();
    const std::string stripes = [] {
        std::string row;
        for (unsigned i = 0; i < 500; ++i)
            row += HexOf(2 * i, 4);
        return HexOf(10 + 2 * (2 + 500 + 2 + 500 + 1), 4) + "0000 0000 03E8 03E8 0000" + row +
               "7FFF 03E8" + row + "7FFF 7FFF";
    }();
    struct {
        std::string commands;
        std::uint64_t least;
        const char* what;
    } const kCostly[] = {
        {Many(1000, "00"), 1000, "nothing"},
        {Many(1000, "31 0000 0000 0000 0000"), 1000, "empty rectangles"},
        {outside + "51 0000 0000 03E8 03E8" + Many(10, "5B"), 11 * 1000, "ovals"},
        {outside + "20 0000 0000 03E7 03E7", 1000, "a line"},
        {outside + comb, 500 * 1000, "a polygon's edges"},
        {outside + "80" + stripes + "88", 2 * 250 * 1000, "a region's rectangles"},
        {"01" + stripes + "31 0000 0000 03E8 0001" + Many(10, "39"), 11 * 250 * 1000,
         "a clip's rectangles"},
        {outside + "70 000E 0000 0000 03E8 03E8 0000 0000" + Many(1000, "78"), 1000,
         "the same polygon"},
        {"01 000A 0000 0000 0000 0000 70" + comb.substr(2) + Many(100, "78"), 101 * 499 * 10,
         "lines that are not seen"},
        {outside + "81" + stripes + "01 000A 0000 0000 0000 0000" + Many(100, "89"), 100 * 250,
         "a region that is not seen"},
    };
    for (const auto& costly : kCostly) {
        const std::uint64_t work = WorkOf(PictureOf(1, frame, costly.commands), 1'000'000'000);
        EXPECT_GE(work, costly.least) << costly.what;
        EXPECT_LT(work, 100 * costly.least + 100'000) << costly.what;
    }
}

}  // namespace
}  // namespace Ondrel::QuickDraw
