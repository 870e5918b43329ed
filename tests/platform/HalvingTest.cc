// Halving: the quick form beside the plain one, and both beside the sums.
#include "ondrel/platform/Halving.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;

const unsigned char* Start(const std::string& bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

unsigned char* Start(std::string& bytes) {
    return reinterpret_cast<unsigned char*>(bytes.data());
}

TEST(Halving, EachByteIsTheAverageOfFourRoundedDown) {
    const std::string from = Bytes("FF 00 01 10 FF 00 02 20  FF 01 03 30 FF 02 FF 43");
    std::string half(4, '\x55');
    Halve(Start(from), 8, 1, 1, Start(half), 4);
    EXPECT_EQ(Hex(half), "FF 00 41 28");
    HalveOpaque(Start(from), 8, 1, 1, Start(half), 4);
    EXPECT_EQ(Hex(half), "FF 00 41 28");
    const std::string clear(16, '\0');
    Halve(Start(clear), 8, 1, 1, Start(half), 4);
    EXPECT_EQ(Hex(half), "00 00 00 00");
    HalveOpaque(Start(clear), 8, 1, 1, Start(half), 4);
    EXPECT_EQ(Hex(half), "FF 00 00 00");
}

// The rows stand in memory of just their size, so that a sanitizer sees what lies outside of it.
TEST(Halving, BothFormsGiveTheSamePixelsAtEveryWidth) {
    std::mt19937 random(9);
    for (int width = 1; width < 70; ++width) {
        const std::size_t rowBytes = 8 * static_cast<std::size_t>(width) + 4;
        const int height = 3;
        std::string from(rowBytes * 2 * height - 4, '\0');
        for (char& byte : from)
            byte = static_cast<char>(random());
        from.shrink_to_fit();
        const std::size_t toRowBytes = 4 * static_cast<std::size_t>(width);
        std::string quick(toRowBytes * height, '\0');
        std::string opaque = quick;
        std::string plain = quick;
        Halve(Start(from), rowBytes, width, height, Start(quick), toRowBytes);
        HalveOpaque(Start(from), rowBytes, width, height, Start(opaque), toRowBytes);
        for (std::size_t y = 0; y < height; ++y)
            HalveRowPortably(Start(from) + 2 * y * rowBytes, Start(from) + (2 * y + 1) * rowBytes,
                             0, width, 0, Start(plain) + y * toRowBytes);
        ASSERT_EQ(Hex(quick), Hex(plain)) << width;
        for (std::size_t at = 0; at < plain.size(); at += 4)
            plain[at] = '\xFF';
        ASSERT_EQ(Hex(opaque), Hex(plain)) << width;
    }
}

TEST(Halving, NothingIsWrittenBesideTheRows) {
    const std::string from(2 * 8 * 8, '\x40');
    std::string to(8 * 8, '\x77');
    Halve(Start(from), 32, 4, 2, Start(to) + 8, 32);
    const std::string outside(8, '\x77');
    const std::string inside(16, '\x40');
    EXPECT_EQ(Hex(to), Hex(outside + inside + outside + outside + inside + outside));
}

}  // namespace
}  // namespace Ondrel
