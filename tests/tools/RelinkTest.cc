// Documents written anew with other links: what changes, what stays, and what a failure leaves.
#include "tools/ondrel/layout/Relink.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "ondrel/core/Process.h"
#include "tests/support/FaultPlan.h"
#include "tests/tools/LinkedDocument.h"

namespace OndrelTool::Testing {
namespace {

using Ondrel::Testing::FaultPlan;
using Ondrel::Testing::Hex;
using Ondrel::Testing::OpenDescriptors;
using Ondrel::Testing::ReadAll;

class Relinking : public ::testing::Test, public LinkedDocuments {
 protected:
    // Reads the document Proj/doc and rewrites it.
    Rewritten Rewrite(const std::string& layout, const std::vector<NewTarget>& targets) {
        DocumentLinks links;
        const Layout parsed = ParsedLayout(layout);
        const auto fault = ReadLinks(Spec("Proj/doc"), parsed, nullptr, &links);
        EXPECT_FALSE(fault) << fault->what;
        return RewriteLinks(links, parsed, targets);
    }

    void ExpectRewritten(const std::string& before, const std::string& layout,
                         const std::vector<NewTarget>& targets, const std::string& after) {
        Folder().Write("Proj/doc", before);
        const Rewritten result = Rewrite(layout, targets);
        EXPECT_TRUE(result.saved);
        EXPECT_EQ(result.problem, "");
        EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/doc"))), Hex(after));
        EXPECT_EQ(NamesIn("Proj"), std::vector<std::string>{"doc"});
    }

