// Searches in one folder: the walk that hands items out, and the search for a name.
#include "ondrel/search/FileSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <vector>

#include "ondrel/core/Unicode.h"
#include "tests/search/SearchHelpers.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using namespace Testing;

constexpr int kNever = 1000000;  // a fault plan that only counts

// Sees items, and stops at the one of a name.
class Collector : public FileSearch {
 public:
    int handleFile(const FileSpec& item) override {
        names.insert(NameOf(item));
        return NameOf(item) == stop ? -2 : answer;
    }

    std::string stop;
    int answer = 0;
    std::multiset<std::string> names;
};

using Names = std::multiset<std::string>;

int Search(FileSearch& search, const std::string& folder,
           const std::vector<unsigned int>& types = {}) {
    FileSpec spec = SpecOf(folder);
    return search.searchForFile(spec, types.data(), types.size());
}

// --- searchFile ---------------------------------------------------------------------------------

TEST(FileSearchTest, HandsOutEveryItemOfTheFolderAndNothingInside) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("folder/inner", "");
    fs::create_symlink("nowhere", scratch.Path("link"));
    Collector search;
    EXPECT_EQ(Search(search, scratch.Path()), 0);
    EXPECT_EQ(search.names, (Names{"a", "folder", "link"}));
}

TEST(FileSearchTest, AMissingFolderGivesMinus1) {
    const Scratch scratch;
    Collector search;
    EXPECT_EQ(Search(search, scratch.Path("missing")), -1);
    EXPECT_EQ(search.searchFile(FileSpec(), nullptr, 0), -1);
}

TEST(FileSearchTest, AFolderWithoutAFirstItemGivesMinus3) {
    const Scratch scratch;
    scratch.MakeFolder("empty");
    scratch.Write("others/\xFF", "");
    Collector search;
    EXPECT_EQ(Search(search, scratch.Path("empty")), -3);
    EXPECT_EQ(Search(search, scratch.Path("others")), -3) << "no name in this library";
    EXPECT_EQ(Search(search, scratch.Write("file", "")), -3);
    EXPECT_TRUE(search.names.empty());
}

TEST(FileSearchTest, AnUnreadableFolderGivesMinus3) {
    const Scratch scratch;
    scratch.Write("closed/file", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms::none);
    EXPECT_TRUE(AsOrdinaryUser([&] {
        Collector search;
        return Search(search, scratch.Path("closed")) == -3;
    }));
}

TEST(FileSearchTest, Minus2StopsTheWalkAndNothingElseDoes) {
    const Scratch scratch;
    for (const char* name : {"a", "b", "c"})
        scratch.Write(name, "");
    Collector search;
    search.answer = -1;
    EXPECT_EQ(Search(search, scratch.Path()), 0);
    EXPECT_EQ(search.names.size(), 3U);
    for (const char* name : {"a", "b", "c"}) {
        Collector stopped;
        stopped.stop = name;
        EXPECT_EQ(Search(stopped, scratch.Path()), 0);
        EXPECT_TRUE(stopped.names.contains(name));
    }
    Scratch one;
    one.Write("a", "");
    one.Write("b", "");
    Collector first;
    first.answer = -2;
    EXPECT_EQ(Search(first, one.Path()), 0);
    EXPECT_EQ(first.names.size(), 1U);
}

TEST(FileSearchTest, ATypeListPassesFoldersFilesOfItsTypesAndThoseThatCannotBeTold) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("a.stext", "");
    scratch.Write("b.spict", "");
    scratch.Write("unknown", "");
    scratch.MakeFolder("folder.spict");
    Collector text;
    EXPECT_EQ(Search(text, scratch.Path(), {kText}), 0);
    EXPECT_EQ(text.names, (Names{"a.stext", "unknown", "folder.spict"}));
    Collector both;
    EXPECT_EQ(Search(both, scratch.Path(), {kText, kPicture}), 0);
    EXPECT_EQ(both.names, (Names{"a.stext", "b.spict", "unknown", "folder.spict"}));
    Collector any;
    FileSpec folder = SpecOf(scratch.Path());
    EXPECT_EQ(any.searchFile(folder, nullptr, 5), 0) << "no list, whatever its length";
    EXPECT_EQ(any.names.size(), 4U);
}

TEST(FileSearchTest, AnItemThatIsLookedAtCostsNoSystemCall) {
    const Scratch scratch;
    for (int i = 0; i < 200; ++i)
        scratch.Write("file " + std::to_string(i), "");
    scratch.MakeFolder("folder");
    const FaultPlan plan(kNever, EIO);
    FolderSearch search("nothing");
    EXPECT_EQ(Search(search, scratch.Path()), 0);
    EXPECT_LE(plan.Calls(), 8) << "the folder's own";
}

