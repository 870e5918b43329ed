// Each form, from bytes that are written out.
#include <gtest/gtest.h>

#include "tests/tools/WalkSupport.h"

namespace OndrelTool::Testing {
namespace {

struct Row {
    const char* hex;
    const char* layout;
    Lines lines;
};

void ExpectAll(const std::vector<Row>& rows, const char* base = nullptr) {
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.layout) + " on " + row.hex);
        EXPECT_EQ(Walked(row.hex, row.layout, base), row.lines);
    }
}

TEST(LayoutWalk, IntegersAreBigEndian) {
    ExpectAll({
        {"FF", "u8", {"0-1 u8 FF = 255"}},
        {"12 34", "u16", {"0-2 u16 12 34 = 4660"}},
        {"FF FE FD FC", "u32", {"0-4 u32 FF FE FD FC = 4294901244"}},
        {"FF", "i8", {"0-1 i8 FF = -1"}},
        {"80 00", "i16", {"0-2 i16 80 00 = -32768"}},
        {"FF FF FF FE", "i32", {"0-4 i32 FF FF FF FE = -2"}},
        {"7F FF FF FF", "i32", {"0-4 i32 7F FF FF FF = 2147483647"}},
        {"01 00 02 03", "a: u8 b: u16 u8", {"0-1 a 01 = 1", "1-3 b 00 02 = 2", "3-4 u8 03 = 3"}},
    });
}

TEST(LayoutWalk, StringsLoseTheirCountAndTerminator) {
    ExpectAll({
        {"61 62 0A", "line", {"0-3 line 61 62 0A = 'ab'"}},
        {"61 0D 0A", "line", {"0-3 line 61 0D 0A = 'a\r'"}},
        {"0A", "line", {"0-1 line 0A = ''"}},
        {"61 0A 62 0D 63 0D 0A",
         "crlf crlf crlf",
         {"0-2 crlf 61 0A = 'a'", "2-4 crlf 62 0D = 'b'", "4-7 crlf 63 0D 0A = 'c'"}},
        {"61 0D", "crlf", {"0-2 crlf 61 0D = 'a'"}},
        {"61 62 00", "nul", {"0-3 nul 61 62 00 = 'ab'"}},
        {"00", "nul", {"0-1 nul 00 = ''"}},
        {"00 00 00 03 61 62 63", "str", {"0-7 str 00 00 00 03 61 62 63 = 'abc'"}},
        {"00 00 00 00", "str", {"0-4 str 00 00 00 00 = ''"}},
        {"FF FF FF FF", "str", {"0-4 str FF FF FF FF = '' ! a length of -1 counts as none"}},
        {"00 00 00 02 C3 A9", "u16str", {"0-6 u16str 00 00 00 02 C3 A9 = '\xC3\xA9'"}},
        {"00 00 00 00", "u16str", {"0-4 u16str 00 00 00 00 = ''"}},
        {"00 00 00 01 E9",
         "u16str",
         {"0-5 u16str 00 00 00 01 E9 = '' ! it is not UTF-8 and reads as empty"}},
    });
}

TEST(LayoutWalk, ALongLineIsOneValue) {
    for (const std::size_t length : {254U, 255U, 256U, 510U, 511U, 100000U}) {
        SCOPED_TRACE(length);
        std::string hex;
        for (std::size_t i = 0; i < length; ++i)
            hex += "61 ";
        const std::string end = std::to_string(length + 1);
        Lines lines = Walked(hex + "0A 07", "line u8");
        ASSERT_EQ(lines.size(), 2U);
        EXPECT_TRUE(lines[0].starts_with("0-" + end + " line 61 "));
        EXPECT_TRUE(lines[0].ends_with("= '" + std::string(length, 'a') + "'"));
        EXPECT_EQ(lines[1], end + "-" + std::to_string(length + 2) + " u8 07 = 7");
    }
}

