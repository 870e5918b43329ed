// Texts as the tool shows and takes them.
#include "tools/ondrel/Text.h"

#include <gtest/gtest.h>

namespace OndrelTool {
namespace {

struct Row {
    std::string text;
    std::string printable;
    std::string valid;
};

const Row kRows[] = {
    {"", "", ""},
    {"plain \xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80", "plain \xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80",
     "plain \xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80"},
    {"a\nb\x1B\x7F", "a\\x0Ab\\x1B\\x7F", "a\nb\x1B\x7F"},
    {"\xC2\x9B"
     "31m",
     "\\xC2\\x9B31m",
     "\xC2\x9B"
     "31m"},                               // a control character of Latin-1
    {"\xC2\xA0", "\xC2\xA0", "\xC2\xA0"},  // the first that is none
    {"\xFF"
     "a\xC3",
     "\\xFFa\\xC3",
     "\xEF\xBF\xBD"
     "a\xEF\xBF\xBD"},                                       // no byte of UTF-8; a cut one
    {"\xC0\x80", "\\xC0\\x80", "\xEF\xBF\xBD\xEF\xBF\xBD"},  // longer than it need be
    {"\xED\xA0\x80", "\\xED\\xA0\\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},  // half a pair
    {"\xF4\x90\x80\x80", "\\xF4\\x90\\x80\\x80",
     "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},  // beyond the last character
};

TEST(Text, ControlCharactersAndBytesThatAreNoTextAreMadeVisible) {
    for (const Row& row : kRows)
        EXPECT_EQ(Printable(row.text), row.printable);
}

TEST(Text, WhatIsNoUtf8BecomesReplacementCharacters) {
    for (const Row& row : kRows)
        EXPECT_EQ(ValidUtf8(row.text), row.valid);
}

struct Code {
    Ondrel::FourCC code;
    const char* text;
};

constexpr Code kCodes[] = {
    {0x54455854, "TEXT"},       {0x3F3F3F3F, "????"},
    {0x61622063, "ab c"},       {0x8EA0DBFF, "\xC3\xA9\xE2\x80\xA0\xE2\x82\xAC\xCB\x87"},
    {0x00000001, "0x00000001"}, {0x5445580A, "0x5445580A"},
};

TEST(Text, CodesAreShownAndTakenBack) {
    for (const Code& row : kCodes) {
        EXPECT_EQ(CodeText(row.code), row.text);
        EXPECT_EQ(ParseCode(row.text), row.code);
    }
    EXPECT_EQ(ParseCode("0x54455854"), Ondrel::MakeFourCC("TEXT"));
}

TEST(Text, WhatIsNoCodeIsNotTaken) {
    for (const char* text :
         {"", "abc", "abcde", "0x1234567", "0x123456789", "0x1234567G", "0x-1234567",
          "\xE6\x97\xA5"
          "abc",
          "ab\xFF"
          "d"})
        EXPECT_EQ(ParseCode(text), std::nullopt) << text;
}

TEST(Text, BytesAreCountedInGroupsOfThree) {
    EXPECT_EQ(ByteCount(0), "0 bytes");
    EXPECT_EQ(ByteCount(1), "1 byte");
    EXPECT_EQ(ByteCount(999), "999 bytes");
    EXPECT_EQ(ByteCount(1000), "1,000 bytes");
    EXPECT_EQ(ByteCount(18446744073709551615U), "18,446,744,073,709,551,615 bytes");
}

}  // namespace
}  // namespace OndrelTool
