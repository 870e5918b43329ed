// The mount table: precedence, names, the way from a path to its volume, and when the host's own
// mounts are looked at. Every test takes away the volumes that it gives.
#include "ondrel/platform/MountTable.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include "ondrel/platform/Syscalls.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {
namespace {

using Testing::Scratch;

class Given {
 public:
    Given(std::string name, std::string_view root) : name_(std::move(name)) {
        EXPECT_TRUE(AddMount(name_, root)) << name_;
    }
    ~Given() { EXPECT_TRUE(RemoveMount(name_)) << name_; }
    Given(const Given&) = delete;
    Given& operator=(const Given&) = delete;

 private:
    std::string name_;
};

// Shows a text of the test's in the place of the host's mounts, and counts how often it is read.
class FakeMounts {
 public:
    explicit FakeMounts(std::string_view text) {
        Set(text);
        path_ = scratch_.Path("mountinfo");
        readings_ = 0;
        syscalls.openat = [](int folder, const char* path, int flags, mode_t mode) {
            if (std::string_view(path) != "/proc/self/mountinfo")
                return kHostSyscalls.openat(folder, path, flags, mode);
            ++readings_;
            return kHostSyscalls.openat(folder, path_.c_str(), flags, mode);
        };
        (void)Mounts();
    }
    ~FakeMounts() {
        syscalls = kHostSyscalls;
        (void)Mounts();
    }

    void Set(std::string_view text) { scratch_.Write("mountinfo", text); }
    static int Readings() { return readings_; }

