// Packed rows: codes written out, and the ways in which their lengths were stored.
#include "ondrel/platform/quickdraw/PackedRows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw {
namespace {

using Ondrel::Testing::Bytes;
using Ondrel::Testing::Hex;

struct Result {
    std::string row;
    Unpacked unpacked;
};

Result Unpack(Packing packing, std::string_view packed, std::size_t size) {
    constexpr std::size_t kBehind = 40;
    std::vector<std::uint8_t> row(size + kBehind, 0xEE);
    Result result;
    result.unpacked = packing == Packing::kWords ? UnpackWords(packed, row.data(), size)
                                                 : UnpackBytes(packed, row.data(), size);
    result.row = {reinterpret_cast<const char*>(row.data()), result.unpacked.made};
    EXPECT_TRUE(std::all_of(row.begin() + static_cast<std::ptrdiff_t>(size), row.end(),
                            [](std::uint8_t byte) { return byte == 0xEE; }))
        << "written behind the row";
    return result;
}

struct UnpackCase {
    const char* why;
    Packing packing;
    const char* packed;
    std::size_t size;
    const char* row;
    std::size_t used;
    bool isWhole;
};

const UnpackCase kUnpackCases[] = {
    {"a byte as it is", Packing::kBytes, "00 AB", 1, "AB", 2, true},
    {"bytes as they are", Packing::kBytes, "02 010203", 3, "01 02 03", 4, true},
    {"a byte repeated", Packing::kBytes, "FE 07", 3, "07 07 07", 2, true},
    {"a byte repeated once more", Packing::kBytes, "FF 07", 2, "07 07", 2, true},
    {"one after the other", Packing::kBytes, "FF 07 01 0809", 4, "07 07 08 09", 5, true},
    {"a code that means nothing", Packing::kBytes, "80 00 05 80 80 00 06", 2, "05 06", 7, true},
    {"what follows a full row is left", Packing::kBytes, "00 05 00 06", 1, "05", 2, true},
    {"bytes that end within bytes", Packing::kBytes, "03 0102", 4, "01 02", 3, false},
    {"bytes that end behind a repeat", Packing::kBytes, "00 01 FE", 4, "01", 3, false},
    {"bytes that end behind a code", Packing::kBytes, "00", 1, "", 1, false},
    {"bytes that end early", Packing::kBytes, "00 01", 4, "01", 2, false},
    {"none", Packing::kBytes, "", 4, "", 0, false},
    {"no row", Packing::kBytes, "00 01", 0, "", 0, true},
    {"bytes that go on behind the row", Packing::kBytes, "03 01020304", 3, "01 02 03", 5, false},
    {"bytes cut off behind the row", Packing::kBytes, "03 010203", 3, "01 02 03", 4, false},
    {"a repeat that goes on behind the row", Packing::kBytes, "FD 09", 3, "09 09 09", 2, false},
    {"a word as it is", Packing::kWords, "00 0102", 2, "01 02", 3, true},
    {"words as they are", Packing::kWords, "01 0102 0304", 4, "01 02 03 04", 5, true},
    {"a word repeated", Packing::kWords, "FE 0102", 6, "01 02 01 02 01 02", 3, true},
    {"a word repeated behind another", Packing::kWords, "00 0A0B FF 0102", 6, "0A 0B 01 02 01 02",
     6, true},
    {"half a word to repeat", Packing::kWords, "FE 01", 6, "", 2, false},
    {"words that end within one", Packing::kWords, "01 0102 03", 4, "01 02 03", 4, false},
};

TEST(PackedRows, CodesBecomeBytesAndWords) {
    for (const UnpackCase& of : kUnpackCases) {
        const Result result = Unpack(of.packing, Bytes(of.packed), of.size);
        EXPECT_EQ(Hex(result.row), of.row) << of.why;
        EXPECT_EQ(result.unpacked.used, of.used) << of.why;
        EXPECT_EQ(result.unpacked.isWhole, of.isWhole) << of.why;
    }
}

TEST(PackedRows, TheLongestRunsAre128UnitsLong) {
    std::string bytes = "\x7F";
    std::string row;
    for (int i = 0; i < 128; ++i)
        row += static_cast<char>(i);
    bytes += row + Bytes("81 C3");
    const Result result = Unpack(Packing::kBytes, bytes, 256);
    EXPECT_EQ(Hex(result.row), Hex(row + std::string(128, '\xC3')));
    EXPECT_TRUE(result.unpacked.isWhole);

    std::string words;
    for (int i = 0; i < 128; ++i)
        words += "\x12\x34";
    EXPECT_EQ(Hex(Unpack(Packing::kWords, Bytes("81 1234"), 256).row), Hex(words));
    EXPECT_EQ(Hex(Unpack(Packing::kWords, "\x7F" + words, 256).row), Hex(words));
}

// The rules written out, a unit at a time.
std::string Plainly(std::string_view packed, std::size_t unit) {
    std::string row;
    for (std::size_t at = 0; at < packed.size();) {
        const auto code = static_cast<unsigned char>(packed[at++]);
        if (code == 128) continue;
        const std::size_t taken = code < 128 ? (code + std::size_t{1}) * unit : unit;
        for (int i = 0; i < (code < 128 ? 1 : 257 - code); ++i)
            row += packed.substr(at, taken);
        at += taken;
    }
    return row;
}

std::string RandomCodes(std::mt19937& random, std::size_t unit) {
    std::uniform_int_distribution<int> any(0, 255);
    std::uniform_int_distribution<int> brief(240, 270);  // short runs, more often met
    std::string packed;
    for (int codes = any(random) / 4; codes > 0; --codes) {
        const auto code =
            static_cast<unsigned char>(any(random) < 80 ? any(random) : brief(random));
        packed += static_cast<char>(code);
        const std::size_t units = code < 128 ? code + std::size_t{1} : code > 128 ? 1 : 0;
        for (std::size_t i = 0; i < units * unit; ++i)
            packed += static_cast<char>(any(random));
    }
    return packed;
}

TEST(PackedRows, RandomCodesBecomeWhatTheRulesSayAndNothingBehindTheRowIsWritten) {
    std::mt19937 random(1);
    for (int i = 0; i < 200; ++i) {
        for (const Packing packing : {Packing::kBytes, Packing::kWords}) {
            const std::size_t unit = packing == Packing::kWords ? 2 : 1;
            const std::string packed = RandomCodes(random, unit);
            const std::string row = Plainly(packed, unit);
            const Result whole = Unpack(packing, packed, row.size());
            ASSERT_EQ(Hex(whole.row), Hex(row));
            ASSERT_TRUE(whole.unpacked.isWhole);
            const std::size_t less = row.size() / unit / 2 * unit;
            ASSERT_EQ(Hex(Unpack(packing, packed, less).row), Hex(row.substr(0, less)));
        }
    }
}

// Rows of `size` bytes as they come, with a dash for one that ends early.
std::string RowsOf(Packing packing, std::size_t size, std::size_t counted, std::string_view stored,
                   int count) {
    PictureBytes bytes(stored);
    PackedRows rows(packing, size, counted);
    rows.Explore(bytes, count);
    std::string text;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t* const row = rows.Next(bytes);
        if (row == nullptr) return text + "-";
        text += Hex({reinterpret_cast<const char*>(row), size}) + "|";
    }
    return text + std::to_string(bytes.Left());
}

