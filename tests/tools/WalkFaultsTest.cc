// Documents that do not follow their layout: the position, the value, and the sentence.
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/tools/WalkSupport.h"

namespace OndrelTool::Testing {
namespace {

const std::string kEnded = " | Unexpected end of file error (#-39) while reading file ...";
const std::string kParam = " | Error #-50 while reading file ...";

TEST(LayoutFaults, TheEndOfTheDocumentIsToldWhereAValueWouldBegin) {
    const struct {
        const char* hex;
        const char* layout;
        const char* line;
    } kTable[] = {
        {"", "u8", "AT 0 u8: the document ends at 0"},
        {"01", "u8 u8", "AT 1 u8: the document ends at 1"},
        {"01", "u16", "AT 0 u16: the document ends at 1"},
        {"01 02 03", "u32", "AT 0 u32: the document ends at 3"},
        {"61", "line", "AT 0 line: the document ends at 1"},
        {"61", "crlf", "AT 0 crlf: the document ends at 1"},
        {"61", "nul", "AT 0 nul: the document ends at 1"},
        {"00 00 00", "str", "AT 0 str: the document ends at 3"},
        {"00 00 00 03 61 62", "str", "AT 0 str: the document ends at 6"},
        {"7F FF FF FF 61", "str", "AT 0 str: the document ends at 5"},
        {"7F FF FF FF 61", "u16str", "AT 0 u16str: the document ends at 5"},
        {"00 01 02", "u8 bytes 3", "AT 1 bytes: the document ends at 3"},
        {"00", "skip 2147483647", "AT 0 skip: the document ends at 1"},
        {"44", "\"DO\"", "AT 0 fixed: the document ends at 1"},
        {"02 00 05 61", "ref", "AT 0 ref: the document ends at 4"},
        {"02 00", "ref", "AT 0 ref: the document ends at 2"},
        {"02", "ref", "AT 0 ref: the document ends at 1"},
        {"", "ref", "AT 0 ref: the document ends at 0"},
        {"02 FF FF 61", "ref", "AT 0 ref: the document ends at 4"},
        {"03 00 01 00 01 00 05 61", "to: refrel", "AT 0 to: the document ends at 8"},
        {"03 00 01 00", "refrel", "AT 0 refrel: the document ends at 4"},
        {"00 00", "block {}", "AT 0 block: the document ends at 2"},
        {"00", "block16 {}", "AT 0 block16: the document ends at 1"},
        {"00", "repeat u16 { u8 }", "AT 0 repeat: the document ends at 1"},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(std::string(row.layout) + " on " + row.hex);
        EXPECT_EQ(Walked(row.hex, row.layout).back(), row.line + kEnded);
    }
}

TEST(LayoutFaults, TheEndOfABlockIsOne) {
    const struct {
        const char* hex;
        const char* layout;
        const char* line;
    } kTable[] = {
        {"00 01 61 62", "block16 { u16 }", "AT 2 u16: its block ends at 3"},
        {"00 02 61 62 00", "block16 { nul }", "AT 2 nul: its block ends at 4"},
        {"00 02 61 62 0A", "block16 { line }", "AT 2 line: its block ends at 4"},
        {"00 02 61 0D 0A", "block16 { crlf }", "AT 2 crlf: its block ends at 4"},
        {"00 05 00 00 00 02 61 62", "block16 { str }", "AT 2 str: its block ends at 7"},
        {"00 04 02 00 02 61 00", "block16 { ref }", "AT 2 ref: its block ends at 6"},
        {"00 01 00 00 01", "block16 { block {} }", "AT 2 block: its block ends at 3"},
        {"00 02 00 04 01 02 03 04", "block16 { block16 {} }",
         "AT 2 block16: 4 bytes are missing: its block ends at 4"},
        {"00 01 61 62", "block16 { bytes 2 }", "AT 2 bytes: its block ends at 3"},
        {"00 00 61", "block16 { refrel }", "AT 2 refrel: its block ends at 2"},
    };
    for (const auto& row : kTable) {
        SCOPED_TRACE(std::string(row.layout) + " on " + row.hex);
        EXPECT_EQ(Walked(row.hex, row.layout).back(), row.line);
    }
}

TEST(LayoutFaults, ABlockThatIsCutIsReadAsFarAsItGoes) {
    EXPECT_EQ(
        Walked("00 00 00 09 01 02", "block { u8 u8 u16 }"),
        (Lines{"0-4 block 00 00 00 09 = 9 ! 7 bytes are missing: the document ends at 6",
               "4-5 u8 01 = 1", "5-6 u8 02 = 2", "AT 6 u16: the document ends at 6" + kEnded}));
    EXPECT_EQ(Walked("00 00 00 09 01 02", "block { u8 }"),
              (Lines{"0-4 block 00 00 00 09 = 9 ! 7 bytes are missing: the document ends at 6",
                     "4-5 u8 01 = 1", "5-6 undescribed 02",
                     "AT 0 block: 7 bytes are missing: the document ends at 6" + kEnded}));
    EXPECT_EQ(Walked("7F FF FF FF", "block { }").back(),
              "AT 0 block: 2147483647 bytes are missing: the document ends at 4" + kEnded);
}

TEST(LayoutFaults, WhatTheLayoutDemandsIsCompared) {
    EXPECT_EQ(Walked("44 4F 47 31", "\"DOC1\"").back(),
              "AT 2 fixed: the byte is 47 where the layout has 43");
    EXPECT_EQ(Walked("01 02 03", "u8 end").back(), "AT 1 end: 2 bytes are left");
    EXPECT_EQ(Walked("00 02 01 02", "block16 { u8 end }").back(), "AT 3 end: 1 byte is left");
}

TEST(LayoutFaults, NegativeCountsAndLengthsAreRefused) {
    EXPECT_EQ(Walked("FF", "n: i8 bytes n").back(), "AT 1 bytes: its count is -1");
    EXPECT_EQ(Walked("FF", "n: i8 repeat n { u8 }").back(), "AT 1 repeat: its count is -1");
    EXPECT_EQ(Walked("FF FF", "repeat i16 { u8 }").back(), "AT 0 repeat: its count is -1");
    EXPECT_EQ(Walked("80 00 00 00", "block { }").back(), "AT 0 block: its length is -2147483648");
    EXPECT_EQ(Walked("FF FF FF FF", "n: u32 bytes n").back(),
              "AT 4 bytes: the document ends at 4" + kEnded);
}

TEST(LayoutFaults, ACountWithoutBytesBehindItEndsAtTheFirstThatIsMissing) {
    const Lines lines = Walked("FF FF FF FF 01 02", "repeat u32 { u8 }");
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[3], "AT 6 repeat[2].u8: the document ends at 6" + kEnded);
    EXPECT_EQ(Walked("FF FF FF FF", "repeat u32 { skip 0 }").back(),
              "AT 4 repeat[0]: it takes no bytes and would be repeated for ever");
}

TEST(LayoutFaults, AWrongKindOfReferenceIsToldByTheLibrary) {
    EXPECT_EQ(Walked("03 00 00", "ref").back(),
              "AT 0 ref: it begins with 03 and not with 02" + kParam);
    EXPECT_EQ(Walked("02 00 00", "refrel").back(),
              "AT 0 refrel: it begins with 02 and not with 03" + kParam);
    // Such a byte is an answer of the record's reader, which latches nothing.
    EXPECT_EQ(Walked("80 00 00", "ref").back(), "AT 0 ref: it begins with 80 and not with 02");
    EXPECT_EQ(Walked("FF 00 00", "u8 ref").back(),
              "AT 1 ref: it begins with 00 and not with 02" + kParam);
}

std::string Repeated(const char* hex, int times) {
    std::string text;
    for (int i = 0; i < times; ++i)
        text += hex;
    return text;
}

TEST(LayoutFaults, APathThatNoReferenceHoldsIsRefused) {
    EXPECT_EQ(Walked("02 04 01" + Repeated("61", 1024) + "00", "ref").back(),
              "AT 0 ref: its path is longer than a reference can be" + kParam);
    const std::string head = "03 00 01 00 01 04 00";
    EXPECT_EQ(Walked(head + Repeated("61", 1022) + "00", "refrel").back(),
              "AT 0 refrel: its path is longer than a reference can be");
    const Lines longest = Walked("03 00 00 00 01 03 FE" + Repeated("61", 1021) + "00", "refrel");
    ASSERT_EQ(longest.size(), 1U);
    EXPECT_TRUE(longest[0].ends_with("' 0 1")) << longest[0];
}

TEST(LayoutFaults, APathThatGetsTooLongBesideTheDocumentIsNoted) {
    const std::string base = "Disk:" + std::string(900, 'b') + ":doc";
    const Lines lines =
        Walked("03 00 01 00 01 00 CA 78 3A" + Repeated("61", 199) + "00", "refrel", base.c_str());
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(
        lines[0].ends_with("1 1 ! beside this document its path is longer than a reference "
                           "can be"))
        << lines[0];
}

TEST(LayoutFaults, WhatCannotBeOpenedIsToldByTheLibrary) {
    Layout layout;
    const auto open = [&](const std::string& path) {
        const auto fault = WalkDocument(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)), layout,
                                        {}, [](const Value&) { ADD_FAILURE(); });
        return fault ? fault->what + " | " + fault->message : "no fault";
    };
    const Ondrel::Testing::Scratch scratch;
    EXPECT_EQ(open(scratch.Path("missing")),
              "it cannot be opened | File not found error (#-43) while handling a file.");
    const std::string folder = open(scratch.Path());
    EXPECT_TRUE(folder.starts_with(
        "it cannot be opened | File not found error (#-43) while opening file Root:"))
        << folder;
}

