// The platform's C-string encoding, in several locales.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ondrel/core/Unicode.h"
#include "tests/core/LocaleScope.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;
using Testing::LocaleScope;

// Both directions, in buffers of exactly the capacity that they are told; texts in UTF-8.
std::string FromPlatform(const std::string& text, unsigned long capacity = 4096) {
    const std::unique_ptr<unsigned short[]> out(new unsigned short[capacity]);
    const int length = PlatformCStringToUni16Char(text.c_str(), out.get(), capacity);
    EXPECT_EQ(Uni16CharGetLength(out.get()), static_cast<unsigned long>(length));
    return Uni16StringToUTF8(Uni16String(out.get()));
}

std::string ToPlatform(const Uni16String& text, unsigned long capacity = 4096) {
    const std::unique_ptr<char[]> out(new char[capacity]);
    const int length = Uni16CharToPlatformCString(text.c_str(), out.get(), capacity);
    EXPECT_EQ(std::string(out.get()).size(), static_cast<std::size_t>(length));
    return out.get();
}

std::string ToPlatform(const char* text, unsigned long capacity = 4096) {
    return ToPlatform(UTF8ToUni16String(text), capacity);
}

void ExpectUtf8() {
    for (const std::string text :
         {"", "plain", "Caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC", "a\xF0\x9F\x98\x80z"}) {
        EXPECT_EQ(FromPlatform(text), text);
        EXPECT_EQ(ToPlatform(text.c_str()), text);
    }
    EXPECT_EQ(FromPlatform("a\xFF"
                           "b"),
              "a?b");
    EXPECT_EQ(FromPlatform("\xE3\x81"
                           "b\xC3"),
              "?b?")
        << "one for each start of a character";
    EXPECT_EQ(FromPlatform("\xED\xA0\x80"), "???");
    EXPECT_EQ(FromPlatform("\xF0\x9F\x98"
                           "a\xF4\x90\xF5"),
              "?a???");
    const unsigned short kLone[] = {'a', 0xD800, 'b', 0xDC00, 0};
    EXPECT_EQ(ToPlatform(Uni16String(kLone)), "a?b?");
    const std::pair<unsigned long, std::string> kCuts[] = {
        {1, ""}, {2, "a"}, {3, "a\xC3\xA9"}, {4, "a\xC3\xA9?"}, {5, "a\xC3\xA9?z"}};
    for (const auto& [capacity, text] : kCuts)
        EXPECT_EQ(FromPlatform("a\xC3\xA9\xFFz", capacity), text) << capacity;
    EXPECT_EQ(ToPlatform("a\xC3\xA9z", 3), "a");
    EXPECT_EQ(ToPlatform("a\xC3\xA9z", 4), "a\xC3\xA9");
    EXPECT_EQ(FromPlatform("a\xF0\x9F\x98\x80", 3), "a");
    EXPECT_EQ(FromPlatform("a\xF0\x9F\x98\x80", 4), "a\xF0\x9F\x98\x80");
}

TEST(PlatformEncoding, ThePlainCLocaleCountsAsUtf8) {
    const LocaleScope locale("C");
    ASSERT_TRUE(locale.IsSet());
    EXPECT_EQ(locale.Encoding(), "ANSI_X3.4-1968");
    ExpectUtf8();
}

TEST(PlatformEncoding, AUtf8LocaleIsUtf8) {
    const LocaleScope locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    EXPECT_EQ(locale.Encoding(), "UTF-8");
    ExpectUtf8();
}

TEST(PlatformEncoding, WithoutCapacityNothingIsWritten) {
    char byte = 'x';
    unsigned short unit = 0xABCD;
    const unsigned short text[] = {'a', 0};
    EXPECT_EQ(PlatformCStringToUni16Char("a", &unit, 0), 0);
    EXPECT_EQ(Uni16CharToPlatformCString(text, &byte, 0), 0);
    EXPECT_EQ(unit, 0xABCD);
    EXPECT_EQ(byte, 'x');
}

