// 16-bit text in Mac and in Windows syntax, and full paths as UTF-8.
#include <gtest/gtest.h>

#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

constexpr const char* kIllegalPath = "winSpecToRef: illegal path name: ";

struct FromWindows {
    const char16_t* windows;
    const char* internal;
    const char* reported;  // what stands behind the message; null for none
};

constexpr FromWindows kFromWindows[] = {
    {u"", "", nullptr},
    {u"C:\\Docs\\a.txt", "C:Docs:a.txt", nullptr},
    {u"C:/Docs/a.txt", "C:Docs:a.txt", nullptr},
    {u"C:\\", "C:", nullptr},
    {u"C:\\\\a", "C::a", nullptr},
    {u"\\\\server\\share\\f", "server:share:f", nullptr},
    {u"//server/share/f", "server:share:f", nullptr},
    {u"\\\\", "", nullptr},
    {u"\\/a", "::a", nullptr},
    {u"/\\a", "::a", nullptr},
    {u"sub\\f", ":sub:f", nullptr},
    {u"sub/f", ":sub:f", nullptr},
    {u"sub\\", ":sub:", nullptr},
    {u"f", ":f", nullptr},
    {u"ab:c", ":ab:c", nullptr},
    {u"\\f", ":f", nullptr},
    {u"/f", ":f", nullptr},
    {u"\\", ":", nullptr},
    {u"a\\\\b", ":a::b", nullptr},
    {u"\u00E9\\\u6F22", ":\xC3\xA9:\xE6\xBC\xA2", nullptr},
    {u"C:foo", "C::foo", "C:foo"},
    {u"C:foo\\bar", "C::foo:bar", "C:foo\\bar"},
    {u"C:", "C::", "C:"},
    {u"C:\u00E9", "C::\xC3\xA9", "C:\xC3\xA9"},
};

TEST(WindowsSyntax, IsReadIntoColons) {
    for (const FromWindows& row : kFromWindows) {
        SCOPED_TRACE(row.internal);
        const CapturedMessages messages;
        filref ref = Ref("before");
        EXPECT_EQ(ref.FromUnicode(Units(row.windows).c_str(), filRefWindows), 0);
        EXPECT_EQ(TextOf(ref), row.internal);
        std::vector<std::string> expected;
        if (row.reported != nullptr) expected.push_back(kIllegalPath + std::string(row.reported));
        EXPECT_EQ(messages.All(), expected);
    }
}

TEST(WindowsSyntax, TheReportOfAnIllegalPathHasAtMost511BytesOfIt) {
    const CapturedMessages messages;
    filref ref;
    EXPECT_EQ(ref.FromUnicode(UTF8ToUni16String("C:" + Times(600, "a")).c_str(), filRefWindows), 0);
    EXPECT_EQ(TextOf(ref), "C::" + Times(600, "a"));
    ASSERT_EQ(messages.All().size(), 1U);
    EXPECT_EQ(messages.All()[0], kIllegalPath + ("C:" + Times(509, "a")));
}

TEST(WindowsSyntax, ATextThatIsTooLongIsCutAt1023Units) {
    filref ref;
    ref.FromUnicode(UTF8ToUni16String(Times(1100, "a")).c_str(), filRefWindows);
    EXPECT_EQ(TextOf(ref), ":" + Times(1022, "a"));
}

TEST(WindowsSyntax, TheCutDoesNotPartASurrogatePair) {
    filref ref;
    const std::string emoji = "\xF0\x9F\x98\x80";
    ref.FromUnicode(UTF8ToUni16String(Times(1021, "a") + emoji).c_str(), filRefWindows);
    EXPECT_EQ(TextOf(ref), ":" + Times(1021, "a"));
}

struct ToWindows {
    const char* internal;
    const char* windows;
};

constexpr ToWindows kToWindows[] = {
    {"C:Docs:a.txt", "C:\\Docs\\a.txt"},
    {"C:", "C:\\"},
    {"C:x", "C:\\"},
    {"C::foo", "C:\\\\foo"},
    {"Server:share:f", "\\\\Server\\share\\f"},
    {"\\\\Server:f", "\\\\Server\\f"},
    {"//Server:f", "\\\\Server\\f"},
    {"/Server:f", "\\\\Server\\f"},
    {"\\/Server:f", "\\\\Server\\f"},
    {"///Server:f", "\\\\:2fServer\\f"},
    {":sub:f", "sub\\f"},
    {":", ""},
    {":x", "x"},
    {"Disk:Folder:x", "\\\\Disk\\Folder\\"},
    {"Disk:Folder:", "\\\\Disk\\Folder\\"},
    {"Disk:Folder:xx", "\\\\Disk\\Folder\\xx"},
    {"Disk:Foldex", "\\\\Disk\\Foldex"},
    {":a/b", "a:2fb"},
    {":a\\b", "a:5cb"},
    {"bare", "\\\\bare"},
    {":\xC3\xA9:\xF0\x9F\x98\x80", "\xC3\xA9\\\xF0\x9F\x98\x80"},
};

