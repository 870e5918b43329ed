// Pictures drawn into one another: byte for byte where the result is exact.
#include "ondrel/platform/Images.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;

// Pixels written out as text, and a view of them.
struct Picture {
    std::string bytes;
    int width;
    int height;

    Picture(int w, int h, const std::string& hex) : bytes(Bytes(hex)), width(w), height(h) {
        EXPECT_EQ(bytes.size(), RowBytes() * static_cast<std::size_t>(h));
    }
    Picture(int w, int h, char fill)
        : bytes(std::size_t{4} * static_cast<std::size_t>(w) * static_cast<std::size_t>(h), fill),
          width(w),
          height(h) {}

    std::size_t RowBytes() const { return static_cast<std::size_t>(width) * 4; }
    Image AsImage(AlphaInfo alpha) const {
        return {reinterpret_cast<const unsigned char*>(bytes.data()), width, height, RowBytes(),
                alpha};
    }
    BitmapContext AsContext() {
        return {reinterpret_cast<unsigned char*>(bytes.data()), width, height, RowBytes()};
    }
};

OSErr DrawWhole(Picture& to, const Picture& from, AlphaInfo alpha) {
    return DrawImage(to.AsContext(), {0, 0, to.width, to.height}, from.AsImage(alpha));
}

constexpr AlphaInfo kOpaque = AlphaInfo::kNoneSkipFirst;

struct SamePixel {
    const char* to;
    const char* from;
    AlphaInfo alpha;
    const char* result;
    const char* why;
};

const SamePixel kSamePixels[] = {
    {"00 FF FF FF", "77 10 20 30", kOpaque, "FF 10 20 30", "the first byte is skipped"},
    {"00 00 00 00", "80 10 20 30", AlphaInfo::kPremultipliedFirst, "80 10 20 30", "over nothing"},
    {"FF 00 00 00", "80 10 20 30", AlphaInfo::kPremultipliedFirst, "FF 10 20 30", "over black"},
    {"00 FF FF FF", "00 00 00 00", AlphaInfo::kPremultipliedFirst, "00 FF FF FF",
     "nothing leaves what is there"},
    {"00 FF FF FF", "FF 10 20 30", AlphaInfo::kPremultipliedFirst, "FF 10 20 30", "opaque covers"},
    {"FF FF FF FF", "80 00 00 00", AlphaInfo::kPremultipliedFirst, "FF 7F 7F 7F", "half of white"},
    {"00 00 00 00", "80 FF 00 FF", AlphaInfo::kFirst, "80 80 00 80", "colours are multiplied"},
    {"00 00 00 00", "00 FF FF FF", AlphaInfo::kFirst, "00 00 00 00", "no colour without alpha"},
    {"00 00 00 00", "FF 12 34 56", AlphaInfo::kFirst, "FF 12 34 56", "nothing to multiply"},
};

TEST(Images, APixelOfTheSameSizeGoesOverWhatIsThere) {
    for (const SamePixel& pixel : kSamePixels) {
        Picture to(1, 1, pixel.to);
        EXPECT_EQ(DrawWhole(to, {1, 1, pixel.from}, pixel.alpha), noErr);
        EXPECT_EQ(Hex(to.bytes), pixel.result) << pixel.why;
    }
}

TEST(Images, HalfTheSizeIsTheAverageOfEachFourPixels) {
    const Picture from(4, 2,
                       "00 00 10 FF  00 02 10 FF  00 FF 00 00  00 FF 00 00"
                       "00 04 30 FF  00 06 30 FF  00 FF 00 00  00 FF 00 00");
    Picture to(2, 1, '\0');
    EXPECT_EQ(DrawWhole(to, from, kOpaque), noErr);
    EXPECT_EQ(Hex(to.bytes), "FF 03 20 FF FF FF 00 00");
}

std::size_t PlaceOf(int x, int y, int width, int channel) {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
            static_cast<std::size_t>(x)) *
               4 +
           static_cast<std::size_t>(channel);
}

// The average of four bytes, written out.
int Average(const Picture& from, int x, int y, int channel) {
    int sum = 0;
    for (const int dy : {0, 1}) {
        for (const int dx : {0, 1})
            sum += static_cast<unsigned char>(
                from.bytes[PlaceOf(2 * x + dx, 2 * y + dy, from.width, channel)]);
    }
    return sum / 4;
}

