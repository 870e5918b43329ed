// Lost files, found again.
#include "tools/ondrel/layout/Find.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "ondrel/core/Process.h"
#include "tests/tools/LinkedDocument.h"

namespace OndrelTool::Testing {
namespace {

class FindingLost : public ::testing::Test, public LinkedDocuments {
 protected:
    Sought Find(const std::string& lost, std::string_view folder = "In") {
        std::vector<Sought> sought = {{lost, {}, {}}};
        EXPECT_TRUE(FindLost(
            Spec(folder), [](const std::string&) {}, &sought));
        for (std::string& place : sought[0].equal)
            place.erase(0, Folder().Path().size());
        return sought[0];
    }
};

TEST_F(FindingLost, AFileIsFoundInTheFolderAndBelow) {
    Folder().Write("In/Deep/Deeper/a.tif", "");
    Folder().Write("In/b.tif", "");
    EXPECT_EQ(Find("Gone:Pics:a.tif").found, "Vol:In:Deep:Deeper:a.tif");
    EXPECT_EQ(Find("Gone:Pics:b.tif").found, "Vol:In:b.tif");
    EXPECT_EQ(Find("b.tif").found, "Vol:In:b.tif");
    const Sought missing = Find("Gone:c.tif");
    EXPECT_EQ(missing.found, "");
    EXPECT_TRUE(missing.equal.empty());
}

TEST_F(FindingLost, NamesCompareIgnoringCaseAndComposition) {
    Folder().Write("In/Cafe\xCC\x81.TIF", "");
    EXPECT_EQ(Find("Gone:caf\xC3\xA9.tif").found, "Vol:In:Caf\xC3\xA9.TIF");
}

TEST_F(FindingLost, OfSeveralTheOneIsTakenThatLiesMostLikeTheLostOne) {
    Folder().Write("In/A/Pics/a.tif", "");
    Folder().Write("In/B/Thumbs/a.tif", "");
    Folder().Write("In/a.tif", "");
    EXPECT_EQ(Find("Gone:Pics:a.tif").found, "Vol:In:A:Pics:a.tif");
    EXPECT_EQ(Find("Gone:B:Thumbs:a.tif").found, "Vol:In:B:Thumbs:a.tif");
    EXPECT_EQ(Find("Gone:In:a.tif").found, "Vol:In:a.tif");
}

TEST_F(FindingLost, ThenTheOneThatIsSpeltAlike) {
    Folder().Write("In/A/a.tif", "");
    Folder().Write("In/B/A.TIF", "");
    EXPECT_EQ(Find("Gone:A.TIF").found, "Vol:In:B:A.TIF");
    EXPECT_EQ(Find("Gone:a.tif").found, "Vol:In:A:a.tif");
}

TEST_F(FindingLost, AChoiceIsLeftToTheUser) {
    Folder().Write("In/A/a.tif", "");
    Folder().Write("In/B/a.tif", "");
    Sought sought = Find("Gone:a.tif");
    EXPECT_EQ(sought.found, "");
    std::sort(sought.equal.begin(), sought.equal.end());
    EXPECT_EQ(sought.equal, (std::vector<std::string>{"/In/A/a.tif", "/In/B/a.tif"}));
}

TEST_F(FindingLost, AFileIsNoFolderAndAFolderNoFile) {
    Folder().MakeFolder("In/A/thing");
    EXPECT_EQ(Find("Gone:thing").found, "");
    EXPECT_EQ(Find("Gone:thing:x").found, "Vol:In:A:thing:x");
    Folder().Write("In/B/thing", "");
    EXPECT_EQ(Find("Gone:thing").found, "Vol:In:B:thing");
    EXPECT_EQ(Find("Gone:thing:x").found, "Vol:In:A:thing:x");
}

TEST_F(FindingLost, LinksWithoutATargetAreNoFindAndLoopsEnd) {
    Folder().MakeFolder("In");
    std::filesystem::create_symlink("nowhere", Folder().Path("In/a.tif"));
    std::filesystem::create_directory_symlink("..", Folder().Path("In/loop"));
    EXPECT_EQ(Find("Gone:a.tif").found, "");
    Folder().Write("b.tif", "");
    EXPECT_EQ(Find("Gone:b.tif").found, "");
}

TEST_F(FindingLost, APathThatNoReferenceHoldsIsNoFind) {
    std::string deep = "In";
    for (int i = 0; i < 5; ++i)
        deep += "/" + std::string(250, 'd');
    Folder().Write(deep + "/a.tif", "");
    EXPECT_EQ(Find("Gone:a.tif").found, "");
}

TEST_F(FindingLost, AllAreFoundInOneWalk) {
    Folder().Write("In/A/a", "");
    Folder().Write("In/B/b", "");
    std::vector<Sought> sought = {{"Gone:a", {}, {}}, {"Gone:b", {}, {}}, {"Gone:c", {}, {}}};
    std::vector<std::string> folders;
    EXPECT_TRUE(FindLost(
        Spec("In"), [&](const std::string& folder) { folders.push_back(folder); }, &sought));
    EXPECT_EQ(sought[0].found, "Vol:In:A:a");
    EXPECT_EQ(sought[1].found, "Vol:In:B:b");
    EXPECT_EQ(sought[2].found, "");
    EXPECT_EQ(folders.size(), 3U);
}

TEST_F(FindingLost, EndsWhenTheUserHasAskedTo) {
    Folder().Write("In/A/a", "");
    std::vector<Sought> sought = {{"Gone:a", {}, {}}};
    Ondrel::SetCancelHandler([](int, int) { return 1; });
    EXPECT_FALSE(FindLost(
        Spec("In"), [](const std::string&) {}, &sought));
    Ondrel::SetCancelHandler(nullptr);
    EXPECT_EQ(sought[0].found, "");
}

}  // namespace
}  // namespace OndrelTool::Testing
