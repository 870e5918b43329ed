// Generic path texts, both ways, and the split into components.
#include "ondrel/filref/genericpath.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

using Converter = bool (*)(char*, std::size_t, filRefFormat);

// "true text" or "false text" of a converter on a buffer of `size` bytes; what lies behind those
// must not be touched.
std::string Convert(Converter converter, const std::string& text, filRefFormat format,
                    std::size_t size = kFilrefSize) {
    std::vector<char> buffer(std::max(size, text.size() + 1) + 16, '#');
    std::memcpy(buffer.data(), text.c_str(), text.size() + 1);
    const std::vector<char> before = buffer;
    const bool converted = converter(buffer.data(), size, format);
    for (std::size_t i = size; i < buffer.size(); ++i)
        EXPECT_EQ(buffer[i], before[i]) << "behind the buffer, at " << i;
    return (converted ? "true " : "false ") + std::string(buffer.data());
}

std::string ToGeneric(const std::string& text, filRefFormat format,
                      std::size_t size = kFilrefSize) {
    return Convert(localPathToGeneric, text, format, size);
}

std::string ToLocal(const std::string& text, filRefFormat format, std::size_t size = kFilrefSize) {
    return Convert(genericPathToLocal, text, format, size);
}

struct Pair {
    const char* from;
    const char* to;
};

constexpr Pair kMacToGeneric[] = {
    {"Disk:Folder:File", "/Disk/Folder/File"},
    {"Disk:Folder:", "/Disk/Folder/"},
    {"Disk:", "/Disk/"},
    {":Sub:File", "Sub/File"},
    {":File", "File"},
    {":", ""},
    {"", ""},
    {"::Sub:File", "../Sub/File"},
    {"::::File", "../../File"},
    {"::", "../"},
    {"::a", "../a"},
    {"File", "File"},
    {"a/b", "a\\/b"},
    {"Disk:a/b", "/Disk/a\\/b"},
    {"Disk:a\\b", "/Disk/a\\\\b"},
    {"Disk:a::b", "/Disk/a//b"},
    {":a::b", "a//b"},
    {"C:", "/C:/"},
    {"C:x", "/C/x"},
    {"C::", "/C:/"},
    {"C::rest", "/C:/rest"},
    {"C:::rest", "/C://rest"},
    {":ab:", "ab/"},
    {":ab::c", "ab//c"},
    {"/:", "/\\//"},
    {"/:a", "/\\//a"},
    {"\\:", "/\\\\/"},
    {"Disk:\xC3\xA9", "/Disk/\xC3\xA9"},
};

TEST(GenericFromMac, FollowsItsRules) {
    for (const Pair& row : kMacToGeneric)
        EXPECT_EQ(ToGeneric(row.from, filRefMac), std::string("true ") + row.to) << row.from;
}

TEST(GenericFromMac, OddRunsOfLeadingColonsAreRefused) {
    for (const char* text : {":::", ":::a", ":::::a", ":::::::a:b"})
        EXPECT_EQ(ToGeneric(text, filRefMac), std::string("false ") + text);
}

TEST(GenericFromMac, AResultThatDoesNotFitIsCut) {
    EXPECT_EQ(ToGeneric("Disk:File", filRefMac, 11), "true /Disk/File");
    EXPECT_EQ(ToGeneric("Disk:File", filRefMac, 10), "true /Disk/Fil");
    EXPECT_EQ(ToGeneric("Disk:File", filRefMac, 9), "true /Disk/Fi");
    EXPECT_EQ(ToGeneric("Disk:File", filRefMac, 1), "true ");
    EXPECT_EQ(ToGeneric(":File", filRefMac, 5), "true File");
    EXPECT_EQ(ToGeneric(":Files", filRefMac, 5), "true File");
}

