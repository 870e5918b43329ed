// References to items: what they survive, what they refuse, and that they are found again by their
// bytes alone when the library has long forgotten where they were.
#include <climits>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

#include "ondrel/platform/RefFacts.h"
#include "tests/platform/ForkHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;

FSRef RefOf(const std::string& path) {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref), noErr) << path;
    return ref;
}

// The path that a reference leads to, or the code as a text.
std::string PathOf(const FSRef& ref) {
    std::string path = "untouched";
    const OSErr code = FSRefMakePath(&ref, &path);
    if (code == noErr) return path;
    EXPECT_EQ(path, "untouched");
    return std::to_string(code);
}

// --- Making -------------------------------------------------------------------------------------

TEST(FileReferences, APathComesBackAsItWas) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    const std::string paths[] = {
        scratch.Write("a", ""),
        scratch.Write("folder/b c", ""),
        scratch.Path("folder"),
        scratch.Write("\xC3\xA9t\xC3\xA9", ""),
        scratch.Write("e\xCC\x81", ""),
        scratch.Write("not UTF-8 \xFF\xFE", ""),
        scratch.Write("back\\slash:colon", ""),
        scratch.Write(std::string(255, 'n'), ""),
        scratch.Path(),
        "/",
        "/dev",
        "/dev/null",
        "/proc",
    };
    for (const std::string& path : paths)
        EXPECT_EQ(PathOf(RefOf(path)), path);
}

TEST(FileReferences, EmptyNamesAndDotsAreLeftOut) {
    const Scratch scratch;
    const std::string file = scratch.Write("folder/a", "");
    const std::string top = scratch.Path();
    for (const std::string& path :
         {top + "//folder///a", top + "/./folder/a", top + "/folder/./a/", "/" + file,
          top + "/folder/../folder/a",
          top + "/folder/../../" + fs::path(top).filename().string() + "/folder/a",
          "/../.." + file}) {
        EXPECT_EQ(PathOf(RefOf(path)), file) << path;
        EXPECT_EQ(std::memcmp(RefOf(path).hidden, RefOf(file).hidden, 80), 0) << path;
    }
    EXPECT_EQ(PathOf(RefOf(top + "/folder/..")), top);
    EXPECT_EQ(PathOf(RefOf("/.")), "/");
    EXPECT_EQ(PathOf(RefOf("//..")), "/");
}

TEST(FileReferences, TheWayUpFromBehindALinkIsTheHosts) {
    const Scratch scratch;
    const std::string file = scratch.Write("deep/down/a", "");
    scratch.MakeFolder("deep/down/folder");
    ASSERT_EQ(symlink("deep/down/folder", scratch.Path("link").c_str()), 0);
    EXPECT_EQ(PathOf(RefOf(scratch.Path("link/../a"))), file);
    EXPECT_EQ(PathOf(RefOf(scratch.Path("link/.."))), scratch.Path("deep/down"));
}

TEST(FileReferences, APathThroughALinkStaysThatPath) {
    const Scratch scratch;
    scratch.Write("folder/a", "");
    ASSERT_EQ(symlink("folder", scratch.Path("link").c_str()), 0);
    const FSRef ref = RefOf(scratch.Path("link/a"));
    EXPECT_EQ(PathOf(ref), scratch.Path("link/a"));
    Host::ForgetPlaces();
    EXPECT_EQ(PathOf(ref), scratch.Path("link/a"));
}

TEST(FileReferences, WhatIsNotThereHasNoReference) {
    const Scratch scratch;
    const std::string file = scratch.Write("a", "");
    FSRef ref;
    std::memset(&ref, 7, sizeof ref);
    struct Case {
        std::string path;
        OSErr code;
    };
    const Case kCases[] = {
        {scratch.Path("b"), -43},
        {scratch.Path("b/c"), -43},
        {file + "/c", -120},
        {"", -43},
        {"a", -43},
        {"./a", -43},
        {scratch.Path(std::string(300, 'n')), -37},
        {"/" + std::string(PATH_MAX, 'n'), -37},
        {scratch.Path("none/../a"), -43},
    };
    for (const Case& c : kCases)
        EXPECT_EQ(FSPathMakeRef(c.path.c_str(), &ref), c.code) << c.path;
    EXPECT_EQ(FSPathMakeRef(nullptr, &ref), -50);
    EXPECT_EQ(FSPathMakeRef(file.c_str(), nullptr), -50);
    for (const unsigned char byte : ref.hidden)
        EXPECT_EQ(byte, 7);
}