TEST(LayoutFaults, ADocumentBeyondWhatAStreamCanReadIsRefused) {
    const Ondrel::Testing::Scratch scratch;
    const std::string path = scratch.Write("large", "x");
    std::filesystem::resize_file(path, 2147483648U);
    Layout layout;
    const auto fault = WalkDocument(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)), layout, {},
                                    [](const Value&) { ADD_FAILURE(); });
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->message.substr(0, 39), "Position error (#-40: file too large?) ");
    std::filesystem::resize_file(path, 2147483647U);
    EXPECT_FALSE(WalkDocument(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)), layout, {},
                              [](const Value&) {}));
}

TEST(LayoutFaults, EveryCutOfADocumentIsToldAndLeavesNoDescriptor) {
    const std::string whole =
        "44 4F 43 31 00 02 00 00 00 03 61 62 63 02 00 05 48 44 3A 61 00 03 00 01 00 01 00 04 78 3A "
        "61 00 00 03 01 02 03 62 0A 63 0D 0A 64 00";
    const char* const layout =
        "\"DOC1\" u16 str ref refrel block16 { repeat * { u8 } } line crlf nul end";
    const int descriptors = Ondrel::Testing::OpenDescriptors();
    const std::string bytes = Ondrel::Testing::Bytes(whole);
    EXPECT_EQ(Walked(whole, layout).back(), "42-44 nul 64 00 = 'd'");
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const Lines lines = Walked(Ondrel::Testing::Hex(bytes.substr(0, size)), layout);
        ASSERT_FALSE(lines.empty());
        // A line that lost only the LF of its CR LF is still one.
        if (!lines.back().starts_with("AT ")) {
            ADD_FAILURE() << size << ": " << lines.back();
            continue;
        }
        EXPECT_TRUE(lines.back().ends_with(kEnded)) << size << ": " << lines.back();
    }
    EXPECT_EQ(Ondrel::Testing::OpenDescriptors(), descriptors);
}

}  // namespace
}  // namespace OndrelTool::Testing
