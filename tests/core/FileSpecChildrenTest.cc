// Going from a folder's specification to an item inside it.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "ondrel/core/FileSpec.h"
#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using namespace std::string_literals;
using Testing::FaultPlan;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::PathOf;
using Testing::Scratch;
using Testing::SpecOf;
using Testing::U;

constexpr int kNever = 1000000;  // a fault plan that only counts

std::string FileIn(const std::string& folder, const std::string& name) {
    FileSpec spec = SpecOf(folder);
    spec.ToFile(name);
    return PathOf(spec);
}

std::string ChildFileIn(const std::string& folder, const std::string& name) {
    FileSpec spec = SpecOf(folder);
    spec.ToChildFile(U(name));
    return PathOf(spec);
}

std::string ChildFolderIn(const std::string& folder, const std::string& name, bool create = false) {
    FileSpec spec = SpecOf(folder);
    spec.ToChildFolder(U(name), create);
    return PathOf(spec);
}

// --- ToFile -------------------------------------------------------------------------------------

TEST(ToFile, TakesTheExactNameBeforeAnEquivalentOneBeforeAnotherCaseBeforeTheNameAsGiven) {
    const Scratch scratch;
    const std::string asked = kComposed + ".txt";
    const std::string stored[] = {"ZO\xC3\x8B.TXT", kDecomposed + ".txt", asked};
    EXPECT_EQ(FileIn(scratch.Path(), asked), scratch.Path(asked));
    for (const std::string& name : stored) {
        scratch.Write(name, "");
        EXPECT_EQ(FileIn(scratch.Path(), asked), scratch.Path(name));
    }
}

TEST(ToFile, FoldsTheCaseOfPlainNamesToo) {
    const Scratch scratch;
    scratch.Write("READ ME.txt", "");
    EXPECT_EQ(FileIn(scratch.Path(), "Read Me.TXT"), scratch.Path("READ ME.txt"));
    EXPECT_EQ(FileIn(scratch.Path(), "Read Me"), scratch.Path("Read Me"));
}

TEST(ToFile, DenotesFoldersAndLinksOfThatNameAsWell) {
    const Scratch scratch;
    scratch.MakeFolder("Folder");
    std::filesystem::create_symlink("nowhere", scratch.Path("Link"));
    EXPECT_EQ(FileIn(scratch.Path(), "folder"), scratch.Path("Folder"));
    EXPECT_EQ(FileIn(scratch.Path(), "link"), scratch.Path("Link"));
}

TEST(ToFile, TakesASlashOfTheNameForAColonOnDisk) {
    const Scratch scratch;
    scratch.Write("A:B", "");
    EXPECT_EQ(FileIn(scratch.Path(), "A/B"), scratch.Path("A:B"));
    EXPECT_EQ(FileIn(scratch.Path(), "a/b"), scratch.Path("A:B"));
    EXPECT_EQ(FileIn(scratch.Path(), "new/x"), scratch.Path("new:x"));
}

TEST(ToFile, GoesThroughALinkToAFolderAndAFolderInAnotherComposition) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/File", "");
    std::filesystem::create_directory_symlink(kDecomposed, scratch.Path("link"));
    EXPECT_EQ(FileIn(scratch.Path("link"), "file"), scratch.Path("link/File"));
    EXPECT_EQ(FileIn(scratch.Path(kComposed), "file"), scratch.Path(kComposed + "/File"));
}

TEST(ToFile, KeepsANameInAFolderThatIsMissing) {
    const Scratch scratch;
    EXPECT_EQ(FileIn(scratch.Path("missing"), "a.txt"), scratch.Path("missing/a.txt"));
}

TEST(ToFile, OfAFileOrWithWhatCannotBeANameMakesItEmpty) {
    const Scratch scratch;
    scratch.Write("file", "");
    EXPECT_EQ(FileIn(scratch.Path("file"), "a"), "");
    for (const std::string& name : {""s, "a:b"s, "."s, ".."s, "a\0b"s, "a\xFF"s})
        EXPECT_EQ(FileIn(scratch.Path(), name), "") << name;
    EXPECT_EQ(FileIn("", "a"), "");
}