TEST(LayoutWalk, PlainStretchesAreTakenAsTheyAre) {
    ExpectAll({
        {"01 02 03", "bytes 2 skip 1", {"0-2 bytes 01 02", "2-3 skip 03"}},
        {"61 00 62", "text 3", {std::string("0-3 text 61 00 62 = 'a\0b'", 25)}},
        {"01 02", "skip 0 rest", {"0-0 skip ", "0-2 rest 01 02"}},
        {"", "rest", {"0-0 rest "}},
        {"44 4F 43 31 0D",
         "\"DOC1\" <0D>",
         {"0-4 fixed 44 4F 43 31 = 'DOC1'", "4-5 fixed 0D = '\r'"}},
        {"02 61 62 63",
         "n: u8 text n u8",
         {"0-1 n 02 = 2", "1-3 text 61 62 = 'ab'", "3-4 u8 63 = 99"}},
    });
}

TEST(LayoutWalk, ReferencesAreRead) {
    ExpectAll({
        {"02 00 0E 48 44 3A 44 6F 63 73 3A 61 2E 74 78 74 00",
         "ref",
         {"0-17 ref 02 00 0E 48 44 3A 44 6F 63 73 3A 61 2E 74 78 74 00 = 'HD:Docs:a.txt'"}},
        {"02 00 00", "ref", {"0-3 ref 02 00 00 = ''"}},
    });
}

TEST(LayoutWalk, RelativeReferencesAreRebuiltBesideTheDocument) {
    ExpectAll(
        {
            {"03 00 02 00 02 00 13 48 44 3A 44 6F 63 73 3A 50 69 63 73 3A 61 2E 74 69 66 00",
             "to: refrel",
             {"0-26 to 03 00 02 00 02 00 13 48 44 3A 44 6F 63 73 3A 50 69 63 73 3A 61 2E 74 69 66 "
              "00 = 'Work:Moved:Pics:a.tif' from 'HD:Docs:Pics:a.tif' 2 2"}},
            {"03 00 01 00 02 00 11 64 75 6D 6D 79 3A 50 69 63 73 3A 61 2E 74 69 66 00",
             "refrel",
             {"0-24 refrel 03 00 01 00 02 00 11 64 75 6D 6D 79 3A 50 69 63 73 3A 61 2E 74 69 66 00 "
              "= 'Work:Moved:Pics:a.tif' from 'dummy:Pics:a.tif' 1 2"}},
            {"03 00 00 00 00 00 00",
             "refrel",
             {"0-7 refrel 03 00 00 00 00 00 00 = '' from '' 0 0"}},
        },
        "Work:Moved:Proj:doc");
}

TEST(LayoutWalk, WithoutABaseTheDocumentItselfIsOne) {
    const WalkedDocument document("03 00 01 00 01 00 08 78 3A 61 2E 74 69 66 00");
    const Lines lines = document.Walk("refrel");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(":a.tif' from 'x:a.tif' 1 1"), std::string::npos) << lines[0];
    EXPECT_EQ(lines[0].find("document"), std::string::npos) << lines[0];
}

TEST(LayoutWalk, BytesOfLongValuesAreCut) {
    std::string hex = "00 00 00 46";
    for (int i = 0; i < 70; ++i)
        hex += " 61";
    const Lines lines = Walked(hex, "str");
    ASSERT_EQ(lines.size(), 1U);
    std::string first = "0-74 str 00 00 00 46";
    for (int i = 0; i < 60; ++i)
        first += " 61";
    EXPECT_EQ(lines[0], first + " = '" + std::string(70, 'a') + "'");
}

TEST(LayoutWalk, ValuesStraddleTheBuffersOfTheStream) {
    std::string hex;
    for (int i = 0; i < 16382; ++i)
        hex += "00";
    hex += "00 00 00 03 61 62 63 12 34 56 78";
    EXPECT_EQ(Walked(hex, "skip 16382 str u32").back(), "16389-16393 u32 12 34 56 78 = 305419896");
    EXPECT_EQ(Walked(hex, "skip 16381 u16 u8 u8 bytes 4 u16"),
              (Lines{"0-16381 skip" + std::string(Walked(hex, "skip 16381")[0].substr(12)),
                     "16381-16383 u16 00 00 = 0", "16383-16384 u8 00 = 0", "16384-16385 u8 00 = 0",
                     "16385-16389 bytes 03 61 62 63", "16389-16391 u16 12 34 = 4660",
                     "16391-16393 undescribed 56 78"}));
}

}  // namespace
}  // namespace OndrelTool::Testing
