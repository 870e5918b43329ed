// Searches in a tree: the order of visiting, the callback, types, cancelling, links.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "ondrel/core/Process.h"
#include "ondrel/search/FileSearch.h"
#include "tests/search/SearchHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using namespace Testing;

constexpr int kNever = 1000000;  // a fault plan that only counts

// Searches a tree; answers the folder that holds the match, "(none)" where there is none.
std::string FolderWith(const std::string& name, const std::string& start,
                       const std::vector<unsigned int>& types = {},
                       const TreeSearch::Callback& callback = {}) {
    TreeSearch search(name, callback);
    FileSpec folder = SpecOf(start);
    const int result = search.searchForFile(folder, types.data(), types.size());
    EXPECT_EQ(result, search.found ? 1 : 0);
    if (search.found) return PathOf(folder);
    EXPECT_EQ(PathOf(folder), PathOf(SpecOf(start)));
    return "(none)";
}

TEST(TreeSearchTest, AMatchInTheStartFolderLeavesItsSpecificationAlone) {
    const Scratch scratch;
    scratch.Write("doc", "");
    scratch.Write("a/doc", "");
    EXPECT_EQ(FolderWith("doc", scratch.Path()), scratch.Path());
}

TEST(TreeSearchTest, AMatchFurtherDownMakesItTheFolderThatHoldsTheMatch) {
    const Scratch scratch;
    scratch.Write("a/b/doc", "");
    scratch.Write("a/other", "");
    scratch.MakeFolder("c/d/e");
    EXPECT_EQ(FolderWith("doc", scratch.Path()), scratch.Path("a/b"));
    EXPECT_EQ(FolderWith("E", scratch.Path()), scratch.Path("c/d"));
    EXPECT_EQ(FolderWith("nothing", scratch.Path()), "(none)");
}

TEST(TreeSearchTest, NamesCompareIgnoringCaseAndCompositionAtEveryDepth) {
    const Scratch scratch;
    scratch.Write("a/Zo\xC3\xAB/ZOE\xCC\x88.txt", "");
    EXPECT_EQ(FolderWith("zo\xC3\xAB.TXT", scratch.Path()), scratch.Path("a/Zo\xC3\xAB"));
    EXPECT_EQ(FolderWith("zoe\xCC\x88", scratch.Path()), scratch.Path("a"));
}

TEST(TreeSearchTest, AnEmptyOrMissingStartFolderGivesNotFound) {
    const Scratch scratch;
    scratch.MakeFolder("empty");
    EXPECT_EQ(FolderWith("doc", scratch.Path("empty")), "(none)");
    EXPECT_EQ(FolderWith("doc", scratch.Path("missing")), "(none)");
    EXPECT_EQ(FolderWith("doc", ""), "(none)");
    EXPECT_EQ(FolderWith("doc", scratch.Write("doc", "")), "(none)");
}

TEST(TreeSearchTest, AStartFolderThatIsStoredInAnotherCompositionIsFound) {
    const Scratch scratch;
    scratch.Write(kDecomposed + "/a/doc", "");
    EXPECT_EQ(FolderWith("doc", scratch.Path(kComposed)), scratch.Path(kDecomposed + "/a"));
}

TEST(TreeSearchTest, WithATypeListOtherKnownTypesAreNotFoundAndUnknownOnesAre) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("a/one.spict", "");
    scratch.Write("a/unknown", "");
    scratch.MakeFolder("b/two.spict");
    EXPECT_EQ(FolderWith("one.spict", scratch.Path(), {kText}), "(none)");
    EXPECT_EQ(FolderWith("one.spict", scratch.Path(), {kText, kPicture}), scratch.Path("a"));
    EXPECT_EQ(FolderWith("unknown", scratch.Path(), {kText}), scratch.Path("a"));
    EXPECT_EQ(FolderWith("two.spict", scratch.Path(), {kText}), scratch.Path("b")) << "a folder";
}

TEST(TreeSearchTest, AMatchOfAnotherTypeDoesNotHideOneFurtherDown) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("x.spict", "");
    scratch.MakeFolder("a/x.spict");
    EXPECT_EQ(FolderWith("x.spict", scratch.Path(), {kText}), scratch.Path("a"));
}

