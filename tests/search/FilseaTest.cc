// filsea: a reference whose file has moved is led to it again, or stays as it was.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/search/search.h"
#include "tests/search/IcuCalls.h"
#include "tests/search/SearchHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using namespace Testing;

constexpr bool kShallow = false;
constexpr bool kDeep = true;

// Searches; answers the reference's text afterwards, with "lost " before it when nothing was found.
std::string Found(const std::string& colonPath, bool deep, unsigned int type = 0) {
    filref ref = Ref(colonPath);
    const int result = filsea(ref, type, deep);
    EXPECT_TRUE(result == 0 || result == 1);
    return (result == 1 ? "" : "lost ") + TextOf(ref);
}

TEST(Filsea, WithoutDeepOnlyTheReferencesOwnFolderIsSearched) {
    const SearchedVolume disk;
    disk.Write("a/doc", "");
    disk.Write("a/sub/other", "");
    EXPECT_EQ(Found("Test:a:doc", kShallow), "Test:a:doc");
    EXPECT_EQ(Found("Test:a:other", kShallow), "lost Test:a:other");
    EXPECT_EQ(Found("Test:doc", kShallow), "lost Test:doc");
}

TEST(Filsea, WithDeepTheReferenceNamesTheFileInTheFolderBelow) {
    const SearchedVolume disk;
    disk.Write("a/sub/deeper/doc", "");
    EXPECT_EQ(Found("Test:a:doc", kDeep), "Test:a:sub:deeper:doc");
    EXPECT_EQ(Found("Test:doc", kDeep), "Test:a:sub:deeper:doc");
    EXPECT_EQ(Found("Test:a:sub:deeper:doc", kDeep), "Test:a:sub:deeper:doc");
    EXPECT_EQ(Found("Test:a:nothing", kDeep), "lost Test:a:nothing");
}

TEST(Filsea, ItsOwnFolderWinsOverThoseBelow) {
    const SearchedVolume disk;
    disk.Write("a/sub/doc", "");
    disk.Write("a/DOC", "");
    EXPECT_EQ(Found("Test:a:doc", kDeep), "Test:a:DOC");
}

TEST(Filsea, TheReferenceNamesTheFileAsTheDiskDoesAndPrecomposed) {
    const SearchedVolume disk;
    disk.Write("a/b/ZOE\xCC\x88.txt", "");
    EXPECT_EQ(Found("Test:a:zo\xC3\xAB.txt", kDeep), "Test:a:b:ZO\xC3\x8B.txt");
    disk.Write("c/" + kDecomposed, "");
    EXPECT_EQ(Found("Test:c:" + kComposed, kShallow), "Test:c:" + kComposed);
    EXPECT_EQ(Found("Test:c:" + kDecomposed, kShallow), "Test:c:" + kComposed);
}

TEST(Filsea, OfSeveralSpellingsTheReferencesOwnIsTaken) {
    const SearchedVolume disk;
    for (const char* name : {"a/doc", "a/Doc", "a/DOC"})
        disk.Write(name, "");
    for (const char* name : {"doc", "Doc", "DOC"})
        EXPECT_EQ(Found(std::string("Test:") + name, kDeep), std::string("Test:a:") + name);
}

TEST(Filsea, ASpellingOfAnotherTypeIsNotTakenForTheMatch) {
    RegisterTypes();
    const SearchedVolume disk;
    disk.MakeFolder("a");
    // Told by their codes: both have the same extension.
    RegisterFileType({7003, MakeFourCC("Sear"), MakeFourCC("TypC"), ""});
    RegisterFileType({7004, MakeFourCC("Sear"), MakeFourCC("TypD"), ""});
    const auto make = [&](const char* name, unsigned int type) {
        FileSpecFunctions functions;
        FileSpec spec = SpecOf(disk.Path("a"));
        spec.ToChildFile(U(name));
        EXPECT_TRUE(functions.CreateFileWithType(spec, GetFileTypeForIdentifier(type)));
    };
    make("doc", 7003);
    make("DOC", 7004);
    EXPECT_EQ(Found("Test:a:doc", kShallow, 7003), "Test:a:doc");
    EXPECT_EQ(Found("Test:a:doc", kShallow, 7004), "Test:a:DOC");
    EXPECT_EQ(Found("Test:doc", kDeep, 7004), "Test:a:DOC");
    EXPECT_EQ(Found("Test:DOC", kDeep, 7003), "Test:a:doc");
}

TEST(Filsea, Type0TakesAnyAndAnotherSkipsFilesOfOtherKnownTypes) {
    RegisterTypes();
    const SearchedVolume disk;
    disk.Write("a/one.spict", "");
    disk.Write("a/unknown", "");
    EXPECT_EQ(Found("Test:one.spict", kDeep, 0), "Test:a:one.spict");
    EXPECT_EQ(Found("Test:one.spict", kDeep, kPicture), "Test:a:one.spict");
    EXPECT_EQ(Found("Test:one.spict", kDeep, kText), "lost Test:one.spict");
    EXPECT_EQ(Found("Test:unknown", kDeep, kText), "Test:a:unknown");
    filref ref = Ref("Test:one.spict");
    const unsigned int types[] = {kText, kPicture};
    EXPECT_EQ(filsea(ref, types, 1, kDeep, {}), 0);
    EXPECT_EQ(filsea(ref, types, 0, kDeep, {}), 1) << "an empty list takes any";
    ref = Ref("Test:one.spict");
    EXPECT_EQ(filsea(ref, types, 2, kDeep, {}), 1);
}

TEST(Filsea, AFolderOfTheNameIsFoundWhateverTheTypes) {
    RegisterTypes();
    const SearchedVolume disk;
    disk.MakeFolder("a/one.spict");
    EXPECT_EQ(Found("Test:one.spict", kDeep, kText), "Test:a:one.spict:");
}