 private:
    Scratch scratch_;
    static inline std::string path_;
    static inline std::atomic<int> readings_;
};

std::string RootOf(std::string_view name) {
    std::string root = "not mounted";
    const bool found = FindMount(name, &root);
    EXPECT_EQ(found, root != "not mounted");
    return root;
}

std::string Volume(std::string_view path) {
    const Mount mount = MountOfPath(path);
    return mount.name + "=" + mount.root;
}

void WaitMillis(int millis) {
    std::this_thread::sleep_for(std::chrono::milliseconds(millis));
}

TEST(MountTable, TheRootFileSystemIsTheVolumeRoot) {
    EXPECT_EQ(RootOf("Root"), "/");
    EXPECT_EQ(Volume("/"), "Root=/");
    EXPECT_EQ(Volume("/etc/hosts"), "Root=/");
    EXPECT_EQ(Mounts().back(), (Mount{"Root", "/"}));
}

TEST(MountTable, AGivenVolumeIsThereAtOnceAndGoneAtOnce) {
    EXPECT_EQ(RootOf("Given 1"), "not mounted");
    {
        const Given given("Given 1", "/srv/mac");
        EXPECT_EQ(RootOf("Given 1"), "/srv/mac");
        EXPECT_EQ(Volume("/srv/mac/Docs"), "Given 1=/srv/mac");
    }
    EXPECT_EQ(RootOf("Given 1"), "not mounted");
    EXPECT_EQ(Volume("/srv/mac/Docs"), "Root=/");
    EXPECT_FALSE(RemoveMount("Given 1"));
}

TEST(MountTable, ANameGivenAgainGetsTheNewFolder) {
    const Given given("Given", "/srv/old");
    EXPECT_TRUE(AddMount("Given", "/srv/new"));
    EXPECT_EQ(RootOf("Given"), "/srv/new");
    EXPECT_EQ(Volume("/srv/old"), "Root=/");
    const std::vector<Mount> mounts = Mounts();
    EXPECT_EQ(std::count_if(mounts.begin(), mounts.end(),
                            [](const Mount& mount) { return mount.name == "Given"; }),
              1);
}

TEST(MountTable, WhatCannotBeAVolumeIsRefused) {
    using namespace std::string_view_literals;
    const std::pair<std::string_view, std::string_view> kCases[] = {
        {"", "/srv"}, {"a:b", "/srv"}, {":", "/srv"},  {"a\xFF", "/srv"}, {"a\0b"sv, "/srv"},
        {"a", ""},    {"a", "srv"},    {"a", "./srv"}, {"a", "/s\0rv"sv}, {"a", "/srv\xFF"},
    };
    const std::vector<Mount> before = Mounts();
    for (const auto& [name, root] : kCases)
        EXPECT_FALSE(AddMount(name, root)) << name << " " << root;
    EXPECT_EQ(Mounts(), before);
    EXPECT_FALSE(RemoveMount("bad\xFF"));
    EXPECT_FALSE(RemoveMount(""));
}

TEST(MountTable, RootsAreKeptWithoutSuperfluousSlashes) {
    const std::pair<std::string_view, std::string_view> kCases[] = {
        {"/", "/"},           {"//", "/"},
        {"/srv/", "/srv"},    {"/srv//a///b//", "/srv/a/b"},
        {"/./srv/.", "/srv"}, {"/srv/../a", "/srv/../a"},
    };
    for (const auto& [root, kept] : kCases) {
        const Given given("Given", root);
        EXPECT_EQ(RootOf("Given"), kept);
    }
}

TEST(MountTable, NamesAreFoundComposedAndDecomposedButNotInAnotherCase) {
    const Given given("Cafe\xCC\x81", "/srv/cafe");
    EXPECT_EQ(RootOf("Caf\xC3\xA9"), "/srv/cafe");
    EXPECT_EQ(RootOf("Cafe\xCC\x81"), "/srv/cafe");
    EXPECT_EQ(RootOf("caf\xC3\xA9"), "not mounted");
    EXPECT_EQ(RootOf("Cafe"), "not mounted");
    EXPECT_EQ(RootOf("Caf\xC3"), "not mounted");
    EXPECT_EQ(Mounts().front().name, "Caf\xC3\xA9");
}

TEST(MountTable, APathBelongsToTheVolumeWithTheLongestRoot) {
    const Given outer("Outer", "/srv/mac");
    const Given inner("Inner", "/srv/mac/inner");
    EXPECT_EQ(Volume("/srv"), "Root=/");
    EXPECT_EQ(Volume("/srv/mac"), "Outer=/srv/mac");
    EXPECT_EQ(Volume("/srv/macro"), "Root=/");
    EXPECT_EQ(Volume("/srv/mac/innermost"), "Outer=/srv/mac");
    EXPECT_EQ(Volume("/srv/mac/inner"), "Inner=/srv/mac/inner");
    EXPECT_EQ(Volume("/srv/mac/inner/a/b"), "Inner=/srv/mac/inner");
}

TEST(MountTable, OfTwoVolumesAtOneFolderTheLaterGivenWins) {
    const Given first("First", "/srv/mac");
    const Given second("Second", "/srv/mac");
    EXPECT_EQ(Volume("/srv/mac/a"), "Second=/srv/mac");
    EXPECT_EQ(RootOf("First"), "/srv/mac");
    EXPECT_TRUE(AddMount("First", "/srv/mac"));
    EXPECT_EQ(Volume("/srv/mac/a"), "First=/srv/mac");
}

TEST(MountTable, TheRootFileSystemCanHaveAnotherName) {
    const Given given("Macintosh HD", "/");
    EXPECT_EQ(Volume("/etc"), "Macintosh HD=/");
    EXPECT_EQ(RootOf("Root"), "/");
}

TEST(MountTable, WhereTheNameRootIsTakenTheRootFileSystemIsNumbered) {
    {
        const Given given("Root", "/srv/mac");
        EXPECT_EQ(RootOf("Root"), "/srv/mac");
        EXPECT_EQ(RootOf("Root 1"), "/");
        EXPECT_EQ(Volume("/etc"), "Root 1=/");
        EXPECT_EQ(Volume("/srv/mac/a"), "Root=/srv/mac");
        const Given second("Root 1", "/srv/other");
        EXPECT_EQ(Volume("/etc"), "Root 2=/");
    }
    const Given given("Root", "/");
    EXPECT_EQ(Volume("/etc"), "Root=/");
    EXPECT_EQ(RootOf("Root 1"), "not mounted");
}

// --- The host's mounts --------------------------------------------------------------------------

constexpr std::string_view kOneDisk = "1 2 8:1 / /media/ann/Disk rw - vfat none rw\n";

TEST(MountTable, MountedFileSystemsAreVolumes) {
    const FakeMounts host(kOneDisk);
    EXPECT_EQ(RootOf("Disk"), "/media/ann/Disk");
    EXPECT_EQ(Volume("/media/ann/Disk/a"), "Disk=/media/ann/Disk");
    EXPECT_EQ(Volume("/media/ann/Diskette"), "Root=/");
    EXPECT_EQ(Mounts(), (std::vector<Mount>{{"Disk", "/media/ann/Disk"}, {"Root", "/"}}));
}

TEST(MountTable, GivenVolumesWinOverMountedOnesWhichCannotBeReachedThen) {
    const FakeMounts host(kOneDisk);
    const Given given("Disk", "/srv/disk");
    EXPECT_EQ(RootOf("Disk"), "/srv/disk");
    EXPECT_EQ(Volume("/media/ann/Disk/a"), "Root=/");
    EXPECT_EQ(Mounts(), (std::vector<Mount>{
                            {"Disk", "/srv/disk"}, {"Disk", "/media/ann/Disk"}, {"Root", "/"}}));
}

TEST(MountTable, ANameThatIsNotFoundIsLookedForAgainOnTheHost) {
    FakeMounts host("");
    EXPECT_EQ(RootOf("Disk"), "not mounted");
    host.Set(kOneDisk);
    WaitMillis(100);
    EXPECT_EQ(RootOf("Disk"), "/media/ann/Disk");
}

TEST(MountTable, AVolumeThatIsUnmountedIsForgottenWithinASecond) {
    FakeMounts host(kOneDisk);
    EXPECT_EQ(RootOf("Disk"), "/media/ann/Disk");
    host.Set("");
    WaitMillis(1100);
    EXPECT_EQ(RootOf("Disk"), "not mounted");
}

TEST(MountTable, APathBelowTheVolumeFoldersIsLookedForOnTheHostOnceASecond) {
    FakeMounts host("");
    host.Set(kOneDisk);
    WaitMillis(1100);
    EXPECT_EQ(Volume("/media/ann/Disk/a"), "Disk=/media/ann/Disk");
}

TEST(MountTable, TheHostIsNotAskedOverAndOver) {
    const FakeMounts host(kOneDisk);
    const Given given("Given", "/srv/given");
    const int before = FakeMounts::Readings();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10000; ++i) {
        (void)FindMount("Disk");
        (void)FindMount("No such volume");
        (void)MountOfPath("/media/ann/Disk/a");
    }
    const auto passed = std::chrono::steady_clock::now() - start;
    EXPECT_LE(FakeMounts::Readings() - before, passed / std::chrono::milliseconds(40) + 1);
}