// --- Order --------------------------------------------------------------------------------------

struct Visit {
    std::string folder;
    std::string name;
    bool operator==(const Visit&) const = default;
};

TreeSearch::Callback Recorder(std::vector<Visit>* visits) {
    return [visits](const FileSpec* folder, const std::string& name) {
        visits->push_back({PathOf(*folder), name});
        return 1;
    };
}

TEST(TreeSearchTest, EachFolderIsSearchedByNameBeforeAnyOfItsFolders) {
    const Scratch scratch;
    // Whatever the order of the host: one of the two is entered first, and searched whole.
    for (const char* folder : {"a", "b"}) {
        scratch.Write(std::string(folder) + "/doc", "");
        scratch.Write(std::string(folder) + "/deeper/doc", "");
    }
    std::vector<Visit> visits;
    const std::string found = FolderWith("doc", scratch.Path(), {}, Recorder(&visits));
    ASSERT_FALSE(visits.empty());
    EXPECT_EQ(found, scratch.Path(visits.front().name));
    EXPECT_EQ(visits.size(), 1U) << "nothing below the folder with the match is shown";
}

TEST(TreeSearchTest, TheCallbackSeesEveryItemWithTheFolderThatHoldsItDepthFirst) {
    const Scratch scratch;
    scratch.Write("a/inner", "");
    scratch.Write("a/deep/bottom", "");
    scratch.Write("file:1", "");
    scratch.Write("._file:1", "");
    scratch.Write("\xFF", "");
    std::vector<Visit> visits;
    EXPECT_EQ(FolderWith("nothing", scratch.Path(), {}, Recorder(&visits)), "(none)");
    const auto place = [&](const Visit& visit) {
        return std::find(visits.begin(), visits.end(), visit) - visits.begin();
    };
    const Visit a{scratch.Path(), "a"};
    const Visit file{scratch.Path(), "file/1"};
    const Visit inner{scratch.Path("a"), "inner"};
    const Visit deep{scratch.Path("a"), "deep"};
    const Visit bottom{scratch.Path("a/deep"), "bottom"};
    ASSERT_EQ(visits.size(), 5U);
    for (const Visit& visit : {a, file, inner, deep, bottom})
        EXPECT_LT(place(visit), 5) << visit.name;
    EXPECT_LT(place(a), place(inner));
    EXPECT_EQ(place(bottom), place(deep) + 1);
    EXPECT_EQ(std::abs(place(inner) - place(deep)), place(inner) > place(deep) ? 2 : 1);
}

TEST(TreeSearchTest, TheCallbackOfTheStartFolderSeesTheCallersOwnSpecification) {
    const Scratch scratch;
    scratch.Write("a/inner", "");
    FileSpec folder = SpecOf(scratch.Path());
    std::vector<bool> isOwn;
    TreeSearch search("nothing", [&](const FileSpec* present, const std::string&) {
        isOwn.push_back(present == &folder);
        return 1;
    });
    EXPECT_EQ(search.searchForFile(folder, nullptr, 0), 0);
    EXPECT_EQ(isOwn, (std::vector<bool>{true, false}));
}

TEST(TreeSearchTest, ACallbackThatGives0KeepsTheSearchOutOfAFolder) {
    const Scratch scratch;
    scratch.Write("closed/doc", "");
    scratch.Write("open/doc", "");
    const auto prune = [](const FileSpec*, const std::string& name) {
        return name == "closed" ? 0 : 1;
    };
    EXPECT_EQ(FolderWith("doc", scratch.Path(), {}, prune), scratch.Path("open"));
    const auto pruneAll = [](const FileSpec*, const std::string&) { return 0; };
    EXPECT_EQ(FolderWith("doc", scratch.Path(), {}, pruneAll), "(none)");
    EXPECT_EQ(FolderWith("closed", scratch.Path(), {}, pruneAll), scratch.Path())
        << "what is in the folder itself is found first";
}

