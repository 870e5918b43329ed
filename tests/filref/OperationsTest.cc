// References from folders and names, dates, renaming, re-encoding, references from streams.
#include "ondrel/filref/operations.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <memory>
#include <new>

#include "ondrel/fil/fil.h"
#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

struct NameRow {
    const char* folder;  // null: a folder without storage
    const char* name;
    const char* any;      // the result with every syntax; null: 1 and `out` cleared
    const char* macOnly;  // with Mac syntax only
};

constexpr NameRow kNameRows[] = {
    {"Disk:Dir:doc", "f", "Disk:Dir:f", "Disk:Dir:f"},
    {"Disk:Dir:", "f", "Disk:Dir:f", "Disk:Dir:f"},
    {"Disk:Dir:doc", ":f", "Disk:Dir:f", "Disk:Dir:f"},
    {"Disk:Dir:doc", ":sub:f", "Disk:Dir:sub:f", "Disk:Dir:sub:f"},
    {"Disk:Dir:doc", "::f", "Disk:f", "Disk:f"},
    {"Disk:a:b:doc", ":::f", "Disk:f", "Disk:f"},
    {"Disk:Dir:doc", ":::f", "f", "f"},
    {"Disk:Dir:doc", "::::f", "f", "f"},
    {"Disk:Dir:doc", ":sub::f", "Disk:Dir:f", "Disk:Dir:f"},
    {"Disk:Dir:doc", ":a:b:::f", "Disk:Dir:f", "Disk:Dir:f"},
    {"Disk:Dir:doc", ":sub:", "Disk:Dir:sub:", "Disk:Dir:sub:"},
    {"Disk:Dir:doc", ":", "Disk:Dir:", "Disk:Dir:"},
    {"Disk:Dir:doc", "::", "Disk:", "Disk:"},
    {"Disk:Dir:doc", "", "Disk:Dir:", "Disk:Dir:"},
    {"Disk:Dir:doc", "Other:f", "Other:f", "Other:f"},
    {"Disk:Dir:doc", "Other:a::f", "Other:f", "Other:f"},
    {"Disk:Dir:doc", "Other:a:::f", "f", "f"},
    {"Disk:Dir:doc", "Other:", "Other:", "Other:"},
    {"doc", "f", "f", "f"},
    {"doc", "::f", "f", "f"},
    {":sub:doc", "f", ":sub:f", ":sub:f"},
    {":sub:doc", "::f", ":f", ":f"},
    {"", "f", "f", "f"},
    {nullptr, "f", nullptr, nullptr},
    {nullptr, ":f", nullptr, nullptr},
    {nullptr, "", nullptr, nullptr},
    {nullptr, "Other:a::f", "Other:f", "Other:f"},
    // Windows
    {"Disk:Dir:", "C:\\x", "C::x", "C:\\x"},
    {"Disk:Dir:", "C:\\dir\\f", "C::dir:f", "C:\\dir\\f"},
    {"Disk:Dir:", "\\f", ":f", "Disk:Dir:\\f"},
    {"Disk:Dir:", "\\\\server\\f", "::server:f", "Disk:Dir:\\\\server\\f"},
    {"Disk:Dir:", "sub\\f", "sub:f", "Disk:Dir:sub\\f"},
    {"Disk:Dir:", "a\\b/c", "a:b/c", "Disk:Dir:a\\b/c"},
    {"Disk:Dir:", "/\\a", "/:a", "Disk:Dir:/\\a"},
    {nullptr, "sub\\f", "sub:f", nullptr},
    // POSIX
    {"Disk:Dir:doc", "/Disk/dir/f", "Disk:dir:f", "Disk:Dir:/Disk/dir/f"},
    {"Disk:Dir:", "sub/f", "Disk:Dir:sub:f", "Disk:Dir:sub/f"},
    {"Disk:Dir:doc", "sub/f", "Disk:Dir:sub:f", "Disk:Dir:sub/f"},
    {"Disk:Dir:", "sub/", "Disk:Dir:sub:", "Disk:Dir:sub/"},
    {"Disk:Dir:", "a/b", "Disk:Dir:a:b", "Disk:Dir:a/b"},
    {"Disk:Dir:", "a/b:c\\d", "Disk:Dir:a:b:c\\d", "a/b:c\\d"},
    {"Disk:Dir:", "/", "", "Disk:Dir:/"},
    {nullptr, "sub/f", "sub:f", nullptr},
    {nullptr, "/Disk/f", "Disk:f", nullptr},
};

