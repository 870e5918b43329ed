// SearchVolume: every item of a name on a volume, by its path.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "ondrel/search/search.h"
#include "tests/search/IcuCalls.h"
#include "tests/search/SearchHelpers.h"
#include "tests/support/DeepChain.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

namespace fs = std::filesystem;

using namespace Testing;

using Paths = std::multiset<std::string>;

struct Outcome {
    int result;
    Paths paths;
};

Outcome Search(const std::string& colonPath, int answer = 0) {
    Outcome outcome{};
    filref ref = Ref(colonPath);
    outcome.result = SearchVolume(ref, [&](const std::string& path) {
        outcome.paths.insert(path);
        return answer;
    });
    EXPECT_EQ(TextOf(ref), colonPath) << "the reference is not changed";
    return outcome;
}

TEST(SearchVolumeTest, HandsOutTheFullPathOfEveryItemOfTheName) {
    const SearchedVolume disk;
    const Paths expected = {disk.Write("doc", ""), disk.Write("a/doc", ""),
                            disk.MakeFolder("a/b/doc"), disk.Write("a/b/doc/doc", "")};
    disk.Write("a/other", "");
    const Outcome outcome = Search("Test:gone:doc");
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.paths, expected);
}

TEST(SearchVolumeTest, CaseCountsAndCompositionDoesNot) {
    const SearchedVolume disk;
    const Paths expected = {disk.Write("a/" + kDecomposed, ""), disk.Write("b/" + kComposed, "")};
    disk.Write("c/ZO\xC3\x8B", "");
    EXPECT_EQ(Search("Test:" + kComposed).paths, expected);
    EXPECT_EQ(Search("Test:" + kDecomposed).paths, expected);
}

TEST(SearchVolumeTest, AVolumeWithoutSuchAnItemGives0AndCallsNothing) {
    const SearchedVolume disk;
    disk.Write("a/other", "");
    const Outcome outcome = Search("Test:doc");
    EXPECT_EQ(outcome.result, 0);
    EXPECT_TRUE(outcome.paths.empty());
    filref ref = Ref("Test:doc");
    EXPECT_EQ(SearchVolume(ref, {}), 0) << "an empty callback is not called";
}

TEST(SearchVolumeTest, MoreThan100MatchesAllCome) {
    const SearchedVolume disk;
    Paths expected;
    for (int i = 0; i < 230; ++i)
        expected.insert(disk.Write("folder " + std::to_string(i) + "/doc", ""));
    const Outcome outcome = Search("Test:doc");
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.paths, expected);
}

TEST(SearchVolumeTest, WhatTheCallbackAnswersDoesNotStopIt) {
    const SearchedVolume disk;
    disk.Write("a/doc", "");
    disk.Write("b/doc", "");
    for (const int answer : {-2, -1, 0, 1})
        EXPECT_EQ(Search("Test:doc", answer).paths.size(), 2U) << answer;
}

TEST(SearchVolumeTest, AVolumeThatIsNotMountedGives1) {
    EXPECT_EQ(Search("NoSuchVolume:doc").result, 1);
    EXPECT_EQ(Search("NoSuchVolume").result, 1);
    EXPECT_EQ(Search(":doc").result, 1) << "no volume at all";
    EXPECT_EQ(Search(std::string(300, 'v') + ":doc").result, 1) << "a name that is cut";
    const Scratch scratch;
    const TestVolume gone("Gone", scratch.Path("gone"));
    EXPECT_EQ(Search("Gone:doc").result, 1) << "its folder is not there";
}

TEST(SearchVolumeTest, AReferenceWithoutAPathGivesMinus1) {
    filref null;
    const auto never = [](const std::string&) -> int { throw 1; };
    EXPECT_EQ(SearchVolume(null, never), -1);
    EXPECT_EQ(Search("").result, -1);
    EXPECT_EQ(Search("Test:a\xFF").result, -1) << "a text that is not UTF-8";
}

TEST(SearchVolumeTest, AReferenceOfAVolumeAloneFindsNothing) {
    const SearchedVolume disk;
    disk.Write("doc", "");
    const Outcome outcome = Search("Test:");
    EXPECT_EQ(outcome.result, 0);
    EXPECT_TRUE(outcome.paths.empty());
}

TEST(SearchVolumeTest, ThePathOfTheReferenceMayBeLongerThan256Units) {
    const SearchedVolume disk;
    const Paths expected = {disk.Write("a/doc", "")};
    EXPECT_EQ(Search("Test:" + std::string(250, 'n') + ":" + std::string(250, 'm') + ":doc").paths,
              expected);
}

TEST(SearchVolumeTest, AVolumeThatCannotBeReadGivesThePlatformsCode) {
    const Scratch scratch;
    const TestVolume file("File", scratch.Write("file", ""));
    EXPECT_EQ(Search("File:doc").result, -120);
    scratch.Write("closed/doc", "");
    fs::permissions(scratch.Path(), fs::perms(0755));
    fs::permissions(scratch.Path("closed"), fs::perms::none);
    const TestVolume closed("Closed", scratch.Path("closed"));
    EXPECT_TRUE(AsOrdinaryUser([] { return Search("Closed:doc").result == -54; }));
}