TEST(GenericFromMac, TheCutPartsNeitherCharactersNorEscapesNorParentSteps) {
    EXPECT_EQ(ToGeneric("D:\xC3\xA9z", filRefMac, 7), "true /D/\xC3\xA9z");
    EXPECT_EQ(ToGeneric("D:\xC3\xA9z", filRefMac, 6), "true /D/\xC3\xA9");
    EXPECT_EQ(ToGeneric("D:\xC3\xA9z", filRefMac, 5), "true /D/");
    EXPECT_EQ(ToGeneric("D:\xF0\x9F\x98\x80z", filRefMac, 8), "true /D/\xF0\x9F\x98\x80");
    EXPECT_EQ(ToGeneric("D:\xF0\x9F\x98\x80z", filRefMac, 7), "true /D/");
    EXPECT_EQ(ToGeneric(":a\xC3\xA9", filRefMac, 3), "true a");
    EXPECT_EQ(ToGeneric("ab/c", filRefMac, 5), "true ab\\/");
    EXPECT_EQ(ToGeneric("ab/c", filRefMac, 4), "true ab");
    EXPECT_EQ(ToGeneric("::::ab", filRefMac, 8), "true ../../a");
    EXPECT_EQ(ToGeneric("::::ab", filRefMac, 6), "true ../");
    EXPECT_EQ(ToGeneric("::ab", filRefMac, 3), "true ");
}

TEST(GenericFromMac, ACutTextIsNoDriveRoot) {
    EXPECT_EQ(ToGeneric("C::rest", filRefMac, 8), "true /C//res");
    EXPECT_EQ(ToGeneric("C::rest", filRefMac, 9), "true /C:/rest");
    EXPECT_EQ(ToGeneric("C:", filRefMac, 5), "true /C:/");
    EXPECT_EQ(ToGeneric("C:", filRefMac, 4), "true /C:");
}

TEST(GenericFromMac, WorksInBuffersOfAnySize) {
    EXPECT_EQ(ToGeneric("Disk:" + Times(5000, "a/"), filRefMac, 20000),
              "true /Disk/" + Times(5000, "a\\/"));
    const NoMemory none;
    EXPECT_EQ(ToGeneric("Disk:a", filRefMac, 20000), "false Disk:a");
}

constexpr Pair kWindowsToGeneric[] = {
    {"C:\\a\\b", "/C:/a/b"},
    {"C:/a/b", "/C:/a/b"},
    {"C:", "/C:"},
    {"C:a", "/C:a"},
    {"a\\b", "a/b"},
    {"\\\\server\\share", "//server/share"},
    {"\\a", "/a"},
    {"a:2fb", "/a:2fb"},
    {"ab:c", "ab:c"},
    {"", ""},
    {"a", "a"},
};

TEST(GenericFromWindows, TurnsSlashesAndRootsDrives) {
    for (const Pair& row : kWindowsToGeneric)
        EXPECT_EQ(ToGeneric(row.from, filRefWindows), std::string("true ") + row.to) << row.from;
}

TEST(GenericFromWindows, ATextThatDoesNotFitIsRefused) {
    EXPECT_EQ(ToGeneric("C:\\a", filRefWindows, 6), "true /C:/a");
    EXPECT_EQ(ToGeneric("C:\\a", filRefWindows, 5), "false C:\\a");
    EXPECT_EQ(ToGeneric("ab\\c", filRefWindows, 5), "true ab/c");
    EXPECT_EQ(ToGeneric("ab\\c", filRefWindows, 4), "false ab\\c");
    EXPECT_EQ(ToGeneric("ab\\c", filRefWindows, 2), "false ab\\c");
}

TEST(GenericFromOtherFormats, GenericTextsStayAndUnknownFormatsEmptyTheText) {
    EXPECT_EQ(ToGeneric("/a:\\b", filRefGenericA), "true /a:\\b");
    EXPECT_EQ(ToGeneric("/a:\\b", filRefGenericB), "true /a:\\b");
    EXPECT_EQ(ToGeneric("/a:\\b", filRefFormat{4}), "false ");
    EXPECT_EQ(ToGeneric("/a:\\b", filRefFormat{-1}), "false ");
}

TEST(GenericFromAnyFormat, NoTextAndNoRoomAreRefused) {
    for (const filRefFormat format : {filRefMac, filRefWindows, filRefGenericA, filRefFormat{4}}) {
        EXPECT_FALSE(localPathToGeneric(nullptr, 10, format));
        EXPECT_FALSE(genericPathToLocal(nullptr, 10, format));
        EXPECT_EQ(ToGeneric("a:b", format, 0), "false a:b");
        EXPECT_EQ(ToLocal("a/b", format, 0), "false a/b");
    }
}