TEST(PackedRows, RowsThatAreNotPackedFollowEachOther) {
    EXPECT_EQ(RowsOf(Packing::kNone, 3, 3, Bytes("010203 040506 07"), 2), "01 02 03|04 05 06|1");
    EXPECT_EQ(RowsOf(Packing::kNone, 3, 3, Bytes("010203 0405"), 2), "01 02 03|-");
}

TEST(PackedRows, ShortRowsHaveLengthsOfOneByteAndLongOnesOfTwo) {
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 250, Bytes("02 FD01 02 FD02 77"), 2),
              "01 01 01 01|02 02 02 02|1");
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 251, Bytes("0002 FD01 0002 FD02 77"), 2),
              "01 01 01 01|02 02 02 02|1");
}

TEST(PackedRows, LengthsOfTheOtherSizeAreFoundOut) {
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 251, Bytes("02 FD01 02 FD02 77"), 2),
              "01 01 01 01|02 02 02 02|1");
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 250, Bytes("0002 FD01 0002 FD02 77"), 2),
              "01 01 01 01|02 02 02 02|1");
}

TEST(PackedRows, LengthsThatWereCutAreFoundOut) {
    const std::string half(128, 'a');
    std::string literals;  // 256 bytes, whose packed length of 258 was cut to one byte
    for (int i = 0; i < 2; ++i)
        literals += "\x7F" + half;
    const std::string row = "\x02" + literals;
    EXPECT_EQ(RowsOf(Packing::kBytes, 256, 256, row + row + "!", 2),
              Hex(half + half) + "|" + Hex(half + half) + "|1");
}

TEST(PackedRows, WithoutAnyWayToReadThemTheLengthsByTheRuleHold) {
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 4, Bytes("04 FD01 0000 02 FD02 77"), 2),
              "01 01 01 01|02 02 02 02|1")
        << "bytes that are too many are passed over";
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 4, Bytes("02 FE01 02 FD02 77"), 2), "-") << "a short row";
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 4, Bytes("02 FD01 05 FD02 77"), 2), "01 01 01 01|-")
        << "a row that ends behind the bytes";
    EXPECT_EQ(RowsOf(Packing::kBytes, 4, 4, "", 2), "-");
}

}  // namespace
}  // namespace Ondrel::QuickDraw
