// Written texts and counted strings: the stored bytes in both directions, and what a failure does.
#include "ondrel/records/strings.h"

#include <cstring>
#include <cwchar>
#include <fstream>
#include <new>

#include "tests/records/Allocations.h"
#include "tests/records/Streams.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Document;
using Testing::FaultPlan;
using Testing::Hex;
using Testing::RaisedBy;
using Testing::RefuseAllocations;
using Testing::Written;

struct CountedCase {
    const char* text;
    const char* stored;
};

constexpr CountedCase kCountedCases[] = {
    {"", "00 00 00 00"},
    {"61 62 63", "00 00 00 03 61 62 63"},
    {"00", "00 00 00 01 00"},
    {"61 00 0A FF", "00 00 00 04 61 00 0A FF"},
};

TEST(CountedStrings, AreALengthOfFourBytesAndTheBytes) {
    for (const CountedCase& c : kCountedCases) {
        EXPECT_EQ(Hex(Written([&](fil* f) { filwristring(f, Bytes(c.text)); })), c.stored);
        const Document document(Bytes(c.stored));
        fil f;
        document.Open(&f);
        EXPECT_EQ(Hex(filreastring(&f)), c.text);
        EXPECT_EQ(filpos(&f), static_cast<int>(Bytes(c.stored).size()));
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(CountedStrings, ALengthOf260HasItsHighByteFirst) {
    const std::string text(260, 'x');
    EXPECT_EQ(Hex(Written([&](fil* f) { filwristring(f, text); }).substr(0, 5)), "00 00 01 04 78");
}

TEST(CountedStrings, ANegativeLengthIsAnEmptyStringOfFourBytes) {
    for (const char* const stored : {"FF FF FF FF", "80 00 00 00", "80 00 00 03 61 62 63"}) {
        const Document document(Bytes(stored));
        fil f;
        document.Open(&f);
        EXPECT_EQ(filreastring(&f), "");
        EXPECT_EQ(filpos(&f), 4);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(CountedStrings, ACutStringHasTheDeclaredLengthWithZerosAtItsEnd) {
    const Document document(Bytes("00 00 00 05 61 62"));
    fil f;
    document.Open(&f);
    EXPECT_EQ(Hex(filreastring(&f)), "61 62 00 00 00");
    EXPECT_EQ(f.sys->error, eofErr);
    EXPECT_EQ(filreastring(&f), "") << "and the next has no length";
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CountedStrings, ACutStringOfManyBuffersHasTheDeclaredLengthToo) {
    const std::string held(100000, 'x');
    const Document document(Bytes("00 10 00 00") + held);
    fil f;
    document.Open(&f);
    EXPECT_EQ(filreastring(&f), held + std::string(0x100000 - held.size(), '\0'));
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CountedStrings, ACutStringIsRaisedWhereAContextIsArmed) {
    const Document document(Bytes("00 00 00 05 61 62"));
    fil f;
    document.Open(&f);
    EXPECT_EQ(RaisedBy(&f, [&] { filreastring(&f); }), -3);
    EXPECT_EQ(RaisedBy(&f, [&] { filreastring(&f); }), -3) << "the end stays latched";
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CountedStrings, ALengthThatTheDocumentDoesNotHoldCostsNoMemoryWhenItIsRaised) {
    const Document document(Bytes("7F FF FF FF") + std::string(70000, 'x'));
    fil f;
    document.Open(&f);
    Testing::TakeLargestAllocation();
    EXPECT_EQ(RaisedBy(&f, [&] { filreastring(&f); }), -3);
    EXPECT_LT(Testing::TakeLargestAllocation(), 300000U);
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CountedStrings, NoMemoryThrowsAndLeavesTheContextArmed) {
    const Document document(Bytes("00 02 00 00") + std::string(0x20000, 'x'));
    fil f;
    document.Open(&f);
    const int raised = RaisedBy(&f, [&] {
        const RefuseAllocations refuse(50000, 1000000);
        EXPECT_THROW(filreastring(&f), std::bad_alloc);
    });
    EXPECT_EQ(raised, 0);
    EXPECT_EQ(filclo(&f), 0);
}

// Free memory of the machine in bytes.
unsigned long long AvailableMemory() {
    std::ifstream in("/proc/meminfo");
    for (std::string word; in >> word;) {
        unsigned long long kilobytes = 0;
        if (word == "MemAvailable:" && in >> kilobytes) return kilobytes * 1024;
    }
    return 0;
}

constexpr unsigned long long kEnoughMemory = 8ULL << 30;

TEST(CountedStrings, TheLongestLengthIsGivenAsDeclared) {
    if (AvailableMemory() < kEnoughMemory) GTEST_SKIP() << "needs 8 GiB of free memory";
    const Document document(Bytes("7F FF FF FF 61"));
    fil f;
    document.Open(&f);
    const std::string text = filreastring(&f);
    ASSERT_EQ(text.size(), 0x7FFFFFFFU);
    EXPECT_EQ(text.substr(0, 2), std::string("a\0", 2));
    EXPECT_EQ(std::memcmp(text.data() + 1, text.data() + 2, text.size() - 2), 0) << "all zeros";
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CountedStrings, ATextThatNoFileCanHoldIsRefusedWithMinus50) {
    if (AvailableMemory() < kEnoughMemory) GTEST_SKIP() << "needs 8 GiB of free memory";
    std::string text;
    text.resize(0x80000000U, 'x');
    const Document document;
    fil f;
    document.Save(&f, 3);
    EXPECT_EQ(RaisedBy(&f, [&] { filwristring(&f, text); }), -1);
    EXPECT_EQ(f.sys->error, paramErr);
    EXPECT_EQ(filwristrnul(&f, text.c_str()), -1);
    EXPECT_EQ(filerr(static_cast<const fil*>(&f)), -1);
    EXPECT_EQ(filpos(&f), 3) << "nothing of it was written";
    EXPECT_EQ(filpos(&f, 3), 0) << "a move recovers the stream";
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(document.Bytes(), "ppp");
}

struct UnicodeCase {
    Uni16String text;
    const char* stored;
};

Uni16String Units(std::initializer_list<unsigned short> units) {
    Uni16String text;
    for (const unsigned short unit : units)
        text += unit;
    return text;
}

const UnicodeCase kUnicodeCases[] = {
    {Units({}), "00 00 00 00"},
    {Units({0x00E9}), "00 00 00 02 C3 A9"},
    {Units({0x61, 0x20AC, 0x7A}), "00 00 00 05 61 E2 82 AC 7A"},
    {Units({0xD83D, 0xDE00}), "00 00 00 04 F0 9F 98 80"},
    {Units({0xFFFF}), "00 00 00 03 EF BF BF"},
};

TEST(UnicodeStrings, AreStoredAsCountedUtf8) {
    for (const UnicodeCase& c : kUnicodeCases) {
        EXPECT_EQ(Hex(Written([&](fil* f) { filwriUni16String(f, c.text); })), c.stored);
        const Document document(Bytes(c.stored));
        fil f;
        document.Open(&f);
        EXPECT_EQ(filreaUni16String(&f), c.text) << c.stored;
        EXPECT_EQ(filpos(&f), static_cast<int>(Bytes(c.stored).size()));
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(UnicodeStrings, AUnit0EndsTheStoredText) {
    const Uni16String text = Units({'a', 0, 'b'});
    EXPECT_EQ(Hex(Written([&](fil* f) { filwriUni16String(f, text); })), "00 00 00 01 61");
}

TEST(UnicodeStrings, AStoredNulEndsTheTextAndInvalidBytesComeBackEmpty) {
    const UnicodeCase cases[] = {
        {Units({'a'}), "00 00 00 03 61 00 62"}, {Units({}), "00 00 00 02 00 61"},
        {Units({}), "00 00 00 02 61 FF"},       {Units({}), "00 00 00 02 61 C3"},
        {Units({}), "00 00 00 03 ED A0 80"},    {Units({}), "FF FF FF FF"},
    };
    for (const UnicodeCase& c : cases) {
        const Document document(Bytes(c.stored) + "end");
        fil f;
        document.Open(&f);
        EXPECT_EQ(filreaUni16String(&f), c.text) << c.stored;
        char behind[4];
        EXPECT_EQ(filreastr(&f, behind, sizeof behind), 0);
        EXPECT_STREQ(behind, "end");
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(UnicodeStrings, ATextOfManyBuffersComesBack) {
    const Uni16String text(60000, 0x20AC);
    const std::string stored = Written([&](fil* f) { filwriUni16String(f, text); });
    EXPECT_EQ(stored.size(), 180004U);
    EXPECT_EQ(Hex(stored.substr(0, 7)), "00 02 BF 20 E2 82 AC");
    const Document document(stored);
    fil f;
    document.Open(&f);
    EXPECT_EQ(filreaUni16String(&f), text);
    EXPECT_EQ(filclo(&f), 0);
}

TEST(NulStrings, AreTheTextAndItsNul) {
    EXPECT_EQ(Hex(Written([](fil* f) { EXPECT_EQ(filwristrnul(f, "ab"), 0); })), "61 62 00");
    EXPECT_EQ(Hex(Written([](fil* f) { EXPECT_EQ(filwristrnul(f, ""), 0); })), "00");
    EXPECT_EQ(Hex(Written([](fil* f) { EXPECT_EQ(filwristrnul(f, nullptr), 0); })), "00");
}

TEST(FormattedText, IsTheTextAlone) {
    EXPECT_EQ(Written([](fil* f) { EXPECT_EQ(filwrifmt(f, "%s=%d\n", "a", -7), 0); }), "a=-7\n");
    EXPECT_EQ(Written([](fil* f) { EXPECT_EQ(filwrifmt(f, "%s", ""), 0); }), "");
}

TEST(FormattedText, IsCutAt1023Bytes) {
    for (const std::size_t length : {1022U, 1023U, 1024U, 1025U, 5000U}) {
        const std::string text(length, 'x');
        EXPECT_EQ(Written([&](fil* f) { EXPECT_EQ(filwrifmt(f, "%s", text.c_str()), 0); }).size(),
                  std::min(length, std::size_t{1023}));
    }
}

// A format that no locale of the tests can serve: the unit is no character.
int WriteFailingFormat(fil* f) {
    return filwrifmt(f, "ab%lc", static_cast<std::wint_t>(0xD800));
}

TEST(FormattedText, AFormatThatFailsWritesNothingAndLatchesMinus50) {
    const Document document;
    fil f;
    document.Save(&f, 3);
    EXPECT_EQ(WriteFailingFormat(&f), -1);
    EXPECT_EQ(f.sys->error, paramErr);
    EXPECT_EQ(filwri8(&f, 'x'), -1) << "the stream has failed";
    EXPECT_EQ(RaisedBy(&f, [&] { WriteFailingFormat(&f); }), -1);
    EXPECT_EQ(filpos(&f), 3);
    EXPECT_EQ(filpos(&f, 3), 0);
    EXPECT_EQ(filwrifmt(&f, "%d", 5), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(document.Bytes(), "ppp5");
}

// Outside of the writers, because a raise must not skip them.
const std::string kText = "abc";
const Uni16String kUnits = Units({'a', 'b', 'c'});

// Every function that writes a text, each giving its code (0 where it has none).
struct Writer {
    const char* name;
    int (*write)(fil*);
};

const Writer kWriters[] = {
    {"filwristring",
     [](fil* f) {
         filwristring(f, kText);
         return 0;
     }},
    {"filwriUni16String",
     [](fil* f) {
         filwriUni16String(f, kUnits);
         return 0;
     }},
    {"filwristrnul", [](fil* f) { return filwristrnul(f, "abc"); }},
    {"filwrifmt", [](fil* f) { return filwrifmt(f, "%s", "abc"); }},
    {"filwrifmt that fails", WriteFailingFormat},
};

TEST(WrittenTexts, NothingIsWrittenToAClosedStream) {
    for (const Writer& writer : kWriters) {
        fil f;
        writer.write(&f);
        EXPECT_EQ(f.sys, nullptr) << writer.name;
        EXPECT_EQ(f.cursor, nullptr) << writer.name;
    }
}

TEST(WrittenTexts, AStreamOpenForReadingIsMisuseAndNotRaised) {
    for (const Writer& writer : kWriters) {
        const Document document("unread");
        fil f;
        document.Open(&f, 6);
        ASSERT_EQ(f.count, 0);
        EXPECT_EQ(RaisedBy(&f, [&] { writer.write(&f); }), 0) << writer.name;
        EXPECT_EQ(f.sys->error, eofErr) << "what the last read latched, and nothing else";
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(document.Bytes(), "unread");
    }
}

// A stream whose last transfer has failed.
void SaveAndFail(const Document& document, fil* f) {
    document.Save(f);
    const FaultPlan plan(1, ENOSPC, "pwrite", -1);
    const std::string bytes(3UL * kFilBufferSize, 'x');
    ASSERT_EQ(filwri(f, reinterpret_cast<const unsigned char*>(bytes.data()),
                     static_cast<int>(bytes.size())),
              -1);
    ASSERT_EQ(f->sys->error, dskFulErr);
}

TEST(WrittenTexts, NothingIsWrittenToAStreamThatHasFailed) {
    for (const Writer& writer : kWriters) {
        const Document document;
        fil f;
        SaveAndFail(document, &f);
        const int position = filpos(&f);
        const unsigned char* const cursor = f.cursor;
        writer.write(&f);
        EXPECT_EQ(filpos(&f), position) << writer.name;
        EXPECT_EQ(f.cursor, cursor) << writer.name;
        EXPECT_EQ(RaisedBy(&f, [&] { writer.write(&f); }), -1) << writer.name;
        EXPECT_EQ(f.cursor, cursor) << writer.name;
        filclo(&f);
    }
}

TEST(WrittenTexts, AFailingTransferIsReportedOrRaisedByTheTextThatMeetsIt) {
    const std::string text(2UL * kFilBufferSize, 'x');
    const Uni16String units(2UL * kFilBufferSize, 'x');
    for (const bool unicode : {false, true}) {
        const Document document;
        fil f;
        document.Save(&f);
        {
            const FaultPlan plan(1, ENOSPC, "pwrite", -1);
            EXPECT_EQ(RaisedBy(&f,
                               [&] {
                                   if (unicode)
                                       filwriUni16String(&f, units);
                                   else
                                       filwristring(&f, text);
                               }),
                      -1);
            EXPECT_EQ(filwristrnul(&f, text.c_str()), -1);
            EXPECT_EQ(filerr(static_cast<const fil*>(&f)), -1);
        }
        filclo(&f);
    }
}

TEST(CountedStrings, AReadErrorGivesZerosOrIsRaised) {
    const std::string bytes = Bytes("00 01 00 00") + std::string(0x10000, 'x');
    for (const bool armed : {false, true}) {
        const Document document(bytes);
        fil f;
        document.Open(&f, 4);
        ASSERT_EQ(filpos(&f, 0), 0);
        const FaultPlan plan(1, EIO, "", -1);
        if (armed) {
            EXPECT_EQ(RaisedBy(&f, [&] { filreastring(&f); }), -1);
        } else {
            const std::string text = filreastring(&f);
            EXPECT_EQ(text.size(), 0x10000U);
            EXPECT_EQ(text.back(), 0);
        }
        EXPECT_TRUE(plan.Fired());
        filclo(&f);
    }
}

}  // namespace
}  // namespace Ondrel
