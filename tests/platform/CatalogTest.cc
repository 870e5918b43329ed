// The catalog search: all items of a name in a tree, in batches.
#include "ondrel/platform/Catalog.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <vector>

#include "ondrel/platform/MountTable.h"
#include "tests/support/DeepChain.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using Paths = std::multiset<std::string>;
using Testing::FaultPlan;
using Testing::Scratch;
using Utf16 = std::vector<UniChar>;

const Utf16 kDoc = {'d', 'o', 'c'};
const Utf16 kZoe = {'Z', 'o', 0xEB};

FSRef RefOf(const std::string& path) {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr) << path;
    return ref;
}

// A search with a block that can be spoilt.
struct Search {
    explicit Search(const std::string& folder, const Utf16& soughtName = kDoc,
                    std::size_t batch = 100)
        : name(soughtName), refs(batch) {
        const FSRef container = RefOf(folder);
        opened = FSOpenIterator(&container, kFSIterateFlat, &iterator);
        params.searchBits = fsSBFullName;
        params.searchName = name.data();
        params.searchNameLength = name.size();
        block.iteratorFlags = kFSIterateSubtree;
        block.iterator = iterator;
        block.maximumItems = batch;
        block.refs = refs.data();
        block.searchParams = &params;
    }
    ~Search() {
        if (iterator != nullptr) {
            EXPECT_EQ(FSCloseIterator(iterator), noErr);
        }
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    // One call; what it found is added to `found`.
    OSErr Next() {
        const OSErr code = PBCatalogSearchSync(&block);
        for (std::size_t i = 0; i < block.actualItems; ++i) {
            std::string path;
            if (FSRefMakePath(&refs[i], &path) == noErr) found.insert(path);
        }
        batches.push_back(block.actualItems);
        return code;
    }

    OSErr Run() {
        OSErr code = noErr;
        while (code == noErr)
            code = Next();
        return code;
    }

    Utf16 name;
    std::vector<FSRef> refs;
    FSIterator iterator = nullptr;
    OSErr opened = noErr;
    FSSearchParams params{};
    FSCatalogBulkParam block{};
    Paths found;
    std::vector<std::size_t> batches;
};

Paths AllIn(const std::string& folder, const Utf16& name = kDoc) {
    Search search(folder, name);
    EXPECT_EQ(search.Run(), errFSNoMoreItems);
    return search.found;
}

TEST(Catalog, FindsFilesFoldersAndLinksOfTheNameAtAnyDepth) {
    const Scratch scratch;
    const Paths expected = {scratch.Write("doc", ""), scratch.MakeFolder("a/doc"),
                            scratch.Write("a/doc/doc", ""), scratch.Path("b/doc")};
    scratch.MakeFolder("b");
    fs::create_symlink("nowhere", scratch.Path("b/doc"));
    scratch.Write("docs", "");
    scratch.Write("a/other", "");
    EXPECT_EQ(AllIn(scratch.Path()), expected);
}

TEST(Catalog, CaseCountsAndCompositionDoesNot) {
    const Scratch scratch;
    const Paths expected = {scratch.Write("a/Zo\xC3\xAB", ""), scratch.Write("b/Zoe\xCC\x88", "")};
    scratch.Write("c/zo\xC3\xAB", "");
    scratch.Write("c/ZOE\xCC\x88", "");
    scratch.Write("c/Zoe", "");
    EXPECT_EQ(AllIn(scratch.Path(), kZoe), expected);
    scratch.Write("c/DOC", "");
    EXPECT_TRUE(AllIn(scratch.Path()).empty());
}

TEST(Catalog, ManyMatchesComeInBatchesUntilTheEnd) {
    const Scratch scratch;
    Paths expected;
    for (int i = 0; i < 250; ++i)
        expected.insert(scratch.Write("folder " + std::to_string(i) + "/doc", ""));
    Search search(scratch.Path());
    EXPECT_EQ(search.Next(), noErr);
    EXPECT_EQ(search.Next(), noErr);
    EXPECT_EQ(search.Next(), errFSNoMoreItems);
    EXPECT_EQ(search.found, expected);
    EXPECT_EQ(search.batches, (std::vector<std::size_t>{100, 100, 50}));
    EXPECT_EQ(search.Next(), errFSNoMoreItems) << "and so it stays";
    EXPECT_EQ(search.batches.back(), 0U);
}

TEST(Catalog, ABatchThatIsFullAtTheLastMatchIsFollowedByTheEnd) {
    const Scratch scratch;
    scratch.Write("a/doc", "");
    scratch.Write("b/doc", "");
    Search search(scratch.Path(), kDoc, 1);
    EXPECT_EQ(search.Run(), errFSNoMoreItems);
    EXPECT_EQ(search.batches, (std::vector<std::size_t>{1, 1, 0}));
    EXPECT_EQ(search.found.size(), 2U);
}

TEST(Catalog, AFolderOfTheNameIsDeliveredAndSearched) {
    const Scratch scratch;
    const Paths expected = {scratch.MakeFolder("doc"), scratch.MakeFolder("doc/doc")};
    Search search(scratch.Path(), kDoc, 1);
    EXPECT_EQ(search.Run(), errFSNoMoreItems);
    EXPECT_EQ(search.found, expected);
}

TEST(Catalog, LinksAreNotFollowed) {
    const Scratch scratch;
    const Scratch outside;
    outside.Write("doc", "");
    scratch.MakeFolder("a");
    fs::create_directory_symlink(outside.Path(), scratch.Path("a/away"));
    fs::create_directory_symlink("..", scratch.Path("a/circle"));
    EXPECT_TRUE(AllIn(scratch.Path()).empty());
    fs::create_directory_symlink(outside.Path(), scratch.Path("start"));
    EXPECT_EQ(AllIn(scratch.Path("start")), Paths{scratch.Path("start/doc")})
        << "but at the start they are";
}

TEST(Catalog, SidecarsAndNamesThatAreNotUtf8ArePassedOver) {
    const Scratch scratch;
    scratch.Write("file", "");
    scratch.Write("._file", "");
    scratch.Write("\xFF/doc", "");
    EXPECT_TRUE(AllIn(scratch.Path(), {'.', '_', 'f', 'i', 'l', 'e'}).empty());
    EXPECT_TRUE(AllIn(scratch.Path()).empty());
    scratch.Write("a/._file", "");
    EXPECT_EQ(AllIn(scratch.Path(), {'.', '_', 'f', 'i', 'l', 'e'}).size(), 1U)
        << "without its partner it is an item";
}

TEST(Catalog, ASlashInTheNameIsAColonOnDisk) {
    const Scratch scratch;
    const Paths expected = {scratch.Write("a/b:c", "")};
    EXPECT_EQ(AllIn(scratch.Path(), {'b', '/', 'c'}), expected);
}

TEST(Catalog, AVolumeInsideOfAnotherIsNotEntered) {
    const Scratch scratch;
    scratch.Write("inner/doc", "");
    const Paths expected = {scratch.Write("beside/doc", "")};
    ASSERT_TRUE(Host::AddMount("CatalogOuter", scratch.Path()));
    ASSERT_TRUE(Host::AddMount("CatalogInner", scratch.Path("inner")));
    EXPECT_EQ(AllIn(scratch.Path()), expected);
    EXPECT_EQ(AllIn(scratch.Path("inner")), Paths{scratch.Path("inner/doc")});
    // One that cannot be reached by its name is no volume of its own.
    ASSERT_TRUE(Host::AddMount("CatalogInner", scratch.Path("beside/other")));
    EXPECT_EQ(AllIn(scratch.Path()).size(), 2U);
    Host::RemoveMount("CatalogInner");
    Host::RemoveMount("CatalogOuter");
}

// Mounts a file system of its own in a name space of its own, where we may.
TEST(Catalog, AnotherFileSystemMountedInsideIsNotEntered) {
    const Scratch scratch;
    scratch.MakeFolder("mounted");
    scratch.Write("beside/doc", "");
    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, "") != 0)
            _exit(2);
        if (mount("tmpfs", scratch.Path("mounted").c_str(), "tmpfs", 0, "") != 0) _exit(2);
        Testing::WriteAll(scratch.Path("mounted/doc"), "");
        _exit(AllIn(scratch.Path()) == Paths{scratch.Path("beside/doc")} ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "this user may mount nothing here";
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(Catalog, FoldersThatMayNotBeReadArePassedOver) {
    const Scratch scratch;
    scratch.Write("closed/doc", "");
    scratch.Write("open/doc", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms::none);
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) _exit(2);
        const FSRef closed = RefOf(scratch.Path("closed"));
        FSIterator iterator = nullptr;
        const bool refused = FSOpenIterator(&closed, kFSIterateFlat, &iterator) == permErr;
        const bool passed = AllIn(scratch.Path()) == Paths{scratch.Path("open/doc")};
        _exit(refused && passed ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(Catalog, WhatIsNoFolderHasNoIterator) {
    const Scratch scratch;
    FSIterator iterator = nullptr;
    const FSRef file = RefOf(scratch.Write("file", ""));
    EXPECT_EQ(FSOpenIterator(&file, kFSIterateFlat, &iterator), dirNFErr);
    const FSRef gone = RefOf(scratch.MakeFolder("gone"));
    fs::remove(scratch.Path("gone"));
    EXPECT_EQ(FSOpenIterator(&gone, kFSIterateFlat, &iterator), fnfErr);
    const FSRef nothing{};
    EXPECT_EQ(FSOpenIterator(&nothing, kFSIterateFlat, &iterator), fnfErr);
    EXPECT_EQ(FSOpenIterator(nullptr, kFSIterateFlat, &iterator), paramErr);
    const FSRef folder = RefOf(scratch.Path());
    EXPECT_EQ(FSOpenIterator(&folder, kFSIterateFlat, nullptr), paramErr);
    EXPECT_EQ(FSOpenIterator(&folder, kFSIterateSubtree, &iterator), paramErr);
    EXPECT_EQ(FSCloseIterator(nullptr), paramErr);
    EXPECT_EQ(iterator, nullptr);
}

TEST(Catalog, ABlockThatAsksForWhatIsNotServedIsRefused) {
    const Scratch scratch;
    scratch.Write("doc", "");
    const auto spoilt = [&](auto spoil) {
        Search search(scratch.Path());
        spoil(search);
        const OSErr code = PBCatalogSearchSync(&search.block);
        EXPECT_EQ(search.block.actualItems, 0U);
        return code;
    };
    HFSUniStr255 name;
    FSCatalogInfo info{};
    EXPECT_EQ(PBCatalogSearchSync(nullptr), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.iterator = nullptr; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.searchParams = nullptr; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.refs = nullptr; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.maximumItems = 0; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.iteratorFlags = kFSIterateFlat; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.ioCompletion = [](FSCatalogBulkParam*) {}; }),
              paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.whichInfo = 1; }), paramErr);
    EXPECT_EQ(spoilt([&](Search& s) { s.block.catalogInfo = &info; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.block.specs = &s; }), paramErr);
    EXPECT_EQ(spoilt([&](Search& s) { s.block.names = &name; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.params.searchBits = 1; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.params.searchTime = 1; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.params.searchName = nullptr; }), paramErr);
    EXPECT_EQ(spoilt([](Search& s) { s.params.searchNameLength = 0; }), errFSNoMoreItems);
}