TEST(SearchVolumeTest, FoldersThatMayNotBeReadArePassedOver) {
    const SearchedVolume disk;
    disk.Write("closed/doc", "");
    disk.Write("open/doc", "");
    fs::permissions(disk.Path(), fs::perms(0755));
    fs::permissions(disk.Path("closed"), fs::perms::none);
    EXPECT_TRUE(AsOrdinaryUser([&] {
        const Outcome outcome = Search("Test:doc");
        return outcome.result == 0 && outcome.paths == Paths{disk.Path("open/doc")};
    }));
}

TEST(SearchVolumeTest, OtherVolumesInsideAreNotEntered) {
    const SearchedVolume disk;
    disk.Write("inner/doc", "");
    const Paths expected = {disk.Write("a/doc", "")};
    const TestVolume inner("Inner", disk.Path("inner"));
    EXPECT_EQ(Search("Test:doc").paths, expected);
    EXPECT_EQ(Search("Inner:doc").paths, Paths{disk.Path("inner/doc")});
}

TEST(SearchVolumeTest, AnItemThatGoesBeforeItIsHandedOutIsPassedOver) {
    const SearchedVolume disk;
    disk.Write("a/doc", "");
    disk.Write("b/doc", "");
    filref ref = Ref("Test:doc");
    int calls = 0;
    const int result = SearchVolume(ref, [&](const std::string& path) {
        EXPECT_FALSE(path.empty());
        fs::remove_all(disk.Path("a"));
        fs::remove_all(disk.Path("b"));
        return ++calls;
    });
    EXPECT_EQ(result, 0);
    EXPECT_EQ(calls, 1);
}

TEST(SearchVolumeTest, APathThatIsTooLongForTheHostIsHandedOutWhole) {
    const SearchedVolume disk;
    const std::vector<std::string> names(30, std::string(200, 'n'));
    const std::string path = MakeDeepChain(disk.Path(), names, "doc");
    ASSERT_GT(path.size(), 6000U);
    EXPECT_EQ(Search("Test:doc").paths, Paths{path});
}

TEST(SearchVolumeTest, AnEmptyCallbackRaisesAtTheFirstMatchAndNothingStaysOpen) {
    const SearchedVolume disk;
    disk.Write("a/doc", "");
    const int before = OpenDescriptors();
    filref ref = Ref("Test:doc");
    EXPECT_THROW(SearchVolume(ref, {}), std::bad_function_call);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(SearchVolumeTest, AFailureOnTheWayGivesMinus2AfterWhatWasFound) {
    const SearchedVolume disk;
    Paths all;
    for (int i = 0; i < 4; ++i)
        all.insert(disk.Write("folder " + std::to_string(i) + "/doc", ""));
    const int before = OpenDescriptors();
    std::set<int> results;
    std::size_t most = 0;
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO, "getdents64");
        const Outcome outcome = Search("Test:doc");
        results.insert(outcome.result);
        if (outcome.result == -2) most = std::max(most, outcome.paths.size());
        EXPECT_TRUE(
            std::includes(all.begin(), all.end(), outcome.paths.begin(), outcome.paths.end()));
        EXPECT_EQ(OpenDescriptors(), before);
        if (plan.Fired()) continue;
        EXPECT_EQ(outcome.paths, all);
        break;
    }
    EXPECT_EQ(results, (std::set<int>{-2, 0}));
    EXPECT_GE(most, 3U) << "found before the failure";
}

TEST(SearchVolumeTest, AnyFailureGivesACodeAndLeavesNothingOpen) {
    const SearchedVolume disk;
    const std::string doc = disk.Write("a/doc", "");
    const int before = OpenDescriptors();
    for (int n = 1;; ++n) {
        const FaultPlan plan(n, EIO);
        const Outcome outcome = Search("Test:doc");
        EXPECT_TRUE(outcome.paths.empty() || outcome.paths == Paths{doc});
        EXPECT_LE(outcome.result, 1);
        EXPECT_EQ(OpenDescriptors(), before) << plan.Where();
        if (plan.Fired()) continue;
        EXPECT_EQ(outcome.result, 0);
        EXPECT_EQ(outcome.paths, Paths{doc});
        break;
    }
}

TEST(SearchVolumeTest, NamesOnDiskInAsciiNeverReachTheUnicodeRules) {
    const SearchedVolume disk;
    for (int i = 0; i < 50; ++i)
        disk.Write("folder " + std::to_string(i % 5) + "/file " + std::to_string(i), "");
    (void)Search("Test:doc");
    const int start = IcuCalls();
    (void)Search("Test:doc");
    const int forOneSearch = IcuCalls() - start;
    disk.Write("more/f", "");
    for (int i = 0; i < 50; ++i)
        disk.Write("more/doc " + std::to_string(i), "");
    (void)Search("Test:doc");
    EXPECT_EQ(IcuCalls() - start, 2 * forOneSearch) << "the sought name's, not the items'";
}

}  // namespace
}  // namespace Ondrel
