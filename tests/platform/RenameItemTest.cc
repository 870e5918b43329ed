// Renaming items with their sidecars.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"
#include "ondrel/platform/Syscalls.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Exists;
using Testing::ReadAll;
using Testing::Scratch;

constexpr WhenTargetExists kBoth[] = {WhenTargetExists::kRefuse, WhenTargetExists::kReplace};

std::string SidecarBytes(std::string_view fork) {
    AppleDouble sidecar;
    sidecar.SetResourceFork(fork);
    return sidecar.Bytes();
}

// Every file below a folder with its content; folders end with a slash.
std::map<std::string, std::string> Contents(const Scratch& scratch) {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(scratch.Path())) {
        const std::string name = entry.path().lexically_relative(scratch.Path()).string();
        if (entry.is_symlink())
            contents[name] = "-> " + std::filesystem::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            contents[name + "/"] = "";
        else
            contents[name] = ReadAll(entry.path().string());
    }
    return contents;
}

using Files = std::map<std::string, std::string>;

struct Case {
    const char* reason;
    Files before;
    OSErr refuse;
    Files refused;
    OSErr replace;
    Files replaced;
};

const std::string kOwn = SidecarBytes("own");
const std::string kOld = SidecarBytes("old");

// "a" is renamed to "b".
const Case kCases[] = {
    {"a file alone", {{"a", "A"}}, noErr, {{"b", "A"}}, noErr, {{"b", "A"}}},
    {"the sidecar goes along",
     {{"a", "A"}, {"._a", kOwn}},
     noErr,
     {{"b", "A"}, {"._b", kOwn}},
     noErr,
     {{"b", "A"}, {"._b", kOwn}}},
    {"a stale sidecar does not become the item's",
     {{"a", "A"}, {"._b", kOld}},
     noErr,
     {{"b", "A"}},
     noErr,
     {{"b", "A"}}},
    {"nor stays beside its own",
     {{"a", "A"}, {"._a", kOwn}, {"._b", kOld}},
     noErr,
     {{"b", "A"}, {"._b", kOwn}},
     noErr,
     {{"b", "A"}, {"._b", kOwn}}},
    {"a target", {{"a", "A"}, {"b", "B"}}, dupFNErr, {{"a", "A"}, {"b", "B"}}, noErr, {{"b", "A"}}},
    {"a target with a sidecar, the item without",
     {{"a", "A"}, {"b", "B"}, {"._b", kOld}},
     dupFNErr,
     {{"a", "A"}, {"b", "B"}, {"._b", kOld}},
     noErr,
     {{"b", "A"}}},
    {"both with a sidecar",
     {{"a", "A"}, {"._a", kOwn}, {"b", "B"}, {"._b", kOld}},
     dupFNErr,
     {{"a", "A"}, {"._a", kOwn}, {"b", "B"}, {"._b", kOld}},
     noErr,
     {{"b", "A"}, {"._b", kOwn}}},
    {"a damaged sidecar of the target goes with it",
     {{"a", "A"}, {"b", "B"}, {"._b", "damaged"}},
     dupFNErr,
     {{"a", "A"}, {"b", "B"}, {"._b", "damaged"}},
     noErr,
     {{"b", "A"}}},
    {"a damaged sidecar of the item goes along",
     {{"a", "A"}, {"._a", "damaged"}},
     noErr,
     {{"b", "A"}, {"._b", "damaged"}},
     noErr,
     {{"b", "A"}, {"._b", "damaged"}}},
    {"a foreign file at the sidecar's name of nothing stays",
     {{"a", "A"}, {"._b", "mine"}},
     noErr,
     {{"b", "A"}, {"._b", "mine"}},
     noErr,
     {{"b", "A"}, {"._b", "mine"}}},
    {"and is never overwritten",
     {{"a", "A"}, {"._a", kOwn}, {"._b", "mine"}},
     mapReadErr,
     {{"a", "A"}, {"._a", kOwn}, {"._b", "mine"}},
     mapReadErr,
     {{"a", "A"}, {"._a", kOwn}, {"._b", "mine"}}},
    {"nothing to rename, and the sidecars stay",
     {{"._a", kOwn}, {"b", "B"}, {"._b", kOld}},
     fnfErr,
     {{"._a", kOwn}, {"b", "B"}, {"._b", kOld}},
     fnfErr,
     {{"._a", kOwn}, {"b", "B"}, {"._b", kOld}}},
    {"nothing to rename at a free name",
     {{"._a", kOwn}, {"._b", kOld}},
     fnfErr,
     {{"._a", kOwn}, {"._b", kOld}},
     fnfErr,
     {{"._a", kOwn}, {"._b", kOld}}},
    {"a folder",
     {{"a/", ""}, {"a/x", "X"}, {"._a", kOwn}},
     noErr,
     {{"b/", ""}, {"b/x", "X"}, {"._b", kOwn}},
     noErr,
     {{"b/", ""}, {"b/x", "X"}, {"._b", kOwn}}},
    {"a folder over an empty one",
     {{"a/", ""}, {"a/x", "X"}, {"b/", ""}, {"._b", kOld}},
     dupFNErr,
     {{"a/", ""}, {"a/x", "X"}, {"b/", ""}, {"._b", kOld}},
     noErr,
     {{"b/", ""}, {"b/x", "X"}}},
    {"a folder over a full one",
     {{"a/", ""}, {"._a", kOwn}, {"b/", ""}, {"b/y", "Y"}, {"._b", kOld}},
     dupFNErr,
     {{"a/", ""}, {"._a", kOwn}, {"b/", ""}, {"b/y", "Y"}, {"._b", kOld}},
     ioErr,
     {{"a/", ""}, {"._a", kOwn}, {"b/", ""}, {"b/y", "Y"}, {"._b", kOld}}},
    {"a file over a folder",
     {{"a", "A"}, {"._a", kOwn}, {"b/", ""}, {"._b", kOld}},
     dupFNErr,
     {{"a", "A"}, {"._a", kOwn}, {"b/", ""}, {"._b", kOld}},
     fnfErr,
     {{"a", "A"}, {"._a", kOwn}, {"b/", ""}, {"._b", kOld}}},
    {"a folder over a file",
     {{"a/", ""}, {"b", "B"}, {"._b", kOld}},
     dupFNErr,
     {{"a/", ""}, {"b", "B"}, {"._b", kOld}},
     dirNFErr,
     {{"a/", ""}, {"b", "B"}, {"._b", kOld}}},
    {"a folder of a sidecar's name is none",
     {{"a", "A"}, {"._a/", ""}, {"._b/", ""}},
     noErr,
     {{"b", "A"}, {"._a/", ""}, {"._b/", ""}},
     noErr,
     {{"b", "A"}, {"._a/", ""}, {"._b/", ""}}},
};

