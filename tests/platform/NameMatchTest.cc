// One sought name and many names of a disk.
#include "ondrel/platform/NameMatch.h"

#include <gtest/gtest.h>
#include <unicode/unorm.h>
#include <unicode/ustring.h>

#include <string>
#include <vector>

namespace Ondrel {
namespace {

using Case = SoughtName::Case;

struct Pair {
    const char* sought;  // a Mac name
    const char* onDisk;  // a host's name
    bool exactly;
    bool ignoringCase;
    const char* reason;
};

const Pair kPairs[] = {
    {"report.txt", "report.txt", true, true, "the same"},
    {"report.txt", "REPORT.TXT", false, true, "case"},
    {"REPORT.TXT", "report.txt", false, true, "case the other way"},
    {"report.txt", "report.tx", false, false, "a part"},
    {"report.tx", "report.txt", false, false, "more behind it"},
    {"[", "{", false, false, "32 apart, but no letters"},
    {"@", "`", false, false, "the same"},
    {"", "", false, false, "nothing is no name"},
    {"", "a", false, false, "nothing equals nothing"},
    {"a/b", "a:b", true, true, "a slash in a Mac name is a colon of the host"},
    {"a:b", "a:b", false, false, "a colon is in no Mac name"},
    {"Zo\xC3\xAB", "Zoe\xCC\x88", true, true, "composed, decomposed"},
    {"Zoe\xCC\x88", "Zo\xC3\xAB", true, true, "decomposed, composed"},
    {"zo\xC3\x8B", "Zoe\xCC\x88", false, true, "composition and case"},
    {"Zoe", "Zoe\xCC\x88", false, false, "the mark counts"},
    {"Zoe\xCC\x88", "Zoe", false, false, "the mark counts here too"},
    {"\xC3\x9C"
     "ber",
     "U\xCC\x88"
     "BER",
     false, true, "at the start"},
    {"\xC3\x9C"
     "ber",
     "Uber", false, false, "at the start, without the mark"},
    {"stra\xC3\x9F"
     "e",
     "STRASSE", false, true, "sharp s folds to two letters"},
    {"STRASSE",
     "stra\xC3\x9F"
     "e",
     false, true, "and the other way"},
    {"\xCE\xA3\xCE\xA4", "\xCF\x83\xCF\x84", false, true, "Greek"},
    {"\xCF\x82", "\xCF\x83", false, true, "the sigma at a word's end"},
    {"K", "\xE2\x84\xAA", true, true, "the sign of Kelvin is a K"},
    {"\xE2\x84\xAA", "K", true, true, "and the other way"},
    {"k", "\xE2\x84\xAA", false, true, "and folds as one"},
    {"s", "\xC5\xBF", false, true, "the long s"},
    {"i", "\xC4\xB0", false, false, "the dotted capital I: no locale"},
    {"\xED\x95\x9C", "\xE1\x84\x92\xE1\x85\xA1\xE1\x86\xAB", true, true, "Hangul and its letters"},
    {"a\xCC\xA3\xCC\x88", "a\xCC\x88\xCC\xA3", true, true, "the order of marks"},
    {"\xF0\x90\x90\x80", "\xF0\x90\x90\xA8", false, true, "beyond 16 bits"},
    {"a", "a\xFF", false, false, "what is not UTF-8 has no name"},
    {"a\xFF", "a\xFF", false, false, "nor is it sought"},
};

TEST(NameMatch, NamesCompareByCompositionAndCaseAsTheRulesSay) {
    for (const Pair& pair : kPairs) {
        EXPECT_EQ(SoughtName(pair.sought, Case::kExact).Matches(pair.onDisk), pair.exactly)
            << pair.reason;
        EXPECT_EQ(SoughtName(pair.sought, Case::kFolded).Matches(pair.onDisk), pair.ignoringCase)
            << pair.reason;
    }
}

std::string Utf8(const std::u16string& units) {
    char text[64];
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(text, sizeof text, &length, units.data(), static_cast<std::int32_t>(units.size()),
                &status);
    return U_SUCCESS(status) ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

bool UnicodeSaysEqual(const std::u16string& a, const std::u16string& b, std::uint32_t how) {
    UErrorCode status = U_ZERO_ERROR;
    return unorm_compare(a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                         static_cast<std::int32_t>(b.size()), how, &status) == 0 &&
           U_SUCCESS(status);
}

// Everything that could be short-cut wrongly: ASCII texts against each character, alone, behind a
// letter and before a mark.
TEST(NameMatch, TheShortWaysSayForEveryCharacterWhatTheUnicodeRulesSay) {
    std::vector<std::u16string> names = {u"ss",  u"ff",  u"fi", u"fl",
                                         u"ffi", u"ffl", u"st", u"a\u0308"};
    for (char16_t c = u'!'; c <= u'~'; ++c)
        if (c != u'/' && c != u':') names.push_back({c});
    std::vector<SoughtName> exact;
    std::vector<SoughtName> folded;
    for (const std::u16string& name : names) {
        exact.emplace_back(Utf8(name), Case::kExact);
        folded.emplace_back(Utf8(name), Case::kFolded);
    }
    for (char16_t c = 0x80; c < 0xFFFE; ++c) {
        if (c >= 0xD800 && c < 0xE000) continue;
        const bool isEastAsian = c >= 0x3400 && c < 0xD800;  // many, and all alike
        if (isEastAsian && c % 64 != 0) continue;
        const std::u16string other = {c};
        const std::string bytes = Utf8(other);
        for (std::size_t i = 0; i < names.size(); ++i) {
            const bool same = UnicodeSaysEqual(names[i], other, 0);
            const bool sameFolded = UnicodeSaysEqual(names[i], other, U_COMPARE_IGNORE_CASE);
            ASSERT_EQ(exact[i].Matches(bytes), same) << i << " and " << std::hex << int{c};
            ASSERT_EQ(folded[i].Matches(bytes), sameFolded) << i << " and " << std::hex << int{c};
            const std::string plain = Utf8(names[i]);
            if (c % 16 != 0) continue;
            ASSERT_EQ(SoughtName(bytes, Case::kExact).Matches(plain), same) << std::hex << int{c};
            ASSERT_EQ(SoughtName(bytes, Case::kFolded).Matches(plain), sameFolded)
                << std::hex << int{c};
        }
    }
}

TEST(NameMatch, ASoughtNameMayBeUtf16) {
    const UniChar name[] = {'Z', 'o', 0xEB};
    const SoughtName sought(name, 3, Case::kExact);
    EXPECT_TRUE(sought.IsName());
    EXPECT_TRUE(sought.Matches("Zoe\xCC\x88"));
    EXPECT_FALSE(sought.Matches("zoe\xCC\x88"));
    EXPECT_TRUE(SoughtName(name, 2, Case::kExact).Matches("Zo"));
    const UniChar slash[] = {'a', '/', 'b'};
    EXPECT_TRUE(SoughtName(slash, 3, Case::kExact).Matches("a:b"));
}

TEST(NameMatch, WhatCannotBeANameIsNone) {
    const UniChar half[] = {'a', 0xD800};
    const UniChar colon[] = {'a', ':'};
    EXPECT_FALSE(SoughtName(half, 2, Case::kExact).IsName());
    EXPECT_FALSE(SoughtName(colon, 2, Case::kExact).IsName());
    EXPECT_FALSE(SoughtName(half, 0, Case::kExact).IsName());
    EXPECT_FALSE(SoughtName("a:b", Case::kFolded).IsName());
    EXPECT_FALSE(SoughtName("a\xFF", Case::kFolded).IsName());
    EXPECT_FALSE(SoughtName("", Case::kFolded).IsName());
    const std::string endless(100000, 'a');
    EXPECT_FALSE(SoughtName(endless + "\xC3\xAB", Case::kFolded).IsName());
}

TEST(NameMatch, NamesMayBeLongerThanAnyBufferInside) {
    std::string composed;
    std::string decomposed;
    for (int i = 0; i < 400; ++i) {
        composed += "\xC3\xAB";
        decomposed += "E\xCC\x88";
    }
    EXPECT_TRUE(SoughtName(composed, Case::kFolded).Matches(decomposed));
    EXPECT_FALSE(SoughtName(composed, Case::kExact).Matches(decomposed));
    EXPECT_TRUE(IsUtf8Name(composed));
    EXPECT_FALSE(IsUtf8Name(composed + "\xC3"));
}

TEST(NameMatch, OnlyUtf8IsAName) {
    EXPECT_TRUE(IsUtf8Name("plain"));
    EXPECT_TRUE(IsUtf8Name("Zo\xC3\xAB"));
    EXPECT_FALSE(IsUtf8Name("Zo\xEB"));
    EXPECT_FALSE(IsUtf8Name("\xED\xA0\x80"));
    EXPECT_FALSE(IsUtf8Name("\xC0\xAF"));
}

}  // namespace
}  // namespace Ondrel