TEST(Images, HalvesOfRandomPicturesAreTheAveragesEverywhere) {
    std::mt19937 random(20);
    for (const auto& [width, height] : {std::pair(2, 2), {64, 2}, {2, 64}, {130, 34}, {500, 375}}) {
        Picture from(2 * width, 2 * height, '\0');
        for (char& byte : from.bytes)
            byte = static_cast<char>(random());
        Picture to(width, height, '\0');
        ASSERT_EQ(DrawWhole(to, from, kOpaque), noErr);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_EQ(to.bytes[PlaceOf(x, y, width, 0)], '\xFF');
                for (int channel = 1; channel < 4; ++channel)
                    ASSERT_EQ(static_cast<unsigned char>(to.bytes[PlaceOf(x, y, width, channel)]),
                              Average(from, x, y, channel))
                        << x << ", " << y << " of " << width << " x " << height;
            }
        }
    }
}

TEST(Images, AFlatPictureStaysFlatAtEverySize) {
    const Picture from(61, 37, '\x5A');
    for (const auto& [width, height] :
         {std::pair(1, 1), {30, 18}, {61, 37}, {62, 36}, {7, 300}, {512, 512}, {3, 1}}) {
        Picture to(width, height, '\0');
        ASSERT_EQ(DrawWhole(to, from, kOpaque), noErr);
        for (std::size_t at = 0; at < to.bytes.size(); ++at)
            ASSERT_EQ(to.bytes[at], at % 4 == 0 ? '\xFF' : '\x5A') << width << " x " << height;
    }
}

TEST(Images, APictureMadeMuchSmallerCountsEveryPixel) {
    Picture from(64, 64, '\0');
    for (std::size_t at = 0; at < from.bytes.size(); at += 4) {
        const std::size_t pixel = at / 4;
        if ((pixel + pixel / 64) % 2 == 0)  // a chessboard
            from.bytes.replace(at, 4, 4, '\xFF');
    }
    Picture to(4, 4, '\0');
    ASSERT_EQ(DrawWhole(to, from, kOpaque), noErr);
    for (std::size_t at = 0; at < to.bytes.size(); at += 4)
        EXPECT_EQ(Hex(to.bytes.substr(at, 4)), "FF 7F 7F 7F");
}

TEST(Images, TransparentPixelsKeepTheirColoursOutOfAnAverage) {
    const Picture from(2, 2, "FF 40 60 80  00 FF FF FF  FF 40 60 80  00 FF FF FF");
    Picture to(1, 1, '\0');
    ASSERT_EQ(DrawWhole(to, from, AlphaInfo::kFirst), noErr);
    EXPECT_EQ(Hex(to.bytes), "7F 20 30 40");
}