void Fill(const Scratch& scratch, const Files& files) {
    for (const auto& [name, content] : files) {
        if (name.ends_with('/'))
            scratch.MakeFolder(name);
        else
            scratch.Write(name, content);
    }
}

TEST(RenameItem, ItemsGoWithTheirSidecarsAndFailuresChangeNothing) {
    for (const Case& c : kCases) {
        for (const WhenTargetExists policy : kBoth) {
            const bool refuse = policy == WhenTargetExists::kRefuse;
            const Scratch scratch;
            Fill(scratch, c.before);
            EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), scratch.Path("b").c_str(), policy),
                      refuse ? c.refuse : c.replace)
                << c.reason << (refuse ? ": refuse" : ": replace");
            EXPECT_EQ(Contents(scratch), refuse ? c.refused : c.replaced)
                << c.reason << (refuse ? ": refuse" : ": replace");
        }
    }
}

TEST(RenameItem, AnItemMovesToAnotherFolder) {
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, {{"x/a", "A"}, {"x/._a", kOwn}, {"y/", ""}});
        EXPECT_EQ(RenameItem(scratch.Path("x/a").c_str(), scratch.Path("y/b").c_str(), policy),
                  noErr);
        EXPECT_EQ(Contents(scratch),
                  (Files{{"x/", ""}, {"y/", ""}, {"y/b", "A"}, {"y/._b", kOwn}}));
        EXPECT_EQ(RenameItem(scratch.Path("y/b").c_str(), scratch.Path("z/b").c_str(), policy),
                  fnfErr);
        EXPECT_EQ(RenameItem(scratch.Path("y/b").c_str(), scratch.Path("y/b/c").c_str(), policy),
                  dirNFErr);
        EXPECT_EQ(ReadAll(scratch.Path("y/._b")), kOwn);
    }
}

TEST(RenameItem, AnItemToItsOwnNameChangesNothing) {
    const Files files = {{"a", "A"}, {"._a", kOwn}, {"f/", ""}, {"._f", kOld}, {"g", "G"}};
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, files);
        for (const char* name : {"a", "f", "g"}) {
            const std::string path = scratch.Path(name);
            EXPECT_EQ(RenameItem(path.c_str(), path.c_str(), policy), noErr) << name;
            const std::string other = scratch.Path("f/../") + name;
            EXPECT_EQ(RenameItem(path.c_str(), other.c_str(), policy), noErr) << name;
        }
        EXPECT_EQ(Contents(scratch), files);
    }
}

TEST(RenameItem, AHardLinkOfTheItemIsATargetOfItsOwn) {
    const Scratch scratch;
    Fill(scratch, {{"a", "A"}, {"._a", kOwn}});
    std::filesystem::create_hard_link(scratch.Path("a"), scratch.Path("b"));
    const Files files = Contents(scratch);
    const std::string from = scratch.Path("a");
    const std::string to = scratch.Path("b");
    EXPECT_EQ(RenameItem(from.c_str(), to.c_str(), WhenTargetExists::kRefuse), dupFNErr);
    EXPECT_EQ(RenameItem(from.c_str(), from.c_str(), WhenTargetExists::kRefuse), noErr);
    // As rename(2): two names of one file, nothing to do.
    EXPECT_EQ(RenameItem(from.c_str(), to.c_str(), WhenTargetExists::kReplace), noErr);
    EXPECT_EQ(Contents(scratch), files);
}