constexpr Pair kGenericToMac[] = {
    {"/Disk/Folder/File", "Disk:Folder:File"},
    {"/Disk/Folder/", "Disk:Folder:"},
    {"/", ""},
    {"//a", ":a"},
    {"Sub/File", ":Sub:File"},
    {"File", ":File"},
    {"./Sub/File", ":Sub:File"},
    {"././File", ":.:File"},
    {"./", ":"},
    {".", ":."},
    {".hidden", ":.hidden"},
    {"..", ":.."},
    {"../Sub/File", "::Sub:File"},
    {"../../File", "::::File"},
    {"../", "::"},
    {".././a", "::.:a"},
    {"a/../b", ":a:..:b"},
    {"/Disk/a\\/b", "Disk:a/b"},
    {"/Disk/a\\\\b", "Disk:a\\b"},
    {"/Disk/\\a", "Disk:a"},
    {"\\../a", ":..:a"},
    {"/C:/x", "C::x"},
    {"/C:/", "C::"},
    {"", ""},
};

TEST(MacFromGeneric, FollowsItsRules) {
    for (const Pair& row : kGenericToMac)
        EXPECT_EQ(ToLocal(row.from, filRefMac), std::string("true ") + row.to) << row.from;
}

constexpr Pair kGenericToWindows[] = {
    {"/C:/a/b", "C:\\a\\b"},
    {"C:/a", "C:\\a"},
    {"a/b", "a\\b"},
    {"/server/share", "\\server\\share"},
    {"//server/share", "\\\\server\\share"},
    {"a\\/b", "a/b"},
    {"a\\\\b", "a\\b"},
    {"/C:", "C:"},
    {"/", "\\"},
    {"", ""},
    {"./a", ".\\a"},
    {"../a", "..\\a"},
};

TEST(WindowsFromGeneric, FollowsItsRules) {
    for (const Pair& row : kGenericToWindows)
        EXPECT_EQ(ToLocal(row.from, filRefWindows), std::string("true ") + row.to) << row.from;
}

TEST(LocalFromGeneric, ALoneEscapeAtTheEndIsRefused) {
    for (const filRefFormat format : {filRefMac, filRefWindows}) {
        EXPECT_EQ(ToLocal("a\\", format), "false a\\");
        EXPECT_EQ(ToLocal("/D/a\\\\\\", format), "false /D/a\\\\\\");
    }
}

TEST(LocalFromGeneric, ATextThatDoesNotFitIsRefused) {
    EXPECT_EQ(ToLocal("ab/c", filRefMac, 6), "true :ab:c");
    EXPECT_EQ(ToLocal("ab/c", filRefMac, 5), "false ab/c");
    EXPECT_EQ(ToLocal("ab/c", filRefMac, 4), "false ab/c");
    EXPECT_EQ(ToLocal("/ab/c", filRefMac, 6), "true ab:c");
    EXPECT_EQ(ToLocal("/ab/c", filRefMac, 5), "false /ab/c");
    EXPECT_EQ(ToLocal("ab/c", filRefWindows, 5), "true ab\\c");
    EXPECT_EQ(ToLocal("ab/c", filRefWindows, 4), "false ab/c");
}

TEST(LocalFromGeneric, EveryOtherFormatEmptiesTheText) {
    for (const filRefFormat format : {filRefGenericA, filRefGenericB, filRefFormat{4}})
        EXPECT_EQ(ToLocal("/a/b", format), "false ");
}

TEST(LocalFromGeneric, WorksInBuffersOfAnySize) {
    EXPECT_EQ(ToLocal(Times(5000, "a/"), filRefMac, 20000), "true :" + Times(5000, "a:"));
    const NoMemory none;
    EXPECT_EQ(ToLocal("a/b", filRefMac, 20000), "false a/b");
}

TEST(GenericPaths, MacTextsSurviveTheWayThereAndBack) {
    for (const char* text :
         {"Disk:Folder:File", "Disk:Folder:", "Disk:", ":Sub:File", ":File", "::Sub:File",
          "::::File", "::", "Disk:a/b", "Disk:a\\b\\", ":a/b:c", "Disk:a::b", "/:a", "\\/:", ""}) {
        char path[kFilrefSize];
        std::strcpy(path, text);
        EXPECT_TRUE(localPathToGeneric(path, sizeof path, filRefMac));
        EXPECT_TRUE(genericPathToLocal(path, sizeof path, filRefMac));
        EXPECT_STREQ(path, text);
    }
}

// A text of a few components' separators, escapes and letters of one to four bytes.
std::string RandomText(std::mt19937& random) {
    constexpr const char* kPieces[] = {":", ":",  "/",        "\\",
                                       "a", "bc", "\xC3\xA9", "\xF0\x9F\x98\x80"};
    std::string text;
    for (auto n = random() % 12; n > 0; --n)
        text += kPieces[random() % std::size(kPieces)];
    return text;
}