TEST(Images, OnlyTheRectangleInsideTheContextIsDrawn) {
    const Picture from(2, 2, "00 01 01 01  00 02 02 02  00 03 03 03  00 04 04 04");
    struct Case {
        ImageRect rect;
        const char* result;
    };
    const Case cases[] = {
        {{1, 1, 2, 2}, "00 00 00 00 00 00 00 00 00 00 00 00 FF 01 01 01"},
        {{-1, -1, 2, 2}, "FF 04 04 04 00 00 00 00 00 00 00 00 00 00 00 00"},
        {{0, 1, 2, 1}, "00 00 00 00 00 00 00 00 FF 02 02 02 FF 03 03 03"},
        {{2, 0, 2, 2}, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
        {{-2, 0, 2, 2}, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
        {{2147483647, 0, 2, 2}, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
        {{0, -2147483647, 2, 2}, "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
    };
    for (const Case& one : cases) {
        Picture to(2, 2, '\0');
        EXPECT_EQ(DrawImage(to.AsContext(), one.rect, from.AsImage(kOpaque)), noErr);
        EXPECT_EQ(Hex(to.bytes), one.result) << one.rect.left << ", " << one.rect.top;
    }
}

TEST(Images, RowsMayBeLongerThanTheirPixels) {
    Picture from(2, 2, "00 01 01 01 00 99 99 99  00 02 02 02 00 99 99 99");
    Picture to(2, 2, '\x11');
    Image image = from.AsImage(kOpaque);
    image.width = 1;
    BitmapContext context = to.AsContext();
    context.width = 1;
    EXPECT_EQ(DrawImage(context, {0, 0, 1, 2}, image), noErr);
    EXPECT_EQ(Hex(to.bytes), "FF 01 01 01 11 11 11 11 FF 02 02 02 11 11 11 11");
}

TEST(Images, TheLongestPicturesAreDrawn) {
    for (const auto& [width, height] : {std::pair(kMostImagePixels, 2), {2, kMostImagePixels}}) {
        const Picture from(width, height, '\x21');
        Picture to(width / 2, height / 2, '\0');
        ASSERT_EQ(DrawWhole(to, from, kOpaque), noErr);
        EXPECT_EQ(Hex(to.bytes.substr(0, 4)), "FF 21 21 21");
        EXPECT_EQ(Hex(to.bytes.substr(to.bytes.size() - 4)), "FF 21 21 21");
        Picture copy(width, height, '\0');
        ASSERT_EQ(DrawWhole(copy, from, kOpaque), noErr);
        EXPECT_EQ(Hex(copy.bytes.substr(copy.bytes.size() - 4)), "FF 21 21 21");
    }
}

// Every way there is from one size to another, in a context with a frame around the rectangle.
TEST(Images, PuttingAPictureIsDrawingItOverNothing) {
    std::mt19937 random(11);
    for (const auto& [from, to] :
         {std::pair(8, 8), {8, 4}, {8, 2}, {9, 4}, {9, 3}, {20, 5}, {21, 5}, {5, 12}, {1, 1}}) {
        for (const AlphaInfo alpha : {AlphaInfo::kPremultipliedFirst, AlphaInfo::kFirst, kOpaque}) {
            Picture picture(from, from, '\0');
            for (std::size_t i = 0; i < picture.bytes.size(); i += 4) {
                const unsigned most = random() % 3 == 0 ? 255 : random() % 256;
                picture.bytes[i] = static_cast<char>(most);
                for (std::size_t channel = 1; channel < 4; ++channel)
                    picture.bytes[i + channel] = static_cast<char>(random() % (most + 1));
            }
            const ImageRect rect{1, 2, to, to};
            Picture drawn(to + 3, to + 3, '\x55');
            Picture put = drawn;
            for (int y = 0; y < to; ++y)
                drawn.bytes.replace((static_cast<std::size_t>(y) + 2) * drawn.RowBytes() + 4,
                                    static_cast<std::size_t>(to) * 4,
                                    static_cast<std::size_t>(to) * 4, '\0');
            ASSERT_EQ(DrawImage(drawn.AsContext(), rect, picture.AsImage(alpha)), noErr);
            ASSERT_EQ(PutImage(put.AsContext(), rect, picture.AsImage(alpha)), noErr);
            ASSERT_EQ(Hex(put.bytes), Hex(drawn.bytes)) << from << " to " << to;
        }
    }
}

TEST(Images, APictureIsPutOnlyWhereItLiesInTheContext) {
    const Picture picture(2, 2, '\x21');
    Picture to(4, 4, '\x11');
    for (const ImageRect& rect : {ImageRect{-1, 0, 2, 2},
                                  {0, -1, 2, 2},
                                  {3, 0, 2, 2},
                                  {0, 3, 2, 2},
                                  {0, 0, 5, 1},
                                  {0, 0, 0, 1},
                                  {2, 2, kMostImagePixels, 1}})
        EXPECT_EQ(PutImage(to.AsContext(), rect, picture.AsImage(kOpaque)), -50);
    EXPECT_EQ(PutImage(to.AsContext(), {0, 0, 2, 2}, Image{}), -50);
    EXPECT_EQ(to.bytes, std::string(64, '\x11'));
    EXPECT_EQ(PutImage(to.AsContext(), {2, 2, 2, 2}, picture.AsImage(kOpaque)), noErr);
}

TEST(Images, WhatCannotBeAPictureIsRefusedWithMinus50) {
    Picture good(4, 4, '\x21');
    const Image image = good.AsImage(kOpaque);
    Picture to(2, 2, '\x11');
    const std::string before = to.bytes;
    const auto refuses = [&](auto change) {
        Image bad = image;
        change(bad);
        EXPECT_FALSE(bad.IsValid());
        EXPECT_EQ(DrawImage(to.AsContext(), {0, 0, 2, 2}, bad), -50);
    };
    EXPECT_TRUE(image.IsValid());
    refuses([](Image& bad) { bad.pixels = nullptr; });
    refuses([](Image& bad) { bad.pixels += 1; });
    refuses([](Image& bad) { bad.width = 0; });
    refuses([](Image& bad) { bad.width = -4; });
    refuses([](Image& bad) { bad.width = 5; });
    refuses([](Image& bad) { bad.width = kMostImagePixels + 1; });
    refuses([](Image& bad) { bad.height = 0; });
    refuses([](Image& bad) { bad.height = -1; });
    refuses([](Image& bad) { bad.height = kMostImagePixels + 1; });
    refuses([](Image& bad) { bad.rowBytes = 18; });
    refuses([](Image& bad) { bad.rowBytes = 12; });
    refuses([](Image& bad) { bad.rowBytes = std::size_t{1} << 40; });
    for (const ImageRect& rect :
         {ImageRect{0, 0, 0, 2}, {0, 0, 2, -1}, {0, 0, kMostImagePixels + 1, 1}})
        EXPECT_EQ(DrawImage(to.AsContext(), rect, image), -50);
    BitmapContext context = to.AsContext();
    context.rowBytes = 4;
    EXPECT_FALSE(context.IsValid());
    EXPECT_EQ(DrawImage(context, {0, 0, 2, 2}, image), -50);
    EXPECT_EQ(to.bytes, before);
}

}  // namespace
}  // namespace Ondrel