    void ExpectRefused(const std::string& before, const std::string& layout,
                       const std::vector<NewTarget>& targets, const std::string& problem) {
        Folder().Write("Proj/doc", before);
        const Rewritten result = Rewrite(layout, targets);
        EXPECT_FALSE(result.saved);
        EXPECT_EQ(result.problem, problem);
        EXPECT_EQ(Hex(ReadAll(Folder().Path("Proj/doc"))), Hex(before));
        EXPECT_EQ(NamesIn("Proj"), std::vector<std::string>{"doc"});
    }
};

TEST_F(Relinking, ALinkIsReplacedAndEverythingElseStays) {
    ExpectRewritten("AB" + AbsoluteRecord("HD:a") + "CD", "text 2 ref", {{0, "Vol:Pics:a.tif"}},
                    "AB" + AbsoluteRecord("Vol:Pics:a.tif") + "CD");
    ExpectRewritten(AbsoluteRecord("Vol:Pics:a.tif"), "ref", {{0, "HD:a"}}, AbsoluteRecord("HD:a"));
}

TEST_F(Relinking, OnlyTheLinksThatAreNamedAreReplaced) {
    const std::string a = AbsoluteRecord("HD:a");
    const std::string b = AbsoluteRecord("HD:b");
    ExpectRewritten(a + b + a + "x", "ref ref ref", {{0, "Vol:1"}, {2, "Vol:3"}},
                    AbsoluteRecord("Vol:1") + b + AbsoluteRecord("Vol:3") + "x");
}

TEST_F(Relinking, ARelativeLinkKeepsItsForm) {
    ExpectRewritten(RelativeRecord(1, 1, "HD:Pics:a.tif"), "refrel", {{0, "Vol:Pics:b.tif"}},
                    RelativeRecord(1, 2, "Vol:Pics:b.tif"));
    ExpectRewritten(RelativeRecord(1, 1, "dummy:a.tif"), "refrel", {{0, "Vol:Pics:b.tif"}},
                    RelativeRecord(1, 2, "dummy:Pics:b.tif"));
}

TEST_F(Relinking, ARelativeLinkToAnotherVolumeStoresItsPath) {
    ExpectRewritten(RelativeRecord(1, 1, "dummy:a.tif"), "refrel", {{0, "Other:b.tif"}},
                    RelativeRecord(0, 3, "Other:b.tif"));
}

TEST_F(Relinking, TheBlocksAroundALinkGetTheirNewLengths) {
    const auto document = [](const std::string& first, const std::string& second) {
        return "x" + Block32("p" + Block16(first + "q") + Block16("untouched") + Block16(second)) +
               "y" + Block16("z");
    };
    ExpectRewritten(
        document(AbsoluteRecord("HD:a"), AbsoluteRecord("HD:b")),
        "u8 block { u8 block16 { ref u8 } block16 { rest } block16 { ref } } u8 block16 "
        "{ rest }",
        {{0, "Vol:Pics:longer.tif"}, {1, "V:b"}},
        document(AbsoluteRecord("Vol:Pics:longer.tif"), AbsoluteRecord("V:b")));
}

TEST_F(Relinking, WhatALayoutLeavesOutOfABlockStays) {
    ExpectRewritten(Block16(AbsoluteRecord("HD:a") + "left over") + "rest", "block16 { ref }",
                    {{0, "Vol:Pics:a.tif"}},
                    Block16(AbsoluteRecord("Vol:Pics:a.tif") + "left over") + "rest");
}

TEST_F(Relinking, LinksInRepeatedGroupsAreReached) {
    std::string before = Big16(50);
    std::string after = Big16(50);
    std::vector<NewTarget> targets;
    for (std::size_t i = 0; i < 50; ++i) {
        before += Block16(AbsoluteRecord("HD:a" + std::to_string(i)));
        const std::string target = "Vol:Pics:" + std::string(i, 'l') + std::to_string(i);
        after += Block16(AbsoluteRecord(target));
        targets.push_back({i, target});
    }
    ExpectRewritten(before, "repeat u16 { block16 { ref } }", targets, after);
}

TEST_F(Relinking, ADocumentOfManyBuffersIsCopiedWhole) {
    std::string filler;
    for (int i = 0; i < 200000; ++i)
        filler += static_cast<char>(i * 7 + i / 256);
    const auto document = [&](const char* path) {
        return Block32(filler + AbsoluteRecord(path) + filler) + filler;
    };
    ExpectRewritten(document("HD:a"), "block { skip 200000 ref rest }", {{0, "Vol:Pics:a.tif"}},
                    document("Vol:Pics:a.tif"));
}

TEST_F(Relinking, ABlockThatWouldGetTooLongIsRefused) {
    const auto document = [](const std::string& path, std::size_t filler) {
        return Block16(AbsoluteRecord(path) + std::string(filler, 'f'));
    };
    // "HD:a" takes 8 bytes, "Vol:a" 9.
    ExpectRewritten(document("HD:a", 65526), "block16 { ref rest }", {{0, "Vol:a"}},
                    document("Vol:a", 65526));
    ExpectRefused(document("HD:a", 65527), "block16 { ref rest }", {{0, "Vol:a"}},
                  "a block of the document would get longer than its length of 16 bits can tell");
}

TEST_F(Relinking, AChangeThatTheLayoutWouldNotReadBackIsRefused) {
    // No reference can hold so long a path.
    ExpectRefused(std::string("\x02\x07") + "ab" + AbsoluteRecord("HD:a"),
                  "n: u8 u8 skip n ref end", {{0, std::string(1022, 'a') + ":b"}},
                  "the new document does not read as it should: ref leads to " +
                      std::string(1022, 'a') + ":");
}

TEST_F(Relinking, KeepsTheDocumentsPermissionAndItsLink) {
    const std::string path = Folder().Write("Proj/doc", AbsoluteRecord("HD:a"));
    std::filesystem::permissions(path, std::filesystem::perms(0640));
    std::filesystem::create_symlink("Proj/doc", Folder().Path("link"));
    DocumentLinks links;
    const Layout layout = ParsedLayout("ref");
    ASSERT_FALSE(ReadLinks(Spec("link"), layout, nullptr, &links));
    EXPECT_TRUE(RewriteLinks(links, layout, {{0, "Vol:b"}}).saved);
    EXPECT_TRUE(std::filesystem::is_symlink(Folder().Path("link")));
    EXPECT_EQ(ReadAll(path), AbsoluteRecord("Vol:b"));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
}

TEST_F(Relinking, ADocumentThatAnotherProgramHasChangedIsLeftAlone) {
    const std::string path = Folder().Write("Proj/doc", AbsoluteRecord("HD:a"));
    const Layout layout = ParsedLayout("ref");
    DocumentLinks links;
    ASSERT_FALSE(ReadLinks(Spec("Proj/doc"), layout, nullptr, &links));
    std::filesystem::last_write_time(
        path, std::filesystem::last_write_time(path) + std::chrono::seconds(5));
    const Rewritten result = RewriteLinks(links, layout, {{0, "Vol:b"}});
    EXPECT_FALSE(result.saved);
    EXPECT_EQ(result.problem, "another program has changed the document in the meantime");
    EXPECT_EQ(ReadAll(path), AbsoluteRecord("HD:a"));
}

TEST_F(Relinking, StopsWhenTheUserHasAskedTo) {
    Folder().Write("Proj/doc", AbsoluteRecord("HD:a"));
    Ondrel::SetCancelHandler([](int, int) { return 1; });
    const Rewritten result = Rewrite("ref", {{0, "Vol:b"}});
    Ondrel::SetCancelHandler(nullptr);
    EXPECT_FALSE(result.saved);
    EXPECT_EQ(result.problem, "stopped");
    EXPECT_EQ(ReadAll(Folder().Path("Proj/doc")), AbsoluteRecord("HD:a"));
    EXPECT_EQ(NamesIn("Proj"), std::vector<std::string>{"doc"});
}

// Each system call fails once: the document is the old one or the new one, and what is said of it
// is true.
TEST_F(Relinking, WhateverFailsTheDocumentIsTheOldOneOrTheNewOne) {
    const std::string before = Block32(AbsoluteRecord("HD:a")) + std::string(40000, 'r');
    const std::string after = Block32(AbsoluteRecord("Vol:b")) + std::string(40000, 'r');
    const Layout layout = ParsedLayout("block { ref } rest");
    for (const int error : {EIO, ENOSPC}) {
        int failed = 0;
        for (int n = 1;; ++n) {
            Folder().Write("Proj/doc", before);
            DocumentLinks links;
            ASSERT_FALSE(ReadLinks(Spec("Proj/doc"), layout, nullptr, &links));
            const int descriptors = OpenDescriptors();
            Rewritten result;
            bool fired = false;
            std::string where;
            {
                const FaultPlan plan(n, error);
                result = RewriteLinks(links, layout, {{0, "Vol:b"}});
                fired = plan.Fired();
                where = plan.Where();
            }
            SCOPED_TRACE(std::to_string(n) + " " + where);
            EXPECT_EQ(ReadAll(Folder().Path("Proj/doc")) == after, result.saved);
            EXPECT_EQ(ReadAll(Folder().Path("Proj/doc")) == before, !result.saved);
            EXPECT_EQ(OpenDescriptors(), descriptors);
            EXPECT_TRUE(result.saved || !result.problem.empty());
            if (!where.starts_with("unlink")) {
                EXPECT_EQ(NamesIn("Proj"), std::vector<std::string>{"doc"});
            }
            if (!fired) {
                EXPECT_TRUE(result.saved) << result.problem;
                EXPECT_EQ(result.problem, "");
                break;
            }
            if (!result.saved) ++failed;
            std::filesystem::remove_all(Folder().Path("Proj"));
        }
        EXPECT_GT(failed, 10);
    }
}

}  // namespace
}  // namespace OndrelTool::Testing