TEST(GenericPaths, AnyMacTextButADriveRootSurvivesTheWayThereAndBack) {
    std::mt19937 random(20);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = RandomText(random);
        const std::size_t colons = std::min(text.find_first_not_of(':'), text.size());
        if (colons % 2 != 0 && colons > 1) continue;
        // Such a volume becomes a drive, and the application folder itself has no generic text.
        const bool drive =
            text.size() > 1 && text[1] == ':' && (text.size() == 2 || text[2] == ':');
        if ((drive && text[0] != ':') || text == ":") continue;
        const bool bare = !text.empty() && text.find(':') == std::string::npos;
        const std::string generic = ToGeneric(text, filRefMac);
        ASSERT_EQ(generic.substr(0, 5), "true ") << text;
        EXPECT_EQ(ToLocal(generic.substr(5), filRefMac), "true " + (bare ? ":" + text : text))
            << generic;
    }
}

// A text that was converted fits the buffer, and one that was refused has not changed.
void ExpectResultWithin(const std::string& result, const std::string& text, std::size_t size) {
    if (result.starts_with("true ")) {
        EXPECT_LT(result.size() - 5, size);
    } else {
        EXPECT_EQ(result, "false " + text);
    }
}

TEST(GenericPaths, NothingIsWrittenBehindABufferOfAnySize) {
    std::mt19937 random(21);
    for (int i = 0; i < 20000; ++i) {
        const std::string text = RandomText(random);
        const std::size_t size = random() % 16;
        for (const filRefFormat format : {filRefMac, filRefWindows}) {
            ExpectResultWithin(ToLocal(text, format, size), text, size);
            ExpectResultWithin(ToGeneric(text, format, size), text, size);
        }
    }
}

TEST(GenericPaths, AOneLetterVolumeComesBackAsADrive) {
    char path[kFilrefSize] = "C:";
    EXPECT_TRUE(localPathToGeneric(path, sizeof path, filRefMac));
    EXPECT_STREQ(path, "/C:/");
    EXPECT_TRUE(genericPathToLocal(path, sizeof path, filRefMac));
    EXPECT_STREQ(path, "C::");
}

TEST(GenericPathToMacPath, ConvertsFromAnotherBufferOrInPlace) {
    char out[kFilrefSize] = "before";
    EXPECT_TRUE(GenericPathToMacPath("/Disk/a", out, sizeof out));
    EXPECT_STREQ(out, "Disk:a");
    std::strcpy(out, "../b");
    EXPECT_TRUE(GenericPathToMacPath(out, out, sizeof out));
    EXPECT_STREQ(out, "::b");
    EXPECT_FALSE(GenericPathToMacPath(nullptr, out, sizeof out));
    EXPECT_FALSE(GenericPathToMacPath("/Disk/a", nullptr, sizeof out));
    EXPECT_FALSE(GenericPathToMacPath("/Disk/a", out, 0));
    EXPECT_STREQ(out, "::b");
}

TEST(GenericPathToMacPath, UsesAtMost1024BytesOfTheBuffer) {
    std::vector<char> out(4096, '#');
    EXPECT_TRUE(GenericPathToMacPath(("/" + Times(3000, "a")).c_str(), out.data(), out.size()));
    EXPECT_EQ(std::string(out.data()), Times(1022, "a"));
    for (std::size_t i = 1024; i < out.size(); ++i)
        EXPECT_EQ(out[i], '#');
}

TEST(GenericPathToMacPath, CutsALongerTextToTheBuffer) {
    char out[6] = "";
    EXPECT_TRUE(GenericPathToMacPath("/Disk/a", out, sizeof out));
    EXPECT_STREQ(out, "Disk");
}

TEST(FilrefToGeneric, GivesTheUnresolvedTextWithoutItsFolderMark) {
    std::string text = "before";
    EXPECT_TRUE(filrefToGeneric(Ref("Disk:Dir:x"), text));
    EXPECT_EQ(text, "/Disk/Dir/");
    EXPECT_TRUE(filrefToGeneric(Ref(":a/b"), text));
    EXPECT_EQ(text, "a\\/b");
    EXPECT_TRUE(filrefToGeneric(filref(), text));
    EXPECT_EQ(text, "");
    EXPECT_FALSE(filrefToGeneric(Ref(":::a"), text));
    EXPECT_EQ(text, ":::a");
}

