// Images scaled from their source to their destination.
#include <gtest/gtest.h>

#include <string>

#include "ondrel/platform/quickdraw/Bits.h"
#include "tests/platform/quickdraw/ImageCommands.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;

// Three rows of four pixels: RGBY, CMKW, WRGB.
std::string Image(const Rect& source, const Rect& destination) {
    return MapBytes({4, {0, 0, 3, 4}, 0, 8}) +
           TableBytes({0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0x00FFFF, 0xFF00FF, 0}) +
           PlaceBytes(source, destination) + Bytes("01020304 05060700 00010203");
}

struct PlaceCase {
    const char* why;
    Rect source;
    Rect destination;
    int width;
    int height;
    const char* result;
};

const Rect kAll = {0, 0, 3, 4};

const PlaceCase kPlaces[] = {
    {"as it is", kAll, kAll, 4, 3, "RGBY|CMKW|WRGB|"},
    {"elsewhere", kAll, {1, 1, 4, 5}, 5, 4, ".....|.RGBY|.CMKW|.WRGB|"},
    {"beyond the left and the top", kAll, {-1, -2, 2, 2}, 4, 3, "KW..|GB..|....|"},
    {"beyond the right and the bottom", kAll, {2, 3, 5, 7}, 4, 3, "....|....|...R|"},
    {"a part of it", {1, 1, 3, 3}, {0, 0, 2, 2}, 4, 3, "MK..|RG..|....|"},
    {"twice the size", {0, 0, 1, 2}, {0, 0, 2, 4}, 4, 3, "RRGG|RRGG|....|"},
    {"three for two across", {0, 0, 1, 2}, {0, 0, 1, 3}, 4, 1, "RGG.|"},
    {"half the width", kAll, {0, 0, 3, 2}, 2, 3, "GY|MW|RB|"},
    {"a third of the height", kAll, {0, 0, 1, 4}, 4, 1, "CMKW|"},
    {"two rows for three", kAll, {0, 0, 2, 4}, 4, 2, "RGBY|WRGB|"},
    {"one pixel", kAll, {0, 0, 1, 1}, 1, 1, "K|"},
    {"more than the image has",
     {-1, -1, 4, 5},
     {0, 0, 5, 6},
     6,
     5,
     "......|.RGBY.|.CMKW.|.WRGB.|......|"},
    {"more than it has, at twice the size", {0, 2, 1, 6}, {0, 0, 2, 8}, 8, 2, "BBYY....|BBYY....|"},
    {"more than it has to the left, at twice the size",
     {0, -2, 1, 2},
     {0, 0, 1, 8},
     8,
     1,
     "....RRGG|"},
    {"none of it", {7, 7, 9, 9}, {0, 0, 2, 2}, 2, 2, "..|..|"},
    {"very large", {1, 2, 2, 3}, {-32768, -32768, 32767, 32767}, 2, 2, "KK|KK|"},
};

TEST(Placement, APixelTakesTheOneUnderItsCentre) {
    for (const PlaceCase& of : kPlaces) {
        Page page(of.width, of.height);
        const std::string stored = Image(of.source, of.destination);
        PictureBytes bytes(stored);
        EXPECT_TRUE(DrawBits(0x90, bytes, page.state, page.canvas)) << of.why;
        EXPECT_EQ(Letters(page.canvas), of.result) << of.why;
    }
}

TEST(Placement, TheCanvasScalesTheDestination) {
    Page page(Rect{10, 10, 12, 12}, 2);
    const std::string stored = Image({0, 0, 2, 2}, {10, 10, 12, 12});
    PictureBytes bytes(stored);
    EXPECT_TRUE(DrawBits(0x90, bytes, page.state, page.canvas));
    EXPECT_EQ(Letters(page.canvas), "RRGG|RRGG|CCMM|CCMM|");
}

TEST(Placement, AClipOfManyPartsHoldsForScaledRowsToo) {
    Page page(8, 6);
    page.state.clip = Region();
    for (int i = 0; i < 6; ++i)
        page.state.clip |= Region(Rect{i, i, i + 1, i + 2});
    page.state.clip |= Region(Rect{2, 6, 3, 7});
    const std::string stored = Image(kAll, {0, 0, 6, 8});
    PictureBytes bytes(stored);
    EXPECT_TRUE(DrawBits(0x90, bytes, page.state, page.canvas));
    EXPECT_EQ(Letters(page.canvas), "RR......|.RG.....|..MM..W.|...MK...|....GG..|.....GB.|");
}

// Each of these is a few bytes and asks for all columns of the canvas.
TEST(Placement, ScalingToAWideCanvasIsWork) {
    constexpr int kWidth = 30000;
    Page page(kWidth, 1);
    const std::string stored = Image({0, 0, 1, 1}, {0, 0, 1, kWidth});
    PictureBytes bytes(stored);
    EXPECT_TRUE(DrawBits(0x90, bytes, page.state, page.canvas));
    EXPECT_LE(page.canvas.WorkLeft(), kEnoughWork - std::uint64_t{2} * kWidth);

    Canvas canvas(kWidth, 1, kWidth);
    bytes = PictureBytes(stored);
    (void)DrawBits(0x90, bytes, page.state, canvas);
    EXPECT_TRUE(canvas.IsExhausted());
    EXPECT_EQ(canvas.Row(0)[0], 0U);
}

}  // namespace
}  // namespace Ondrel::QuickDraw