TEST(TreeSearchTest, WhatTheCallbackThrowsPassesThroughAndLeavesNothingOpen) {
    const Scratch scratch;
    scratch.MakeFolder("a/b/c");
    const int before = OpenDescriptors();
    const auto raise = [](const FileSpec*, const std::string& name) {
        if (name == "c") throw 5;
        return 1;
    };
    EXPECT_THROW(FolderWith("doc", scratch.Path(), {}, raise), int);
    EXPECT_EQ(OpenDescriptors(), before);
}

// --- Cancelling ---------------------------------------------------------------------------------

int cancelQuestions = 0;
int cancelFrom = 0;  // the question that is answered with yes first

struct CancelScope {
    explicit CancelScope(int from) {
        cancelQuestions = 0;
        cancelFrom = from;
        SetCancelHandler([](int first, int second) {
            EXPECT_EQ(first, 0);
            EXPECT_EQ(second, 0);
            return ++cancelQuestions >= cancelFrom ? 1 : 0;
        });
    }
    ~CancelScope() { SetCancelHandler(nullptr); }
};

TEST(TreeSearchTest, ACancelledSearchEntersNoFurtherFolder) {
    const Scratch scratch;
    scratch.Write("a/doc", "");
    scratch.Write("file", "");
    const CancelScope cancelled(1);
    EXPECT_EQ(FolderWith("doc", scratch.Path()), "(none)");
    EXPECT_EQ(cancelQuestions, 1) << "asked before each folder, and only there";
    EXPECT_EQ(FolderWith("file", scratch.Path()), scratch.Path()) << "the start is searched";
}

TEST(TreeSearchTest, CancellingIsAskedOnceForEachFolder) {
    const Scratch scratch;
    scratch.MakeFolder("a/b");
    scratch.MakeFolder("c");
    scratch.Write("a/file", "");
    const CancelScope never(100);
    EXPECT_EQ(FolderWith("doc", scratch.Path()), "(none)");
    EXPECT_EQ(cancelQuestions, 3);
    const auto prune = [](const FileSpec*, const std::string&) { return 0; };
    EXPECT_EQ(FolderWith("doc", scratch.Path(), {}, prune), "(none)");
    EXPECT_EQ(cancelQuestions, 3) << "not for what the callback has refused";
}

// --- Links, costs -------------------------------------------------------------------------------

TEST(TreeSearchTest, LinksToFoldersAreNotEnteredAndALinkOfTheNameIsAMatch) {
    const Scratch scratch;
    const Scratch outside;
    outside.Write("doc", "");
    scratch.MakeFolder("a");
    fs::create_directory_symlink("..", scratch.Path("a/circle"));
    fs::create_directory_symlink(outside.Path(), scratch.Path("a/away"));
    EXPECT_EQ(FolderWith("doc", scratch.Path()), "(none)");
    EXPECT_EQ(FolderWith("circle", scratch.Path()), scratch.Path("a"));
    fs::create_symlink("nowhere", scratch.Path("a/dangling"));
    EXPECT_EQ(FolderWith("Dangling", scratch.Path()), scratch.Path("a"));
}

TEST(TreeSearchTest, OneOpeningAndOneClosingForEachFolderAndNothingForAnItem) {
    const Scratch scratch;
    constexpr int kFolders = 20;
    for (int i = 0; i < kFolders; ++i)
        for (int j = 0; j < 20; ++j)
            scratch.Write("folder " + std::to_string(i) + "/file " + std::to_string(j), "");
    for (const char* call : {"openat", "close"}) {
        const FaultPlan plan(kNever, EIO, call);
        EXPECT_EQ(FolderWith("nothing", scratch.Path()), "(none)");
        EXPECT_EQ(plan.Calls(), kFolders + 1) << call;
    }
    const FaultPlan reads(kNever, EIO, "getdents64");
    EXPECT_EQ(FolderWith("nothing", scratch.Path()), "(none)");
    EXPECT_LE(reads.Calls(), 3 * (kFolders + 1));
}