TEST(MountTable, GivenVolumesAndRootNeverWaitForTheHost) {
    const FakeMounts host(kOneDisk);
    const Given given("Given", "/srv/given");
    WaitMillis(1100);
    const int before = FakeMounts::Readings();
    EXPECT_EQ(RootOf("Given"), "/srv/given");
    EXPECT_EQ(RootOf("Root"), "/");
    EXPECT_EQ(Volume("/srv/given/a"), "Given=/srv/given");
    EXPECT_EQ(Volume("/tmp/a"), "Root=/");
    EXPECT_EQ(FakeMounts::Readings(), before);
}

TEST(MountTable, AHostThatDoesNotShowItsMountsLeavesWhatWasKnown) {
    const FakeMounts host(kOneDisk);
    syscalls.openat = [](int, const char*, int, mode_t) {
        errno = EMFILE;
        return -1;
    };
    EXPECT_EQ(Mounts(), (std::vector<Mount>{{"Disk", "/media/ann/Disk"}, {"Root", "/"}}));
}

// --- The environment ----------------------------------------------------------------------------

class Environment {
 public:
    explicit Environment(const char* volumes) {
        setenv("ONDREL_VOLUMES", volumes, 1);
        (void)Mounts();
    }
    ~Environment() {
        unsetenv("ONDREL_VOLUMES");
        (void)Mounts();
    }
};

