// Percent-encoding of a URL's path segment.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "ondrel/core/Unicode.h"

namespace Ondrel {
namespace {

std::string Encode(const std::string& text, unsigned long capacity = 4096) {
    const std::unique_ptr<char[]> out(new char[capacity]);
    const int length = UTF8ToURLEncoding(text.c_str(), out.get(), capacity);
    EXPECT_EQ(std::string(out.get()).size(), static_cast<std::size_t>(length));
    return out.get();
}

std::string EncodeUnits(const Uni16String& text, unsigned long capacity = 4096) {
    const std::unique_ptr<char[]> out(new char[capacity]);
    const int length = Uni16CharToURLEncoding(text.c_str(), out.get(), capacity);
    EXPECT_EQ(std::string(out.get()).size(), static_cast<std::size_t>(length));
    return out.get();
}

TEST(UrlEncoding, LettersDigitsAndThePunctuationOfASegmentStay) {
    const std::string stays =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,=:@;";
    EXPECT_EQ(Encode(stays), stays);
    EXPECT_EQ(EncodeUnits(UTF8ToUni16String(stays)), stays);
    for (int byte = 1; byte < 128; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (stays.find(text) != std::string::npos) continue;
        char expected[8];
        snprintf(expected, sizeof expected, "%%%02X", static_cast<unsigned>(byte));
        EXPECT_EQ(Encode(text), expected);
        EXPECT_EQ(EncodeUnits(UTF8ToUni16String(text)), expected);
    }
}

TEST(UrlEncoding, EveryOtherByteOfTheUtf8FormIsEncodedWithUpperCaseDigits) {
    const std::pair<std::string, std::string> kCases[] = {
        {"", ""},
        {"a b", "a%20b"},
        {"a/b", "a%2Fb"},
        {"50%", "50%25"},
        {"a?b#c", "a%3Fb%23c"},
        {"Caf\xC3\xA9", "Caf%C3%A9"},
        {"\xE6\x97\xA5", "%E6%97%A5"},
        {"\xF0\x9F\x98\x80", "%F0%9F%98%80"},
    };
    for (const auto& [text, encoded] : kCases) {
        EXPECT_EQ(Encode(text), encoded);
        EXPECT_EQ(EncodeUnits(UTF8ToUni16String(text)), encoded);
    }
}

TEST(UrlEncoding, BytesThatAreNoUtf8AreEncodedAsTheyAre) {
    EXPECT_EQ(Encode("\xFF"
                     "a\xC3"),
              "%FFa%C3");
    EXPECT_EQ(Encode("\xE6\x97"), "%E6%97");
}

TEST(UrlEncoding, ASurrogateWithoutItsPartnerIsEncodedAsU_FFFD) {
    const unsigned short kLone[] = {'a', 0xD800, 'b', 0};
    EXPECT_EQ(EncodeUnits(Uni16String(kLone)), "a%EF%BF%BDb");
}

TEST(UrlEncoding, ACutLeavesWholeCharacters) {
    const std::string text = "a\xC3\xA9/b";  // a%C3%A9%2Fb
    const std::pair<unsigned long, std::string> kCases[] = {
        {1, ""},        {2, "a"},        {3, "a"},           {7, "a"},
        {8, "a%C3%A9"}, {10, "a%C3%A9"}, {11, "a%C3%A9%2F"}, {12, "a%C3%A9%2Fb"},
    };
    for (const auto& [capacity, encoded] : kCases) {
        EXPECT_EQ(Encode(text, capacity), encoded) << capacity;
        EXPECT_EQ(EncodeUnits(UTF8ToUni16String(text), capacity), encoded) << capacity;
    }
    EXPECT_EQ(Encode("\xF0\x9F\x98\x80", 12), "");
    EXPECT_EQ(Encode("\xF0\x9F\x98\x80", 13), "%F0%9F%98%80");
}

TEST(UrlEncoding, WithoutCapacityNothingIsWritten) {
    char byte = 'x';
    const unsigned short text[] = {'a', 0};
    EXPECT_EQ(UTF8ToURLEncoding("a", &byte, 0), 0);
    EXPECT_EQ(Uni16CharToURLEncoding(text, &byte, 0), 0);
    EXPECT_EQ(byte, 'x');
}

}  // namespace
}  // namespace Ondrel
