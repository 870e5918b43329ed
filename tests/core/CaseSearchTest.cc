// The search that ignores case, in the platform's encoding.
#include <gtest/gtest.h>

#include <string>

#include "ondrel/core/CString.h"
#include "tests/core/LocaleScope.h"

namespace Ondrel {
namespace {

using Testing::LocaleScope;

struct Case {
    const char* text;
    const char* pattern;
    long place;
};

TEST(Strseaign, TheByteOffsetOfTheFirstMatchIsAnswered) {
    const Case kCases[] = {
        {"", "", 0},         {"abc", "", 0},
        {"", "a", -1},       {"abc", "abc", 0},
        {"abc", "abcd", -1}, {"xxabcABC", "ABC", 2},
        {"xxABC", "abc", 2}, {"aAaB", "AAB", 1},
        {"abc", "x", -1},    {"[", "{", -1},  // not letters, though a bit apart
        {"@", "`", -1},      {"Disk:Folder:file.TXT", ".txt", 16},
    };
    for (const Case& one : kCases)
        EXPECT_EQ(strseaign(one.text, one.pattern), one.place) << one.text << " " << one.pattern;
}

TEST(Strseaign, InUtf8CaseIsThatOfEveryLetter) {
    const Case kCases[] = {
        {"xx\xC3\x89t\xC3\xA9", "\xC3\xA9T", 2},
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE6\x9C\xAC", 3},
        {"\xE6\x97\xA5"
         "ABC",
         "abc", 3},
        {"Stra\xC3\x9F"
         "e!",
         "STRASSE", 0},
        {"Die STRASSE",
         "stra\xC3\x9F"
         "e",
         4},
        {"\xC3\x9F", "ss", 0},
        {"\xC3\x9F", "s", -1},  // half of a character is no match
        {"x\xC3\x9F", "xs", -1},
        {"s\xC3\x9Fs", "ss", 1},   // nor does one begin in the middle
        {"\xE2\x84\xAA", "k", 0},  // Kelvin sign
        {"\xCE\x91\xCE\xA3", "\xCE\xB1\xCF\x82", 0},
        {"a\xF0\x90\x90\x80", "\xF0\x90\x90\xA8", 1},
        {"e\xCC\x81", "\xC3\xA9", -1},  // composition counts
        {"\xC3\xA9", "\xC3", -1},
        {"a\xFF"
         "b",
         "\xFF"
         "B",
         1},  // bytes of no character equal themselves
        {"a\xFF"
         "b",
         "\xFE", -1},
        {"a\xFF"
         "b",
         "?", -1},
        {"\xEF\xBF\xBD", "\xFF", -1},
    };
    for (const Case& one : kCases)
        EXPECT_EQ(strseaign(one.text, one.pattern), one.place) << one.text << " " << one.pattern;
    const LocaleScope locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    for (const Case& one : kCases)
        EXPECT_EQ(strseaign(one.text, one.pattern), one.place) << one.text << " " << one.pattern;
}

TEST(Strseaign, InASingleByteEncodingCaseIsThatOfItsLetters) {
    const LocaleScope locale("en_US", "ISO-8859-1");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in ISO-8859-1 can be made here";
    const Case kCases[] = {
        {"caf\xE9", "\xC9", 3},
        {"CAF\xC9s", "caf\xE9S", 0},
        {"Stra\xDF"
         "e",
         "rasse", 2},
        {"\xC3\xA9", "\xE9", -1},
        {"\x80?", "?", 1},
    };
    for (const Case& one : kCases)
        EXPECT_EQ(strseaign(one.text, one.pattern), one.place) << one.text << " " << one.pattern;
}

TEST(Strseaign, InAMultiByteEncodingAMatchBeginsWithACharacter) {
    const LocaleScope locale("ja_JP", "EUC-JP");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in EUC-JP can be made here";
    const Case kCases[] = {
        {"\xC6\xFC\xCB\xDC"
         "ABC",
         "abc", 4},
        {"\xC6\xFC\xCB\xDC", "\xCB\xDC", 2},
        {"\xC6\xFC\xCB\xDC", "\xFC\xCB", -1},
        {"\xA3\xC1", "\xA3\xE1", 0},  // full-width letters
        {"\xC6?", "?", 1},
        {"a\xFF?", "?", 2},
    };
    for (const Case& one : kCases)
        EXPECT_EQ(strseaign(one.text, one.pattern), one.place) << one.text << " " << one.pattern;
}

}  // namespace
}  // namespace Ondrel
