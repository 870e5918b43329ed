// Icon families: what is packed, which sizes there are, and that others read them.
#include "ondrel/platform/IconFamily.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>

#include "tests/platform/IconDecoder.h"
#include "tests/support/Corpus.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;
using Testing::IconElements;
using Testing::PixelsOfPlanes;
using Testing::PixelsOfPng;
using Testing::Scratch;

using Elements = std::map<std::string, std::string>;

// A picture of one pixel value, or of a byte that tells every place from every other.
std::string Flat(int width, int height, const char* pixel) {
    std::string pixels;
    for (int i = 0; i < width * height; ++i)
        pixels += Bytes(pixel);
    return pixels;
}

std::string Colourful(int side) {
    std::string pixels;
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            pixels += {'\xFF', static_cast<char>(x * 255 / side), static_cast<char>(y * 255 / side),
                       static_cast<char>((x / 8 + y / 8) % 2 * 200)};
    }
    return pixels;
}

Image AsImage(const std::string& pixels, int width, int height,
              AlphaInfo alpha = AlphaInfo::kFirst) {
    return {reinterpret_cast<const unsigned char*>(pixels.data()), width, height,
            static_cast<std::size_t>(width) * 4, alpha};
}

std::string Family(const Image& image) {
    std::string family;
    EXPECT_EQ(ComposeIconFamily(image, &family), noErr);
    return family;
}

// --- Packing ------------------------------------------------------------------------------------

struct Packed {
    std::string plane;
    std::string packed;
    const char* why;
};

TEST(IconFamily, PlanesArePackedInRuns) {
    const Packed cases[] = {
        {"", "", "nothing"},
        {"a", "00 61", "a byte"},
        {"aa", "01 61 61", "two are no run"},
        {"aaa", "80 61", "three are"},
        {std::string(16, '\7'), "8D 07", "sixteen"},
        {std::string(130, 'a'), "FF 61", "the longest run"},
        {std::string(131, 'a'), "FF 61 00 61", "one more"},
        {std::string(133, 'a'), "FF 61 80 61", "and a run more"},
        {"abbbc", "00 61 80 62 00 63", "a run in the middle"},
        {"abbcc", "04 61 62 62 63 63", "pairs are no runs"},
        {"aab", "02 61 61 62", "a pair at the start"},
    };
    for (const Packed& one : cases) {
        std::string packed;
        AppendPackedPlane(one.plane, &packed);
        EXPECT_EQ(Hex(packed), Hex(Bytes(one.packed))) << one.why;
    }
    std::string differing;
    for (int i = 0; i < 129; ++i)
        differing.push_back(static_cast<char>(i));
    std::string packed;
    AppendPackedPlane(differing, &packed);
    EXPECT_EQ(Hex(packed), Hex("\x7F" + differing.substr(0, 128) + std::string(1, '\0') + "\x80"))
        << "128 bytes as they are, and one more";
}

TEST(IconFamily, RandomPlanesUnpackToThemselves) {
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string plane(random() % 400, '\0');
        const unsigned values = 1 + random() % 4;
        for (char& byte : plane)
            byte = static_cast<char>(random() % values);
        std::string packed = "before";
        AppendPackedPlane(plane, &packed);
        std::size_t at = 6;
        ASSERT_EQ(Testing::UnpackedPlane(packed, plane.size(), &at), plane);
        ASSERT_EQ(at, packed.size());
    }
}

// --- The family ---------------------------------------------------------------------------------

TEST(IconFamily, ASmallOneByteForByte) {
    // 16 by 16 pixels of one colour: each plane of 256 bytes is a run of 130 and one of 126.
    EXPECT_EQ(Hex(Family(AsImage(Flat(16, 16, "80 11 22 33"), 16, 16))),
              Hex("icns" + Bytes("00 00 01 24") + "is32" + Bytes("00 00 00 14") +
                  Bytes("FF 12 FB 12 FF 22 FB 22 FF 34 FB 34") + "s8mk" + Bytes("00 00 01 08") +
                  std::string(256, '\x80')))
        << "half of a colour is stored in whole numbers, and comes back within one";
    const std::string opaque = Flat(16, 16, "00 11 22 33");
    EXPECT_EQ(Hex(Family(AsImage(opaque, 16, 16, AlphaInfo::kNoneSkipFirst))),
              Hex("icns" + Bytes("00 00 01 24") + "is32" + Bytes("00 00 00 14") +
                  Bytes("FF 11 FB 11 FF 22 FB 22 FF 33 FB 33") + "s8mk" + Bytes("00 00 01 08") +
                  std::string(256, '\xFF')));
}

