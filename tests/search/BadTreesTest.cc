// Trees that are not as a search would like them: huge, deep, closed, and changing under it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "ondrel/search/search.h"
#include "tests/search/SearchHelpers.h"
#include "tests/support/DeepChain.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using namespace Testing;

using Callback = TreeSearch::Callback;

int DeepFilsea(const std::string& colonPath, const Callback& callback = {}) {
    filref ref = Ref(colonPath);
    return filsea(ref, nullptr, 0, true, callback);
}

int CountOnVolume(const std::string& colonPath) {
    int count = 0;
    filref ref = Ref(colonPath);
    EXPECT_EQ(SearchVolume(ref, [&](const std::string&) { return ++count; }), 0);
    return count;
}

TEST(BadTrees, AStartFolderThatMayNotBeReadGivesNotFound) {
    const SearchedVolume disk;
    disk.Write("closed/doc", "");
    disk.Write("open/inner/doc", "");
    fs::permissions(disk.Path(), fs::perms(0755));
    fs::permissions(disk.Path("closed"), fs::perms::none);
    fs::permissions(disk.Path("open/inner"), fs::perms::none);
    EXPECT_TRUE(AsOrdinaryUser(
        [] { return DeepFilsea("Test:closed:doc") == 0 && DeepFilsea("Test:open:doc") == 0; }));
    EXPECT_TRUE(AsOrdinaryUser([&] {
        FolderSearch search("doc");
        FileSpec folder = SpecOf(disk.Path("closed"));
        return search.searchForFile(folder, nullptr, 0) == -3 && !search.found;
    }));
}

TEST(BadTrees, AFolderThatIsDeletedDuringTheWalkIsPassedOver) {
    const SearchedVolume disk;
    disk.Write("a/doc", "");
    disk.Write("b/inner/doc", "");
    fs::remove(disk.Path("a/doc"));
    const Callback remove = [&](const FileSpec*, const std::string& name) {
        if (name == "b") fs::remove_all(disk.Path("b"));
        return 1;
    };
    EXPECT_EQ(DeepFilsea("Test:doc", remove), 0);
}

TEST(BadTrees, AStartFolderThatIsDeletedDuringTheWalkEndsIt) {
    const SearchedVolume disk;
    disk.Write("start/a/inner", "");
    disk.Write("start/b/inner", "");
    const Callback remove = [&](const FileSpec*, const std::string&) {
        fs::remove_all(disk.Path("start"));
        return 1;
    };
    EXPECT_EQ(DeepFilsea("Test:start:doc", remove), 0);
}

TEST(BadTrees, AFolderThatIsReplacedByALinkDuringTheWalkIsNotEntered) {
    const SearchedVolume disk;
    const Scratch outside;
    outside.Write("doc", "");
    disk.MakeFolder("a");
    const Callback replace = [&](const FileSpec*, const std::string& name) {
        if (name == "a") {
            fs::remove(disk.Path("a"));
            fs::create_directory_symlink(outside.Path(), disk.Path("a"));
        }
        return 1;
    };
    EXPECT_EQ(DeepFilsea("Test:doc", replace), 0);
}

TEST(BadTrees, AStartFolderThatIsReplacedDuringTheWalkIsSearchedAsItWasOpened) {
    const SearchedVolume disk;
    disk.Write("start/a/doc", "");
    disk.Write("start/b/other", "");
    bool replaced = false;
    const Callback replace = [&](const FileSpec*, const std::string&) {
        if (!replaced) {
            fs::rename(disk.Path("start"), disk.Path("aside"));
            fs::create_directory(disk.Path("start"));
        }
        replaced = true;
        return 1;
    };
    // The match is found in the folder that has another name by now: no file is there to be named.
    FileSpec folder = SpecOf(disk.Path("start"));
    TreeSearch search("doc", replace);
    EXPECT_EQ(search.searchForFile(folder, nullptr, 0), 1);
    EXPECT_EQ(PathOf(folder), disk.Path("start/a"));
    EXPECT_FALSE(folder.DoesExist());
}

TEST(BadTrees, NamesThatAreNotUtf8ArePassedOver) {
    const SearchedVolume disk;
    disk.Write("\xFF/doc", "");
    disk.Write("a/do\xFF", "");
    disk.Write("b/c/doc", "");
    filref ref = Ref("Test:doc");
    EXPECT_EQ(filsea(ref, 0, true), 1);
    EXPECT_EQ(TextOf(ref), "Test:b:c:doc");
    EXPECT_EQ(CountOnVolume("Test:doc"), 1);
}

TEST(BadTrees, AHundredThousandEntriesInOneFolderAreSearched) {
    const SearchedVolume disk;
    constexpr int kEntries = 100000;
    const std::string folder = disk.MakeFolder("big");
    const std::string first = disk.Write("big/file", "");
    for (int i = 0; i < kEntries; ++i) {
        // A second name of one file costs less than a file.
        const std::string name = folder + "/" + std::to_string(i) + " of many";
        if (link(first.c_str(), name.c_str()) != 0) Testing::WriteAll(name, "");
    }
    disk.Write("big/inner/lost", "");
    EXPECT_EQ(DeepFilsea("Test:lost"), 1);
    EXPECT_EQ(DeepFilsea("Test:big:99999 OF MANY"), 1);
    EXPECT_EQ(DeepFilsea("Test:nothing"), 0);
    EXPECT_EQ(CountOnVolume("Test:4711 of many"), 1);
    FolderSearch search("99999 OF MANY");
    FileSpec spec = SpecOf(folder);
    EXPECT_EQ(search.searchForFile(spec, nullptr, 0), 0);
    EXPECT_TRUE(search.found);
}

TEST(BadTrees, WhatLiesTooDeepForAnyPathIsFoundByItsWholePathOrNotAtAll) {
    const SearchedVolume disk;
    const std::vector<std::string> names(30, std::string(200, 'n'));
    const std::string path = MakeDeepChain(disk.Path(), names, "doc");
    ASSERT_GT(path.size(), 4096U);
    filref ref = Ref("Test:doc");
    EXPECT_EQ(filsea(ref, 0, true), 0) << "no reference can hold it";
    EXPECT_EQ(TextOf(ref), "Test:doc");
    TreeSearch search("doc", {});
    FileSpec folder = SpecOf(disk.Path());
    EXPECT_EQ(search.searchForFile(folder, nullptr, 0), 1);
    EXPECT_EQ(PathOf(folder) + "/doc", path);
}

TEST(BadTrees, DepthIsNotBoundedByTheOpenFilesOfTheProcess) {
    const SearchedVolume disk;
    const std::vector<std::string> names(400, "d");
    MakeDeepChain(disk.Path(), names, "doc");
    struct rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    struct rlimit few = before;
    few.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    const int found = DeepFilsea("Test:doc");
    const int count = CountOnVolume("Test:doc");
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(found, 1);
    EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace Ondrel
