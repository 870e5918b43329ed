// The plain operations on 16-bit texts, and the string made of them.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstring>
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

// A buffer of exactly `capacity` units, filled with a mark, so that every write is seen.
constexpr unsigned short kMark = 0xABCD;

Units Marked(std::size_t capacity) {
    return Units(capacity, kMark);
}

// Two pages of which only the first can be touched: what stands at its end is read or written to
// the last unit and no further.
class PageEnd {
 public:
    PageEnd() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
        void* pages =
            mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(pages, MAP_FAILED);
        base_ = static_cast<char*>(pages);
        EXPECT_EQ(mprotect(base_ + size_, size_, PROT_NONE), 0);
    }
    ~PageEnd() { munmap(base_, 2 * size_); }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;

    template <class Unit>
    Unit* Last(std::size_t count) const {
        return reinterpret_cast<Unit*>(base_ + size_ - count * sizeof(Unit));
    }

 private:
    std::size_t size_;
    char* base_;
};

TEST(Uni16Text, TheLengthIsThatUpToTheTerminatorWhereverTheTextLies) {
    const PageEnd page;
    for (std::size_t room = 1; room <= 80; ++room) {
        for (std::size_t length = 0; length < room; ++length) {
            auto* text = page.Last<unsigned short>(room);
            std::fill(text, text + room, static_cast<unsigned short>(0x0100));
            text[length] = 0;
            ASSERT_EQ(Uni16CharGetLength(text), length) << "with room for " << room;
        }
    }
}

TEST(Uni16Text, UnitsWithOneByteOfZeroDoNotEndAText) {
    EXPECT_EQ(Uni16CharGetLength(Text(u"\u0100\u0001\uFF00\u00FF").data()), 4U);
}

TEST(Uni16Text, ConversionsReadNothingBehindTheTerminator) {
    const PageEnd page;
    for (std::size_t length = 0; length <= 70; ++length) {
        char* bytes = page.Last<char>(length + 1);
        std::memset(bytes, 'a', length);
        bytes[length] = 0;
        std::array<unsigned short, 100> units;
        EXPECT_EQ(UTF8ToUni16Char(bytes, units.data(), units.size()), static_cast<int>(length));
        for (const char lead : {'\xC3', '\xE3', '\xF0'}) {
            if (length == 0) break;
            bytes[length - 1] = lead;
            EXPECT_EQ(UTF8ToUni16Char(bytes, units.data(), units.size()), -1);
        }
        auto* text = page.Last<unsigned short>(length + 1);
        std::fill(text, text + length, static_cast<unsigned short>('a'));
        text[length] = 0;
        std::array<char, 400> out;
        EXPECT_EQ(Uni16CharToUTF8(text, out.data(), out.size()), static_cast<int>(length));
        if (length != 0) text[length - 1] = 0xD800;
        EXPECT_EQ(Uni16CharToUTF8(text, out.data(), out.size()),
                  static_cast<int>(length == 0 ? 0 : length + 2));
    }
}

TEST(Uni16Text, ACopyCarriesItsTerminatorAndTellsItsLength) {
    const Units text = Text(u"Straße");
    Units copy = Marked(8);
    EXPECT_EQ(Uni16CharCopy(copy.data(), text.data()), 6U);
    EXPECT_EQ(copy, (Units{'S', 't', 'r', 'a', 0xDF, 'e', 0, kMark}));
    EXPECT_EQ(Uni16CharCopy(copy.data(), Text(u"").data()), 0U);
    EXPECT_EQ(copy[0], 0);
}