TEST(IconFamily, TheSizesGoUpToTheFirstThatHoldsThePictureAndToThoseItFills) {
    const std::set<std::string> all = {"is32", "s8mk", "il32", "l8mk",
                                       "it32", "t8mk", "ic08", "ic09"};
    const std::pair<int, std::size_t> cases[] = {{1, 2},   {16, 2},  {17, 4},  {32, 4},
                                                 {33, 6},  {128, 6}, {255, 6}, {256, 7},
                                                 {511, 7}, {512, 8}, {1000, 8}};
    for (const auto& [side, count] : cases) {
        const Elements elements = IconElements(Family(AsImage(Colourful(side), side, side)));
        EXPECT_EQ(elements.size(), count) << side;
        for (const auto& [type, bytes] : elements)
            EXPECT_TRUE(all.contains(type)) << type;
    }
}

void ExpectNear(const std::string& pixels, const std::string& expected, int most,
                const std::string& what) {
    ASSERT_EQ(pixels.size(), expected.size()) << what;
    for (std::size_t at = 0; at < pixels.size(); ++at)
        ASSERT_LE(std::abs(static_cast<unsigned char>(pixels[at]) -
                           static_cast<unsigned char>(expected[at])),
                  most)
            << what << ", byte " << at;
}

std::map<int, std::string> Pixels(const Elements& elements) {
    return {{16, PixelsOfPlanes(elements.at("is32"), elements.at("s8mk"), 0)},
            {32, PixelsOfPlanes(elements.at("il32"), elements.at("l8mk"), 0)},
            {128, PixelsOfPlanes(elements.at("it32"), elements.at("t8mk"), 4)},
            {256, PixelsOfPng(elements.at("ic08"), 256)},
            {512, PixelsOfPng(elements.at("ic09"), 512)}};
}

