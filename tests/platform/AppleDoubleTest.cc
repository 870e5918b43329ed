// AppleDouble bytes: what is read from files of anyone's making, and what is written.
#include "ondrel/platform/AppleDouble.h"

#include <gtest/gtest.h>

#include <random>

#include "ondrel/platform/BigEndian.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;

// Entries as the tests build them: 24 bytes of head, the table, then `rest`.
struct Entry {
    std::uint32_t id;
    std::uint32_t offset;
    std::uint32_t length;
};

std::string File(const std::vector<Entry>& entries, std::string_view rest,
                 std::uint32_t version = 0x00020000) {
    std::string bytes = Bytes("00 05 16 07 00 00 00 00") + "Mac OS X        ";
    Put32(bytes, 4, version);
    bytes.resize(26 + 12 * entries.size());
    Put16(bytes, 24, static_cast<std::uint16_t>(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        Put32(bytes, 26 + 12 * i, entries[i].id);
        Put32(bytes, 30 + 12 * i, entries[i].offset);
        Put32(bytes, 34 + 12 * i, entries[i].length);
    }
    return bytes.append(rest);
}

AppleDouble Parsed(const std::string& bytes) {
    auto parsed = AppleDouble::Parse(bytes);
    EXPECT_TRUE(parsed.has_value()) << Hex(bytes);
    return parsed ? *parsed : AppleDouble();
}

FinderInfo InfoOf(char fill) {
    FinderInfo info;
    info.bytes.fill(static_cast<unsigned char>(fill));
    return info;
}

std::string InfoText(const AppleDouble& file) {
    const FinderInfo info = file.GetFinderInfo();
    return {reinterpret_cast<const char*>(info.bytes.data()), info.bytes.size()};
}

TEST(FinderInfo, TypeCreatorAndFlagsAreBigEndian) {
    FinderInfo info;
    EXPECT_TRUE(info.IsEmpty());
    info.SetType(MakeFourCC("TEXT"));
    info.SetCreator(MakeFourCC("ttxt"));
    info.SetFlags(0x8400);
    EXPECT_EQ(Hex({reinterpret_cast<const char*>(info.bytes.data()), 12}),
              "54 45 58 54 74 74 78 74 84 00 00 00");
    EXPECT_EQ(info.Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(info.Creator(), MakeFourCC("ttxt"));
    EXPECT_EQ(info.Flags(), kFinderFlagIsAlias | kFinderFlagHasCustomIcon);
    EXPECT_FALSE(info.IsEmpty());
    FinderInfo last;
    last.bytes[31] = 1;
    EXPECT_FALSE(last.IsEmpty());
}

TEST(AppleDouble, AnEmptyOneHasTwoEntriesInTheFormOfMacOs) {
    const AppleDouble file;
    EXPECT_EQ(Hex(file.Bytes()),
              Hex(Bytes("00 05 16 07 00 02 00 00 4D 61 63 20 4F 53 20 58 20 20 20 20 20 20 20 20"
                        "00 02 00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52"
                        "00 00 00 00") +
                  std::string(32, '\0')));
    EXPECT_TRUE(file.IsEmpty());
    EXPECT_TRUE(Parsed(file.Bytes()).IsEmpty());
}

TEST(AppleDouble, CodesAndForkAreWrittenAtTheirPlaces) {
    AppleDouble file;
    FinderInfo info;
    info.SetType(MakeFourCC("TEXT"));
    info.SetCreator(MakeFourCC("ttxt"));
    file.SetFinderInfo(info);
    ASSERT_TRUE(file.SetResourceFork("fork"));
    EXPECT_EQ(Hex(file.Bytes()),
              Hex(Bytes("00 05 16 07 00 02 00 00 4D 61 63 20 4F 53 20 58 20 20 20 20 20 20 20 20"
                        "00 02 00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52"
                        "00 00 00 04 54 45 58 54 74 74 78 74") +
                  std::string(24, '\0') + "fork"));
    EXPECT_FALSE(file.IsEmpty());
    EXPECT_EQ(file.GetFinderInfo().bytes, info.bytes);
    EXPECT_EQ(file.GetResourceFork(), "fork");
}

TEST(AppleDouble, AForkAtTheEndGrowsAndShrinksInPlace) {
    AppleDouble file;
    for (const std::string fork : {"a", "something longer", "b", ""}) {
        ASSERT_TRUE(file.SetResourceFork(fork));
        EXPECT_EQ(file.Bytes(), File({{9, 50, 32}, {2, 82, std::uint32_t(fork.size())}},
                                     std::string(32, '\0') + fork));
        EXPECT_EQ(file.GetResourceFork(), fork);
    }
    EXPECT_TRUE(file.IsEmpty());
}

TEST(AppleDouble, BothVersionsAreRead) {
    const std::string info(32, 'i');
    for (const std::uint32_t version : {0x00010000U, 0x00020000U}) {
        const std::string bytes = File({{9, 50, 32}, {2, 82, 4}}, info + "fork", version);
        const AppleDouble file = Parsed(bytes);
        EXPECT_EQ(InfoText(file), info);
        EXPECT_EQ(file.GetResourceFork(), "fork");
        EXPECT_EQ(file.Bytes(), bytes);
    }
    for (const std::uint32_t version : {0U, 0x00030000U, 0x00020001U, 0xFFFFFFFFU})
        EXPECT_FALSE(AppleDouble::Parse(File({{9, 50, 32}}, std::string(64, 'i'), version)));
}

TEST(AppleDouble, EntriesMayStandInAnyOrderAmongOthers) {
    const std::string bytes =
        File({{2, 86, 4}, {3, 122, 4}, {9, 90, 32}, {0x80000001, 126, 2}, {8, 74, 12}},
             std::string(12, 'd') + "fork" + std::string(32, 'i') + "name!!");
    // The table of five ends at 86: the dates would lie on it.
    EXPECT_FALSE(AppleDouble::Parse(bytes));
    const AppleDouble file =
        Parsed(File({{2, 86, 4}, {3, 122, 4}, {9, 90, 32}, {0x80000001, 126, 2}, {8, 128, 0}},
                    "fork" + std::string(32, 'i') + "name!!"));
    EXPECT_EQ(InfoText(file), std::string(32, 'i'));
    EXPECT_EQ(file.GetResourceFork(), "fork");
    EXPECT_FALSE(file.IsEmpty());
}

TEST(AppleDouble, TheFirstEntryOfAKindCounts) {
    AppleDouble file = Parsed(
        File({{2, 74, 1}, {2, 75, 1}, {9, 76, 32}, {9, 76, 1}}, "AB" + std::string(32, 'i')));
    EXPECT_EQ(file.GetResourceFork(), "A");
    EXPECT_EQ(InfoText(file), std::string(32, 'i'));
    ASSERT_TRUE(file.SetResourceFork("new"));
    EXPECT_EQ(file.GetResourceFork(), "new");
    EXPECT_EQ(file.Bytes()[75], 'B');
}

TEST(AppleDouble, MissingEntriesReadAsEmpty) {
    const AppleDouble none = Parsed(File({}, ""));
    EXPECT_TRUE(none.GetFinderInfo().IsEmpty());
    EXPECT_TRUE(none.GetResourceFork().empty());
    const AppleDouble shorter = Parsed(File({{9, 38, 4}}, "TEXT"));
    EXPECT_EQ(shorter.GetFinderInfo().Type(), MakeFourCC("TEXT"));
    EXPECT_EQ(shorter.GetFinderInfo().Creator(), 0U);
}

TEST(AppleDouble, EveryTruncationIsRefused) {
    const std::string whole = File({{9, 50, 32}, {2, 82, 4}}, std::string(32, 'i') + "fork");
    ASSERT_TRUE(AppleDouble::Parse(whole));
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(AppleDouble::Parse(whole.substr(0, size))) << size << " bytes";
}

struct Lie {
    const char* reason;
    Entry entry;
    bool isRead;
};

// A file of one entry and 62 bytes: the table ends at 38.
const Lie kLies[] = {
    {"to the last byte", {2, 38, 24}, true},
    {"one byte beyond", {2, 38, 25}, false},
    {"starts at the end", {2, 62, 1}, false},
    {"starts behind the end", {2, 63, 1}, false},
    {"empty at the end", {2, 62, 0}, true},
    {"empty behind the end: it lies nowhere", {2, 4000, 0}, true},
    {"the sum wraps at 32 bits", {2, 40, 0xFFFFFFFF}, false},
    {"offset and length wrap to inside", {2, 0xFFFFFFF0, 0x20}, false},
    {"on the table", {2, 37, 1}, false},
    {"on the magic", {9, 0, 32}, false},
    {"an unknown kind beyond the end", {77, 38, 25}, false},
};

TEST(AppleDouble, AnEntryMustLieBetweenTableAndEnd) {
    for (const Lie& lie : kLies)
        EXPECT_EQ(AppleDouble::Parse(File({lie.entry}, std::string(24, 'x'))).has_value(),
                  lie.isRead)
            << lie.reason;
}

TEST(AppleDouble, ACountBeyondTheFileIsRefused) {
    for (const std::uint16_t count :
         {std::uint16_t{3}, std::uint16_t{0x7FFF}, std::uint16_t{0xFFFF}}) {
        std::string bytes = File({{9, 50, 0}, {2, 50, 0}}, "");
        Put16(bytes, 24, count);
        EXPECT_FALSE(AppleDouble::Parse(bytes)) << count;
    }
}

TEST(AppleDouble, OtherFilesAreRefused) {
    EXPECT_FALSE(AppleDouble::Parse(""));
    EXPECT_FALSE(AppleDouble::Parse("just a text that somebody has saved under such a name"));
    std::string single = AppleDouble().Bytes();
    single[3] = 0;  // AppleSingle: the data fork is in it
    EXPECT_FALSE(AppleDouble::Parse(single));
}

// Finder Info of 32 bytes, 2 of padding and extended attributes, as macOS writes it.
std::string LongInfo() {
    return std::string(32, 'i') + std::string(2, '\0') + "ATTR" + std::string(62, 'x');
}

TEST(AppleDouble, WhatStandsBehindAFinderInfoIsKeptInItsPlace) {
    AppleDouble file = Parsed(File({{9, 50, 100}, {2, 150, 4}}, LongInfo() + "fork"));
    file.SetFinderInfo(InfoOf('N'));
    EXPECT_EQ(file.Bytes(), File({{9, 50, 100}, {2, 150, 4}},
                                 std::string(32, 'N') + LongInfo().substr(32) + "fork"));
    ASSERT_TRUE(file.SetResourceFork("a longer fork"));
    EXPECT_EQ(file.Bytes(), File({{9, 50, 100}, {2, 150, 13}},
                                 std::string(32, 'N') + LongInfo().substr(32) + "a longer fork"));
    ASSERT_TRUE(file.SetResourceFork(""));
    EXPECT_EQ(file.Bytes(),
              File({{9, 50, 100}, {2, 150, 0}}, std::string(32, 'N') + LongInfo().substr(32)));
    EXPECT_FALSE(file.IsEmpty());
    file.SetFinderInfo({});
    EXPECT_FALSE(file.IsEmpty()) << "extended attributes would be missed";
}

TEST(AppleDouble, AForkBeforeOthersMovesToTheEndAndTheyStay) {
    AppleDouble file = Parsed(File({{2, 50, 4}, {9, 54, 100}}, "fork" + LongInfo()));
    ASSERT_TRUE(file.SetResourceFork("new fork"));
    EXPECT_EQ(file.Bytes(),
              File({{2, 154, 8}, {9, 54, 100}}, std::string(4, '\0') + LongInfo() + "new fork"));
    ASSERT_TRUE(file.SetResourceFork("newer"));
    EXPECT_EQ(file.Bytes(),
              File({{2, 154, 5}, {9, 54, 100}}, std::string(4, '\0') + LongInfo() + "newer"));
}

TEST(AppleDouble, AMissingForkIsAdded) {
    AppleDouble file = Parsed(File({{9, 38, 32}}, std::string(32, 'i')));
    ASSERT_TRUE(file.SetResourceFork("fork"));
    EXPECT_EQ(file.Bytes(), File({{9, 50, 32}, {2, 82, 4}}, std::string(32, 'i') + "fork"));
}

TEST(AppleDouble, AMissingFinderInfoIsAddedBeforeTheFork) {
    AppleDouble file = Parsed(File({{2, 38, 4}}, "fork"));
    file.SetFinderInfo(InfoOf('N'));
    EXPECT_EQ(file.Bytes(), File({{2, 82, 4}, {9, 50, 32}}, std::string(32, 'N') + "fork"));
    AppleDouble none = Parsed(File({}, ""));
    none.SetFinderInfo(InfoOf('N'));
    EXPECT_EQ(none.Bytes(), File({{9, 50, 32}, {2, 82, 0}}, std::string(32, 'N')));
}

TEST(AppleDouble, AnEntryIsAddedInTheRoomOfTheTableWhereThereIsSome) {
    AppleDouble file = Parsed(File({{9, 50, 100}}, std::string(12, '-') + LongInfo()));
    ASSERT_TRUE(file.SetResourceFork("fork"));
    EXPECT_EQ(file.Bytes(), File({{9, 50, 100}, {2, 150, 4}}, LongInfo() + "fork"));
}

TEST(AppleDouble, AShortFinderInfoGrowsAndTheForkMakesRoom) {
    AppleDouble file = Parsed(File({{9, 50, 16}, {2, 66, 4}}, std::string(16, 'i') + "fork"));
    file.SetFinderInfo(InfoOf('N'));
    EXPECT_EQ(file.Bytes(), File({{9, 50, 32}, {2, 82, 4}}, std::string(32, 'N') + "fork"));
}

TEST(AppleDouble, OverlappingEntriesAreToldApartWhenOneChanges) {
    const std::string shared(32, 's');
    AppleDouble info = Parsed(File({{9, 50, 32}, {2, 50, 32}}, shared));
    info.SetFinderInfo(InfoOf('N'));
    EXPECT_EQ(InfoText(info), std::string(32, 'N'));
    EXPECT_EQ(info.GetResourceFork(), shared);
    AppleDouble fork = Parsed(File({{9, 50, 32}, {2, 50, 32}}, shared));
    ASSERT_TRUE(fork.SetResourceFork("new"));
    EXPECT_EQ(InfoText(fork), shared);
    EXPECT_EQ(fork.GetResourceFork(), "new");
}

TEST(AppleDouble, OnlyAPlainPairOfNothingIsEmpty) {
    EXPECT_TRUE(Parsed(File({{9, 50, 32}, {2, 82, 0}}, std::string(32, '\0'))).IsEmpty());
    EXPECT_TRUE(Parsed(File({{2, 0, 0}, {9, 50, 32}}, std::string(32, '\0'))).IsEmpty());
    EXPECT_FALSE(Parsed(File({{9, 50, 32}, {2, 82, 1}}, std::string(33, '\0'))).IsEmpty());
    EXPECT_FALSE(
        Parsed(File({{9, 62, 32}, {2, 94, 0}, {3, 94, 0}}, std::string(32, '\0'))).IsEmpty());
    EXPECT_FALSE(Parsed(File({{9, 50, 32}, {3, 82, 0}}, std::string(32, '\0'))).IsEmpty());
}

// Damage of every kind: what is read can be changed, the change is read back, and nothing is
// touched outside of the bytes (under the address sanitizer).
TEST(AppleDouble, DamagedTablesAreRefusedOrCanBeChanged) {
    std::mt19937 random(20240607);
    const std::string start =
        File({{9, 74, 40}, {2, 120, 30}, {3, 114, 6}, {8, 150, 16}}, std::string(100, 'r'));
    int read = 0;
    for (int round = 0; round < 50000; ++round) {
        std::string bytes = start.substr(0, 26 + random() % (start.size() - 25));
        for (int changes = static_cast<int>(random() % 6); changes > 0; --changes) {
            const std::size_t at = 24 + random() % (bytes.size() - 24);
            bytes[at] = static_cast<char>(random() % 3 == 0 ? random() : random() % 200);
        }
        auto file = AppleDouble::Parse(bytes);
        if (!file) continue;
        ++read;
        const std::string fork(random() % 50, 'F');
        const std::string forkBefore(file->GetResourceFork());
        file->SetFinderInfo(InfoOf('N'));
        ASSERT_EQ(file->GetResourceFork(), forkBefore) << Hex(bytes);
        ASSERT_TRUE(file->SetResourceFork(fork));
        const AppleDouble again = Parsed(file->Bytes());
        ASSERT_EQ(InfoText(again).substr(0, 32), std::string(32, 'N')) << Hex(bytes);
        ASSERT_EQ(again.GetResourceFork(), fork) << Hex(bytes);
    }
    EXPECT_GT(read, 1000);
}

TEST(AppleDouble, AForkThatStandsLastCanBePassedOver) {
    const std::string bytes = File({{9, 50, 32}, {2, 82, 4}}, std::string(32, 'i') + "fork");
    const auto entries = ReadAppleDoubleTable(bytes, bytes.size());
    ASSERT_TRUE(entries.has_value());
    EXPECT_EQ(AppleDouble::StartOfLastFork(*entries), 82U);
    auto parsed = AppleDouble::ParseWithoutFork(bytes.substr(0, 82), bytes.size());
    ASSERT_TRUE(parsed.has_value());
    EXPECT_EQ(parsed->GetResourceFork(), "");
    ASSERT_TRUE(parsed->SetResourceFork("fork"));
    EXPECT_EQ(Hex(parsed->Bytes()), Hex(bytes));
    EXPECT_FALSE(AppleDouble::ParseWithoutFork(bytes.substr(0, 81), bytes.size()));
    EXPECT_FALSE(AppleDouble::ParseWithoutFork(bytes.substr(0, 49), bytes.size()));
}

TEST(AppleDouble, OnlyAForkBehindEverythingElseIsPassedOver) {
    const std::vector<std::vector<Entry>> others = {
        {{9, 50, 32}},              // no fork
        {{2, 50, 4}, {9, 54, 32}},  // first
        {{9, 50, 32}, {2, 83, 4}},  // behind a gap
        {{9, 50, 32}, {2, 80, 6}},  // on another entry
        {{9, 50, 32}, {2, 40, 0}},  // empty, and anywhere
    };
    for (const std::vector<Entry>& table : others) {
        const std::string bytes = File(table, std::string(50, 'x'));
        const auto entries = ReadAppleDoubleTable(bytes, bytes.size());
        ASSERT_TRUE(entries.has_value());
        EXPECT_FALSE(AppleDouble::StartOfLastFork(*entries).has_value());
    }
}

}  // namespace
}  // namespace Ondrel
