// The icon of a document: its picture, and what becomes of the file.
#include "ondrel/preview/customicon.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ondrel/preview/iconsquare.h"
#include "tests/preview/ForkBytes.h"
#include "tests/preview/Pixels.h"
#include "tests/records/Allocations.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

OwnedPix MakeIconSquare(const drapix& image) {
    const Pictures::IconSquare square = Pictures::MakeIconSquare(image);
    if (!square.IsThere()) return nullptr;
    OwnedPix map(drapixall(square.side, square.side));
    std::memcpy(map->base, square.pixels.get(), square.RowBytes() * (0U + map->height));
    return map;
}

std::string Row(const OwnedPix& map, int y) {
    return Hex({reinterpret_cast<const char*>(drabufbas(map.get(), y)),
                static_cast<std::size_t>(map->rowBytes)});
}

TEST(CustomIcon, ThePictureStandsAtHalfItsSizeInATransparentSquare) {
    const OwnedPix square = MakeIconSquare(*NoiseMap(100, 60, 1));
    ASSERT_NE(square, nullptr);
    EXPECT_EQ(square->width, 50);
    EXPECT_EQ(square->height, 50);
    for (int y = 0; y < 50; ++y)
        for (int x = 0; x < 50; ++x) {
            const unsigned char* const pixel = drabufbas(square.get(), y) + 4L * x;
            if (y < 30)
                ASSERT_EQ(pixel[0], 0xFF) << x << ", " << y;
            else
                ASSERT_EQ(Hex({reinterpret_cast<const char*>(pixel), 4}), "00 00 00 00");
        }
}

TEST(CustomIcon, AHighPictureLeavesTheRightOfTheSquareTransparent) {
    const OwnedPix image = MapOf(2, 4,
                                 "A1102030 A2102030 A3102030 A4102030"
                                 "A5405060 A6405060 A7405060 A8405060");
    const OwnedPix square = MakeIconSquare(*image);
    ASSERT_NE(square, nullptr);
    EXPECT_EQ(square->width, 2);
    EXPECT_EQ(square->height, 2);
    EXPECT_EQ(Row(square, 0), "FF 10 20 30 00 00 00 00");
    EXPECT_EQ(Row(square, 1), "FF 40 50 60 00 00 00 00");
}

TEST(CustomIcon, HalvesAreRoundedDown) {
    const struct {
        int width;
        int height;
        int side;
    } cases[] = {{61, 61, 30}, {3, 2, 1}, {2, 3, 1}, {5, 9, 4}};
    for (const auto& c : cases) {
        const OwnedPix square = MakeIconSquare(*NoiseMap(c.width, c.height, 1));
        ASSERT_NE(square, nullptr);
        EXPECT_EQ(square->width, c.side) << c.width << " x " << c.height;
        EXPECT_EQ(square->height, c.side) << c.width << " x " << c.height;
    }
}

TEST(CustomIcon, APixelIsTheMeanOfTheFourItStandsFor) {
    const OwnedPix image = MapOf(2, 2, "00000000 00408010  00408010 00808020");
    const OwnedPix square = MakeIconSquare(*image);
    EXPECT_EQ(Row(square, 0), "FF 40 60 10");
}

TEST(CustomIcon, APictureWhoseHalfHasNoPixelGivesNone) {
    EXPECT_EQ(MakeIconSquare(*BlankMap(1, 50)), nullptr);
    EXPECT_EQ(MakeIconSquare(*BlankMap(50, 1)), nullptr);
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    const FileSpec file(Wide(path));
    AddCustomIcon(file, BlankMap(1, 50).get());
    AddCustomIcon(file, BlankMap(50, 1).get());
    AddCustomIcon(file, nullptr);
    const OwnedPix grey(drapix8all(50, 50));
    AddCustomIcon(file, grey.get());
    EXPECT_FALSE(Exists(SidecarOf(path)));
}

TEST(CustomIcon, WithoutMemoryThereIsNone) {
    const OwnedPix image = BlankMap(100, 60);
    const RefuseAllocations refused(50UL * 50 * 4, 50UL * 50 * 4);
    EXPECT_EQ(MakeIconSquare(*image), nullptr);
}

TEST(CustomIcon, TheFileGetsTheIconAndTheFlag) {
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    AddCustomIcon(FileSpec(Wide(path)), NoiseMap(64, 64, 1).get());
    const std::string sidecar = ReadAll(SidecarOf(path));
    EXPECT_EQ(Hex(sidecar.substr(58, 2)), "04 00");
    EXPECT_NE(ForkBytes(path).find("icns"), std::string::npos);
    EXPECT_EQ(ReadAll(path), "data");
}

// A disk that came from a Mac has names in decomposed form; paths have the precomposed one.
TEST(CustomIcon, AFileIsFoundUnderItsDecomposedName) {
    const Scratch scratch;
    const std::string path = scratch.Write("Re\xCC\x81sume\xCC\x81", "data");
    AddCustomIcon(FileSpec(Wide(scratch.Path("R\xC3\xA9sum\xC3\xA9"))), NoiseMap(8, 8, 1).get());
    EXPECT_TRUE(Exists(SidecarOf(path)));
}

TEST(CustomIcon, AMissingFileIsNotMade) {
    const Scratch scratch;
    AddCustomIcon(FileSpec(Wide(scratch.Path("missing"))), NoiseMap(8, 8, 1).get());
    AddCustomIcon(FileSpec(), NoiseMap(8, 8, 1).get());
    EXPECT_FALSE(Exists(scratch.Path("missing")));
    EXPECT_FALSE(Exists(scratch.Path("._missing")));
}

}  // namespace
}  // namespace Ondrel::Testing