TEST(TreeSearchTest, ASearchThatFailsAnywhereFindsTheMatchOrNothing) {
    const Scratch scratch;
    scratch.Write("a/b/doc", "");
    scratch.MakeFolder("a/c");
    scratch.MakeFolder("d");
    const int before = OpenDescriptors();
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO);
        const std::string found = FolderWith("doc", scratch.Path());
        EXPECT_TRUE(found == scratch.Path("a/b") || (plan.Fired() && found == "(none)")) << found;
        EXPECT_EQ(OpenDescriptors(), before) << plan.Where();
        if (!plan.Fired()) break;
    }
}

// --- The class itself ---------------------------------------------------------------------------

// Sees what its start folder holds.
class Watching : public TreeSearch {
 public:
    using TreeSearch::TreeSearch;
    int handleFile(const FileSpec& item) override {
        seen.push_back(NameOf(item));
        return TreeSearch::handleFile(item);
    }
    std::vector<std::string> seen;
};

TEST(TreeSearchTest, ADerivedClassSeesTheItemsOfItsStartFolder) {
    const Scratch scratch;
    scratch.Write("a/b/doc", "");
    Watching search("doc", {});
    FileSpec folder = SpecOf(scratch.Path());
    EXPECT_EQ(search.searchForFile(folder, nullptr, 0), 1);
    EXPECT_EQ(PathOf(folder), scratch.Path("a/b"));
    EXPECT_EQ(search.seen, std::vector<std::string>{"a"});

    Watching again("A", {});
    folder = SpecOf(scratch.Path());
    EXPECT_EQ(again.searchForFile(folder, nullptr, 0), 1);
    EXPECT_EQ(PathOf(folder), scratch.Path());
    EXPECT_TRUE(again.seen.empty()) << "the folder itself comes first";

    Watching nothing("nothing", {});
    EXPECT_EQ(nothing.searchForFile(folder, nullptr, 0), 0);
    EXPECT_EQ(nothing.seen, std::vector<std::string>{"a"});
}

TEST(TreeSearchTest, HandleFileSearchesTheTreeOfAFolder) {
    const Scratch scratch;
    scratch.Write("a/b/doc", "");
    scratch.Write("file", "");
    std::vector<Visit> visits;
    FileSpec holder = SpecOf(scratch.Path());
    TreeSearch search("doc", Recorder(&visits));
    search.result = &holder;
    EXPECT_EQ(search.handleFile(SpecOf(scratch.Path("file"))), 0);
    EXPECT_EQ(search.handleFile(SpecOf(scratch.MakeFolder("empty"))), 0);
    EXPECT_FALSE(search.found);
    EXPECT_EQ(search.handleFile(SpecOf(scratch.Path("a"))), -2);
    EXPECT_TRUE(search.found);
    EXPECT_EQ(PathOf(holder), scratch.Path("a/b"));
    ASSERT_EQ(visits.size(), 4U);
    EXPECT_EQ(visits[0], (Visit{scratch.Path(), "file"}));
    EXPECT_EQ(visits[3], (Visit{scratch.Path("a"), "b"}));
    {
        const CancelScope cancelled(1);
        EXPECT_EQ(TreeSearch("doc", {}).handleFile(SpecOf(scratch.Path("a"))), 0);
    }
    const auto prune = [](const FileSpec*, const std::string&) { return 0; };
    EXPECT_EQ(TreeSearch("doc", prune).handleFile(SpecOf(scratch.Path("a"))), 0);
    EXPECT_EQ(TreeSearch("doc", {}).handleFile(SpecOf(scratch.Path("a"))), -2);
}

TEST(TreeSearchTest, ItsFieldsStandInTheirPinnedOrder) {
    const TreeSearch search("doc", {});
    const void* const fields[] = {&search.name,  &search.callback,  &search.found,
                                  &search.types, &search.typeCount, &search.result};
    for (std::size_t i = 1; i < std::size(fields); ++i)
        EXPECT_LT(fields[i - 1], fields[i]);
    EXPECT_FALSE(search.found);
    EXPECT_EQ(search.result, nullptr);
}

}  // namespace
}  // namespace Ondrel
