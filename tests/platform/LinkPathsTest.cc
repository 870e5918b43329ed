// Link texts, and paths with their links followed.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Scratch;

TEST(PathNames, APathSplitsIntoFolderAndName) {
    struct Case {
        const char* path;
        const char* folder;
        const char* name;
    };
    constexpr Case kCases[] = {{"/a/b", "/a/", "b"},   {"/a", "/", "a"}, {"a", "", "a"},
                               {"/a/b//", "/a/", "b"}, {"/", "", ""},    {"", "", ""}};
    for (const Case& c : kCases) {
        EXPECT_EQ(SplitPath(c.path).folder, c.folder) << c.path;
        EXPECT_EQ(SplitPath(c.path).name, c.name) << c.path;
    }
}

TEST(PathNames, JoinedPathsHaveOneSlashAtTheSeam) {
    EXPECT_EQ(JoinPath("/a", "b"), "/a/b");
    EXPECT_EQ(JoinPath("/a/", "b"), "/a/b");
    EXPECT_EQ(JoinPath("/", "/b"), "/b");
    EXPECT_EQ(JoinPath("", "b"), "b");
}

TEST(PathNames, TemporaryNamesAreHiddenBesideThePathAndNeverTheSame) {
    const std::string first = TemporaryBeside("/a/b");
    EXPECT_EQ(SplitPath(first).folder, "/a/");
    EXPECT_TRUE(SplitPath(first).name.starts_with("._"));
    EXPECT_NE(first, TemporaryBeside("/a/b"));
}

TEST(LinkPaths, TheTextOfALinkIsReadWhole) {
    const Scratch scratch;
    const std::string link = scratch.Path("link");
    for (const std::size_t size : {1U, 255U, 256U, 257U, 1024U, 4000U}) {
        const std::string text(size, 't');
        ASSERT_EQ(symlink(text.c_str(), link.c_str()), 0);
        std::string target;
        EXPECT_EQ(ReadLink(link.c_str(), &target), noErr);
        EXPECT_EQ(target, text);
        ASSERT_EQ(unlink(link.c_str()), 0);
    }
}

TEST(LinkPaths, WhatIsNoLinkHasNoText) {
    const Scratch scratch;
    std::string target = "old";
    EXPECT_EQ(ReadLink(scratch.Write("file", "").c_str(), &target), paramErr);
    EXPECT_EQ(ReadLink(scratch.Path("missing").c_str(), &target), fnfErr);
    EXPECT_EQ(target, "old");
}

TEST(LinkPaths, EveryLinkOfAPathIsFollowed) {
    const Scratch scratch;
    const std::string file = scratch.Write("folder/inner/file", "");
    ASSERT_EQ(symlink("folder/inner", scratch.Path("relative").c_str()), 0);
    ASSERT_EQ(symlink(scratch.Path("folder").c_str(), scratch.Path("absolute").c_str()), 0);
    ASSERT_EQ(symlink("../../absolute/inner/file", scratch.Path("folder/inner/up").c_str()), 0);
    for (const char* path :
         {"folder/inner/file", "relative/file", "absolute/inner/file", "relative/up",
          "folder/../absolute/./inner//file", "relative/../inner/file"}) {
        std::string real;
        EXPECT_EQ(RealPath(scratch.Path(path).c_str(), &real), noErr) << path;
        EXPECT_EQ(real, file) << path;
    }
}

TEST(LinkPaths, TheRootIsItsOwnPathAndItsOwnParent) {
    std::string real;
    EXPECT_EQ(RealPath("/", &real), noErr);
    EXPECT_EQ(real, "/");
    EXPECT_EQ(RealPath("/..//../.", &real), noErr);
    EXPECT_EQ(real, "/");
}

TEST(LinkPaths, PathsThatLeadNowhereAreRefused) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    ASSERT_EQ(symlink("nowhere", scratch.Path("dangling").c_str()), 0);
    ASSERT_EQ(symlink("b", scratch.Path("a").c_str()), 0);
    ASSERT_EQ(symlink("a", scratch.Path("b").c_str()), 0);
    ASSERT_EQ(symlink("growing/x", scratch.Path("growing").c_str()), 0);
    std::string real = "old";
    EXPECT_EQ(RealPath(scratch.Path("missing").c_str(), &real), fnfErr);
    EXPECT_EQ(RealPath(scratch.Path("dangling").c_str(), &real), fnfErr);
    EXPECT_EQ(RealPath(scratch.Path("a").c_str(), &real), fnfErr);
    EXPECT_EQ(RealPath(scratch.Path("growing").c_str(), &real), fnfErr);
    EXPECT_EQ(RealPath((file + "/x").c_str(), &real), dirNFErr);
    EXPECT_EQ(RealPath("relative/path", &real), paramErr);
    EXPECT_EQ(real, "old");
}

TEST(LinkPaths, AChainOfFortyLinksIsFollowedAndOneMoreIsNot) {
    const Scratch scratch;
    const std::string file = scratch.Write("0", "");
    for (int i = 1; i <= 41; ++i)
        ASSERT_EQ(symlink(std::to_string(i - 1).c_str(), scratch.Path(std::to_string(i)).c_str()),
                  0);
    std::string real;
    EXPECT_EQ(RealPath(scratch.Path("40").c_str(), &real), noErr);
    EXPECT_EQ(real, file);
    EXPECT_EQ(RealPath(scratch.Path("41").c_str(), &real), fnfErr);
}

TEST(LinkPaths, TheProgramsFolderHoldsTheProgram) {
    EXPECT_EQ(ProgramFolder(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
}  // namespace Ondrel::Host