TEST(ToFile, OfAnExactNameCostsOneSystemCall) {
    const Scratch scratch;
    scratch.Write("exact", "");
    FileSpec spec = SpecOf(scratch.Path());
    const FaultPlan all(kNever, EIO);
    spec.ToFile("exact");
    EXPECT_EQ(all.Calls(), 1);
    EXPECT_EQ(PathOf(spec), scratch.Path("exact"));
}

// --- ToChildFile --------------------------------------------------------------------------------

TEST(ToChildFile, DenotesAFileThereOrNotWithoutMakingIt) {
    const Scratch scratch;
    scratch.Write("there", "");
    EXPECT_EQ(ChildFileIn(scratch.Path(), "there"), scratch.Path("there"));
    EXPECT_EQ(ChildFileIn(scratch.Path(), "missing"), scratch.Path("missing"));
    EXPECT_EQ(ChildFileIn(scratch.Path(), "a/b"), scratch.Path("a:b"));
    EXPECT_EQ(ChildFileIn("/", "no such item"), "/no such item");
    EXPECT_EQ(Testing::Listing(scratch.Path()), "there");
}

TEST(ToChildFile, NeverFoldsCase) {
    const Scratch scratch;
    scratch.Write("File", "");
    EXPECT_EQ(ChildFileIn(scratch.Path(), "file"), scratch.Path("file"));
    FileSpec spec = SpecOf(scratch.Path());
    spec.ToChildFile(U("file"));
    EXPECT_FALSE(spec.DoesExist());
}

TEST(ToChildFile, FindsAnEquivalentNameOnDisk) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/" + kDecomposed, "");
    FileSpec spec = SpecOf(scratch.Path(kComposed));
    spec.ToChildFile(U(kComposed));
    EXPECT_TRUE(spec.DoesExist());
    EXPECT_STREQ(spec, scratch.Path(kDecomposed + "/" + kDecomposed).c_str());
    FileSpec missing = SpecOf(scratch.Path(kComposed));
    missing.ToChildFile(U("\xC3\xBC"));
    EXPECT_TRUE(missing.IsValid());
    EXPECT_STREQ(missing, scratch.Path(kDecomposed + "/\xC3\xBC").c_str());
}

TEST(ToChildFile, ResolvesThroughALinkToAFolder) {
    const Scratch scratch;
    scratch.Write("real/there", "");
    std::filesystem::create_directory_symlink("real", scratch.Path("link"));
    EXPECT_EQ(ChildFileIn(scratch.Path("link"), "there"), scratch.Path("link/there"));
    EXPECT_EQ(ChildFileIn(scratch.Path("link"), "missing"), scratch.Path("link/missing"));
}

TEST(ToChildFile, OfWhatLeadsToNoFolderMakesItEmpty) {
    const Scratch scratch;
    scratch.Write("file", "");
    std::filesystem::create_symlink("nowhere", scratch.Path("dangling"));
    std::filesystem::create_symlink("file", scratch.Path("link to file"));
    for (const char* name : {"file", "missing", "dangling", "link to file"})
        EXPECT_EQ(ChildFileIn(scratch.Path(name), "a"), "") << name;
    EXPECT_EQ(ChildFileIn("", "a"), "");
}

TEST(ToChildFile, WithWhatCannotBeANameMakesItEmpty) {
    const Scratch scratch;
    for (const char* name : {"", "a:b", ".", ".."})
        EXPECT_EQ(ChildFileIn(scratch.Path(), name), "") << name;
    for (const Uni16String& name : {Uni16String{0xD83D}, Uni16String{'a', 0}}) {
        FileSpec spec = SpecOf(scratch.Path());
        spec.ToChildFile(name);
        EXPECT_FALSE(spec.IsValid());
    }
}

// --- ToChildFolder ------------------------------------------------------------------------------