void ExpectMade(const NameRow& row, bool macSyntaxOnly, const char* expected) {
    SCOPED_TRACE(testing::Message() << (row.folder ? row.folder : "null") << " + " << row.name
                                    << (macSyntaxOnly ? ", Mac only" : ""));
    const filref folder = row.folder != nullptr ? Ref(row.folder) : filref();
    filref out = Ref("before");
    lasterror = -43;
    EXPECT_EQ(filrefnew(&out, &folder, row.name, macSyntaxOnly), expected != nullptr ? 0 : 1);
    EXPECT_EQ(TextOf(out), expected != nullptr ? expected : "(null)");
    EXPECT_EQ(lasterror, expected != nullptr ? 0 : -43);
}

TEST(FilrefFromFolderAndName, FollowsTheSyntaxOfTheName) {
    for (const NameRow& row : kNameRows) {
        ExpectMade(row, false, row.any);
        ExpectMade(row, true, row.macOnly);
    }
}

TEST(FilrefFromFolderAndName, ANullNameIs1AndChangesNothing) {
    const filref folder = Ref("Disk:Dir:");
    filref out = Ref("before");
    lasterror = -43;
    EXPECT_EQ(filrefnew(&out, &folder, static_cast<const char*>(nullptr), false), 1);
    EXPECT_EQ(TextOf(out), "before");
    EXPECT_EQ(lasterror, -43);
}

TEST(FilrefFromFolderAndName, ANullFolderServesForAbsoluteNamesOnly) {
    filref out = Ref("before");
    EXPECT_EQ(filrefnew(&out, nullptr, "Other:f", false), 0);
    EXPECT_EQ(TextOf(out), "Other:f");
    EXPECT_EQ(filrefnew(&out, nullptr, "/Other/f", false), 0);
    EXPECT_EQ(TextOf(out), "Other:f");
    EXPECT_EQ(filrefnew(&out, nullptr, "f", false), 1);
    EXPECT_EQ(out.path, nullptr);
}

TEST(FilrefFromFolderAndName, OutputFolderAndNameMayBeOneReference) {
    filref ref = Ref("Disk:Dir:doc");
    EXPECT_EQ(filrefnew(&ref, &ref, "::f", false), 0);
    EXPECT_EQ(TextOf(ref), "Disk:f");
    EXPECT_EQ(filrefnew(&ref, &ref, ref.path, false), 0);
    EXPECT_EQ(TextOf(ref), "Disk:f");
    filref null;
    EXPECT_EQ(filrefnew(&null, &null, "f", false), 1);
    EXPECT_EQ(null.path, nullptr);
}

TEST(FilrefFromFolderAndName, WithoutMemoryIs1WithLasterrorMinus108) {
    const filref folder = Ref("Disk:Dir:");
    filref out;
    lasterror = 0;
    const NoMemory none;
    EXPECT_EQ(filrefnew(&out, &folder, "f", false), 1);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(out.path, nullptr);
}

TEST(FilrefFromFolderAndName, AResultIsReportedAndCutFrom1024BytesOn) {
    const filref folder = Ref("Disk:");
    const struct {
        std::string name;
        std::string text;
        bool overflows;
    } rows[] = {
        {Times(1018, "a"), "Disk:" + Times(1018, "a"), false},
        {Times(1019, "a"), "Disk:" + Times(1018, "a"), true},
        {Times(1020, "a"), "Disk:" + Times(1018, "a"), true},
        {Times(5000, "a"), "Disk:" + Times(1018, "a"), true},
        {"/" + Times(1023, "a"), Times(1023, "a"), false},
        {"/" + Times(1024, "a"), Times(1023, "a"), true},
        {"C:\\" + Times(1020, "a"), "C::" + Times(1020, "a"), false},
        {"C:\\" + Times(1021, "a"), "C::" + Times(1020, "a"), true},
        // What parent steps take away again does not count.
        {":" + Times(2000, "a:") + Times(2000, ":") + "f", "Disk:f", false},
        {":" + Times(4000, "a") + "::" + Times(1018, "b"), "Disk:" + Times(1018, "b"), false},
        {":" + Times(4000, "a") + "::" + Times(1019, "b"), "Disk:" + Times(1018, "b"), true},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name.substr(0, 10) + " of " + std::to_string(row.name.size()));
        const CapturedMessages messages;
        filref out;
        lasterror = -43;
        EXPECT_EQ(filrefnew(&out, &folder, row.name.c_str(), false), 0);
        EXPECT_EQ(lasterror, 0);
        EXPECT_EQ(TextOf(out), row.text);
        const std::vector<std::string> reports(row.overflows ? 1 : 0,
                                               "filref buffer overflow Quit!");
        EXPECT_EQ(messages.All(), reports);
    }
}