TEST(Uni16Text, ABoundedCopyIsCutAndTerminatedInItsCapacity) {
    const Units text = Text(u"abcd");
    struct Case {
        unsigned long capacity;
        Units result;
    };
    const Case kCases[] = {
        {0, {kMark, kMark, kMark, kMark, kMark, kMark}},
        {1, {0, kMark, kMark, kMark, kMark, kMark}},
        {2, {'a', 0, kMark, kMark, kMark, kMark}},
        {4, {'a', 'b', 'c', 0, kMark, kMark}},
        {5, {'a', 'b', 'c', 'd', 0, kMark}},
        {6, {'a', 'b', 'c', 'd', 0, kMark}},
    };
    for (const Case& one : kCases) {
        Units copy = Marked(6);
        const unsigned long expected = one.capacity == 0 ? 0 : std::min(one.capacity - 1, 4UL);
        EXPECT_EQ(Uni16CharCopy(copy.data(), text.data(), one.capacity), expected);
        EXPECT_EQ(copy, one.result) << one.capacity;
    }
}

TEST(Uni16Text, ABoundedCopyNeverSplitsASurrogatePair) {
    const Units text = {'a', 0xD83D, 0xDE00, 'b', 0};
    Units copy = Marked(5);
    EXPECT_EQ(Uni16CharCopy(copy.data(), text.data(), 3), 1U);
    EXPECT_EQ(copy, (Units{'a', 0, kMark, kMark, kMark}));
    EXPECT_EQ(Uni16CharCopy(copy.data(), text.data(), 4), 3U);
    EXPECT_EQ(copy, (Units{'a', 0xD83D, 0xDE00, 0, kMark}));
    const Units lone = {'a', 0xD83D, 'b', 0};
    EXPECT_EQ(Uni16CharCopy(copy.data(), lone.data(), 3), 2U) << "a lone half is no pair";
    EXPECT_EQ(copy[1], 0xD83D);
}

TEST(Uni16Text, APartialCopyCopiesExactlyItsUnitsAndMayOverlap) {
    Units text = {'a', 0, 'c', 'd', 'e', 'f'};
    Uni16CharPartialCopy(text.data() + 1, text.data(), 4);
    EXPECT_EQ(text, (Units{'a', 'a', 0, 'c', 'd', 'f'}));
    Uni16CharPartialCopy(text.data(), text.data() + 3, 3);
    EXPECT_EQ(text, (Units{'c', 'd', 'f', 'c', 'd', 'f'}));
    Uni16CharPartialCopy(text.data(), nullptr, 0);
    EXPECT_EQ(text[0], 'c');
}

TEST(Uni16Text, AppendingJoinsTwoTexts) {
    Units text = Marked(8);
    text[0] = 'a';
    text[1] = 0;
    EXPECT_EQ(Uni16CharAppend(text.data(), Text(u"bcd").data()), 4U);
    EXPECT_EQ(text, (Units{'a', 'b', 'c', 'd', 0, kMark, kMark, kMark}));
}

TEST(Uni16Text, ABoundedAppendCutsWithinTheWholeCapacity) {
    const Units tail = {'b', 0xD83D, 0xDE00, 0};
    struct Case {
        unsigned long capacity;
        unsigned long length;
        Units result;
    };
    const Case kCases[] = {
        {0, 1, {'a', 0, kMark, kMark, kMark, kMark}}, {1, 1, {'a', 0, kMark, kMark, kMark, kMark}},
        {2, 1, {'a', 0, kMark, kMark, kMark, kMark}}, {3, 2, {'a', 'b', 0, kMark, kMark, kMark}},
        {4, 2, {'a', 'b', 0, kMark, kMark, kMark}},   {5, 4, {'a', 'b', 0xD83D, 0xDE00, 0, kMark}},
        {6, 4, {'a', 'b', 0xD83D, 0xDE00, 0, kMark}},
    };
    for (const Case& one : kCases) {
        Units text = Marked(6);
        text[0] = 'a';
        text[1] = 0;
        EXPECT_EQ(Uni16CharAppend(text.data(), tail.data(), one.capacity), one.length);
        EXPECT_EQ(text, one.result) << one.capacity;
    }
}