TEST(Filsea, ALinkOfTheNameIsFoundAsItself) {
    const SearchedVolume disk;
    const Scratch outside;
    disk.MakeFolder("a");
    fs::create_symlink(outside.Write("other", ""), disk.Path("a/doc"));
    EXPECT_EQ(Found("Test:doc", kDeep), "Test:a:doc");
    EXPECT_EQ(Found("Test:a:doc", kShallow), "Test:a:doc") << "and not looked for at its target";
    fs::create_symlink("nowhere", disk.Path("a/gone"));
    EXPECT_EQ(Found("Test:a:gone", kShallow), "Test:a:gone");
}

TEST(Filsea, FoldersOnTheWayMayBeLinks) {
    const SearchedVolume disk;
    disk.Write("real/sub/doc", "");
    fs::create_directory_symlink("real", disk.Path("alias"));
    EXPECT_EQ(Found("Test:alias:doc", kDeep), "Test:real:sub:doc");
}

TEST(Filsea, ASlashInTheNameIsFound) {
    const SearchedVolume disk;
    disk.Write("a/on:off", "");
    EXPECT_EQ(Found("Test:on/off", kDeep), "Test:a:on/off");
}

TEST(Filsea, TheCallbackPrunesTheDeepSearchAndIsNotUsedByTheOther) {
    const SearchedVolume disk;
    disk.Write("a/closed/doc", "");
    disk.Write("a/open/doc", "");
    int calls = 0;
    const auto prune = [&](const FileSpec*, const std::string& name) {
        ++calls;
        return name == "closed" ? 0 : 1;
    };
    filref ref = Ref("Test:a:doc");
    EXPECT_EQ(filsea(ref, nullptr, 0, kShallow, prune), 0);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(filsea(ref, nullptr, 0, kDeep, prune), 1);
    EXPECT_EQ(TextOf(ref), "Test:a:open:doc");
    EXPECT_GT(calls, 0);
}

TEST(Filsea, AReferenceThatSaysNoPlaceIsLeftAlone) {
    const SearchedVolume disk;
    disk.Write("doc", "");
    filref null;
    EXPECT_EQ(filsea(null, 0, kDeep), 0);
    EXPECT_EQ(null.path, nullptr);
    for (const char* path : {"", "Test:", "Test:missing:doc", "NoSuchVolume:doc", "Test:a\xFF:doc"})
        EXPECT_EQ(Found(path, kDeep), std::string("lost ") + path);
}

TEST(Filsea, WhatIsFoundWhereNoReferenceReachesCountsAsNotFound) {
    const SearchedVolume disk;
    std::string folder;
    std::string colons;
    for (int i = 0; i < 6; ++i) {
        folder += std::string(180, 'n') + "/";
        colons += ":" + std::string(180, 'n');
    }
    disk.Write(folder + "doc", "");
    EXPECT_EQ(Found("Test:doc", kDeep), "lost Test:doc");
    // One folder less fits.
    constexpr std::size_t kFive = 5UL * 181;
    disk.Write(folder.substr(0, kFive) + "doc", "");
    EXPECT_EQ(Found("Test:doc", kDeep), "Test" + colons.substr(0, kFive) + ":doc");
}

TEST(Filsea, TheLongestPathThatAReferenceHoldsIsFoundAndOneByteMoreIsNot) {
    const SearchedVolume disk;
    // "Test" and five folders of 180 take 4 + 5 * 181 = 909 bytes; 1023 leave 113 for ":" and name.
    std::string folder;
    for (int i = 0; i < 5; ++i)
        folder += std::string(180, 'n') + "/";
    const std::string fits(113, 'f');
    const std::string exceeds(114, 'e');
    disk.Write(folder + fits, "");
    disk.Write(folder + exceeds, "");
    EXPECT_TRUE(Found("Test:" + fits, kDeep).ends_with(":" + fits));
    EXPECT_EQ(Found("Test:" + fits, kDeep).size(), 1023U);
    EXPECT_EQ(Found("Test:" + exceeds, kDeep), "lost Test:" + exceeds);
}

TEST(Filsea, AsciiNamesNeverReachTheUnicodeRules) {
    const SearchedVolume disk;
    for (int i = 0; i < 50; ++i)
        disk.Write("folder " + std::to_string(i % 5) + "/File " + std::to_string(i), "");
    filref ref = Ref("Test:FILE 49");
    const int before = IcuCalls();
    EXPECT_EQ(filsea(ref, 0, kDeep), 1);
    EXPECT_EQ(filsea(ref, 0, kShallow), 1);
    EXPECT_EQ(IcuCalls(), before);
    disk.Write("folder 0/File \xC3\xAB", "");
    ref = Ref("Test:file e\xCC\x88");
    EXPECT_EQ(filsea(ref, 0, kDeep), 1);
    EXPECT_GT(IcuCalls(), before) << "the calls are counted";
}

TEST(Filsea, AfterAnyFailureTheReferenceIsAsItWasOrRight) {
    const SearchedVolume disk;
    disk.Write("a/b/doc", "");
    disk.MakeFolder("c");
    const int before = OpenDescriptors();
    int lost = 0;
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO);
        filref ref = Ref("Test:doc");
        const int result = filsea(ref, 0, kDeep);
        EXPECT_EQ(TextOf(ref), result == 1 ? "Test:a:b:doc" : "Test:doc") << plan.Where();
        EXPECT_EQ(OpenDescriptors(), before) << plan.Where();
        lost += result == 0;
        if (plan.Fired()) continue;
        EXPECT_EQ(result, 1);
        break;
    }
    EXPECT_GT(lost, 3);
}

}  // namespace
}  // namespace Ondrel