TEST(WindowsSyntax, IsMadeFromColons) {
    for (const ToWindows& row : kToWindows) {
        SCOPED_TRACE(row.internal);
        unsigned short text[kFilrefSize] = {'b', 0};
        EXPECT_EQ(Ref(row.internal).ToUnicode(text, 0, filRefWindows), 0);
        EXPECT_EQ(Uni16StringToUTF8(text), row.windows);
        // Resolving is for the Mac syntax only.
        EXPECT_EQ(ToText(Ref(row.internal), filRefResolve, filRefWindows), row.windows);
    }
}

TEST(WindowsSyntax, TheResourceForkIsNamedOnRequest) {
    EXPECT_EQ(ToText(Ref("C:f"), filRefResourceFork, filRefWindows), "C:\\f:AFP_resource");
    EXPECT_EQ(ToText(Ref("C:f"), filRefResourceFork | filRefResolve, filRefWindows),
              "C:\\f:AFP_resource");
    EXPECT_EQ(ToText(Ref("C:f"), filRefResourceFork, filRefMac), "C:f");
}

TEST(WindowsSyntax, AResourceForkThatDoesNotFitWholeGivesNoText) {
    EXPECT_EQ(ToText(Ref(":" + Times(1010, "a")), filRefResourceFork, filRefWindows),
              Times(1010, "a") + ":AFP_resource");
    EXPECT_EQ(ToText(Ref(":" + Times(1011, "a")), filRefResourceFork, filRefWindows), "");
    EXPECT_EQ(ToText(Ref(":" + Times(500, "/")), filRefResourceFork, filRefWindows), "");
}

TEST(WindowsSyntax, TheFormEndsAt1021UnitsAndNeverInAnEscape) {
    EXPECT_EQ(ToText(Ref(":" + Times(1021, "a")), 0, filRefWindows), Times(1021, "a"));
    EXPECT_EQ(ToText(Ref(":" + Times(1022, "a")), 0, filRefWindows), Times(1021, "a"));
    EXPECT_EQ(ToText(Ref(":" + Times(1020, "a") + "/b"), 0, filRefWindows),
              Times(1020, "a") + ":2f");
    EXPECT_EQ(ToText(Ref(":" + Times(1021, "a") + "/"), 0, filRefWindows), Times(1021, "a"));
    EXPECT_EQ(ToText(Ref(Times(1023, "/")), 0, filRefWindows), "\\\\" + Times(340, ":2f"));
    EXPECT_EQ(ToText(Ref(":" + Times(1000, "\\")), 0, filRefWindows), Times(341, ":5c"));
}

TEST(WindowsSyntax, TheEndOfTheFormDoesNotPartASurrogatePair) {
    const std::string before = Times(100, "/") + Times(720, "a");
    const std::string written = Times(100, ":2f") + Times(720, "a");
    const std::string emoji = "\xF0\x9F\x98\x80";
    EXPECT_EQ(ToText(Ref(":" + before + emoji + "b"), 0, filRefWindows), written);
}

struct MacText {
    const char* internal;
    const char* mac;
};

constexpr MacText kMacTexts[] = {
    {"Disk:Docs:a.txt", "Disk:Docs:a.txt"},
    {"Disk:Folder:x", "Disk:Folder:"},
    {"Disk:Folder:", "Disk:Folder:"},
    {"a:x", "a:"},
    {":x", ":x"},
    {"x", "x"},
    {"::x", "::"},
    {"Disk:xx", "Disk:xx"},
    {":sub:f", ":sub:f"},
    {"a/b", "a/b"},
    {"Disk:\xC3\xA9\xF0\x9F\x98\x80", "Disk:\xC3\xA9\xF0\x9F\x98\x80"},
};

TEST(MacSyntax, IsTheTextAsItIsWithoutItsFolderMark) {
    for (const MacText& row : kMacTexts) {
        SCOPED_TRACE(row.internal);
        unsigned short text[kFilrefSize] = {'b', 0};
        EXPECT_EQ(Ref(row.internal).ToUnicode(text, 0, filRefMac), 0);
        EXPECT_EQ(Uni16StringToUTF8(text), row.mac);
    }
}

