// Composition in place, and the comparisons that fold case and know canonical equivalence.
#include <gtest/gtest.h>
#include <unicode/stringoptions.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <array>
#include <random>
#include <string>
#include <vector>

#include "ondrel/core/Unicode.h"

namespace Ondrel {
namespace {

using Units = std::vector<unsigned short>;

Units Text(const std::u16string& units) {
    Units text(units.begin(), units.end());
    text.push_back(0);
    return text;
}

std::u16string Composed(const std::u16string& units) {
    Units text = Text(units);
    const unsigned long length = Uni16CharMakePreComposed(text.data());
    EXPECT_EQ(length, Uni16CharGetLength(text.data()));
    return std::u16string(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
}

std::u16string ComposedWithin(const std::u16string& units, unsigned long capacity) {
    Units text = Text(units);
    text.resize(std::max<std::size_t>(capacity, text.size()));
    const unsigned long length = Uni16CharMakePreComposed(text.data(), capacity);
    EXPECT_EQ(length, Uni16CharGetLength(text.data()));
    return std::u16string(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(length));
}

TEST(Composition, TextsAreComposedInPlace) {
    const std::pair<std::u16string, std::u16string> kCases[] = {
        {u"", u""},
        {u"plain", u"plain"},
        {u"Caf\u00E9", u"Caf\u00E9"},
        {u"Cafe\u0301", u"Caf\u00E9"},
        {u"a\u0323\u0307", u"\u1EA1\u0307"},
        {u"a\u0307\u0323", u"\u1EA1\u0307"},  // marks come into their order
        {u"\u304B\u3099", u"\u304C"},
        {u"\u1112\u1161\u11AB", u"\uD55C"},  // Hangul
        {u"\u212B", u"\u00C5"},              // Angstrom sign
        {u"\u0301a", u"\u0301a"},
    };
    for (const auto& [text, composed] : kCases) {
        EXPECT_EQ(Composed(text), composed);
        EXPECT_EQ(ComposedWithin(text, 64), composed);
    }
}

TEST(Composition, HalfASurrogatePairStaysAsItIs) {
    const std::u16string text = {u'e', 0x0301, 0xD800, u'a'};
    EXPECT_EQ(Composed(text), (std::u16string{0x00E9, 0xD800, u'a'}));
}

TEST(Composition, ATextThatWouldGrowIsLeftAloneByThePlainForm) {
    EXPECT_EQ(Composed(u"\u0958"), u"\u0958");
    EXPECT_EQ(Composed(u"e\u0301\u0958"), u"\u00E9\u0915\u093C") << "in all it does not grow";
}

TEST(Composition, TheBoundedFormUsesItsCapacityAndNoMore) {
    EXPECT_EQ(ComposedWithin(u"\u0958", 0), u"\u0958");
    EXPECT_EQ(ComposedWithin(u"\u0958", 2), u"\u0958");
    EXPECT_EQ(ComposedWithin(u"\u0958", 3), u"\u0915\u093C");
    Units text = {0x0958, 0, 0xABCD, 0xABCD};
    EXPECT_EQ(Uni16CharMakePreComposed(text.data(), 3), 2U);
    EXPECT_EQ(text, (Units{0x0915, 0x093C, 0, 0xABCD}));
}

TEST(Composition, LongTextsAreComposedToo) {
    std::u16string decomposed;
    std::u16string composed;
    for (int i = 0; i < 3000; ++i) {
        decomposed += u"e\u0301";
        composed += u"\u00E9";
    }
    EXPECT_EQ(Composed(decomposed), composed);
    std::u16string growing(2000, u'\u0958');
    EXPECT_EQ(Composed(growing), growing);
    EXPECT_EQ(ComposedWithin(growing, 4000), growing);
    EXPECT_EQ(ComposedWithin(growing, 4001).size(), 4000U);
}

TEST(Composition, TextsOfAllScriptsAgreeWithTheTwin) {
    // Ends of the ranges that need no look-up, and characters that do compose or move beside them.
    const char16_t kEnds[] = {0x02FF, 0x0300, 0x0301, 0x0323, 0x0344, 0x03FF, 0x0340, 0x0958,
                              0x2FFF, 0x3000, 0x3029, 0x302A, 0x302F, 0x3030, 0x3098, 0x3099,
                              0x309A, 0x309B, 0x304B, 0x30AB, 0x30FF, 0x3100, 0x4DFF, 0x4E00,
                              0x9FFF, 0xA000, 0xABFF, 0xAC00, 0xAC1B, 0xD7A3, 0xD7B0, 0x1100,
                              0x1161, 0x11A8, 0x11A7, 0xF900, 0xFF21, 0x00E9, u'e',   u'a'};
    std::mt19937 random(20240615);
    for (int i = 0; i < 200000; ++i) {
        std::u16string text;
        for (auto units = random() % 9; units > 0; --units)
            text += random() % 3 == 0 ? static_cast<char16_t>(1 + random() % 0xD7FF)
                                      : kEnds[random() % std::size(kEnds)];
        UErrorCode status = U_ZERO_ERROR;
        std::array<char16_t, 64> composed;
        const std::int32_t length = unorm2_normalize(
            unorm2_getNFCInstance(&status), text.data(), static_cast<std::int32_t>(text.size()),
            composed.data(), static_cast<std::int32_t>(composed.size()), &status);
        ASSERT_EQ(ComposedWithin(text, 64),
                  std::u16string(composed.data(), static_cast<std::size_t>(length)))
            << testing::PrintToString(text);
    }
}

// --- Comparison ---------------------------------------------------------------------------------

int Compare(const std::u16string& a, const std::u16string& b, int options) {
    return Uni16CharCompareWithOptions(Text(a).data(), Text(b).data(), options);
}

TEST(Comparison, EqualTextsGiveZeroTheSmallerFirstOneTheGreaterFirstTwo) {
    for (const int options : {0, 1, 8, 9}) {
        EXPECT_EQ(Compare(u"", u"", options), 0);
        EXPECT_EQ(Compare(u"a", u"a", options), 0);
        EXPECT_EQ(Compare(u"a", u"b", options), 1);
        EXPECT_EQ(Compare(u"b", u"a", options), 2);
        EXPECT_EQ(Compare(u"", u"a", options), 1);
        EXPECT_EQ(Compare(u"a", u"", options), 2);
        EXPECT_EQ(Compare(u"\u3042", u"\u3042", options), 0);
        EXPECT_EQ(Compare(u"\u3042", u"\u3044", options), 1);
        EXPECT_EQ(Compare(u"z", u"\u00E9", options), options >= 8 ? 2 : 1);
    }
}

TEST(Comparison, OptionOneIgnoresCaseInFull) {
    const std::pair<std::u16string, std::u16string> kEqual[] = {
        {u"abcXYZ", u"ABCxyz"},
        {u"Stra\u00DFe", u"STRASSE"},
        {u"\u1E9E", u"ss"},
        {u"\u0130", u"i\u0307"},
        {u"\u212A", u"k"},  // Kelvin sign
        {u"\u017F", u"S"},  // long s
        {u"\uFB01n", u"FIN"},
        {u"\u03A3", u"\u03C2"},
        {u"\U00010400", u"\U00010428"},
        {u"\u0391\u0301", u"\u03B1\u0301"},
    };
    for (const auto& [a, b] : kEqual) {
        EXPECT_EQ(Compare(a, b, 1), 0);
        EXPECT_EQ(Compare(a, b, 9), 0);
        EXPECT_NE(Compare(a, b, 0), 0);
        EXPECT_NE(Compare(a, b, 8), 0);
    }
    EXPECT_NE(Compare(u"i", u"\u0131", 1), 0) << "no language's own rules";
    EXPECT_NE(Compare(u"I", u"\u0131", 1), 0);
}

TEST(Comparison, OptionEightKnowsCanonicalEquivalence) {
    const std::pair<std::u16string, std::u16string> kEqual[] = {
        {u"Caf\u00E9", u"Cafe\u0301"},
        {u"a\u0323\u0307", u"a\u0307\u0323"},
        {u"\u212B", u"A\u030A"},
        {u"\uD55C", u"\u1112\u1161\u11AB"},
        {u"\u037E", u";"},
    };
    for (const auto& [a, b] : kEqual) {
        EXPECT_EQ(Compare(a, b, 8), 0);
        EXPECT_EQ(Compare(a, b, 9), 0);
        EXPECT_NE(Compare(a, b, 0), 0);
        EXPECT_NE(Compare(a, b, 1), 0);
    }
    EXPECT_NE(Compare(u"\uFB01", u"fi", 8), 0) << "compatibility is no equivalence";
    EXPECT_NE(Compare(u"e\u0301", u"e", 8), 0);
}

TEST(Comparison, NineDoesBothAtOnce) {
    EXPECT_EQ(Compare(u"CAF\u00C9", u"cafe\u0301", 9), 0);
    EXPECT_EQ(Compare(u"\u1E9E\u0301", u"ss\u0301", 9), 0);
    // A mark that folding turns into a letter, behind a mark that must come before it.
    EXPECT_EQ(Compare(u"\u0391\u0345\u0301", u"\u03B1\u0301\u03B9", 9), 0);
    EXPECT_NE(Compare(u"CAF\u00C9", u"cafe\u0301", 8), 0);
    EXPECT_NE(Compare(u"CAF\u00C9", u"cafe\u0301", 1), 0);
}

TEST(Comparison, TextsAreOrderedByCodePointsNotByUnits) {
    for (const int options : {0, 1, 8, 9}) {
        EXPECT_EQ(Compare(u"\uFF5E", u"\U0001F600", options), 1);
        EXPECT_EQ(Compare(u"a\U0001F600", u"a\uFF5E", options), 2);
    }
}

TEST(Comparison, CaseIsFoldedBeforeTheOrderIsDecided) {
    EXPECT_EQ(Compare(u"B", u"a", 0), 1);
    EXPECT_EQ(Compare(u"B", u"a", 1), 2);
    EXPECT_EQ(Compare(u"_", u"A", 0), 2);
    EXPECT_EQ(Compare(u"_", u"A", 1), 1) << "against the small letter";
    EXPECT_EQ(Compare(u"a\u00C9", u"A\u00EA", 1), 1);
}

TEST(Comparison, HalvesOfSurrogatePairsCompareAsThemselves) {
    const std::u16string lone = {u'a', 0xD800};
    for (const int options : {0, 1, 8, 9}) {
        EXPECT_EQ(Compare(lone, lone, options), 0);
        EXPECT_EQ(Compare(lone, u"a", options), 2);
        EXPECT_EQ(Compare(lone, u"a\uFFFD", options), 1);
    }
}

// --- Against a slow twin ------------------------------------------------------------------------

std::u16string Decompose(const std::u16string& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string result(text.size() * 20 + 10, u'\0');
    const std::int32_t length = unorm2_normalize(
        unorm2_getNFDInstance(&status), text.data(), static_cast<std::int32_t>(text.size()),
        result.data(), static_cast<std::int32_t>(result.size()), &status);
    EXPECT_TRUE(U_SUCCESS(status));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::u16string Fold(const std::u16string& text) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string result(text.size() * 4 + 10, u'\0');
    const std::int32_t length =
        u_strFoldCase(result.data(), static_cast<std::int32_t>(result.size()), text.data(),
                      static_cast<std::int32_t>(text.size()), U_FOLD_CASE_DEFAULT, &status);
    EXPECT_TRUE(U_SUCCESS(status));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

std::vector<char32_t> Points(const std::u16string& text) {
    std::vector<char32_t> points;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (point >= 0xD800 && point < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] < 0xE000)
            point = 0x10000 + (point - 0xD800) * 1024 + (text[++i] - 0xDC00U);
        points.push_back(point);
    }
    return points;
}

int SlowCompare(std::u16string a, std::u16string b, int options) {
    for (std::u16string* text : {&a, &b}) {
        if ((options & 8) != 0) *text = Decompose(*text);
        if ((options & 1) != 0) *text = Fold(*text);
        if ((options & 9) == 9) *text = Decompose(*text);
    }
    const std::vector<char32_t> left = Points(a);
    const std::vector<char32_t> right = Points(b);
    if (left == right) return 0;
    return left < right ? 1 : 2;
}

TEST(Comparison, RandomTextsAgreeWithTheTwinUnderAllOptions) {
    const std::u16string kPieces[] = {
        u"a",      u"A",      u"s",      u"S",          u"k",          u"\u00DF",
        u"\u1E9E", u"\u0301", u"\u0323", u"\u00E9",     u"\u00C9",     u"\u212A",
        u"\u0345", u"\u0391", u"\u03B1", u"\u1FB3",     u"\u0130",     u"i",
        u"\u0307", u"\u3042", u"\uFF5E", u"\U0001F600", u"\U00010400", u"\U00010428",
        u";",      u"\u037E", u"\u1F80", u"\u0149",     u"z",
    };
    std::mt19937 random(20240614);
    const auto randomText = [&] {
        std::u16string text;
        for (auto pieces = random() % 5; pieces > 0; --pieces)
            text += kPieces[random() % std::size(kPieces)];
        return text;
    };
    for (int i = 0; i < 200000; ++i) {
        // Half of them begin alike.
        const std::u16string common = random() % 2 == 0 ? randomText() : u"";
        const std::u16string a = common + randomText();
        const std::u16string b = common + randomText();
        for (const int options : {0, 1, 8, 9})
            ASSERT_EQ(Compare(a, b, options), SlowCompare(a, b, options))
                << testing::PrintToString(a) << testing::PrintToString(b) << options;
    }
}

}  // namespace
}  // namespace Ondrel