TEST(IconFamily, ThereIsRoomForEveryPictureOfASide) {
    std::mt19937 random(3);
    for (const int side : {1, 15, 16, 17, 100, 128, 129, 255, 256, 300, 511, 512, 700}) {
        std::string noise(static_cast<std::size_t>(side * side) * 4, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(random());
        EXPECT_LE(Family(AsImage(noise, side, side)).size(), RoomForIconFamily(side)) << side;
        EXPECT_LE(Family(AsImage(noise, side, (side + 1) / 2)).size(), RoomForIconFamily(side));
        const std::string flat = Flat(side, side, "FF 11 22 33");
        EXPECT_LE(Family(AsImage(flat, side, side)).size(), RoomForIconFamily(side)) << side;
    }
}

TEST(IconFamily, EverySizeShowsThePicture) {
    const Elements elements = IconElements(Family(AsImage(Colourful(512), 512, 512)));
    EXPECT_EQ(Hex(elements.at("it32").substr(0, 4)), "00 00 00 00");
    const std::map<int, std::string> sizes = Pixels(elements);
    EXPECT_EQ(sizes.at(512), Colourful(512));
    for (const auto& [side, pixels] : sizes) {
        std::string smooth = pixels;
        std::string expected = Colourful(side);
        for (std::size_t at = 3; at < smooth.size(); at += 4)
            smooth[at] = expected[at] = '\0';  // the squares grow together, the slopes stay
        ExpectNear(smooth, expected, 8, std::to_string(side));
    }
}

TEST(IconFamily, TransparencyIsInEverySize) {
    std::string pixels = Flat(512, 256, "FF 20 40 60") + Flat(512, 256, "00 00 00 00");
    for (const auto& [side, shown] : Pixels(IconElements(Family(AsImage(pixels, 512, 512))))) {
        const auto half =
            std::size_t{2} * static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
        for (std::size_t at = 0; at < half; at += 4)
            ASSERT_EQ(Hex(shown.substr(at, 4)), "FF 20 40 60") << side;
        for (std::size_t at = half; at < 2 * half; at += 4)
            ASSERT_EQ(shown[at], '\0') << side;
    }
}

TEST(IconFamily, APictureThatIsNotSquareIsCentred) {
    const Elements elements = IconElements(Family(AsImage(Flat(16, 8, "FF 20 40 60"), 16, 8)));
    const std::string row(16, '\xFF');
    std::string mask(256, '\0');
    mask.replace(64, 128, std::string(128, '\xFF'));
    EXPECT_EQ(Hex(elements.at("s8mk")), Hex(mask));
    const Elements thin = IconElements(Family(AsImage(Flat(1, 16, "FF 20 40 60"), 1, 16)));
    std::string column;
    for (int y = 0; y < 16; ++y)
        column += std::string(7, '\0') + "\xFF" + std::string(8, '\0');
    EXPECT_EQ(Hex(thin.at("s8mk")), Hex(column));
}

TEST(IconFamily, WhatIsNoPictureIsRefusedWithMinus50) {
    const std::string pixels = Flat(4, 4, "FF 20 40 60");
    std::string family = "untouched";
    EXPECT_EQ(ComposeIconFamily({}, &family), -50);
    EXPECT_EQ(ComposeIconFamily(AsImage(pixels, 0, 4), &family), -50);
    EXPECT_EQ(ComposeIconFamily(AsImage(pixels, 4, -4), &family), -50);
    EXPECT_EQ(family, "untouched");
}

// --- Others read it -----------------------------------------------------------------------------

bool IsInstalled(const std::string& program) {
    return std::system(("command -v " + program + " > /dev/null 2>&1").c_str()) == 0;
}

TEST(IconFamily, AnIndependentProgramReadsIt) {
    if (!IsInstalled("icns2png")) GTEST_SKIP() << "icns2png is not installed";
    const Scratch scratch;
    const std::string picture = Colourful(512);
    const std::string family = Family(AsImage(picture, 512, 512));
    const std::string path = scratch.Write("icon.icns", family);
    const std::string output = scratch.Path("list");
    ASSERT_EQ(std::system(("icns2png -l '" + path + "' > '" + output + "' 2>&1").c_str()), 0);
    const std::string list = Testing::ReadAll(output);
    for (const char* line :
         {"'is32' 16x16 32-bit icon", "'s8mk' 16x16 8-bit mask", "'il32' 32x32 32-bit icon",
          "'l8mk' 32x32 8-bit mask", "'it32' 128x128 32-bit icon", "'t8mk' 128x128 8-bit mask",
          "'ic08' 256x256 32-bit icon", "'ic09' 512x512 32-bit icon", "8 elements total found"})
        EXPECT_NE(list.find(line), std::string::npos) << line << " is not in\n" << list;

    const std::string extract =
        "icns2png -x -o '" + scratch.Path() + "' '" + path + "' > '" + output + "' 2>&1";
    ASSERT_EQ(std::system(extract.c_str()), 0);
    const std::map<int, std::string> ours = Pixels(IconElements(family));
    for (const int side : {16, 32, 128}) {
        const std::string size = std::to_string(side);
        std::string name = "icon_";
        name.append(size).append("x").append(size).append("x32.png");
        const std::string png = Testing::ReadAll(scratch.Path(name));
        EXPECT_EQ(PixelsOfPng(png, static_cast<unsigned>(side)), ours.at(side)) << size;
    }
}

// The decoder of these tests is itself tried on families that others made.
TEST(IconFamily, FamiliesOfOthersAreDecodedByTheTestsDecoder) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int decoded = 0;
    for (const Testing::CorpusFile& file : Testing::CorpusFiles("icns/")) {
        const Elements elements = IconElements(Testing::ReadAll(file.path));
        for (const auto& [colours, mask, padding] :
             {std::tuple("is32", "s8mk", 0U), {"il32", "l8mk", 0U}, {"it32", "t8mk", 4U}}) {
            if (!elements.contains(colours) || !elements.contains(mask)) continue;
            PixelsOfPlanes(elements.at(colours), elements.at(mask), padding);
            ++decoded;
        }
    }
    EXPECT_GE(decoded, 12);
}

}  // namespace
}  // namespace Ondrel
