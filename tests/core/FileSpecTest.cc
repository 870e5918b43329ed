// Specifications: making them, asking them, moving them to the enclosing folder and to volumes.
#include "ondrel/core/FileSpec.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "tests/core/SpecHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using namespace std::string_literals;
using Testing::FaultPlan;
using Testing::FolderNameOf;
using Testing::HFSPathOf;
using Testing::kComposed;
using Testing::kDecomposed;
using Testing::NameOf;
using Testing::PathOf;
using Testing::Scratch;
using Testing::SpecOf;
using Testing::TestVolume;
using Testing::U;

FSRef RefOf(const std::string& path) {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr) << path;
    return ref;
}

bool IsZero(const FSRef& ref) {
    return std::all_of(ref.hidden, ref.hidden + sizeof ref.hidden,
                       [](unsigned char byte) { return byte == 0; });
}

// --- Making -------------------------------------------------------------------------------------

TEST(FileSpecMaking, AFullPathIsKeptAsItIsGiven) {
    EXPECT_EQ(PathOf(SpecOf("/some/folder/file.txt")), "/some/folder/file.txt");
    EXPECT_EQ(PathOf(SpecOf("/" + kComposed)), "/" + kComposed);
    EXPECT_EQ(PathOf(SpecOf("/" + kDecomposed)), "/" + kDecomposed);
    EXPECT_EQ(PathOf(SpecOf("//a/./b//")), "/a/b");
    EXPECT_EQ(PathOf(SpecOf("/")), "/");
}

TEST(FileSpecMaking, WhatIsNoFullPathMakesAnEmptySpecification) {
    const Uni16String kRows[] = {U(""),         U("a"),
                                 U("a/b"),      U("./a"),
                                 U("Disk:a"),   Uni16String{'/', 'a', 0, 'b'},
                                 {'/', 0xD83D}, {'/', 0xDE00, 'a'}};
    for (const Uni16String& row : kRows) {
        const FileSpec spec(row);
        EXPECT_FALSE(spec.IsValid()) << Uni16StringToUTF8(row);
        EXPECT_EQ(PathOf(spec), "");
    }
}

TEST(FileSpecMaking, ATextIsAssigned) {
    FileSpec spec = SpecOf("/before");
    spec = U("/a//b/").c_str();
    EXPECT_EQ(PathOf(spec), "/a/b");
    spec = U("relative").c_str();
    EXPECT_FALSE(spec.IsValid());
    spec = SpecOf("/before");
    spec = static_cast<const unsigned short*>(nullptr);
    EXPECT_FALSE(spec.IsValid());
}

TEST(FileSpecMaking, CopiesAreIndependent) {
    const Scratch scratch;
    FileSpec original = SpecOf(scratch.Write("a", ""));
    const FileSpec copy(original);
    FileSpec assigned;
    assigned = original;
    original.ToEnclosingFolderOfFile();
    EXPECT_EQ(PathOf(copy), scratch.Path("a"));
    EXPECT_EQ(PathOf(assigned), scratch.Path("a"));
    EXPECT_EQ(PathOf(original), scratch.Path());
    FileSpec& alias = assigned;
    assigned = alias;
    EXPECT_EQ(PathOf(assigned), scratch.Path("a"));
}

TEST(FileSpecMaking, AReferenceGivesTheItemOnDisk) {
    const Scratch scratch;
    const FSRef ref = RefOf(scratch.Write(kDecomposed, ""));
    EXPECT_EQ(PathOf(FileSpec(ref)), scratch.Path(kDecomposed));
    FileSpec assigned;
    assigned = ref;
    EXPECT_EQ(PathOf(assigned), scratch.Path(kDecomposed));
    EXPECT_EQ(PathOf(FileSpec(RefOf(scratch.Path()))), scratch.Path());
}