TEST(RenameItem, ALinkIsRenamedItself) {
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, {{"target", "T"}});
        ASSERT_EQ(symlink("target", scratch.Path("a").c_str()), 0);
        EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), scratch.Path("b").c_str(), policy), noErr);
        EXPECT_EQ(Contents(scratch), (Files{{"target", "T"}, {"b", "-> target"}}));
    }
}

TEST(RenameItem, ADanglingLinkAtTheTargetCountsAsThere) {
    const Scratch scratch;
    Fill(scratch, {{"a", "A"}});
    ASSERT_EQ(symlink("nowhere", scratch.Path("b").c_str()), 0);
    const std::string from = scratch.Path("a");
    const std::string to = scratch.Path("b");
    EXPECT_EQ(RenameItem(from.c_str(), to.c_str(), WhenTargetExists::kRefuse), dupFNErr);
    EXPECT_EQ(RenameItem(from.c_str(), to.c_str(), WhenTargetExists::kReplace), noErr);
    EXPECT_EQ(Contents(scratch), (Files{{"b", "A"}}));
}

TEST(RenameItem, AnOrphanedSidecarMayTakeItsPartnersName) {
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, {{"._a", kOwn}});
        EXPECT_EQ(RenameItem(scratch.Path("._a").c_str(), scratch.Path("a").c_str(), policy),
                  noErr);
        EXPECT_EQ(Contents(scratch), (Files{{"a", kOwn}}));
    }
}

TEST(RenameItem, ANameTooLongForASidecarIsGoodForAnItemWithoutOne) {
    const std::string longName(254, 'n');
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, {{"a", "A"}, {"c", "C"}, {"._c", kOwn}});
        const std::string to = scratch.Path(longName);
        EXPECT_EQ(RenameItem(scratch.Path("c").c_str(), to.c_str(), policy), bdNamErr);
        EXPECT_EQ(Contents(scratch), (Files{{"a", "A"}, {"c", "C"}, {"._c", kOwn}}));
        EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), to.c_str(), policy), noErr);
        EXPECT_EQ(RenameItem(to.c_str(), scratch.Path("a").c_str(), policy), noErr);
        EXPECT_EQ(Contents(scratch), (Files{{"a", "A"}, {"c", "C"}, {"._c", kOwn}}));
        EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), scratch.Path(std::string(256, 'n')).c_str(),
                             policy),
                  bdNamErr);
    }
}

TEST(RenameItem, AFolderDoesNotMoveIntoItself) {
    for (const WhenTargetExists policy : kBoth) {
        const Scratch scratch;
        Fill(scratch, {{"a/", ""}, {"._a", kOwn}});
        EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), scratch.Path("a/b").c_str(), policy),
                  paramErr);
        EXPECT_EQ(Contents(scratch), (Files{{"a/", ""}, {"._a", kOwn}}));
    }
}

// A path as a file system has it that takes an 'A' in a name for an 'a'.
std::string Folded(std::string path) {
    const auto name = path.begin() + static_cast<std::ptrdiff_t>(path.rfind('/') + 1);
    std::replace(name, path.end(), 'A', 'a');
    return path;
}

TEST(RenameItem, AnotherSpellingThatTheFileSystemTakesForTheSameIsNoRename) {
    const Scratch scratch;
    Fill(scratch, {{"a", "A"}, {"._a", kOwn}});
    const std::string from = scratch.Path("a");
    const std::string to = scratch.Path("A");
    syscalls.fstatat = [](int folder, const char* path, struct stat* status, int flags) {
        return kHostSyscalls.fstatat(folder, Folded(path).c_str(), status, flags);
    };
    syscalls.renameat2 = [](int oldFolder, const char* oldPath, int newFolder, const char* newPath,
                            unsigned int flags) {
        return kHostSyscalls.renameat2(oldFolder, Folded(oldPath).c_str(), newFolder,
                                       Folded(newPath).c_str(), flags);
    };
    for (const WhenTargetExists policy : kBoth)
        EXPECT_EQ(RenameItem(from.c_str(), to.c_str(), policy), noErr);
    syscalls = kHostSyscalls;
    EXPECT_EQ(Contents(scratch), (Files{{"a", "A"}, {"._a", kOwn}}));
}

int WithoutNoReplace(int from, const char* oldPath, int to, const char* newPath,
                     unsigned int flags) {
    if (flags != 0) {
        errno = EINVAL;
        return -1;
    }
    return kHostSyscalls.renameat2(from, oldPath, to, newPath, flags);
}

TEST(RenameItem, AFileSystemThatCannotRefuseByItselfIsAskedFirst) {
    syscalls.renameat2 = WithoutNoReplace;
    for (const Case& c : kCases) {
        const Scratch scratch;
        Fill(scratch, c.before);
        EXPECT_EQ(RenameItem(scratch.Path("a").c_str(), scratch.Path("b").c_str(),
                             WhenTargetExists::kRefuse),
                  c.refuse)
            << c.reason;
        EXPECT_EQ(Contents(scratch), c.refused) << c.reason;
    }
    syscalls.renameat2 = kHostSyscalls.renameat2;
}

}  // namespace
}  // namespace Ondrel::Host