TEST(FilrefFromFolderAndName, ALongNameThatFindsNoMemoryIs1WithLasterrorMinus108) {
    const filref folder = Ref("Disk:");
    filref out = Ref("before");
    const std::string name = Times(5000, "a");
    const NoMemory none;
    EXPECT_EQ(filrefnew(&out, &folder, name.c_str(), false), 1);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(TextOf(out), "before");
}

TEST(FilrefFromMacPath, TakesTheText) {
    filref out;
    lasterror = -43;
    EXPECT_EQ(filrefnew(&out, "Disk:Dir:doc"), 0);
    EXPECT_EQ(TextOf(out), "Disk:Dir:doc");
    EXPECT_EQ(lasterror, 0);
}

TEST(FolderOfAFilref, IsItsFolderPartWithTheMark) {
    const struct {
        const char* text;
        const char* folder;
    } rows[] = {
        {"Disk:Dir:doc", "Disk:Dir:x"},
        {"Disk:Dir:", "Disk:Dir:x"},
        {"doc", "x"},
        {":doc", ":x"},
        {"", "x"},
    };
    for (const auto& row : rows) {
        const filref ref = Ref(row.text);
        filref out = Ref("before");
        EXPECT_EQ(folderfromfilref(&ref, &out), 0);
        EXPECT_EQ(TextOf(out), row.folder);
    }
}

TEST(FolderOfAFilref, OfANullReferenceIsNullAndStillZero) {
    const filref null;
    filref out = Ref("before");
    EXPECT_EQ(folderfromfilref(&null, &out), 0);
    EXPECT_EQ(out.path, nullptr);
}

// --- From a stream ------------------------------------------------------------------------------

// A stream handle that is looked at, never opened and so never closed.
fil* HandleOf(sysinfrec* record) {
    alignas(fil) static unsigned char storage[sizeof(fil)];
    fil* f = new (storage) fil;
    f->sys = record;
    return f;
}

TEST(FilrefFromStream, TakesThePathOfTheRecord) {
    const auto record = std::make_unique<sysinfrec>();
    Uni16CharCopy(record->path, Units(u"Disk:Dir:\u00E9").c_str(), kFilrefSize);
    filref out;
    lasterror = -43;
    EXPECT_EQ(filrefnew(&out, HandleOf(record.get())), 0);
    EXPECT_EQ(TextOf(out), "Disk:Dir:\xC3\xA9");
    EXPECT_EQ(lasterror, 0);
}

TEST(FilrefFromStream, WithoutARecordIsMinus1AndChangesNothing) {
    filref out = Ref("before");
    lasterror = -43;
    EXPECT_EQ(filrefnew(&out, HandleOf(nullptr)), -1);
    EXPECT_EQ(TextOf(out), "before");
    EXPECT_EQ(lasterror, -43);
}

TEST(FilrefFromStream, WithoutMemoryIsMinus1WithLasterrorMinus108) {
    const auto record = std::make_unique<sysinfrec>();
    filref out;
    const NoMemory none;
    EXPECT_EQ(filrefnew(&out, HandleOf(record.get())), -1);
    EXPECT_EQ(lasterror, -108);
}

// --- Dates --------------------------------------------------------------------------------------

void SetModificationTime(const std::string& path, long long seconds) {
    const timespec time = {static_cast<time_t>(seconds), 0};
    const timespec times[] = {time, time};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
}

TEST(ModificationDate, CountsSecondsSince1904Modulo32Bits) {
    const Disk disk;
    const std::string path = disk.Write("a.txt", "a");
    const struct {
        long long since1970;
        unsigned int since1904;
    } rows[] = {
        {0, 2082844800U}, {1000000000, 3082844800U}, {2212122495, 4294967295U},  {2212122496, 0U},
        {2212122497, 1U}, {-2082844800, 0U},         {-2082844801, 4294967295U},
    };
    for (const auto& row : rows) {
        SetModificationTime(path, row.since1970);
        unsigned int date = 5;
        EXPECT_EQ(filmoddat(Ref("Disk:a.txt"), &date), 0);
        EXPECT_EQ(date, row.since1904) << row.since1970;
        date = 5;
        EXPECT_EQ(fileModificationDate(disk.Spec("a.txt"), date), 0);
        EXPECT_EQ(date, row.since1904) << row.since1970;
    }
}