TEST(FileSearchTest, TheVirtualOperationsStandInTheirPinnedOrder) {
    // The address of a virtual member is 1 more than the offset of its slot.
    const auto slot = [](auto member) {
        std::ptrdiff_t words[2];
        static_assert(sizeof member == sizeof words);
        std::memcpy(words, &member, sizeof words);
        return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
    };
    EXPECT_EQ(slot(&FileSearch::searchForFile), 2);
    EXPECT_EQ(slot(&FileSearch::handleFile), 3);
    EXPECT_EQ(sizeof(FileSearch), sizeof(void*)) << "no data of its own";
}

// --- FolderSearch -------------------------------------------------------------------------------

struct Sought {
    const char* name;
    const char* onDisk;
    bool found;
};

const Sought kSought[] = {
    {"doc", "doc", true},
    {"doc", "DOC", true},
    {"doc", "docs", false},
    {"docs", "doc", false},
    {"", "doc", false},
    {"Zo\xC3\xAB", "Zoe\xCC\x88", true},
    {"zoe\xCC\x88", "ZO\xC3\x8B", true},
    {"Zoe", "Zo\xC3\xAB", false},
    {"stra\xC3\x9F"
     "e",
     "STRASSE", true},
    {"a/b", "a:b", true},
    {"a:b", "a:b", false},
    {"a\xFF", "a", false},
    {"\xFF", "a", false},
};

TEST(FolderSearchTest, NamesCompareIgnoringCaseAndComposition) {
    for (const Sought& sought : kSought) {
        const Scratch scratch;
        scratch.Write("another", "");
        scratch.Write(sought.onDisk, "");
        FolderSearch search(sought.name);
        EXPECT_EQ(Search(search, scratch.Path()), 0);
        EXPECT_EQ(search.found, sought.found) << sought.name << " and " << sought.onDisk;
    }
}

TEST(FolderSearchTest, TheVerdictIsThatOfTheComparisonWithOptions9) {
    for (const Sought& sought : kSought) {
        const Scratch scratch;
        scratch.Write(sought.onDisk, "");
        FolderSearch search(sought.name);
        Search(search, scratch.Path());
        Uni16String text(std::strlen(sought.name) + 1, 0);
        const int units = UTF8ToUni16Char(sought.name, text.data(), text.size());
        text.resize(units > 0 ? static_cast<std::size_t>(units) : 0);
        std::string macName = sought.onDisk;
        std::replace(macName.begin(), macName.end(), ':', '/');
        const bool same = Uni16CharCompareWithOptions(text.c_str(), U(macName).c_str(), 9) == 0;
        EXPECT_EQ(search.found, same) << sought.name << " and " << sought.onDisk;
    }
}

TEST(FolderSearchTest, HandleFileStopsAtAMatchOnly) {
    const Scratch scratch;
    FolderSearch search("doc");
    EXPECT_EQ(search.handleFile(SpecOf(scratch.Write("other", ""))), 0);
    EXPECT_EQ(search.handleFile(FileSpec()), 0);
    EXPECT_FALSE(search.found);
    EXPECT_EQ(search.handleFile(SpecOf(scratch.Write("Doc", ""))), -2);
    EXPECT_TRUE(search.found);
}

TEST(FolderSearchTest, AFolderOfTheNameIsAMatchWhateverTheTypes) {
    RegisterTypes();
    const Scratch scratch;
    scratch.MakeFolder("a.spict");
    FolderSearch search("a.spict");
    EXPECT_EQ(Search(search, scratch.Path(), {kText}), 0);
    EXPECT_TRUE(search.found);
}

TEST(FolderSearchTest, AFileOfAnotherKnownTypeIsNoMatch) {
    RegisterTypes();
    const Scratch scratch;
    scratch.Write("a.spict", "");
    scratch.Write("unknown", "");
    FolderSearch picture("a.spict");
    Search(picture, scratch.Path(), {kText});
    EXPECT_FALSE(picture.found);
    FolderSearch unknown("unknown");
    Search(unknown, scratch.Path(), {kText});
    EXPECT_TRUE(unknown.found);
}

TEST(FolderSearchTest, ALinkOfTheNameIsAMatch) {
    const Scratch scratch;
    fs::create_symlink("nowhere", scratch.Path("doc"));
    FolderSearch search("doc");
    Search(search, scratch.Path());
    EXPECT_TRUE(search.found);
}

TEST(FolderSearchTest, ItsFieldsStandInTheirPinnedOrder) {
    const FolderSearch search("doc");
    EXPECT_LT(static_cast<const void*>(&search.name), static_cast<const void*>(&search.found));
    EXPECT_EQ(search.name, "doc");
    EXPECT_FALSE(search.found);
}

}  // namespace
}  // namespace Ondrel