TEST(FileReferences, BytesThatAreNoReferenceNameNothing) {
    FSRef ref{};
    EXPECT_EQ(PathOf(ref), "-43");
    std::memset(&ref, 0xFF, sizeof ref);
    EXPECT_EQ(PathOf(ref), "-43");
    std::string path;
    EXPECT_EQ(FSRefMakePath(nullptr, &path), -50);
    EXPECT_EQ(FSRefMakePath(&ref, nullptr), -50);
}

TEST(FileReferences, ALinkIsNamedItselfAlsoWhenItLeadsNowhere) {
    const Scratch scratch;
    const std::string link = scratch.Path("link");
    ASSERT_EQ(symlink("nowhere", link.c_str()), 0);
    const FSRef ref = RefOf(link);
    ASSERT_EQ(rename(link.c_str(), scratch.Path("other").c_str()), 0);
    EXPECT_EQ(PathOf(ref), scratch.Path("other"));
}

// --- What a reference survives, freshly made and forgotten ---------------------------------------

class FileReferencesKept : public testing::TestWithParam<bool> {
 protected:
    void Elapse() const {
        if (GetParam()) Host::ForgetPlaces();
    }
};
INSTANTIATE_TEST_SUITE_P(, FileReferencesKept, testing::Bool(), [](const auto& name) {
    return std::string(name.param ? "Forgotten" : "Remembered");
});

TEST_P(FileReferencesKept, AReferenceFollowsARenameInItsFolder) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string folder = scratch.MakeFolder("folder");
    const FSRef file = RefOf(path);
    const FSRef child = RefOf(folder);
    Elapse();
    ASSERT_EQ(rename(path.c_str(), scratch.Path("b").c_str()), 0);
    ASSERT_EQ(rename(folder.c_str(), scratch.Path("another").c_str()), 0);
    EXPECT_EQ(PathOf(file), scratch.Path("b"));
    EXPECT_EQ(PathOf(file), scratch.Path("b"));
    EXPECT_EQ(PathOf(child), scratch.Path("another"));
    ASSERT_EQ(rename(scratch.Path("b").c_str(), path.c_str()), 0);
    EXPECT_EQ(PathOf(file), path);
}

TEST_P(FileReferencesKept, AReferenceIsNotTakenInByTheNewBearerOfItsName) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const FSRef ref = RefOf(path);
    Elapse();
    ASSERT_EQ(rename(path.c_str(), scratch.Path("b").c_str()), 0);
    scratch.Write("a", "another");
    EXPECT_EQ(PathOf(ref), scratch.Path("b"));
}

TEST_P(FileReferencesKept, AReferenceToWhatIsGoneIsMinus43) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const std::string moved = scratch.Write("moved", "");
    const std::string replaced = scratch.Write("replaced", "");
    const std::string inside = scratch.Write("folder/inside", "");
    const FSRef refs[] = {RefOf(path), RefOf(moved), RefOf(replaced), RefOf(inside)};
    Elapse();
    unlink(path.c_str());
    scratch.MakeFolder("elsewhere");  // it may get the inode number that has become free
    ASSERT_EQ(rename(moved.c_str(), scratch.Path("elsewhere/moved").c_str()), 0);
    ASSERT_EQ(rename(scratch.Write("new", "").c_str(), replaced.c_str()), 0);
    fs::remove_all(scratch.Path("folder"));
    for (const FSRef& ref : refs)
        EXPECT_EQ(PathOf(ref), "-43");
}

