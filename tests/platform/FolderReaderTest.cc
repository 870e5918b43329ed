// Reading folders: every entry once, sidecars with their partner hidden.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <set>
#include <string>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Syscalls.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Scratch;

std::map<std::string, ItemKind> Entries(FolderReader& reader) {
    std::map<std::string, ItemKind> entries;
    while (reader.Next()) {
        const auto [place, isNew] = entries.emplace(reader.Name(), reader.Kind());
        EXPECT_TRUE(isNew) << place->first << " came twice";
    }
    return entries;
}

std::map<std::string, ItemKind> Entries(const std::string& path) {
    FolderReader reader;
    EXPECT_EQ(reader.Open(path.c_str()), noErr);
    return Entries(reader);
}

TEST(FolderReader, EveryEntryComesOnceWithItsKind) {
    const Scratch scratch;
    scratch.Write("file", "x");
    scratch.MakeFolder("folder");
    ASSERT_EQ(symlink("nowhere", scratch.Path("link").c_str()), 0);
    ASSERT_EQ(mkfifo(scratch.Path("pipe").c_str(), 0600), 0);
    scratch.Write(".hidden", "");
    const std::map<std::string, ItemKind> expected = {{".hidden", ItemKind::kFile},
                                                      {"file", ItemKind::kFile},
                                                      {"folder", ItemKind::kFolder},
                                                      {"link", ItemKind::kLink},
                                                      {"pipe", ItemKind::kOther}};
    EXPECT_EQ(Entries(scratch.Path()), expected);
}

TEST(FolderReader, AnEmptyFolderHasNoEntry) {
    const Scratch scratch;
    EXPECT_TRUE(Entries(scratch.Path()).empty());
}

TEST(FolderReader, NamesAreTheRawBytesOfTheFolder) {
    const Scratch scratch;
    scratch.Write("not\xFF\xFEutf8", "");
    EXPECT_EQ(Entries(scratch.Path()).count("not\xFF\xFEutf8"), 1U);
}

TEST(FolderReader, ASidecarIsLeftOutOnlyWhenItsPartnerIsThere) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("._a", "");
    scratch.Write("._b", "");
    scratch.Write("._", "");
    scratch.Write("._._b", "");
    scratch.MakeFolder("c");
    scratch.Write("._c", "");
    ASSERT_EQ(symlink("nowhere", scratch.Path("d").c_str()), 0);
    scratch.Write("._d", "");
    std::set<std::string> names;
    for (const auto& entry : Entries(scratch.Path()))
        names.insert(entry.first);
    EXPECT_EQ(names, (std::set<std::string>{"._", "._b", "a", "c", "d"}));
}

TEST(FolderReader, AFolderOfManyTransfersComesWhole) {
    const Scratch scratch;
    constexpr int kFiles = 1200;
    std::set<std::string> expected;
    for (int i = 0; i < kFiles; ++i) {
        const std::string name = "some file with a rather long name " + std::to_string(i);
        scratch.Write(name, "");
        scratch.Write("._" + name, "");
        expected.insert(name);
    }
    std::set<std::string> names;
    for (const auto& entry : Entries(scratch.Path()))
        names.insert(entry.first);
    EXPECT_EQ(names, expected);
}

TEST(FolderReader, WhatIsNoFolderCannotBeOpened) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    FolderReader reader;
    EXPECT_EQ(reader.Open(file.c_str()), dirNFErr);
    EXPECT_EQ(reader.Open(scratch.Path("missing").c_str()), fnfErr);
    EXPECT_FALSE(reader.Next());
}

TEST(FolderReader, OpeningAgainStartsAtTheFirstEntry) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("b", "");
    FolderReader reader;
    ASSERT_EQ(reader.Open(scratch.Path().c_str()), noErr);
    ASSERT_TRUE(reader.Next());
    ASSERT_EQ(reader.Open(scratch.Path().c_str()), noErr);
    EXPECT_EQ(Entries(reader).size(), 2U);
    EXPECT_FALSE(reader.Next());
}

TEST(FolderReader, AMovedReaderGoesOnWhereItWas) {
    const Scratch scratch;
    scratch.Write("a", "");
    scratch.Write("b", "");
    FolderReader first;
    ASSERT_EQ(first.Open(scratch.Path().c_str()), noErr);
    ASSERT_TRUE(first.Next());
    const std::string name(first.Name());
    FolderReader second = std::move(first);
    EXPECT_EQ(second.Name(), name);
    EXPECT_TRUE(second.Next());
    EXPECT_NE(second.Name(), name);
    EXPECT_FALSE(second.Next());
}

TEST(FolderReader, AReaderLeavesNoDescriptorBehind) {
    const Scratch scratch;
    scratch.Write("a", "");
    const int before = Testing::OpenDescriptors();
    {
        FolderReader reader;
        ASSERT_EQ(reader.Open(scratch.Path().c_str()), noErr);
        ASSERT_TRUE(reader.Next());
        FolderReader other;
        ASSERT_EQ(other.Open(scratch.Path().c_str()), noErr);
        other = std::move(reader);
    }
    EXPECT_EQ(Testing::OpenDescriptors(), before);
}

int interruptions = 0;

ssize_t InterruptedOnce(int fd, void* buffer, size_t size) {
    if (interruptions++ == 0) {
        errno = EINTR;
        return -1;
    }
    return kHostSyscalls.getdents64(fd, buffer, size);
}

TEST(FolderReader, AnInterruptedTransferIsMadeAgain) {
    const Scratch scratch;
    scratch.Write("a", "");
    interruptions = 0;
    syscalls.getdents64 = InterruptedOnce;
    EXPECT_EQ(Entries(scratch.Path()).size(), 1U);
    syscalls.getdents64 = kHostSyscalls.getdents64;
    EXPECT_GT(interruptions, 1);
}

}  // namespace
}  // namespace Ondrel::Host
