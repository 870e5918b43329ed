// MacRoman, both ways.
#include "ondrel/core/MacRoman.h"

#include <gtest/gtest.h>

#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Hex;

struct Row {
    std::string macRoman;
    std::string utf8;
};

const Row kRows[] = {
    {"", ""},
    {"TEXT", "TEXT"},
    {"\x80", "\xC3\x84"},                  // A with two dots
    {"\x8E\xA0", "\xC3\xA9\xE2\x80\xA0"},  // e with an acute, a dagger
    {"\xDB", "\xE2\x82\xAC"},              // the euro sign
    {"\xF0", "\xEF\xA3\xBF"},              // the apple, in the private area
    {"\x7F", "\x7F"},
    {std::string("a\0b", 3), std::string("a\0b", 3)},
};

TEST(MacRoman, TextsConvertBothWays) {
    for (const Row& row : kRows) {
        EXPECT_EQ(Hex(MacRomanToUTF8(row.macRoman)), Hex(row.utf8));
        std::string back = "before";
        EXPECT_TRUE(UTF8ToMacRoman(row.utf8, &back));
        EXPECT_EQ(Hex(back), Hex(row.macRoman));
    }
}

TEST(MacRoman, EveryByteHasACharacterThatLeadsBackToIt) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        const std::string utf8 = MacRomanToUTF8(text);
        ASSERT_FALSE(utf8.empty()) << byte;
        std::string back;
        ASSERT_TRUE(UTF8ToMacRoman(utf8, &back)) << byte;
        EXPECT_EQ(back, text);
    }
}

TEST(MacRoman, WhatHasNoByteIsRefusedAndChangesNothing) {
    const std::string kRefused[] = {
        "\xE6\x97\xA5",       // a CJK character
        "a\xF0\x9F\x98\x80",  // beyond the basic plane
        "\xFF",
        "ab\xC3",
        "\xC0\x80",
        "\xED\xA0\x80",
    };
    for (const std::string& text : kRefused) {
        std::string out = "before";
        EXPECT_FALSE(UTF8ToMacRoman(text, &out)) << Hex(text);
        EXPECT_EQ(out, "before");
    }
}

}  // namespace
}  // namespace Ondrel