TEST(Catalog, AnItemWhosePathIsTooLongForTheHostIsFoundWhole) {
    const Scratch scratch;
    const std::vector<std::string> names(40, std::string(200, 'n'));
    const std::string path = Testing::MakeDeepChain(scratch.Path(), names, "doc");
    ASSERT_GT(path.size(), 8000U);
    EXPECT_EQ(AllIn(scratch.Path()), Paths{path});
}

// After a failure of the host the search goes on behind it, and finds no item twice.
TEST(Catalog, AFailureIsReportedAndTheSearchGoesOnBehindIt) {
    const Scratch scratch;
    Paths expected;
    for (int i = 0; i < 5; ++i)
        expected.insert(scratch.Write("folder " + std::to_string(i) + "/doc", ""));
    const int before = Testing::OpenDescriptors();
    int reported = 0;
    for (int n = 1;; ++n) {
        Search search(scratch.Path());
        ASSERT_EQ(search.opened, noErr);
        const FaultPlan plan(n, EIO);
        OSErr code = search.Run();
        reported += code == ioErr;
        if (code == ioErr) code = search.Run();
        EXPECT_EQ(code, errFSNoMoreItems) << plan.Where();
        for (const std::string& path : search.found) {
            EXPECT_TRUE(expected.contains(path));
            EXPECT_EQ(search.found.count(path), 1U);
        }
        EXPECT_GE(search.found.size(), n == 1 ? 0U : 4U) << plan.Where();
        if (plan.Fired()) continue;
        EXPECT_EQ(search.found, expected);
        break;
    }
    EXPECT_GT(reported, 10);
    EXPECT_EQ(Testing::OpenDescriptors(), before);
}

TEST(Catalog, AnIteratorThatCannotBeOpenedLeavesNothingBehind) {
    const Scratch scratch;
    const FSRef folder = RefOf(scratch.Path());
    const int before = Testing::OpenDescriptors();
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, ENOMEM);
        FSIterator iterator = nullptr;
        const OSErr code = FSOpenIterator(&folder, kFSIterateFlat, &iterator);
        if (code == noErr) {
            EXPECT_EQ(FSCloseIterator(iterator), noErr);
        }
        if (code != noErr) {
            EXPECT_EQ(iterator, nullptr);
        }
        EXPECT_EQ(Testing::OpenDescriptors(), before);
        if (!plan.Fired()) break;
    }
}

}  // namespace
}  // namespace Ondrel