TEST(FileSpecMaking, AReferenceThatNamesNothingMakesAnEmptySpecification) {
    const Scratch scratch;
    const std::string path = scratch.Write("file", "");
    const FSRef ref = RefOf(path);
    std::filesystem::remove(path);
    EXPECT_FALSE(FileSpec(ref).IsValid());
    EXPECT_FALSE(FileSpec(FSRef{}).IsValid());
    FileSpec assigned = SpecOf("/before");
    assigned = ref;
    EXPECT_FALSE(assigned.IsValid());
}

TEST(FileSpecMaking, APathThatIsNotUtf8HasNoSpecification) {
    const Scratch scratch;
    const std::string path = scratch.Write("Zo\xEB", "");
    EXPECT_FALSE(FileSpec(RefOf(path)).IsValid());
}

TEST(FileSpecMaking, ACopyCarriesNothingButItsPath) {
    const Scratch scratch;
    const FileSpec original = SpecOf(scratch.Write("a", ""));
    const FSRef* ref = original;
    ASSERT_NE(ref, nullptr);
    std::filesystem::remove(scratch.Path("a"));
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is what is tested
    const FileSpec copy(original);
    EXPECT_EQ(static_cast<const FSRef*>(copy), nullptr);
}

// --- Platform identities ------------------------------------------------------------------------

TEST(FileSpecIdentity, AnExistingItemHasAReference) {
    const Scratch scratch;
    scratch.Write(kDecomposed, "");
    const FileSpec spec = SpecOf(scratch.Path(kComposed));
    const FSRef* ref = spec;
    ASSERT_NE(ref, nullptr);
    std::string path;
    EXPECT_EQ(FSRefMakePath(ref, &path), noErr);
    EXPECT_EQ(path, scratch.Path(kDecomposed));
    const FSRef& sameRef = spec;
    EXPECT_FALSE(IsZero(sameRef));
}

TEST(FileSpecIdentity, WhatIsMissingHasNoReference) {
    const Scratch scratch;
    FileSpec spec = SpecOf(scratch.Write("a", ""));
    EXPECT_NE(static_cast<const FSRef*>(spec), nullptr);
    std::filesystem::remove(scratch.Path("a"));
    EXPECT_EQ(static_cast<const FSRef*>(spec), nullptr);
    EXPECT_TRUE(IsZero(static_cast<const FSRef&>(spec)));
    const FileSpec empty;
    EXPECT_EQ(static_cast<const FSRef*>(empty), nullptr);
    EXPECT_TRUE(IsZero(static_cast<const FSRef&>(empty)));
}

TEST(FileSpecIdentity, TheReferenceOfALinkNamesTheLink) {
    const Scratch scratch;
    std::filesystem::create_symlink("nowhere", scratch.Path("dangling"));
    const FileSpec spec = SpecOf(scratch.Path("dangling"));
    const FSRef* ref = spec;
    ASSERT_NE(ref, nullptr);
    std::string path;
    EXPECT_EQ(FSRefMakePath(ref, &path), noErr);
    EXPECT_EQ(path, scratch.Path("dangling"));
}

TEST(FileSpecIdentity, TheCTextIsThePathOnDisk) {
    const Scratch scratch;
    scratch.Write(kDecomposed, "");
    EXPECT_STREQ(SpecOf(scratch.Path(kComposed)), scratch.Path(kDecomposed).c_str());
    EXPECT_STREQ(SpecOf(scratch.Path("missing")), scratch.Path("missing").c_str());
    EXPECT_STREQ(SpecOf(scratch.Path("u\xCC\x88")), scratch.Path("\xC3\xBC").c_str());
    EXPECT_STREQ(FileSpec(), "");
}

TEST(FileSpecIdentity, ThePathIsAnsweredInUtf8AndUtf16) {
    const FileSpec spec = SpecOf("/a/" + kComposed);
    std::string text;
    EXPECT_TRUE(spec.GetFullPath(text));
    EXPECT_EQ(text, "/a/" + kComposed);
    text.clear();
    EXPECT_TRUE(spec.GetPOSIXPathUtf8(text));
    EXPECT_EQ(text, "/a/" + kComposed);
    Uni16String units;
    EXPECT_TRUE(spec.GetPathUni16(units));
    EXPECT_EQ(units, U("/a/" + kComposed));
    EXPECT_EQ(PathOf(FileSpec(units)), PathOf(spec));
}