TEST_P(FileReferencesKept, ANewFileWithTheInodeNumberOfAnOldOneIsAnother) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    Host::Identity old{};
    ASSERT_EQ(Host::GetIdentity(AT_FDCWD, path.c_str(), 0, &old), noErr);
    if (old.birth == 0) GTEST_SKIP() << "this file system does not know when a file was made";
    const FSRef ref = RefOf(path);
    Elapse();
    // Long enough for the file system's clock to move on.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    unlink(path.c_str());
    scratch.Write("a", "");
    Host::Identity fresh{};
    ASSERT_EQ(Host::GetIdentity(AT_FDCWD, path.c_str(), 0, &fresh), noErr);
    if (fresh.inode != old.inode) GTEST_SKIP() << "the inode number was not given anew";
    EXPECT_EQ(PathOf(ref), "-43");
}

TEST_P(FileReferencesKept, ARenamedFolderHidesItsItemsUntilItHasItsNameBack) {
    const Scratch scratch;
    const std::string path = scratch.Write("folder/a", "");
    const FSRef ref = RefOf(path);
    Elapse();
    ASSERT_EQ(rename(scratch.Path("folder").c_str(), scratch.Path("other").c_str()), 0);
    EXPECT_EQ(PathOf(ref), "-43");
    ASSERT_EQ(rename(scratch.Path("other").c_str(), scratch.Path("folder").c_str()), 0);
    EXPECT_EQ(PathOf(ref), path);
}

TEST_P(FileReferencesKept, TheNamesOfOneFileInOneFolderAreToldApart) {
    const Scratch scratch;
    const std::string first = scratch.Write("first", "");
    std::vector<std::string> paths = {first};
    for (int i = 0; i < 20; ++i) {
        paths.push_back(scratch.Path("link" + std::to_string(i)));
        ASSERT_EQ(link(first.c_str(), paths.back().c_str()), 0);
    }
    std::vector<FSRef> refs;
    for (const std::string& path : paths)
        refs.push_back(RefOf(path));
    Elapse();
    for (std::size_t i = 0; i < refs.size(); ++i)
        EXPECT_EQ(PathOf(refs[i]), paths[i]);
}

TEST_P(FileReferencesKept, ARootOfAnotherFileSystemIsFound) {
    const FSRef root = RefOf("/");
    const FSRef proc = RefOf("/proc");
    const FSRef null = RefOf("/dev/null");
    Elapse();
    EXPECT_EQ(PathOf(root), "/");
    EXPECT_EQ(PathOf(proc), "/proc");
    EXPECT_EQ(PathOf(null), "/dev/null");
}

TEST_P(FileReferencesKept, DepthIsLimitedByThePathAlone) {
    const Scratch scratch;
    // Levels beyond the room for their hashes, with a wrong turn at each.
    std::string folder = scratch.Path();
    for (int level = 0; level < 400; ++level) {
        ASSERT_TRUE(level <= 380 || fs::create_directory(folder + "/wrong"));
        folder += "/d" + std::to_string(level % 10);
        ASSERT_TRUE(fs::create_directory(folder));
    }
    WriteAll(folder + "/a", "");
    const FSRef ref = RefOf(folder + "/a");
    Elapse();
    EXPECT_EQ(PathOf(ref), folder + "/a");
    ASSERT_EQ(rename((folder + "/a").c_str(), (folder + "/b").c_str()), 0);
    EXPECT_EQ(PathOf(ref), folder + "/b");
}

TEST_P(FileReferencesKept, CirclesOfLinksEndTheSearch) {
    const Scratch scratch;
    std::string folder = scratch.Path();
    for (int level = 0; level < 320; ++level) {
        folder += "/d";
        ASSERT_TRUE(fs::create_directory(folder));
        if (level > 300) {
            ASSERT_EQ(symlink(".", (folder + "/x").c_str()), 0);
            ASSERT_EQ(symlink(".", (folder + "/y").c_str()), 0);
        }
    }
    WriteAll(folder + "/a", "");
    const FSRef ref = RefOf(folder + "/a");
    fs::rename(folder, folder + "elsewhere");
    Elapse();
    EXPECT_EQ(PathOf(ref), "-43");
}

