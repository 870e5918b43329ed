// Walks over trees: every folder once, few system calls, bounded memory, the way back out of any
// depth.
#include "ondrel/platform/FolderTree.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "ondrel/platform/Syscalls.h"
#include "tests/support/DeepChain.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using Kind = FolderTree::Kind;
using Paths = std::multiset<std::string>;
using Testing::FaultPlan;
using Testing::Scratch;

constexpr int kNever = 1000000;  // a fault plan that only counts

// A few hundred of these fill a transfer.
const std::string kLongName =
    "/a file whose name is as long as this one, so that a folder need not hold very many of them ";

// The paths of all entries of a tree, with each folder entered that can be.
Paths Walk(FolderTree& tree) {
    Paths paths;
    for (;;) {
        if (!tree.Next()) {
            if (!tree.Leave()) return paths;
            continue;
        }
        paths.insert(tree.Path() + "/" + std::string(tree.Name()));
        if (tree.GetKind() != Kind::kOther) (void)tree.Enter();
    }
}

Paths Walk(const std::string& path) {
    FolderTree tree;
    EXPECT_EQ(tree.Open(path.c_str()), noErr);
    return Walk(tree);
}

// Moves to an entry of the present folder.
bool MoveTo(FolderTree& tree, const std::string& name) {
    while (tree.Next())
        if (tree.Name() == name) return true;
    return false;
}

TEST(FolderTree, EveryEntryOfEveryFolderComesOnce) {
    const Scratch scratch;
    const Paths expected = {scratch.Write("a", ""),        scratch.MakeFolder("f"),
                            scratch.Write("f/b", ""),      scratch.MakeFolder("f/g"),
                            scratch.Write("f/g/c", ""),    scratch.MakeFolder("empty"),
                            scratch.Write("._a", "stays"), scratch.Write("f/Zo\xEB", "")};
    EXPECT_EQ(Walk(scratch.Path()), expected);
}

TEST(FolderTree, TellsKindsAndNeverEntersALink) {
    const Scratch scratch;
    scratch.MakeFolder("folder/inner");
    scratch.Write("file", "");
    fs::create_directory_symlink("folder", scratch.Path("link"));
    fs::create_directory_symlink(".", scratch.Path("circle"));
    FolderTree tree;
    ASSERT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    std::map<std::string, Kind> kinds;
    while (tree.Next()) {
        kinds.emplace(tree.Name(), tree.GetKind());
        if (tree.Name() != "folder") {
            EXPECT_EQ(tree.Enter(), dirNFErr) << tree.Name();
        }
    }
    const std::map<std::string, Kind> expected = {{"folder", Kind::kFolder},
                                                  {"file", Kind::kOther},
                                                  {"link", Kind::kOther},
                                                  {"circle", Kind::kOther}};
    EXPECT_EQ(kinds, expected);
    EXPECT_EQ(tree.Depth(), 0U);
}

ssize_t WithoutKinds(int fd, void* buffer, size_t size) {
    const ssize_t got = kHostSyscalls.getdents64(fd, buffer, size);
    char* bytes = static_cast<char*>(buffer);  // of each record: its size at 16, its kind at 18
    for (ssize_t at = 0; at < got;) {
        unsigned short length;
        std::memcpy(&length, bytes + at + 16, sizeof length);
        bytes[at + 18] = 0;
        at += length;
    }
    return got;
}

TEST(FolderTree, AsksForAKindThatTheFolderDoesNotTell) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    scratch.Write("file", "");
    syscalls.getdents64 = WithoutKinds;
    FolderTree tree;
    EXPECT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    while (tree.Next()) {
        EXPECT_EQ(tree.GetKind(), Kind::kUnknown);
        const bool isFolder = tree.Name() == "folder";
        EXPECT_EQ(tree.AskKind(), isFolder ? Kind::kFolder : Kind::kOther);
    }
    EXPECT_EQ(Walk(scratch.Path()).size(), 2U);
    syscalls.getdents64 = kHostSyscalls.getdents64;
}

TEST(FolderTree, AFolderMayBeEnteredThroughALinkAtTheStart) {
    const Scratch scratch;
    scratch.Write("folder/inner", "");
    fs::create_directory_symlink("folder", scratch.Path("link"));
    EXPECT_EQ(Walk(scratch.Path("link")), Paths{scratch.Path("link/inner")});
}