TEST(MountTable, TheEnvironmentGivesVolumesToo) {
    const FakeMounts host("1 2 8:1 / /media/ann/Data rw - vfat none rw\n");
    const Environment environment("Macintosh HD=/srv/mac:Data=/data/");
    EXPECT_EQ(RootOf("Macintosh HD"), "/srv/mac");
    EXPECT_EQ(RootOf("Data"), "/data");
    EXPECT_EQ(Volume("/data/a"), "Data=/data");
    const Given given("Data", "/srv/data");
    EXPECT_EQ(RootOf("Data"), "/srv/data");
    EXPECT_EQ(Mounts(), (std::vector<Mount>{{"Data", "/srv/data"},
                                            {"Macintosh HD", "/srv/mac"},
                                            {"Data", "/data"},
                                            {"Data", "/media/ann/Data"},
                                            {"Root", "/"}}));
}

TEST(MountTable, PartsOfTheEnvironmentInAnotherFormArePassedOver) {
    const FakeMounts host("");
    const Environment environment("::=:=/a:a=:b=c:d:Good=/srv/a=b:Good=/second:");
    EXPECT_EQ(Mounts(),
              (std::vector<Mount>{{"Good", "/srv/a=b"}, {"Good", "/second"}, {"Root", "/"}}));
    EXPECT_EQ(RootOf("Good"), "/srv/a=b");
}

// --- Volumes that are not mounted ---------------------------------------------------------------

TEST(MountTable, APathBelowVolumesThatLeadsNowhereIsOneOfAVolumeThatIsNotMounted) {
    const FakeMounts host("");
    EXPECT_EQ(Volume("/Volumes/No such volume/a"), "No such volume=/Volumes/No such volume");
    EXPECT_EQ(Volume("/Volumes/No such volume"), "No such volume=/Volumes/No such volume");
    EXPECT_EQ(Volume("/Volumes/a:b/c"), "a/b=/Volumes/a:b");
    EXPECT_EQ(Volume("/Volumes"), "Root=/");
    EXPECT_EQ(Volume("/Volumes/"), "Root=/");
    EXPECT_EQ(Volume("/Volumes/../etc"), "Root=/");
}

TEST(MountTable, APathBelowVolumesIsNeverTakenForAVolumeThatIsMountedElsewhere) {
    const FakeMounts host("");
    const Given given("Data", "/srv/data");
    EXPECT_EQ(Volume("/Volumes/Data/a"), "Root=/");
}

TEST(MountTable, AFolderBelowVolumesThatIsNoVolumeIsPartOfTheVolumeAroundIt) {
    const FakeMounts host("");
    syscalls.fstatat = [](int folder, const char* path, struct stat* status, int flags) {
        const bool fake = std::string_view(path) == "/Volumes/Plain";
        return kHostSyscalls.fstatat(folder, fake ? "/" : path, status, flags);
    };
    EXPECT_EQ(Volume("/Volumes/Plain/a"), "Root=/");
    syscalls.fstatat = [](int, const char*, struct stat*, int) {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(Volume("/Volumes/Plain/a"), "Root=/") << "nobody knows what is there";
}

// --- Threads ------------------------------------------------------------------------------------

TEST(MountTable, ThreadsSeeWholeTables) {
    const FakeMounts host(kOneDisk);
    std::atomic<bool> stop = false;
    std::atomic<int> torn = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const auto mount = FindMount("Changing");
                if (mount && mount->root != "/srv/a" && mount->root != "/srv/b") ++torn;
                if (MountOfPath("/srv/a/x").root.empty()) ++torn;
            }
        });
    }
    for (int i = 0; i < 2000; ++i) {
        EXPECT_TRUE(AddMount("Changing", i % 2 == 0 ? "/srv/a" : "/srv/b"));
        EXPECT_TRUE(i % 10 != 0 || RemoveMount("Changing"));
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(torn, 0);
    EXPECT_TRUE(RemoveMount("Changing"));
}

TEST(MountTable, AChangeIsSeenByAThreadThatLookedBefore) {
    std::atomic<int> step = 0;
    std::string seen;
    std::thread reader([&] {
        (void)FindMount("Late");
        step = 1;
        while (step != 2)
            std::this_thread::yield();
        (void)FindMount("Late", &seen);
    });
    while (step != 1)
        std::this_thread::yield();
    const Given given("Late", "/srv/late");
    step = 2;
    reader.join();
    EXPECT_EQ(seen, "/srv/late");
}

}  // namespace
}  // namespace Ondrel::Host
