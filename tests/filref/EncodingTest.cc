// Conversions between UTF-8 and the platform's C-string encoding. The process runs in the C locale,
// whose encoding counts as UTF-8; some tests make and set a single-byte one.
#include <gtest/gtest.h>

#include <stdlib.h>

#include <clocale>
#include <cstring>

#include "ondrel/filref/operations.h"
#include "ondrel/filref/textencoding.h"
#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

const std::string kAccented = "caf\xC3\xA9 \xE6\xBC\xA2 \xF0\x9F\x98\x80";

TEST(PlatformEncoding, OfAUtf8LocaleKeepsEveryText) {
    for (const bool keepIfInvalid : {false, true}) {
        EXPECT_EQ(utf8ToPlatformCString(std::string(), keepIfInvalid), "");
        EXPECT_EQ(utf8ToPlatformCString(kAccented, keepIfInvalid), kAccented);
        EXPECT_EQ(utf8ToPlatformString(kAccented, keepIfInvalid), kAccented);
    }
    EXPECT_EQ(platformCStringToUtf8(std::string()), "");
    EXPECT_EQ(platformCStringToUtf8(kAccented), kAccented);
    EXPECT_EQ(platformStringToUtf8(kAccented), kAccented);
}

TEST(PlatformEncoding, OfInvalidUtf8IsTheTextItselfOrWhatStandsBeforeTheFault) {
    const std::string invalid =
        "ab\xFF"
        "cd";
    EXPECT_EQ(utf8ToPlatformCString(invalid, true), invalid);
    EXPECT_EQ(utf8ToPlatformString(invalid, true), invalid);
    EXPECT_EQ(utf8ToPlatformCString(invalid, false), "ab");
    EXPECT_EQ(utf8ToPlatformString(invalid, false), "ab");
    EXPECT_EQ(utf8ToPlatformCString("\xFF", false), "");
    const std::string withNul("a\xFF\0b", 4);
    EXPECT_EQ(utf8ToPlatformCString(withNul, true), withNul);
}

TEST(PlatformEncoding, LongTextsAreNotCut) {
    const std::string text = Times(10000, kAccented);
    EXPECT_EQ(utf8ToPlatformCString(text, false), text);
    EXPECT_EQ(platformCStringToUtf8(text), text);
}

TEST(PlatformEncoding, IntoABufferIsCutBetweenBytesAndTerminated) {
    const struct {
        const char* text;
        std::size_t size;
        const char* out;
    } rows[] = {
        {"0123456789", 4, "012"},
        {"0123456789", 10, "012345678"},
        {"0123456789", 11, "0123456789"},
        {"0123456789", 1, ""},
        {"\xC3\xA9\xC3\xA9", 4, "\xC3\xA9\xC3"},
        {"", 4, ""},
    };
    for (const auto& row : rows) {
        std::string out(16, '#');
        EXPECT_EQ(utf8ToPlatformCString(row.text, out.data(), row.size, false),
                  static_cast<int>(std::strlen(row.out)));
        EXPECT_STREQ(out.c_str(), row.out);
        EXPECT_EQ(out.substr(std::strlen(row.out) + 1),
                  std::string(15 - std::strlen(row.out), '#'));
    }
    char out[8] = "before";
    EXPECT_EQ(utf8ToPlatformCString("ab\xFF", out, sizeof out, true), 3);
    EXPECT_STREQ(out, "ab\xFF");
    EXPECT_EQ(utf8ToPlatformCString("ab\xFF", out, sizeof out, false), 2);
    EXPECT_STREQ(out, "ab");
    EXPECT_EQ(utf8ToPlatformCString("cd", out, 0, false), 0);
    EXPECT_STREQ(out, "ab");
}

TEST(PlatformEncoding, ToUtf8IntoABufferFillsItAndAnswersTheWholeLength) {
    const struct {
        std::size_t size;
        std::string out;
    } rows[] = {
        {0, "################"},
        {4, "0123############"},
        {10, "0123456789######"},
        {11, std::string("0123456789\0#####", 16)},
        {14, std::string("0123456789\0\0\0\0##", 16)},
    };
    for (const auto& row : rows) {
        std::string out(16, '#');
        EXPECT_EQ(platformCStringToUtf8("0123456789", out.data(), row.size), 10);
        EXPECT_EQ(Hex(out), Hex(row.out)) << row.size;
    }
}

