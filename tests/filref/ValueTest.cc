// The value: storage, copies, comparisons, names.
#include <gtest/gtest.h>

#include <set>

#include "tests/filref/Support.h"

namespace Ondrel {
namespace {

using namespace Testing;

TEST(FilrefStorage, AFreshReferenceHasNone) {
    const filref ref;
    EXPECT_EQ(ref.path, nullptr);
}

TEST(FilrefStorage, AllocateMakesAnEmptyTextAndKeepsOneThatIsThere) {
    filref ref;
    ref.allocate();
    ASSERT_NE(ref.path, nullptr);
    EXPECT_STREQ(ref.path, "");
    ASSERT_EQ(ref.ConvertFromMacPath("Disk:a"), 0);
    const char* storage = ref.path;
    ref.allocate();
    EXPECT_EQ(ref.path, storage);
    EXPECT_STREQ(ref.path, "Disk:a");
}

TEST(FilrefStorage, ClearLeavesNull) {
    filref ref = Ref("Disk:a");
    ref.clear();
    EXPECT_EQ(ref.path, nullptr);
    ref.clear();
    EXPECT_EQ(ref.path, nullptr);
}

TEST(FilrefStorage, ACopyHasStorageOfItsOwn) {
    filref a = Ref("Disk:a");
    filref b = a;
    filref c;
    c = a;
    EXPECT_NE(b.path, a.path);
    EXPECT_NE(c.path, a.path);
    a.path[0] = 'M';
    EXPECT_EQ(TextOf(b), "Disk:a");
    EXPECT_EQ(TextOf(c), "Disk:a");
}

TEST(FilrefStorage, CopyingIntoAReferenceReusesItsStorage) {
    const filref a = Ref("Disk:a");
    filref b = Ref("Disk:long name");
    const char* storage = b.path;
    b = a;
    EXPECT_EQ(b.path, storage);
    EXPECT_EQ(TextOf(b), "Disk:a");
}

TEST(FilrefStorage, CopyingANullReferenceFreesTheStorage) {
    const filref null;
    filref b = Ref("Disk:a");
    b = null;
    EXPECT_EQ(b.path, nullptr);
    const filref c = null;
    EXPECT_EQ(c.path, nullptr);
}

TEST(FilrefStorage, ACopyOfAnEmptyTextIsEmptyAndNotNull) {
    filref b;
    b = Ref("");
    EXPECT_EQ(TextOf(b), "");
}

TEST(FilrefStorage, AssigningAReferenceToItselfChangesNothing) {
    filref a = Ref("Disk:a");
    const char* storage = a.path;
    filref& same = a;
    a = same;
    EXPECT_EQ(a.path, storage);
    a = std::move(same);
    EXPECT_EQ(a.path, storage);
    EXPECT_EQ(TextOf(a), "Disk:a");
}

// What is left of a reference that was moved from is what this is about.
// NOLINTBEGIN(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
TEST(FilrefStorage, MovingHandsTheStorageOver) {
    filref a = Ref("Disk:a");
    const char* storage = a.path;
    filref b = std::move(a);
    EXPECT_EQ(b.path, storage);
    EXPECT_EQ(a.path, nullptr);
    filref c = Ref("Disk:c");
    c = std::move(b);
    EXPECT_EQ(c.path, storage);
    EXPECT_EQ(b.path, nullptr);
    c = std::move(b);
    EXPECT_EQ(c.path, nullptr);
}
// NOLINTEND(bugprone-use-after-move,clang-analyzer-cplusplus.Move)

TEST(FilrefStorage, ATextIsTakenUncheckedAndCutAt1023Bytes) {
    filref ref;
    lasterror = -43;
    EXPECT_EQ(ref.ConvertFromMacPath("\xFF:not a path::"), 0);
    EXPECT_EQ(lasterror, 0);
    EXPECT_EQ(TextOf(ref), "\xFF:not a path::");
    EXPECT_EQ(ref.ConvertFromMacPath(Times(1023, "a").c_str()), 0);
    EXPECT_EQ(TextOf(ref), Times(1023, "a"));
    EXPECT_EQ(ref.ConvertFromMacPath(Times(1024, "b").c_str()), 0);
    EXPECT_EQ(TextOf(ref), Times(1023, "b"));
}

TEST(FilrefStorage, ATextMayBeTakenFromTheReferenceItself) {
    filref ref = Ref("Disk:Dir:doc");
    EXPECT_EQ(ref.ConvertFromMacPath(ref.path + 5), 0);
    EXPECT_EQ(TextOf(ref), "Dir:doc");
}

TEST(FilrefStorage, ResolvingADriveLetterDoesNothing) {
    filref ref = Ref("C:a");
    ref.ResolveNetworkDriveLetter();
    EXPECT_EQ(TextOf(ref), "C:a");
}

TEST(FilrefWithoutMemory, AllocateAndCopiesFailSilently) {
    const filref source = Ref("Disk:a");
    filref ref;
    lasterror = 5;
    {
        const NoMemory none;
        ref.allocate();
        EXPECT_EQ(ref.path, nullptr);
        ref = source;
        EXPECT_EQ(ref.path, nullptr);
        const filref copy = source;
        EXPECT_EQ(copy.path, nullptr);
    }
    EXPECT_EQ(lasterror, 5);
    ref = source;
    EXPECT_EQ(TextOf(ref), "Disk:a");
}

TEST(FilrefWithoutMemory, CopyingIntoStorageThatIsThereWorks) {
    const filref source = Ref("Disk:a");
    filref ref = Ref("");
    const NoMemory none;
    ref = source;
    EXPECT_EQ(TextOf(ref), "Disk:a");
}

TEST(FilrefWithoutMemory, ConversionsAnswerMinus1WithLasterrorMinus108) {
    const NoMemory none;
    filref ref;
    lasterror = 0;
    EXPECT_EQ(ref.ConvertFromMacPath("Disk:a"), -1);
    EXPECT_EQ(lasterror, -108);
    lasterror = 0;
    EXPECT_EQ(ref.FromUnicode(Units(u"Disk:a").c_str(), filRefMac), -1);
    EXPECT_EQ(lasterror, -108);
    lasterror = 0;
    EXPECT_EQ(ref.convertFromFileSpec(FileSpec()), -1);
    EXPECT_EQ(lasterror, -108);
    EXPECT_EQ(ref.path, nullptr);
}

TEST(FilrefComparison, EqualMeansEqualTexts) {
    EXPECT_TRUE(Ref("Disk:a") == Ref("Disk:a"));
    EXPECT_TRUE(Ref("") == Ref(""));
    EXPECT_FALSE(Ref("Disk:a") == Ref("Disk:A"));
    EXPECT_FALSE(Ref("Disk:a") == Ref("Disk:ab"));
}

TEST(FilrefComparison, ANullReferenceEqualsNothing) {
    const filref null;
    const filref other;
    EXPECT_FALSE(null == other);
    EXPECT_FALSE(null == null);
    EXPECT_FALSE(null == Ref(""));
    EXPECT_FALSE(Ref("") == null);
}

TEST(FilrefComparison, OrderIsByUnsignedBytesWithTheShorterFirst) {
    const char* const inOrder[] = {"",        "Disk", "Disk:B",   "Disk:a",
                                   "Disk:ab", "\x7F", "\xC3\xA9", "\xFF"};
    for (const char* a : inOrder) {
        for (const char* b : inOrder)
            EXPECT_EQ(Ref(a) < Ref(b), std::string(a) < std::string(b)) << a << " " << b;
    }
    for (std::size_t i = 1; i < std::size(inOrder); ++i)
        EXPECT_TRUE(Ref(inOrder[i - 1]) < Ref(inOrder[i])) << inOrder[i];
}

TEST(FilrefComparison, ANullReferenceComesFirst) {
    const filref null;
    const filref other;
    EXPECT_TRUE(null < Ref(""));
    EXPECT_FALSE(Ref("") < null);
    EXPECT_FALSE(null < other);
    EXPECT_FALSE(null < null);
}

TEST(FilrefComparison, TheKeyOrderIsByWhereDifferentTextsLie) {
    const filref a = Ref("Disk:a");
    const filref b = Ref("Disk:b");
    const filref sameAsA = Ref("Disk:a");
    const FilrefCompare less;
    EXPECT_FALSE(less(a, sameAsA));
    EXPECT_FALSE(less(sameAsA, a));
    EXPECT_EQ(less(a, b), std::less<const char*>()(a.path, b.path));
    EXPECT_EQ(less(b, a), std::less<const char*>()(b.path, a.path));
    EXPECT_NE(less(a, b), less(b, a));
}

struct NameCase {
    const char* path;
    const char* macName;
    const char* otherName;
};

constexpr NameCase kNames[] = {
    {"Disk:Dir:doc.txt", "doc.txt", "Disk:Dir:doc.txt"},
    {"Disk:Folder:", "", "Disk:Folder:"},
    {"Disk:Folder:x", "x", "Disk:Folder:x"},
    {"bare", "bare", "bare"},
    {":rel", "rel", ":rel"},
    {"Disk:a/b\\c", "a/b\\c", "c"},
    {"Disk:a\\b/c", "a\\b/c", "c"},
    {"Disk:a/", "a/", ""},
    {"Disk:\xC3\xA9\xE6\xBC\xA2", "\xC3\xA9\xE6\xBC\xA2", "Disk:\xC3\xA9\xE6\xBC\xA2"},
    {"", "", ""},
};

void ExpectName(const filref& ref, filRefFormat format, const std::string& name) {
    char bytes[kFilrefSize] = "before";
    ref.getNameAsUtf8(bytes, format);
    EXPECT_EQ(bytes, name);
    std::string text = "before";
    ref.getNameAsUtf8(text, format);
    EXPECT_EQ(text, name);
    EXPECT_EQ(ref.getNameAsUtf8(format), name);
    const Uni16String wide = UTF8ToUni16String(name);
    unsigned short units[kFilrefSize] = {'b', 0};
    EXPECT_EQ(ref.getName(units, format), static_cast<int>(wide.size()));
    EXPECT_EQ(Uni16String(units), wide);
}

TEST(FilrefName, IsWhatStandsBehindTheLastSeparatorOfTheSyntax) {
    for (const NameCase& row : kNames) {
        SCOPED_TRACE(row.path);
        ExpectName(Ref(row.path), filRefMac, row.macName);
        for (const filRefFormat format : {filRefWindows, filRefGenericA, filRefGenericB})
            ExpectName(Ref(row.path), format, row.otherName);
    }
}

TEST(FilrefName, OfANullReferenceIsEmpty) {
    ExpectName(filref(), filRefMac, "");
    ExpectName(filref(), filRefWindows, "");
}

TEST(FilrefName, OfTheLongestTextIsWhole) {
    ExpectName(Ref(Times(1023, "n")), filRefMac, Times(1023, "n"));
}

TEST(FilrefName, ThatIsNotUtf8GivesMinus1AsUnits) {
    unsigned short units[kFilrefSize];
    EXPECT_EQ(Ref("Disk:a\xFFz").getName(units, filRefMac), -1);
    EXPECT_EQ(Ref("Disk:a\xFFz").getNameAsUtf8(filRefMac), "a\xFFz");
}

}  // namespace
}  // namespace Ondrel