TEST(ToChildFolder, DenotesAFolderThatIsThere) {
    const Scratch scratch;
    scratch.MakeFolder("outer/inner:part");
    std::filesystem::create_directory_symlink("outer", scratch.Path("link"));
    EXPECT_EQ(ChildFolderIn(scratch.Path(), "outer"), scratch.Path("outer"));
    EXPECT_EQ(ChildFolderIn(scratch.Path("outer"), "inner/part"), scratch.Path("outer/inner:part"));
    EXPECT_EQ(ChildFolderIn(scratch.Path("link"), "inner/part"), scratch.Path("link/inner:part"));
    EXPECT_EQ(ChildFolderIn(scratch.Path(), "link"), scratch.Path("link"));
}

TEST(ToChildFolder, OfAFileStaysValidBecauseItMayBeAnAliasAndTheNextStepMakesItEmpty) {
    const Scratch scratch;
    scratch.Write("file", "");
    FileSpec spec = SpecOf(scratch.Path());
    spec.ToChildFolder(U("file"), false);
    EXPECT_EQ(PathOf(spec), scratch.Path("file"));
    FileSpec deeper = spec;
    deeper.ToChildFolder(U("inner"), false);
    EXPECT_FALSE(deeper.IsValid());
    deeper = spec;
    deeper.ToChildFolder(U("inner"), true);
    EXPECT_FALSE(deeper.IsValid());
    deeper = spec;
    deeper.ToChildFile(U("inner"));
    EXPECT_FALSE(deeper.IsValid());
}

TEST(ToChildFolder, OfWhatIsMissingMakesItEmptyAndMakesNothing) {
    const Scratch scratch;
    scratch.MakeFolder("Folder");
    EXPECT_EQ(ChildFolderIn(scratch.Path(), "missing"), "");
    EXPECT_EQ(ChildFolderIn(scratch.Path(), "folder"), "");
    EXPECT_EQ(ChildFolderIn(scratch.Path("missing"), "inner"), "");
    EXPECT_EQ(ChildFolderIn("", "inner"), "");
    for (const char* name : {"", "a:b", ".", ".."})
        EXPECT_EQ(ChildFolderIn(scratch.Path(), name, true), "") << name;
    EXPECT_EQ(Testing::Listing(scratch.Path()), "Folder");
}

TEST(ToChildFolder, CreatesAMissingFolderUnderItsPrecomposedName) {
    const Scratch scratch;
    FileSpec spec = SpecOf(scratch.Path());
    spec.ToChildFolder(U(kDecomposed), true);
    EXPECT_TRUE(spec.IsFolder());
    EXPECT_EQ(Testing::Listing(scratch.Path()), kComposed);
    // What is there already is taken, also in another composition.
    EXPECT_EQ(ChildFolderIn(scratch.Path(), kComposed, true), scratch.Path(kComposed));
    EXPECT_EQ(Testing::Listing(scratch.Path()), kComposed);
}

TEST(ToChildFolder, ThatCannotBeCreatedMakesItEmpty) {
    const Scratch scratch;
    EXPECT_EQ(ChildFolderIn(scratch.Path("missing"), "inner", true), "");
    EXPECT_EQ(ChildFolderIn(scratch.Path(), std::string(300, 'x'), true), "");
    namespace fs = std::filesystem;
    fs::permissions(scratch.Path(), fs::perms(0555));
    EXPECT_TRUE(Testing::AsOrdinaryUser(
        [&] { return ChildFolderIn(scratch.Path(), "new", true).empty(); }));
    fs::permissions(scratch.Path(), fs::perms(0755));
    const FaultPlan plan(1, ENOSPC, "mkdirat");
    EXPECT_EQ(ChildFolderIn(scratch.Path(), "new", true), "");
    EXPECT_EQ(Testing::Listing(scratch.Path()), "");
}

TEST(ToChildFolder, OfAFolderThatIsThereCostsOneSystemCall) {
    const Scratch scratch;
    scratch.MakeFolder("inner");
    FileSpec spec = SpecOf(scratch.Path());
    const FaultPlan all(kNever, EIO);
    spec.ToChildFolder(U("inner"), false);
    EXPECT_EQ(all.Calls(), 1);
}

}  // namespace
}  // namespace Ondrel