TEST(ModificationDate, OfWhatIsNotThereIsMinus1WithLasterrorMinus1) {
    const Disk disk;
    for (const char* text : {"Disk:missing", "Disk:No folder:f", ""}) {
        unsigned int date = 5;
        lasterror = 0;
        EXPECT_EQ(filmoddat(Ref(text), &date), -1);
        EXPECT_EQ(lasterror, -1);
        EXPECT_EQ(date, 0U);
    }
    unsigned int date = 5;
    EXPECT_EQ(filmoddat(filref(), &date), -1);
    EXPECT_EQ(date, 0U);
}

TEST(ModificationDate, ThatCannotBeAskedLeavesTheHostsErrorNumberInLasterror) {
    const Disk disk;
    disk.Link("Broken", "Nowhere");
    unsigned int date = 5;
    lasterror = 0;
    EXPECT_EQ(fileModificationDate(disk.Spec("Broken"), date), -1);
    EXPECT_EQ(lasterror, ENOENT);
    EXPECT_EQ(date, 0U);
}

// --- Renaming -----------------------------------------------------------------------------------

TEST(Renaming, MovesTheFile) {
    const Disk disk;
    disk.Write("a.txt", "bytes");
    disk.MakeFolder("Dir");
    EXPECT_EQ(filrename(Ref("Disk:a.txt"), Ref("Disk:Dir:b.txt")), 0);
    EXPECT_FALSE(Exists(disk.Path("a.txt")));
    EXPECT_EQ(ReadAll(disk.Path("Dir/b.txt")), "bytes");
}

TEST(Renaming, RefusesATargetThatExistsWithMinus48) {
    const Disk disk;
    disk.Write("a.txt", "a");
    disk.Write("b.txt", "b");
    EXPECT_EQ(filrename(Ref("Disk:a.txt"), Ref("Disk:b.txt")), -48);
    EXPECT_EQ(ReadAll(disk.Path("a.txt")), "a");
    EXPECT_EQ(ReadAll(disk.Path("b.txt")), "b");
}

TEST(Renaming, GivesTheCodeOfWhatWentWrong) {
    const Disk disk;
    disk.Write("a.txt", "a");
    EXPECT_EQ(filrename(Ref("Disk:missing"), Ref("Disk:b.txt")), -43);
    EXPECT_EQ(filrename(filref(), Ref("Disk:b.txt")), -43);
    EXPECT_EQ(filrename(Ref("Disk:a.txt"), filref()), -43);
    EXPECT_EQ(filrename(Ref("Disk:a.txt"), Ref("Disk:No folder:b.txt")), -43);
    EXPECT_EQ(ReadAll(disk.Path("a.txt")), "a");
}

// --- Re-encoding --------------------------------------------------------------------------------

TEST(ReEncoding, InAUtf8LocaleKeepsTheText) {
    const filref in = Ref("Disk:\xC3\xA9");
    filref platform;
    filref utf8;
    EXPECT_EQ(utf8FilRefToPlatform(&in, &platform), 0);
    EXPECT_EQ(TextOf(platform), "Disk:\xC3\xA9");
    lasterror = -43;
    EXPECT_EQ(platformFilRefToUTF8(&platform, &utf8), 0);
    EXPECT_EQ(TextOf(utf8), "Disk:\xC3\xA9");
    EXPECT_EQ(lasterror, 0);
}

TEST(ReEncoding, TakesTheSameReferenceAsInputAndOutput) {
    filref ref = Ref("Disk:\xC3\xA9");
    EXPECT_EQ(utf8FilRefToPlatform(&ref, &ref), 0);
    EXPECT_EQ(platformFilRefToUTF8(&ref, &ref), 0);
    EXPECT_EQ(TextOf(ref), "Disk:\xC3\xA9");
}

TEST(ReEncoding, OfNoTextIsMinus1AndLeavesTheOutputAlone) {
    const filref null;
    const filref empty = Ref("");
    for (const filref* in : {&null, &empty}) {
        filref out = Ref("before");
        EXPECT_EQ(utf8FilRefToPlatform(in, &out), -1);
        EXPECT_EQ(platformFilRefToUTF8(in, &out), -1);
        EXPECT_EQ(TextOf(out), "before");
    }
}

TEST(ReEncoding, WithoutMemoryOnlyTheWayToThePlatformAnswersMinus1) {
    const filref in = Ref("Disk:a");
    filref out = Ref("before");
    filref other = Ref("before");
    const NoMemory none;
    lasterror = 0;
    EXPECT_EQ(utf8FilRefToPlatform(&in, &out), -1);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(out.path, nullptr);
    lasterror = 0;
    EXPECT_EQ(platformFilRefToUTF8(&in, &other), 0);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(other.path, nullptr);
}

}  // namespace
}  // namespace Ondrel