TEST(FileSpecIdentity, AnEmptySpecificationAnswersFalseAndEmptyTexts) {
    const FileSpec empty;
    std::string text = "before";
    Uni16String units = U("before");
    EXPECT_FALSE(empty.GetFullPath(text));
    EXPECT_EQ(text, "");
    text = "before";
    EXPECT_FALSE(empty.GetPOSIXPathUtf8(text));
    EXPECT_EQ(text, "");
    EXPECT_FALSE(empty.GetPathUni16(units));
    EXPECT_TRUE(units.empty());
    units = U("before");
    EXPECT_FALSE(empty.GetHFSPath(units));
    EXPECT_TRUE(units.empty());
    EXPECT_FALSE(empty.IsValid());
    EXPECT_FALSE(empty.DoesExist());
    EXPECT_FALSE(empty.IsPresent());
    EXPECT_FALSE(empty.IsFolder());
    EXPECT_FALSE(empty.IsUsable());
}

TEST(FileSpecIdentity, TheColonPathOfAFolderEndsWithAColonAndThatOfALinkDoesNot) {
    const Scratch scratch;
    const TestVolume volume("Test", scratch.Path());
    scratch.Write("docs/" + kDecomposed + "/a:b", "");
    std::filesystem::create_directory_symlink("docs", scratch.Path("link"));
    const struct {
        std::string posix;
        std::string colons;
    } kRows[] = {
        {"docs/" + kDecomposed + "/a:b", "Test:docs:" + kDecomposed + ":a/b"},
        {"docs", "Test:docs:"},
        {"docs/" + kComposed, "Test:docs:" + kComposed + ":"},
        {"link", "Test:link"},
        {"link/missing", "Test:link:missing"},
        {"missing", "Test:missing"},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(HFSPathOf(SpecOf(scratch.Path(row.posix))), row.colons) << row.posix;
    EXPECT_EQ(HFSPathOf(SpecOf(scratch.Path())), "Test:");
    EXPECT_EQ(HFSPathOf(SpecOf("/")), "Root:");
    EXPECT_EQ(HFSPathOf(SpecOf("/no such item")), "Root:no such item");
}

// --- Names --------------------------------------------------------------------------------------

TEST(FileSpecNames, TheNameIsTheLastComponentWithSlashesForColons) {
    const struct {
        std::string path;
        std::string name;
    } kRows[] = {
        {"/a/b.txt", "b.txt"},
        {"/a/b:c", "b/c"},
        {"/" + kDecomposed, kDecomposed},
        {"/a/", "a"},
    };
    for (const auto& row : kRows) {
        const FileSpec spec = SpecOf(row.path);
        EXPECT_EQ(NameOf(spec), row.name);
        Uni16String units;
        EXPECT_TRUE(spec.GetName(units));
        EXPECT_EQ(units, U(row.name));
    }
}

TEST(FileSpecNames, AVolumesRootHasTheNameOfItsVolume) {
    const Scratch scratch;
    const TestVolume volume("Test Volume", scratch.Path());
    EXPECT_EQ(NameOf(SpecOf(scratch.Path())), "Test Volume");
    EXPECT_EQ(FolderNameOf(SpecOf(scratch.Path())), "Test Volume");
    EXPECT_EQ(NameOf(SpecOf("/")), "Root");
}

TEST(FileSpecNames, AnEmptySpecificationHasNoNameAndLeavesTheTextsAlone) {
    const FileSpec empty;
    std::string text = "before";
    Uni16String units = U("before");
    EXPECT_FALSE(empty.GetName(text));
    EXPECT_FALSE(empty.GetName(units));
    EXPECT_FALSE(empty.GetFolderName(text));
    EXPECT_FALSE(empty.GetFolderName(units));
    EXPECT_EQ(text, "before");
    EXPECT_EQ(units, U("before"));
}

TEST(FileSpecNames, TheNameInABufferIsCutAndTerminated) {
    const FileSpec spec = SpecOf("/a/name");
    unsigned short buffer[256];
    EXPECT_TRUE(spec.GetName(buffer, 256));
    EXPECT_EQ(Uni16String(buffer), U("name"));
    std::fill(std::begin(buffer), std::end(buffer), static_cast<unsigned short>('x'));
    EXPECT_TRUE(spec.GetName(buffer, 3));
    EXPECT_EQ(Uni16String(buffer), U("na"));
    EXPECT_EQ(buffer[3], 'x');
    EXPECT_TRUE(spec.GetName(buffer, 0));
    EXPECT_EQ(buffer[0], 'n');
    EXPECT_FALSE(FileSpec().GetName(buffer, 256));
    EXPECT_EQ(buffer[0], 0);
}

TEST(FileSpecNames, OnlyAnExistingFolderHasAFolderName) {
    const Scratch scratch;
    scratch.Write("folder/file", "");
    std::filesystem::create_directory_symlink("folder", scratch.Path("link"));
    EXPECT_EQ(FolderNameOf(SpecOf(scratch.Path("folder"))), "folder");
    EXPECT_EQ(FolderNameOf(SpecOf(scratch.Path("folder/file"))), "(none)");
    EXPECT_EQ(FolderNameOf(SpecOf(scratch.Path("link"))), "(none)");
    EXPECT_EQ(FolderNameOf(SpecOf(scratch.Path("missing"))), "(none)");
    Uni16String units;
    EXPECT_TRUE(SpecOf(scratch.Path("folder")).GetFolderName(units));
    EXPECT_EQ(units, U("folder"));
}

// --- State on disk ------------------------------------------------------------------------------

TEST(FileSpecState, TellsFilesFoldersLinksAndWhatIsMissingApart) {
    const Scratch scratch;
    namespace fs = std::filesystem;
    scratch.Write("file", "");
    scratch.MakeFolder("folder");
    fs::create_symlink("file", scratch.Path("link to file"));
    fs::create_directory_symlink("folder", scratch.Path("link to folder"));
    fs::create_symlink("nowhere", scratch.Path("dangling"));
    fs::create_symlink("loop", scratch.Path("loop"));
    ASSERT_EQ(mkfifo(scratch.Path("pipe").c_str(), 0600), 0);
    const struct {
        const char* name;
        bool exists;
        bool isFolder;
        bool isUsable;
    } kRows[] = {
        {"file", true, false, true},          {"folder", true, true, false},
        {"link to file", true, false, true},  {"link to folder", true, false, false},
        {"dangling", true, false, false},     {"loop", true, false, false},
        {"pipe", true, false, false},         {"missing", false, false, false},
        {"file/inside", false, false, false},
    };
    for (const auto& row : kRows) {
        const FileSpec spec = SpecOf(scratch.Path(row.name));
        EXPECT_TRUE(spec.IsValid()) << row.name;
        EXPECT_EQ(spec.DoesExist(), row.exists) << row.name;
        EXPECT_EQ(spec.IsPresent(), row.exists) << row.name;
        EXPECT_EQ(spec.IsFolder(), row.isFolder) << row.name;
        EXPECT_EQ(spec.IsUsable(), row.isUsable) << row.name;
    }
}

TEST(FileSpecState, IsLookedUpAnewAtEveryQuestion) {
    const Scratch scratch;
    const FileSpec spec = SpecOf(scratch.Path("item"));
    EXPECT_FALSE(spec.IsPresent());
    scratch.Write("item", "");
    EXPECT_TRUE(spec.IsPresent());
    EXPECT_FALSE(spec.IsFolder());
    std::filesystem::remove(scratch.Path("item"));
    scratch.MakeFolder("item");
    EXPECT_TRUE(spec.IsFolder());
}

TEST(FileSpecState, AskingForAnExactItemCostsOneSystemCall) {
    const Scratch scratch;
    const FileSpec spec = SpecOf(scratch.Write(kComposed, ""));
    const FaultPlan all(1000000, EIO);
    EXPECT_TRUE(spec.DoesExist());
    EXPECT_EQ(all.Calls(), 1);
    EXPECT_TRUE(spec.IsPresent());
    EXPECT_EQ(all.Calls(), 2);
    EXPECT_FALSE(spec.IsFolder());
    EXPECT_EQ(all.Calls(), 3);
    EXPECT_TRUE(spec.IsUsable());
    EXPECT_EQ(all.Calls(), 4);
}

TEST(FileSpecState, WhatMayNotBeReachedDoesNotExist) {
    const Scratch scratch;
    namespace fs = std::filesystem;
    scratch.Write("closed/file", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms(0600));
    EXPECT_TRUE(Testing::AsOrdinaryUser([&] {
        const FileSpec spec = SpecOf(scratch.Path("closed/file"));
        return spec.IsValid() && !spec.DoesExist() && !spec.IsUsable() &&
               static_cast<const FSRef*>(spec) == nullptr;
    }));
    fs::permissions(scratch.Path("closed"), fs::perms(0700));
}

// --- Volumes and enclosing folders --------------------------------------------------------------

TEST(FileSpecMoving, ToPartitionDenotesTheRootOfTheVolume) {
    const Scratch scratch;
    const TestVolume volume("Disk " + kComposed, scratch.Path());
    FileSpec spec = SpecOf("/before");
    spec.ToPartition(U("Disk " + kComposed));
    EXPECT_EQ(PathOf(spec), scratch.Path());
    EXPECT_TRUE(spec.IsFolder());
    spec.ToPartition(U("Disk " + kDecomposed));
    EXPECT_EQ(PathOf(spec), scratch.Path());
    spec.ToPartition(U("Root"));
    EXPECT_EQ(PathOf(spec), "/");
}

TEST(FileSpecMoving, ToPartitionOfNoVolumeMakesItEmpty) {
    const Uni16String kRows[] = {U("No Such Volume"), U(""), {0xD83D}, {'R', 'o', 'o', 't', 0}};
    for (const Uni16String& row : kRows) {
        FileSpec spec = SpecOf("/before");
        spec.ToPartition(row);
        EXPECT_FALSE(spec.IsValid());
    }
}

TEST(FileSpecMoving, AVolumeWhoseFolderIsMissingIsValidAndDoesNotExist) {
    const Scratch scratch;
    const TestVolume volume("Away", scratch.Path("missing"));
    FileSpec spec;
    spec.ToPartition(U("Away"));
    EXPECT_TRUE(spec.IsValid());
    EXPECT_FALSE(spec.DoesExist());
}

TEST(FileSpecMoving, ToEnclosingFolderStepsOutUpToTheRootFolder) {
    FileSpec spec = SpecOf("/a/b/c");
    const char* const kSteps[] = {"/a/b", "/a", "/", "", ""};
    for (const char* step : kSteps) {
        spec.ToEnclosingFolderOfFile();
        EXPECT_EQ(PathOf(spec), step);
    }
}

// --- URLs ---------------------------------------------------------------------------------------

TEST(FileSpecURLTest, HoldsATextAndIsCleared) {
    FileSpecURL url;
    EXPECT_EQ(url.GetText(), "");
    url = "/Disk/a%20b.txt";
    EXPECT_EQ(url.GetText(), "/Disk/a%20b.txt");
    const FileSpecURL copy(url);
    url.Clear();
    EXPECT_EQ(url.GetText(), "");
    EXPECT_EQ(copy.GetText(), "/Disk/a%20b.txt");
    url = copy;
    EXPECT_EQ(url.GetText(), "/Disk/a%20b.txt");
    url = static_cast<const char*>(nullptr);
    EXPECT_EQ(url.GetText(), "");
}

}  // namespace
}  // namespace Ondrel