TEST_P(FileReferencesKept, EachSystemCallOfResolvingCanFailOnce) {
    const Scratch scratch;
    const std::string path = scratch.Write("folder/a", "");
    const FSRef ref = RefOf(path);
    Elapse();
    ASSERT_EQ(rename(path.c_str(), scratch.Path("folder/b").c_str()), 0);
    const int descriptors = OpenDescriptors();
    for (int n = 1;; ++n) {
        ASSERT_EQ(rename(scratch.Path("folder/b").c_str(), scratch.Path("folder/c").c_str()), 0);
        ASSERT_EQ(rename(scratch.Path("folder/c").c_str(), scratch.Path("folder/b").c_str()), 0);
        std::string found = "untouched";
        const FaultPlan plan(n, EIO);
        const OSErr code = FSRefMakePath(&ref, &found);
        if (!plan.Fired()) {
            EXPECT_EQ(code, noErr);
            break;
        }
        // Another way to the item makes up for a failure, or the failure is told.
        EXPECT_TRUE(code == noErr || code == -36) << plan.Where() << " " << code;
        EXPECT_EQ(found, code == noErr ? scratch.Path("folder/b") : "untouched");
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

// --- Many ---------------------------------------------------------------------------------------

TEST(FileReferences, FiveThousandReferencesAllLeadToTheirItems) {
    const Scratch scratch;
    std::vector<std::string> paths;
    std::vector<FSRef> refs;
    for (int i = 0; i < 5000; ++i) {
        paths.push_back(
            scratch.Write("folder " + std::to_string(i % 50) + "/item " + std::to_string(i), ""));
        refs.push_back(RefOf(paths.back()));
    }
    for (std::size_t i = 0; i < refs.size(); i += 7) {
        const std::string renamed = paths[i] + " renamed";
        ASSERT_EQ(rename(paths[i].c_str(), renamed.c_str()), 0);
        paths[i] = renamed;
    }
    for (std::size_t i = 0; i < refs.size(); ++i)
        ASSERT_EQ(PathOf(refs[i]), paths[i]);
    for (std::size_t i = 0; i < refs.size(); i += 5)
        unlink(paths[i].c_str());
    for (std::size_t i = 0; i < refs.size(); ++i)
        ASSERT_EQ(PathOf(refs[i]), i % 5 == 0 ? "-43" : paths[i]);
}

TEST(FileReferences, ARememberedItemCostsOneSystemCall) {
    const Scratch scratch;
    const FSRef ref = RefOf(scratch.Write("a", ""));
    const FaultPlan count(1000, EIO);
    EXPECT_EQ(PathOf(ref), scratch.Path("a"));
    EXPECT_EQ(count.Calls(), 1);
}

TEST(FileReferences, SeveralThreadsMakeAndFollowReferences) {
    const Scratch scratch;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&scratch, thread] {
            for (int i = 0; i < 100; ++i) {
                const std::string path =
                    scratch.Path() + "/" + std::to_string(thread) + "-" + std::to_string(i);
                WriteAll(path, "");
                const FSRef ref = RefOf(path);
                EXPECT_EQ(rename(path.c_str(), (path + "x").c_str()), 0);
                EXPECT_EQ(PathOf(ref), path + "x");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(FileReferences, EachSystemCallOfMakingOneCanFailOnce) {
    const Scratch scratch;
    scratch.Write("folder/a", "");
    const int descriptors = OpenDescriptors();
    for (int n = 1;; ++n) {
        FSRef ref{};
        const FaultPlan plan(n, EIO);
        const OSErr code = FSPathMakeRef(scratch.Path("folder/../folder/a").c_str(), &ref);
        if (!plan.Fired()) {
            EXPECT_EQ(code, noErr);
            break;
        }
        // Closing what was only looked at loses nothing.
        EXPECT_EQ(code, plan.Where() == "close" ? 0 : -36) << plan.Where();
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

// --- Aliases ------------------------------------------------------------------------------------

struct Resolved {
    OSErr code = 1;
    std::string path;
    bool isFolder = false;
    bool wasAliased = false;
    bool operator==(const Resolved&) const = default;
};

void PrintTo(const Resolved& resolved, std::ostream* out) {
    *out << resolved.code << " " << resolved.path << (resolved.isFolder ? " folder" : "")
         << (resolved.wasAliased ? " aliased" : "");
}

Resolved Resolve(const std::string& path, bool chains) {
    FSRef ref = RefOf(path);
    Resolved result;
    result.code = FSResolveAliasFile(&ref, chains, &result.isFolder, &result.wasAliased);
    result.path = PathOf(ref);
    return result;
}

TEST(FileReferences, ALinkIsAnAliasAndLeadsToItsTarget) {
    const Scratch scratch;
    const std::string file = scratch.Write("file", "");
    const std::string folder = scratch.MakeFolder("folder");
    const auto Link = [&](const char* target, const char* name) {
        EXPECT_EQ(symlink(target, scratch.Path(name).c_str()), 0);
        return scratch.Path(name);
    };
    const std::string link = Link("file", "link");
    const std::string chain = Link("link", "chain");
    const std::string toFolder = Link(folder.c_str(), "to folder");
    const std::string nowhere = Link("nothing", "nowhere");
    const std::string circle = Link("circle", "circle");

    EXPECT_EQ(Resolve(file, true), (Resolved{0, file, false, false}));
    EXPECT_EQ(Resolve(folder, true), (Resolved{0, folder, true, false}));
    EXPECT_EQ(Resolve(link, true), (Resolved{0, file, false, true}));
    EXPECT_EQ(Resolve(link, false), (Resolved{0, file, false, true}));
    EXPECT_EQ(Resolve(chain, true), (Resolved{0, file, false, true}));
    EXPECT_EQ(Resolve(chain, false), (Resolved{0, link, false, true}));
    EXPECT_EQ(Resolve(toFolder, true), (Resolved{0, folder, true, true}));
    EXPECT_EQ(Resolve(nowhere, true), (Resolved{-43, nowhere, false, true}));
    EXPECT_EQ(Resolve(nowhere, false), (Resolved{-43, nowhere, false, true}));
    EXPECT_EQ(Resolve(circle, true), (Resolved{-43, circle, false, true}));
}

TEST(FileReferences, AnAliasOfNothingIsRefused) {
    const Scratch scratch;
    FSRef ref = RefOf(scratch.Write("a", ""));
    bool isFolder = true;
    bool wasAliased = true;
    EXPECT_EQ(FSResolveAliasFile(nullptr, true, &isFolder, &wasAliased), -50);
    EXPECT_EQ(FSResolveAliasFile(&ref, true, nullptr, &wasAliased), -50);
    EXPECT_EQ(FSResolveAliasFile(&ref, true, &isFolder, nullptr), -50);
    unlink(scratch.Path("a").c_str());
    EXPECT_EQ(FSResolveAliasFile(&ref, true, &isFolder, &wasAliased), -43);
}

// --- The bytes ----------------------------------------------------------------------------------

TEST(FileReferences, ACollisionOfHashesIsADetourOnly) {
    const Scratch scratch;
    // Enough levels that each has few bits, and neighbours that share them.
    std::string folder = scratch.Path();
    for (int level = 0; level < 60; ++level) {
        for (int i = 0; i < 8; ++i)
            fs::create_directory(folder + "/n" + std::to_string(i));
        folder += "/n" + std::to_string(level % 8);
    }
    WriteAll(folder + "/a", "");
    Host::RefFacts facts{};
    Host::Identity identity{};
    ASSERT_EQ(Host::GetIdentity(AT_FDCWD, (folder + "/a").c_str(), 0, &facts.item), noErr);
    ASSERT_EQ(Host::GetIdentity(AT_FDCWD, folder.c_str(), 0, &identity), noErr);
    facts.folderInode = identity.inode;
    facts.folderDevice = identity.device;
    facts.nameHash = Host::HashOfName("a");
    Host::SetChain(folder, &facts);
    std::string path;
    EXPECT_EQ(Host::FindFromRoot(facts, &path), noErr);
    EXPECT_EQ(path, folder + "/a");

    facts.item.inode += 1000000;
    path = "untouched";
    EXPECT_EQ(Host::FindFromRoot(facts, &path), -43);
    EXPECT_EQ(Host::FindInFolder(folder, facts, &path), -43);
    EXPECT_EQ(Host::FindInFolder(scratch.Path(), facts, &path), -120);
    EXPECT_EQ(path, "untouched");
}

}  // namespace
}  // namespace Ondrel::Testing
