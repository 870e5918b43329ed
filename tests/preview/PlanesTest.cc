// Rows of pixels taken apart into planes: the quick form beside the plain one.
#include "ondrel/preview/planes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

const unsigned char* Start(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* Start(std::string& bytes) {
    return reinterpret_cast<unsigned char*>(bytes.data());
}

TEST(Planes, RedGreenAndBlueFollowEachOther) {
    const std::string pixels = Bytes("A0111213 B0212223 C0313233");
    std::string planes(9, '\0');
    Planes::Separate(Start(pixels), 3, Start(planes));
    EXPECT_EQ(Hex(planes), "11 21 31 12 22 32 13 23 33");
}

// Each row stands in memory of just its size, so that a sanitizer sees what lies outside of it.
TEST(Planes, BothFormsGiveTheSameAtEveryWidth) {
    std::mt19937 random(5);
    for (int width = 1; width < 200; ++width) {
        const auto pixelCount = static_cast<std::size_t>(width);
        std::string pixels(4 * pixelCount, '\0');
        for (char& byte : pixels)
            byte = static_cast<char>(random());
        std::string quick(3 * pixelCount, '\0');
        std::string plain(3 * pixelCount, '\0');
        pixels.shrink_to_fit();
        quick.shrink_to_fit();
        Planes::Separate(Start(pixels), width, Start(quick));
        Planes::SeparatePortably(Start(pixels), 0, width, Start(plain));
        ASSERT_EQ(Hex(quick), Hex(plain)) << width;
        for (std::size_t x = 0; x < pixelCount; ++x)
            for (std::size_t plane = 0; plane < 3; ++plane)
                ASSERT_EQ(plain[plane * pixelCount + x], pixels[4 * x + 1 + plane]) << width;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