TEST(FolderTree, WhatCannotBeOpenedHasNoEntries) {
    const Scratch scratch;
    FolderTree tree;
    EXPECT_EQ(tree.Open(scratch.Path("missing").c_str()), fnfErr);
    EXPECT_EQ(tree.Open(scratch.Write("file", "").c_str()), dirNFErr);
    EXPECT_FALSE(tree.Next());
    EXPECT_FALSE(tree.Leave());
    EXPECT_EQ(tree.Rewind(), fnfErr);
    EXPECT_EQ(tree.Enter(), fnfErr);
    FolderIdentity identity{};
    EXPECT_EQ(tree.GetIdentity(&identity), fnfErr);
}

TEST(FolderTree, OnlyNamesInUtf8AndNoSidecarsOfOthersAreItems) {
    const Scratch scratch;
    for (const char* name : {"a", "._a", "._alone", "Zo\xC3\xAB", "Zo\xEB"})
        scratch.Write(name, "");
    FolderTree tree;
    ASSERT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    EXPECT_FALSE(tree.IsItem()) << "before the first entry";
    std::set<std::string> items;
    while (tree.Next())
        if (tree.IsItem()) items.emplace(tree.Name());
    EXPECT_EQ(items, (std::set<std::string>{"a", "._alone", "Zo\xC3\xAB"}));
}

TEST(FolderTree, AFileServersFolderOfSidecarsIsNoItemAndAFileOfItsNameIs) {
    const Scratch scratch;
    scratch.MakeFolder(".AppleDouble");
    scratch.Write("a/.AppleDouble", "");
    FolderTree tree;
    ASSERT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    ASSERT_TRUE(MoveTo(tree, ".AppleDouble"));
    EXPECT_FALSE(tree.IsItem());
    ASSERT_EQ(tree.Open(scratch.Path("a").c_str()), noErr);
    ASSERT_TRUE(MoveTo(tree, ".AppleDouble"));
    EXPECT_TRUE(tree.IsItem());
}

TEST(FolderTree, AnEntryCostsNoSystemCall) {
    const Scratch scratch;
    for (int i = 0; i < 300; ++i)
        scratch.Write("file " + std::to_string(i), "");
    const FaultPlan plan(kNever, EIO);
    EXPECT_EQ(Walk(scratch.Path()).size(), 300U);
    EXPECT_LE(plan.Calls(), 5) << "open, one or two transfers, the end, close";
}

TEST(FolderTree, AFolderOfOneTransferIsNotReadAgain) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.MakeFolder("f");
    FolderTree tree;
    ASSERT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    const Paths first = Walk(tree);
    const FaultPlan plan(kNever, EIO);
    ASSERT_EQ(tree.Rewind(), noErr);
    Paths again;
    while (tree.Next())
        again.insert(tree.Path() + "/" + std::string(tree.Name()));
    EXPECT_EQ(again, first);
    EXPECT_EQ(plan.Calls(), 0);
}

TEST(FolderTree, AFolderOfManyTransfersIsReadAgainFromItsStart) {
    const Scratch scratch;
    for (int i = 0; i < 400; ++i)
        scratch.Write(kLongName + std::to_string(i), "");
    FolderTree tree;
    ASSERT_EQ(tree.Open(scratch.Path().c_str()), noErr);
    const Paths first = Walk(tree);
    EXPECT_EQ(first.size(), 400U);
    ASSERT_EQ(tree.Rewind(), noErr);
    EXPECT_EQ(Walk(tree), first);
    const FaultPlan plan(1, EIO, "lseek");
    EXPECT_EQ(tree.Rewind(), ioErr);
    EXPECT_FALSE(tree.Next());
}

// Many levels, each with folders beside the one that leads down, one of them too big for a
// transfer.
struct DeepTree {
    static constexpr int kLevels = 90;
    static constexpr int kBigLevel = 2;

    DeepTree() {
        std::string path = scratch.Path();
        for (int level = 0; level < kLevels; ++level) {
            for (const char* name : {"a", "down", "z"}) {
                expected.insert(path + "/" + name);
                fs::create_directory(path + "/" + name);
            }
            const int files = level == kBigLevel ? 400 : 1;
            for (int i = 0; i < files; ++i) {
                const std::string file = path + kLongName + std::to_string(i);
                Testing::WriteAll(file, "");
                expected.insert(file);
            }
            path += "/down";
        }
    }

    std::string Down(int level) const {
        std::string path = scratch.Path();
        for (int i = 0; i < level; ++i)
            path += "/down";
        return path;
    }