TEST(GenericPathToFilref, StoresWhatItCanConvert) {
    filref ref = Ref("before");
    EXPECT_TRUE(GenericPathToFilref("/Disk/a\\/b", ref));
    EXPECT_EQ(TextOf(ref), "Disk:a/b");
    EXPECT_TRUE(GenericPathToFilref("", ref));
    EXPECT_EQ(TextOf(ref), "");
    EXPECT_TRUE(GenericPathToFilref("/" + Times(2000, "a"), ref));
    EXPECT_EQ(TextOf(ref), Times(1022, "a"));
}

TEST(GenericPathToFilref, LeavesTheReferenceAloneOtherwise) {
    filref ref = Ref("before");
    EXPECT_FALSE(GenericPathToFilref("a\\", ref));
    EXPECT_FALSE(GenericPathToFilref(Times(1023, "a"), ref));
    EXPECT_EQ(TextOf(ref), "before");
    filref null;
    const NoMemory none;
    EXPECT_FALSE(GenericPathToFilref("/Disk/a", null));
    EXPECT_EQ(lasterror, -108);
}

struct SplitRow {
    const char* path;
    filRefFormat format;
    std::vector<std::string> parts;
};

TEST(BreakFilePath, SplitsAPathIntoItsComponents) {
    const SplitRow rows[] = {
        {"Disk:Folder:File", filRefMac, {"Disk", "Folder", "File"}},
        {"Disk:Folder:", filRefMac, {"Disk", "Folder", ""}},
        {"Disk:", filRefMac, {"Disk", ""}},
        {":Sub:File", filRefMac, {"", "Sub", "File"}},
        {"::Sub:File", filRefMac, {"", "..", "Sub", "File"}},
        {"File", filRefMac, {"", "File"}},
        {":", filRefMac, {""}},
        {"::", filRefMac, {"", "..", ""}},
        {"Disk:a::b", filRefMac, {"Disk", "a", "b"}},
        {"Disk:a/b", filRefMac, {"Disk", "a\\", "b"}},
        {"C:", filRefMac, {"C:", ""}},
        {"C:\\a\\b", filRefWindows, {"C:", "a", "b"}},
        {"a\\b\\", filRefWindows, {"", "a", "b", ""}},
        {"\\\\server\\share", filRefWindows, {"server", "share"}},
        {"/a/b", filRefGenericA, {"a", "b"}},
        {"a:b/", filRefGenericB, {"", "a:b", ""}},
        {"/", filRefGenericA, {""}},
    };
    for (const SplitRow& row : rows) {
        std::vector<std::string> parts = {"before"};
        EXPECT_EQ(breakFilePath(row.path, parts, row.format), static_cast<int>(row.parts.size()))
            << row.path;
        EXPECT_EQ(parts, row.parts) << row.path;
    }
}

TEST(BreakFilePath, LeavesThePartsAloneForTextsOfNoOrMoreThan1024Bytes) {
    std::vector<std::string> parts = {"before"};
    EXPECT_EQ(breakFilePath("", parts, filRefMac), -1);
    EXPECT_EQ(breakFilePath("Disk:" + Times(1020, "a"), parts, filRefMac), -1);
    EXPECT_EQ(parts, std::vector<std::string>{"before"});
}

TEST(BreakFilePath, Takes1024BytesWhole) {
    std::vector<std::string> parts;
    EXPECT_EQ(breakFilePath("Disk:" + Times(1019, "a"), parts, filRefMac), 2);
    EXPECT_EQ(parts, (std::vector<std::string>{"Disk", Times(1019, "a")}));
    EXPECT_EQ(breakFilePath(Times(1024, "\\"), parts, filRefMac), 2);
    EXPECT_EQ(parts, (std::vector<std::string>{"", Times(2048, "\\")}));
    EXPECT_EQ(breakFilePath(Times(1024, ":"), parts, filRefMac), 514);
    EXPECT_EQ(breakFilePath("C:" + Times(1022, "a"), parts, filRefWindows), 1);
    EXPECT_EQ(parts, std::vector<std::string>{"C:" + Times(1022, "a")});
}

TEST(BreakFilePath, OfAnUnknownFormatOrAnOddRunOfColonsIsMinus1) {
    std::vector<std::string> parts;
    EXPECT_EQ(breakFilePath("Disk:a", parts, filRefFormat{4}), -1);
    EXPECT_EQ(breakFilePath(":::a", parts, filRefMac), -1);
}

}  // namespace
}  // namespace Ondrel
