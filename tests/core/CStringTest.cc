// Comparison and bounded copy of C texts. The search that ignores case is CaseSearchTest.cc.
#include "ondrel/core/CString.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace Ondrel {
namespace {

TEST(Strcom, TextsCompareExactlyByUnsignedBytes) {
    EXPECT_EQ(strcom("", ""), 0);
    EXPECT_EQ(strcom("Disk:a", "Disk:a"), 0);
    EXPECT_NE(strcom("Disk:a", "Disk:A"), 0);
    EXPECT_NE(strcom("Caf\xC3\xA9", "Cafe\xCC\x81"), 0);
    EXPECT_LT(strcom("", "a"), 0);
    EXPECT_LT(strcom("a", "b"), 0);
    EXPECT_GT(strcom("ab", "a"), 0);
    EXPECT_GT(strcom("\x80", "a"), 0);
}

TEST(Strmovlen, ACopyIsCutBetweenBytesAndAlwaysTerminated) {
    struct Case {
        std::string text;
        int size;
        int moved;
        std::string result;
    };
    const Case kCases[] = {
        {"abc", 10, 3, std::string("abc\0xxxx", 8)},
        {"abc", 4, 3, std::string("abc\0xxxx", 8)},
        {"abc", 3, 2, std::string("ab\0xxxxx", 8)},
        {"abc", 1, 0, std::string("\0xxxxxxx", 8)},
        {"abc", 0, 0, "xxxxxxxx"},
        {"abc", -5, 0, "xxxxxxxx"},
        {"", 8, 0, std::string("\0xxxxxxx", 8)},
        {"abc", INT_MAX, 3, std::string("abc\0xxxx", 8)},
        {"\xC3\xA9", 2, 1, std::string("\xC3\0xxxxxx", 8)},
    };
    for (const Case& one : kCases) {
        std::string buffer = "xxxxxxxx";
        EXPECT_EQ(strmovlen(one.text.c_str(), buffer.data(), one.size), one.moved);
        EXPECT_EQ(buffer, one.result) << one.text << " " << one.size;
    }
}

TEST(Strmovlen, TheBuffersMayOverlap) {
    char text[] = "abcdef";
    EXPECT_EQ(strmovlen(text, text + 2, 5), 4);
    EXPECT_STREQ(text, "ababcd");
    EXPECT_EQ(strmovlen(text + 1, text, 7), 5);
    EXPECT_STREQ(text, "babcd");
    EXPECT_EQ(strmovlen(text, text, 4), 3);
    EXPECT_STREQ(text, "bab");
}

}  // namespace
}  // namespace Ondrel