    Scratch scratch;
    Paths expected;
};

TEST(FolderTree, ComesBackFromAnyDepthToWhereItWas) {
    const DeepTree deep;
    EXPECT_EQ(Walk(deep.scratch.Path()), deep.expected);
}

TEST(FolderTree, NeverHoldsMoreThan64FoldersOpen) {
    const DeepTree deep;
    const int before = Testing::OpenDescriptors();
    FolderTree tree;
    ASSERT_EQ(tree.Open(deep.scratch.Path().c_str()), noErr);
    int most = 0;
    while (MoveTo(tree, "down") && tree.Enter() == noErr)
        most = std::max(most, Testing::OpenDescriptors() - before);
    EXPECT_EQ(tree.Depth(), static_cast<std::size_t>(DeepTree::kLevels));
    EXPECT_EQ(most, 64);
    while (tree.Leave())
        EXPECT_LE(Testing::OpenDescriptors() - before, 64);
    EXPECT_EQ(Testing::OpenDescriptors() - before, 1);
}

// What a tree still shows when it is left from its bottom, after something was done to it.
Paths ShownOnTheWayBack(const DeepTree& deep, const std::function<void()>& change,
                        std::vector<OSErr>* errors) {
    FolderTree tree;
    EXPECT_EQ(tree.Open(deep.scratch.Path().c_str()), noErr);
    while (MoveTo(tree, "down") && tree.Enter() == noErr)
        continue;
    change();
    Paths shown;
    while (tree.Leave()) {
        if (tree.Error() != noErr) errors->push_back(tree.Error());
        while (tree.Next())
            shown.insert(tree.Path() + "/" + std::string(tree.Name()));
    }
    return shown;
}

TEST(FolderTree, AFolderIsFoundAgainFromTheStartWhenItsChildWasMovedAway) {
    const DeepTree deep;
    std::vector<OSErr> untouched;
    const Paths before = ShownOnTheWayBack(
        deep, [] {}, &untouched);
    std::vector<OSErr> errors;
    const Paths after = ShownOnTheWayBack(
        deep, [&] { fs::rename(deep.Down(6), deep.scratch.Path("aside")); }, &errors);
    EXPECT_TRUE(untouched.empty());
    EXPECT_TRUE(errors.empty());
    EXPECT_GE(after.size() + 2, before.size());
}

TEST(FolderTree, AFolderThatWasReplacedCountsAsReadToItsEnd) {
    const DeepTree deep;
    std::vector<OSErr> errors;
    const Paths shown = ShownOnTheWayBack(
        deep,
        [&] {
            fs::rename(deep.Down(6), deep.scratch.Path("aside"));
            fs::rename(deep.Down(4), deep.scratch.Path("other"));
            fs::create_directories(deep.Down(5));
            Testing::WriteAll(deep.Down(4) + "/new", "");
        },
        &errors);
    EXPECT_EQ(errors, (std::vector<OSErr>{fnfErr, fnfErr}));
    EXPECT_FALSE(shown.contains(deep.Down(4) + "/new"));
    EXPECT_FALSE(shown.contains(deep.Down(5) + "/z"));
}

TEST(FolderTree, GoesOnAfterAnyFailureAndLeavesNothingOpen) {
    const DeepTree deep;
    const int before = Testing::OpenDescriptors();
    // Each of the calls on a short way, and then one in a hundred.
    for (int n = 1;; n += n < 40 ? 1 : 97) {
        const FaultPlan plan(n, EIO);
        FolderTree tree;
        if (tree.Open(deep.scratch.Path().c_str()) == noErr) {
            const Paths shown = Walk(tree);
            for (const std::string& path : shown)
                EXPECT_TRUE(deep.expected.contains(path)) << path;
            if (!plan.Fired()) {
                EXPECT_EQ(shown, deep.expected);
            }
        }
        if (!plan.Fired()) break;
    }
    EXPECT_EQ(Testing::OpenDescriptors(), before);
}

TEST(FolderTree, GoesWherePathsAreTooLongForTheHost) {
    const Scratch scratch;
    const std::vector<std::string> names(40, std::string(200, 'n'));
    const std::string file = Testing::MakeDeepChain(scratch.Path(), names, "bottom");
    ASSERT_GT(file.size(), 8000U);
    const Paths paths = Walk(scratch.Path());
    EXPECT_EQ(paths.size(), names.size() + 1);
    EXPECT_TRUE(paths.contains(file));
}

}  // namespace
}  // namespace Ondrel
