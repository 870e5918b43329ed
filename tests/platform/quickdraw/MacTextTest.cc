// The character sets, and the families that pictures name.
#include "ondrel/platform/quickdraw/MacText.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "ondrel/platform/quickdraw/Families.h"

namespace Ondrel::QuickDraw {
namespace {

TEST(Characters, EachSetHasItsOwn) {
    const struct {
        CharacterSet set;
        int byte;
        char32_t character;
    } kCases[] = {
        {CharacterSet::kMacRoman, 0x00, 0},      {CharacterSet::kMacRoman, 0x1F, 0},
        {CharacterSet::kMacRoman, 0x11, 0x2318}, {CharacterSet::kMacRoman, 0x15, 0},
        {CharacterSet::kMacRoman, 0x20, U' '},   {CharacterSet::kMacRoman, 0x7E, U'~'},
        {CharacterSet::kMacRoman, 0x7F, 0},      {CharacterSet::kMacRoman, 0x80, 0xC4},
        {CharacterSet::kMacRoman, 0x8E, 0xE9},   {CharacterSet::kMacRoman, 0xA5, 0x2022},
        {CharacterSet::kMacRoman, 0xC9, 0x2026}, {CharacterSet::kMacRoman, 0xCA, 0xA0},
        {CharacterSet::kMacRoman, 0xD5, 0x2019}, {CharacterSet::kMacRoman, 0xF0, 0xF8FF},
        {CharacterSet::kMacRoman, 0xFF, 0x2C7},  {CharacterSet::kSymbol, 0x1F, 0},
        {CharacterSet::kSymbol, 0x22, 0x2200},   {CharacterSet::kSymbol, 0x61, 0x3B1},
        {CharacterSet::kSymbol, 0x7E, 0x223C},   {CharacterSet::kSymbol, 0x7F, 0},
        {CharacterSet::kSymbol, 0x9F, 0},        {CharacterSet::kSymbol, 0xA0, 0x20AC},
        {CharacterSet::kSymbol, 0xB3, 0x2265},   {CharacterSet::kSymbol, 0xD0, 0x2220},
        {CharacterSet::kSymbol, 0xE0, 0x25CA},   {CharacterSet::kSymbol, 0xF2, 0x222B},
        {CharacterSet::kSymbol, 0xFE, 0x23AD},   {CharacterSet::kSymbol, 0xFF, 0},
        {CharacterSet::kDingbats, 0x20, U' '},   {CharacterSet::kDingbats, 0x21, 0x2701},
        {CharacterSet::kDingbats, 0x25, 0x260E}, {CharacterSet::kDingbats, 0x26, 0x2706},
        {CharacterSet::kDingbats, 0x7E, 0x275E}, {CharacterSet::kDingbats, 0x7F, 0},
        {CharacterSet::kDingbats, 0xA0, 0},      {CharacterSet::kDingbats, 0xA1, 0x2761},
        {CharacterSet::kDingbats, 0xAA, 0x2665}, {CharacterSet::kDingbats, 0xB5, 0x2469},
        {CharacterSet::kDingbats, 0xD7, 0x2195}, {CharacterSet::kDingbats, 0xD8, 0x2798},
        {CharacterSet::kDingbats, 0xF0, 0},      {CharacterSet::kDingbats, 0xFE, 0x27BE},
        {CharacterSet::kDingbats, 0xFF, 0},
    };
    for (const auto& one : kCases)
        EXPECT_EQ(UnicodeOf(static_cast<std::uint8_t>(one.byte), one.set), one.character)
            << std::hex << one.byte;
}

TEST(Characters, EveryOneOfMacRomanHasAnAsciiLike) {
    for (int byte = 0; byte < 256; ++byte) {
        const char like = AsciiLike(static_cast<std::uint8_t>(byte));
        EXPECT_TRUE(like >= ' ' && like <= '~') << byte;
        if (byte >= 0x20 && byte < 0x7F) {
            EXPECT_EQ(like, static_cast<char>(byte));
        }
    }
}

TEST(Families, AreFoundByNumber) {
    const struct {
        int number;
        const char* name;
    } kCases[] = {{0, "Chicago"}, {1, "Geneva"},  {2, "New York"},   {3, "Geneva"},
                  {4, "Monaco"},  {20, "Times"},  {21, "Helvetica"}, {22, "Courier"},
                  {23, "Symbol"}, {17, "Geneva"}, {-1, "Geneva"},    {30000, "Geneva"}};
    for (const auto& one : kCases)
        EXPECT_EQ(ChooseFamily(one.number, {}).names.front(), one.name) << one.number;
}

TEST(Families, TheNameThatAPictureGivesANumberCounts) {
    const std::map<int, std::string> names = {
        {20, "hELVETICA"}, {300, "Caf\x8E Gothic"}, {301, "symbol"}, {302, ""}};
    EXPECT_EQ(ChooseFamily(20, names).names.front(), "Helvetica");
    EXPECT_EQ(ChooseFamily(300, names).names, std::vector<std::string>{"Café Gothic"});
    EXPECT_EQ(ChooseFamily(301, names).characters, CharacterSet::kSymbol);
    EXPECT_EQ(ChooseFamily(302, names).names, std::vector<std::string>{""});
    EXPECT_EQ(ChooseFamily(21, names).names.front(), "Helvetica");
}

TEST(Families, SomeHaveKnownWidths) {
    EXPECT_EQ(ChooseFamily(21, {}).widths.ascii['W' - ' '], 944);
    EXPECT_EQ(ChooseFamily(20, {}).widths.ascii['~' - ' '], 541);
    EXPECT_EQ(ChooseFamily(22, {}).widths.fixed, 600);
    EXPECT_EQ(ChooseFamily(3, {}).widths.ascii, nullptr);
    EXPECT_EQ(ChooseFamily(3, {}).widths.fixed, 0);
}

TEST(Families, ThoseThatWereBoldWhenPlainStayIt) {
    EXPECT_TRUE(ChooseFamily(0, {}).isHeavy);
    EXPECT_FALSE(ChooseFamily(1, {}).isHeavy);
}

}  // namespace
}  // namespace Ondrel::QuickDraw