TEST(PlatformEncoding, ASingleByteEncodingIsConvertedWithQuestionMarksForTheRest) {
    const LocaleScope locale("en_US", "ISO-8859-1");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in ISO-8859-1 can be made here";
    ASSERT_EQ(locale.Encoding(), "ISO-8859-1");
    EXPECT_EQ(ToPlatform("Caf\xC3\xA9"), "Caf\xE9");
    EXPECT_EQ(FromPlatform("Caf\xE9 \xDF"), "Caf\xC3\xA9 \xC3\x9F");
    EXPECT_EQ(ToPlatform("a\xE6\x97\xA5"
                         "b\xF0\x9F\x98\x80"
                         "c\xE2\x82\xAC"),
              "a?b?c?");
    const unsigned short kLone[] = {'a', 0xD800, 'b', 0};
    EXPECT_EQ(ToPlatform(Uni16String(kLone)), "a?b");
    EXPECT_EQ(ToPlatform("Caf\xC3\xA9", 4), "Caf");
    EXPECT_EQ(ToPlatform("Caf\xC3\xA9", 5), "Caf\xE9");
    EXPECT_EQ(FromPlatform("Caf\xE9", 4), "Caf");
    EXPECT_EQ(ToPlatform("abc", 1), "");
    EXPECT_EQ(FromPlatform(""), "");
    const std::string all = [] {
        std::string text;
        for (int byte = 1; byte < 256; ++byte)
            text += static_cast<char>(byte);
        return text;
    }();
    EXPECT_EQ(Hex(ToPlatform(FromPlatform(all).c_str())), Hex(all));
    EXPECT_EQ(ToPlatform(std::string(3000, 'a').c_str()), std::string(3000, 'a'));
}

TEST(PlatformEncoding, AMultiByteEncodingIsNeverCutWithinACharacter) {
    const LocaleScope locale("ja_JP", "EUC-JP");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in EUC-JP can be made here";
    ASSERT_EQ(locale.Encoding(), "EUC-JP");
    const std::string text =
        "a\xE6\x97\xA5\xE6\x9C\xAC"
        "b";  // a, two ideographs, b
    const std::string encoded = Bytes("61 C6FC CBDC 62");
    EXPECT_EQ(Hex(ToPlatform(text.c_str())), Hex(encoded));
    EXPECT_EQ(FromPlatform(encoded), text);
    const std::size_t kWhole[] = {0, 1, 1, 3, 3, 5, 6, 6};
    for (std::size_t room = 0; room < std::size(kWhole); ++room)
        EXPECT_EQ(Hex(ToPlatform(text.c_str(), room + 1)), Hex(encoded.substr(0, kWhole[room])));
    EXPECT_EQ(FromPlatform(encoded, 3), "a\xE6\x97\xA5");
    EXPECT_EQ(ToPlatform("a\xF0\x9F\x98\x80"
                         "b"),
              "a?b");
    EXPECT_EQ(FromPlatform("a\xC6"), "a?");
    EXPECT_EQ(FromPlatform("\xFF"
                           "a"),
              "?a");
}

TEST(PlatformEncoding, ATextOfThreeBytesALetterIsConvertedWhole) {
    const LocaleScope locale("ja_JP", "EUC-JP");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in EUC-JP can be made here";
    constexpr std::size_t kLetters = 200;
    std::string text;
    std::string encoded;
    for (std::size_t i = 0; i < kLetters; ++i) {
        text += "\xC3\xA6";
        encoded += Bytes("8FA9C1");
    }
    EXPECT_EQ(Hex(ToPlatform(text.c_str())), Hex(encoded));
    EXPECT_EQ(Hex(ToPlatform(text.c_str(), 3 * kLetters)), Hex(encoded.substr(3)));
    EXPECT_EQ(FromPlatform(encoded), text);
}

TEST(PlatformEncoding, AChangeOfTheLocaleIsFollowed) {
    {
        const LocaleScope locale("en_US", "ISO-8859-1");
        if (!locale.IsSet()) GTEST_SKIP() << "no locale in ISO-8859-1 can be made here";
        EXPECT_EQ(ToPlatform("\xC3\xA9"), "\xE9");
    }
    EXPECT_EQ(ToPlatform("\xC3\xA9"), "\xC3\xA9");
    {
        const LocaleScope locale("el_GR", "ISO-8859-7");
        if (!locale.IsSet()) GTEST_SKIP() << "no locale in ISO-8859-7 can be made here";
        EXPECT_EQ(ToPlatform("\xCE\xB1\xC3\xA9"), "\xE1?");
    }
}

TEST(PlatformEncoding, ThreadsConvertAtOnce) {
    const LocaleScope locale("en_US", "ISO-8859-1");
    if (!locale.IsSet()) GTEST_SKIP() << "no locale in ISO-8859-1 can be made here";
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 500; ++round)
                EXPECT_EQ(FromPlatform(ToPlatform("Caf\xC3\xA9")), "Caf\xC3\xA9");
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace Ondrel