// A locale of ISO 8859-1 that is made for the test, where the host can make one.
class SingleByteLocale {
 public:
    SingleByteLocale() {
        const std::string command = "localedef -i en_US -f ISO-8859-1 '" +
                                    scratch_.Path("en_US.ISO-8859-1") + "' >/dev/null 2>&1";
        if (system(command.c_str()) != 0) return;
        setenv("LOCPATH", scratch_.Path().c_str(), 1);
        set_ = std::setlocale(LC_CTYPE, "en_US.ISO-8859-1") != nullptr;
    }
    ~SingleByteLocale() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
    }
    SingleByteLocale(const SingleByteLocale&) = delete;
    SingleByteLocale& operator=(const SingleByteLocale&) = delete;

    bool IsSet() const { return set_; }

 private:
    Scratch scratch_;
    bool set_ = false;
};

TEST(PlatformEncoding, OfASingleByteLocaleReplacesWhatItLacks) {
    const SingleByteLocale locale;
    if (!locale.IsSet()) GTEST_SKIP() << "no single-byte locale can be made here";
    EXPECT_EQ(Hex(utf8ToPlatformCString(std::string("caf\xC3\xA9 \xE6\xBC\xA2"), false)),
              Hex("caf\xE9 ?"));
    EXPECT_EQ(platformCStringToUtf8(std::string("caf\xE9")), "caf\xC3\xA9");
    EXPECT_EQ(strseaignUTF8("x\xC3\xA9\xC3\xA9yz", "YZ"), 3);
}

TEST(PlatformEncoding, OfASingleByteLocaleIsTheEncodingOfReEncodedReferences) {
    const SingleByteLocale locale;
    if (!locale.IsSet()) GTEST_SKIP() << "no single-byte locale can be made here";
    const filref utf8 = Ref("Disk:\xC3\xA9");
    filref platform;
    EXPECT_EQ(utf8FilRefToPlatform(&utf8, &platform), 0);
    EXPECT_EQ(Hex(TextOf(platform)), Hex("Disk:\xE9"));
    filref back;
    EXPECT_EQ(platformFilRefToUTF8(&platform, &back), 0);
    EXPECT_EQ(TextOf(back), "Disk:\xC3\xA9");
    // 512 letters have 1024 bytes in UTF-8.
    const filref grows = Ref(Times(512, "\xE9"));
    EXPECT_EQ(platformFilRefToUTF8(&grows, &back), 0);
    EXPECT_EQ(TextOf(back).size(), 1023U);
}

TEST(ComparisonIgnoringCase, TellsTheOrder) {
    const struct {
        const char* a;
        const char* b;
        int result;
    } rows[] = {
        {"abc", "ABC", 0},
        {"abc", "abd", -1},
        {"ABD", "abc", 1},
        {"", "", 0},
        {"", "a", -1},
        {"a", "", 1},
        {"ab", "abc", -1},
        {"\xC3\x89", "\xC3\xA9", 0},
        {"Stra\xC3\x9F"
         "e",
         "STRASSE", 0},
        {"\xC3\xA9", "e", 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(utf8CompareNoCase(row.a, row.b), row.result) << row.a << " " << row.b;
}

TEST(ComparisonIgnoringCase, LooksAtTheFirst1023UnitsOnly) {
    const std::string same = Times(1023, "a");
    EXPECT_EQ(utf8CompareNoCase((same + "b").c_str(), (same + "c").c_str()), 0);
    EXPECT_EQ(utf8CompareNoCase((same + "b").c_str(), same.c_str()), 0);
    const std::string shorter = Times(1022, "a");
    EXPECT_EQ(utf8CompareNoCase((shorter + "b").c_str(), (shorter + "c").c_str()), -1);
}

TEST(SearchIgnoringCase, AnswersTheOffsetInBytes) {
    const struct {
        const char* text;
        const char* pattern;
        int offset;
    } rows[] = {
        {"Hello World", "WORLD", 6},
        {"Hello", "xyz", -1},
        {"Hello", "", 0},
        {"", "a", -1},
        {"", "", 0},
        {"\xC3\xA9\xC3\xA9yz", "YZ", 4},
        {"x\xC3\x89", "\xC3\xA9", 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(strseaignUTF8(row.text, row.pattern), row.offset) << row.text << row.pattern;
}

TEST(SearchIgnoringCase, WhereOneTextHasNothingToConvertBothAreTakenAsTheyAre) {
    // The pattern is not UTF-8 and converts to nothing, so the bytes are searched for.
    EXPECT_EQ(strseaignUTF8("ab\xFFz", "\xFF"), 2);
}

}  // namespace
}  // namespace Ondrel