TEST(Uni16Text, TheFirstOccurrenceOfACharacterIsFound) {
    const Units text = Text(u"a:b:c");
    EXPECT_EQ(Uni16CharFindCharacter(text.data(), ':'), text.data() + 1);
    EXPECT_EQ(Uni16CharFindCharacter(text.data(), 'c'), text.data() + 4);
    EXPECT_EQ(Uni16CharFindCharacter(text.data(), 'x'), nullptr);
    EXPECT_EQ(Uni16CharFindCharacter(text.data(), 0), nullptr) << "the terminator is none";
    EXPECT_EQ(Uni16CharFindCharacter(Text(u"").data(), 'a'), nullptr);
}

TEST(Uni16Text, ABoundedSearchGoesThroughNulsAndNoFurtherThanItsUnits) {
    const Units text = {'a', 0, 'b', 'c'};
    EXPECT_EQ(Uni16CharPartialFindCharacter(text.data(), 'b', 4), text.data() + 2);
    EXPECT_EQ(Uni16CharPartialFindCharacter(text.data(), 0, 4), text.data() + 1);
    EXPECT_EQ(Uni16CharPartialFindCharacter(text.data(), 'c', 3), nullptr);
    EXPECT_EQ(Uni16CharPartialFindCharacter(text.data(), 'a', 0), nullptr);
}

int SignOf(int value) {
    return (value > 0) - (value < 0);
}

TEST(Uni16Text, TextsCompareByTheirUnits) {
    struct Case {
        std::u16string a;
        std::u16string b;
        int sign;
    };
    const Case kCases[] = {
        {u"", u"", 0},    {u"a", u"a", 0}, {u"", u"a", -1},      {u"a", u"b", -1},
        {u"ab", u"a", 1}, {u"a", u"A", 1}, {u"\uFFFF", u"a", 1}, {u"\uFFFF", u"\U0001F600", 1},
    };
    for (const Case& one : kCases) {
        EXPECT_EQ(SignOf(Uni16CharCompare(Text(one.a).data(), Text(one.b).data())), one.sign);
        EXPECT_EQ(SignOf(Uni16CharCompare(Text(one.b).data(), Text(one.a).data())), -one.sign);
    }
}

TEST(Uni16Text, ABoundedComparisonLooksAtExactlyItsUnits) {
    const Units a = {'a', 0, 'b'};
    const Units b = {'a', 0, 'c'};
    EXPECT_EQ(Uni16CharPartialCompare(a.data(), b.data(), 0), 0);
    EXPECT_EQ(Uni16CharPartialCompare(a.data(), b.data(), 2), 0);
    EXPECT_LT(Uni16CharPartialCompare(a.data(), b.data(), 3), 0);
    EXPECT_GT(Uni16CharPartialCompare(b.data(), a.data(), 3), 0);
}

TEST(Uni16String, ItWorksAsTheStandardsStringsDo) {
    Uni16String text(Text(u"Disk:a").data());
    EXPECT_EQ(text.size(), 6U);
    EXPECT_EQ(text.find(static_cast<unsigned short>(':')), 4U);
    EXPECT_EQ(text.rfind(static_cast<unsigned short>('x')), Uni16String::npos);
    text += static_cast<unsigned short>('b');
    text.insert(0, 2, 'x');
    text.erase(2, 4);
    EXPECT_EQ(text, Uni16String(Text(u"xx:ab").data()));
    EXPECT_LT(text, Uni16String(Text(u"xx:b").data()));
    EXPECT_EQ(text.compare(2, 2, Text(u":a").data()), 0);
    text.resize(8, 'y');
    EXPECT_EQ(text, Uni16String(Text(u"xx:abyyy").data()));
    using Traits = Core::uni16char_traits;
    EXPECT_TRUE(Traits::eq_int_type(Traits::eof(), Traits::eof()));
    EXPECT_NE(Traits::not_eof(Traits::eof()), Traits::eof());
    EXPECT_EQ(Traits::to_char_type(Traits::to_int_type(0xFFFF)), 0xFFFF);
    EXPECT_NE(Traits::to_int_type(0xFFFF), Traits::eof());
}

}  // namespace
}  // namespace Ondrel
