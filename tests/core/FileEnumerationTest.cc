// Walking over the items of one folder.
#include "ondrel/core/FileEnumeration.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>

#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::FaultPlan;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::NameOf;
using Testing::PathOf;
using Testing::Scratch;
using Testing::SpecOf;

using Paths = std::multiset<std::string>;

constexpr int kNever = 1000000;  // a fault plan that only counts

Paths PathsIn(const FileSpec& folder) {
    Paths paths;
    FileEnumeration items(folder);
    for (bool more = items.First(); more; more = items.Next())
        paths.insert(PathOf(items.GetItemSpecification()));
    return paths;
}

// An AppleDouble file: a type, a creator, an empty fork.
const std::string kSidecar = Testing::Bytes(
    "00 05 16 07 00 02 00 00 4D 61 63 20 4F 53 20 58 20 20 20 20 20 20 20 20 00 02"
    "00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52 00 00 00 00"
    "54 45 58 54 74 74 78 74 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00");

TEST(FileEnumerationTest, GivesEachItemOnceAndNothingInside) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("folder/inner", "");
    scratch.Write(".hidden", "");
    scratch.Write(kDecomposed, "");
    std::filesystem::create_symlink("nowhere", scratch.Path("dangling"));
    const Paths expected = {scratch.Path("a"), scratch.Path("folder"), scratch.Path(".hidden"),
                            scratch.Path(kDecomposed), scratch.Path("dangling")};
    EXPECT_EQ(PathsIn(SpecOf(scratch.Path())), expected);
}

TEST(FileEnumerationTest, HidesASidecarWhosePartnerIsThere) {
    const Scratch scratch;
    scratch.Write("file", "");
    scratch.Write("._file", kSidecar);
    scratch.Write("._orphan", kSidecar);
    const Paths expected = {scratch.Path("file"), scratch.Path("._orphan")};
    EXPECT_EQ(PathsIn(SpecOf(scratch.Path())), expected);
}

TEST(FileEnumerationTest, PassesOverNamesThatAreNotUtf8) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("\xFF", "");
    scratch.Write("Zo\xEB", "");
    EXPECT_EQ(PathsIn(SpecOf(scratch.Path())), Paths{scratch.Path("a")});
    const Scratch onlyOthers;
    onlyOthers.Write("\xFF", "");
    EXPECT_FALSE(FileEnumeration(SpecOf(onlyOthers.Path())).First());
}

TEST(FileEnumerationTest, OfWhatIsNoFolderOrEmptyEndsAtOnce) {
    const Scratch scratch;
    scratch.Write("file", "");
    scratch.MakeFolder("empty");
    for (const FileSpec& spec : {SpecOf(scratch.Path("empty")), SpecOf(scratch.Path("file")),
                                 SpecOf(scratch.Path("missing")), FileSpec()}) {
        FileEnumeration items(spec);
        EXPECT_FALSE(items.First());
        EXPECT_FALSE(items.Next());
        EXPECT_FALSE(items.GetItemSpecification().IsValid());
    }
}

TEST(FileEnumerationTest, OfAFolderThatMayNotBeReadEndsAtOnce) {
    const Scratch scratch;
    namespace fs = std::filesystem;
    scratch.Write("closed/file", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms(0311));
    EXPECT_TRUE(Testing::AsOrdinaryUser(
        [&] { return !FileEnumeration(SpecOf(scratch.Path("closed"))).First(); }));
    fs::permissions(scratch.Path("closed"), fs::perms(0700));
}

TEST(FileEnumerationTest, HasNoItemBeforeTheFirstAndBehindTheLast) {
    const Scratch scratch;
    scratch.Write("only", "");
    FileEnumeration items(SpecOf(scratch.Path()));
    EXPECT_FALSE(items.GetItemSpecification().IsValid());
    EXPECT_FALSE(items.Next());
    EXPECT_TRUE(items.First());
    EXPECT_EQ(PathOf(items.GetItemSpecification()), scratch.Path("only"));
    EXPECT_FALSE(items.Next());
    EXPECT_FALSE(items.GetItemSpecification().IsValid());
    EXPECT_FALSE(items.Next());
}

TEST(FileEnumerationTest, StartsOverAndSeesWhatIsNew) {
    const Scratch scratch;
    scratch.Write("a", "");
    FileEnumeration items(SpecOf(scratch.Path()));
    EXPECT_TRUE(items.First());
    EXPECT_FALSE(items.Next());
    std::filesystem::rename(scratch.Path("a"), scratch.Path("b"));
    EXPECT_TRUE(items.First());
    EXPECT_EQ(NameOf(items.GetItemSpecification()), "b");
}

TEST(FileEnumerationTest, OpensAFolderThroughALinkAndInAnotherComposition) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/a", "");
    std::filesystem::create_directory_symlink(kDecomposed, scratch.Path("link"));
    EXPECT_EQ(PathsIn(SpecOf(scratch.Path("link"))), Paths{scratch.Path("link/a")});
    EXPECT_EQ(PathsIn(SpecOf(scratch.Path(kComposed))), Paths{scratch.Path(kDecomposed + "/a")});
}