TEST(MacSyntax, IsReadAsItIs) {
    for (const char* text : {"", "Disk:a", "C:\\x", "::", "\xC3\xA9"}) {
        filref ref = Ref("before");
        lasterror = -43;
        EXPECT_EQ(ref.FromUnicode(UTF8ToUni16String(text).c_str(), filRefMac), 0);
        EXPECT_EQ(TextOf(ref), text);
        EXPECT_EQ(lasterror, -43);
    }
}

TEST(MacSyntax, ATextThatIsTooLongIsCutBetweenCharacters) {
    filref ref;
    ref.FromUnicode(UTF8ToUni16String(Times(1100, "a")).c_str(), filRefMac);
    EXPECT_EQ(TextOf(ref), Times(1023, "a"));
    ref.FromUnicode(UTF8ToUni16String(Times(600, "\xC3\xA9")).c_str(), filRefMac);
    EXPECT_EQ(TextOf(ref), Times(511, "\xC3\xA9"));
}

TEST(OtherSyntaxes, GiveAndStoreEmptyTexts) {
    for (const filRefFormat format : {filRefGenericA, filRefGenericB, filRefFormat{4}}) {
        unsigned short text[kFilrefSize] = {'b', 0};
        EXPECT_EQ(Ref("Disk:a").ToUnicode(text, 0, format), 0);
        EXPECT_EQ(text[0], 0);
        filref ref = Ref("before");
        EXPECT_EQ(ref.FromUnicode(Units(u"Disk:a").c_str(), format), 0);
        EXPECT_EQ(TextOf(ref), "");
    }
}

TEST(ToUnicode, OfANullOrEmptyReferenceIsMinus1AndNoText) {
    const filref null;
    const filref empty = Ref("");
    for (const filref* ref : {&null, &empty}) {
        for (const int flags : {0, filRefResolve, filRefResourceFork}) {
            for (const filRefFormat format : {filRefMac, filRefWindows, filRefGenericA}) {
                unsigned short text[kFilrefSize] = {'b', 0};
                EXPECT_EQ(ref->ToUnicode(text, flags, format), -1);
                EXPECT_EQ(text[0], 0);
            }
        }
    }
}

TEST(ToUnicode, OfATextThatIsNotUtf8HandsOutNoPartOfIt) {
    for (const char* path : {"Disk:Docs:a\xFF.txt", "\xFF", "Disk:cut\xC3"}) {
        for (const int flags : {0, filRefResolve}) {
            for (const filRefFormat format : {filRefMac, filRefWindows}) {
                unsigned short text[kFilrefSize] = {'b', 0};
                EXPECT_EQ(Ref(path).ToUnicode(text, flags, format), 0);
                EXPECT_EQ(text[0], 0);
            }
        }
    }
}

TEST(FullPathAsUtf8, IsTheUnresolvedTextAndClearsLasterror) {
    lasterror = -43;
    char bytes[kFilrefSize];
    Ref("Disk:Dir:x").getFullPathAsUtf8(bytes, sizeof bytes, filRefMac);
    EXPECT_STREQ(bytes, "Disk:Dir:");
    EXPECT_EQ(lasterror, 0);
    lasterror = -43;
    std::string text;
    Ref("C:\xC3\xA9").getFullPathAsUtf8(text, filRefWindows);
    EXPECT_EQ(text, "C:\\\xC3\xA9");
    EXPECT_EQ(lasterror, 0);
}

TEST(FullPathAsUtf8, OfANullReferenceIsEmptyAndClearsLasterror) {
    lasterror = -43;
    char bytes[8] = "before";
    filref().getFullPathAsUtf8(bytes, sizeof bytes, filRefMac);
    EXPECT_STREQ(bytes, "");
    std::string text = "before";
    filref().getFullPathAsUtf8(text, filRefMac);
    EXPECT_EQ(text, "");
    EXPECT_EQ(lasterror, 0);
}

TEST(FullPathAsUtf8, IsCutBetweenCharactersToTheBuffer) {
    char bytes[8] = "before!";
    Ref("Disk:\xC3\xA9\xC3\xA9").getFullPathAsUtf8(bytes, 7, filRefMac);
    EXPECT_STREQ(bytes, "Disk:");
    Ref("Disk:\xC3\xA9\xC3\xA9").getFullPathAsUtf8(bytes, 8, filRefMac);
    EXPECT_STREQ(bytes, "Disk:\xC3\xA9");
    Ref("Disk:").getFullPathAsUtf8(bytes, 0, filRefMac);
    EXPECT_STREQ(bytes, "Disk:\xC3\xA9");
}

}  // namespace
}  // namespace Ondrel