TEST(FileEnumerationTest, GivesItemsOfTheRootFolder) {
    const Paths paths = PathsIn(SpecOf("/"));
    EXPECT_EQ(paths.count("/proc"), 1U);
}

TEST(FileEnumerationTest, TellsTheKindAndNameOfEachItemWithoutASystemCall) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    scratch.Write("file", "");
    std::filesystem::create_directory_symlink("folder", scratch.Path("link"));
    const FileSpec folder = SpecOf(scratch.Path());
    FileEnumeration items(folder);
    int calls = 0;
    int found = 0;
    for (bool more = items.First(); more; more = items.Next()) {
        const FileSpec item = items.GetItemSpecification();
        const FileSpec copy(item);
        FileSpec assigned;
        assigned = item;
        const FaultPlan all(kNever, EIO);
        const std::string name = NameOf(item);
        for (const FileSpec* spec : {&item, &copy, const_cast<const FileSpec*>(&assigned)}) {
            EXPECT_TRUE(spec->IsPresent());
            EXPECT_EQ(spec->IsFolder(), name == "folder") << name;
            EXPECT_STREQ(*spec, scratch.Path(name).c_str());
        }
        calls += all.Calls();
        ++found;
    }
    EXPECT_EQ(found, 3);
    EXPECT_EQ(calls, 0);
}

TEST(FileEnumerationTest, AWalkCostsTheSameSystemCallsForManyItemsAsForOne) {
    const Scratch scratch;
    for (int i = 0; i < 200; ++i)
        scratch.Write("many/file " + std::to_string(i), "");
    scratch.Write("one/file", "");
    int calls[2] = {};
    const char* const kFolders[2] = {"one", "many"};
    for (int i = 0; i < 2; ++i) {
        FileEnumeration items(SpecOf(scratch.Path(kFolders[i])));
        const FaultPlan all(kNever, EIO);
        for (bool more = items.First(); more; more = items.Next()) {
            const FileSpec item = items.GetItemSpecification();
            EXPECT_TRUE(item.IsPresent() && !item.IsFolder());
            EXPECT_NE(NameOf(item), "(none)");
        }
        calls[i] = all.Calls();
    }
    EXPECT_EQ(calls[0], calls[1]);
}

TEST(FileEnumerationTest, WhatWasSeenOfAnItemIsForgottenWhenItsSpecificationMoves) {
    const Scratch scratch;
    scratch.Write("folder/inner", "");
    FileEnumeration items(SpecOf(scratch.Path()));
    ASSERT_TRUE(items.First());
    FileSpec inner = items.GetItemSpecification();
    inner.ToFile("inner");
    EXPECT_FALSE(inner.IsFolder());
    EXPECT_TRUE(inner.IsPresent());
    FileSpec missing = items.GetItemSpecification();
    missing.ToChildFile(Testing::U("missing"));
    EXPECT_FALSE(missing.IsPresent());
    FileSpec parent = items.GetItemSpecification();
    parent.ToEnclosingFolderOfFile();
    EXPECT_EQ(PathOf(parent), scratch.Path());
    EXPECT_TRUE(parent.IsFolder());
}

TEST(FileEnumerationTest, DoesExistAndIsUsableLookAtTheDiskForEnumeratedItemsToo) {
    const Scratch scratch;
    const std::string path = scratch.Write("file", "");
    FileEnumeration items(SpecOf(scratch.Path()));
    ASSERT_TRUE(items.First());
    const FileSpec item = items.GetItemSpecification();
    EXPECT_TRUE(item.DoesExist());
    EXPECT_TRUE(item.IsUsable());
    std::filesystem::remove(path);
    EXPECT_FALSE(item.DoesExist());
    EXPECT_FALSE(item.IsUsable());
    EXPECT_EQ(static_cast<const FSRef*>(item), nullptr);
}

TEST(FileEnumerationTest, AnItemThatIsAVolumeHasTheNameThatItsFolderKnows) {
    const Scratch scratch;
    const Testing::TestVolume volume("Volume", scratch.MakeFolder("mounted"));
    FileEnumeration items(SpecOf(scratch.Path()));
    ASSERT_TRUE(items.First());
    EXPECT_EQ(NameOf(items.GetItemSpecification()), "mounted");
    EXPECT_EQ(NameOf(SpecOf(scratch.Path("mounted"))), "Volume");
}

TEST(FileEnumerationTest, EndsWhenTheHostFailsAndLeavesNothingOpen) {
    const Scratch scratch;
    scratch.Write("a", "");
    const int before = Testing::OpenDescriptors();
    int n = 1;
    for (;; ++n) {
        const FaultPlan plan(n, EIO);
        const std::size_t found = PathsIn(SpecOf(scratch.Path())).size();
        EXPECT_LE(found, 1U);
        EXPECT_EQ(Testing::OpenDescriptors(), before);
        if (plan.Fired()) continue;
        EXPECT_EQ(found, 1U);
        break;
    }
    EXPECT_GT(n, 2);
}

}  // namespace
}  // namespace Ondrel
