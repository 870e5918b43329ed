// Volumes out of the host's tables: the texts first, then the reading of them through the table of
// system calls.
#include "ondrel/platform/MountDiscovery.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <map>

#include "ondrel/platform/Syscalls.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Host {

void PrintTo(const Mount& mount, std::ostream* out) {
    *out << '"' << mount.name << "\" at " << mount.root;
}

namespace {

using Testing::Scratch;

std::string NoLabel(const std::string&) {
    return {};
}

std::vector<Mount> Volumes(std::string_view mountInfo) {
    return VolumesFromMountInfo(mountInfo, NoLabel, "Root");
}

TEST(MountDiscovery, OnlyMountsBelowTheVolumeFoldersAreVolumes) {
    EXPECT_EQ(Volumes("27 1 254:0 / / rw - ext4 /dev/vda rw\n"
                      "30 27 8:1 / /boot rw - ext4 /dev/sda1 rw\n"
                      "31 27 8:2 / /media/ann/Stick rw - vfat /dev/sdb1 rw\n"
                      "32 27 8:3 / /run/media/ann/Card rw - vfat /dev/sdc1 rw\n"
                      "33 27 8:4 / /mnt/backup rw - xfs /dev/sdd1 rw\n"
                      "34 27 8:5 / /Volumes/Data rw - hfsplus /dev/sde1 rw\n"
                      "35 27 8:6 / /mnt rw - xfs /dev/sdf1 rw\n"
                      "36 27 8:7 / /mntx/no rw - xfs /dev/sdg1 rw\n"
                      "37 27 8:8 / /srv/mnt/no rw - xfs /dev/sdh1 rw\n"),
              (std::vector<Mount>{{"Stick", "/media/ann/Stick"},
                                  {"Card", "/run/media/ann/Card"},
                                  {"backup", "/mnt/backup"},
                                  {"Data", "/Volumes/Data"}}));
}

TEST(MountDiscovery, EscapesInTheTableAreTheBytesThatTheyStandFor) {
    EXPECT_EQ(Volumes("1 2 8:1 / /mnt/My\\040Disk\\134x rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:1 / /mnt/tab\\011end rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:1 / /mnt/odd\\0 rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:1 / /mnt/odd\\999 rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:1 / /mnt/odd\\777 rw - ext4 /dev/sda1 rw\n"),
              (std::vector<Mount>{{"My Disk\\x", "/mnt/My Disk\\x"},
                                  {"tab\tend", "/mnt/tab\tend"},
                                  {"odd\\0", "/mnt/odd\\0"},
                                  {"odd\\999", "/mnt/odd\\999"},
                                  {"odd\\777", "/mnt/odd\\777"}}));
}

TEST(MountDiscovery, AnyNumberOfTagsMayStandInALine) {
    EXPECT_EQ(Volumes("1 2 8:1 / /mnt/a rw shared:5 master:3 propagate_from:2 - ext4 /dev/sda rw\n"
                      "1 2 8:1 / /mnt/b rw - ext4 /dev/sdb rw"),
              (std::vector<Mount>{{"a", "/mnt/a"}, {"b", "/mnt/b"}}));
}

TEST(MountDiscovery, LinesInAnotherFormArePassedOver) {
    EXPECT_EQ(Volumes(""), std::vector<Mount>());
    EXPECT_EQ(Volumes("\n\n   \nnonsense\n1 2 3\n1 2 8:1 / mnt/relative rw - ext4 /dev/sda rw\n"
                      "1 2 8:1 / /mnt/good rw - ext4 /dev/sda rw\n1 2 8:1 /"),
              (std::vector<Mount>{{"good", "/mnt/good"}}));
}

TEST(MountDiscovery, ALineThatIsCutShortDoesNoHarm) {
    const std::string line = "1 2 8:1 / /mnt/a\\040b rw shared:1 - ext4 /dev/sda1 rw\n";
    for (std::size_t length = 0; length <= line.size(); ++length)
        EXPECT_LE(Volumes(line.substr(0, length)).size(), 1U) << length;
}

TEST(MountDiscovery, OfSeveralMountsOnOneFolderTheLastCounts) {
    const auto labelOf = [](const std::string& device) {
        return device == "/dev/sda1" ? std::string("Below") : std::string("Above");
    };
    EXPECT_EQ(VolumesFromMountInfo("1 2 8:1 / /mnt/a rw - ext4 /dev/sda1 rw\n"
                                   "3 1 8:2 / /mnt/a rw - ext4 /dev/sdb1 rw\n",
                                   labelOf, "Root"),
              (std::vector<Mount>{{"Above", "/mnt/a"}}));
}

TEST(MountDiscovery, AVolumeHasItsLabelForItsNameWhereTheWholeFileSystemIsMounted) {
    const std::map<std::string, std::string> labels = {
        {"/dev/sda1", "My Label"}, {"/dev/sdb1", ""},
        {"/dev/sdc1", "a:b/c"},    {"/dev/sdd1", "Cafe\xCC\x81"},
        {"/dev/sde1", "bad\xFF"},  {"server:/share", "never asked for"},
    };
    const auto labelOf = [&](const std::string& device) { return labels.at(device); };
    EXPECT_EQ(VolumesFromMountInfo("1 2 8:1 / /mnt/a rw - ext4 /dev/sda1 rw\n"
                                   "1 2 8:1 /sub /mnt/b rw - ext4 /dev/sda1 rw\n"
                                   "1 2 8:2 / /mnt/c rw - ext4 /dev/sdb1 rw\n"
                                   "1 2 8:3 / /mnt/d rw - ext4 /dev/sdc1 rw\n"
                                   "1 2 8:4 / /mnt/e rw - ext4 /dev/sdd1 rw\n"
                                   "1 2 8:5 / /mnt/f rw - ext4 /dev/sde1 rw\n"
                                   "1 2 0:5 / /mnt/g rw - nfs server:/share rw\n",
                                   labelOf, "Root"),
              (std::vector<Mount>{{"My Label", "/mnt/a"},
                                  {"b", "/mnt/b"},            // only a folder of the file system
                                  {"c", "/mnt/c"},            // no label
                                  {"a/b/c", "/mnt/d"},        // no name holds a colon
                                  {"Caf\xC3\xA9", "/mnt/e"},  // precomposed
                                  {"f", "/mnt/f"},            // a label that is not UTF-8
                                  {"g", "/mnt/g"}}));         // no device
}

TEST(MountDiscovery, AColonOfAFolderIsASlashOfTheName) {
    EXPECT_EQ(Volumes("1 2 8:1 / /mnt/a:b rw - ext4 /dev/sda1 rw\n"),
              (std::vector<Mount>{{"a/b", "/mnt/a:b"}}));
}

TEST(MountDiscovery, VolumesOfOneNameAreNumbered) {
    EXPECT_EQ(Volumes("1 2 8:1 / /mnt/Disk rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:2 / /media/Disk\\0401 rw - ext4 /dev/sdb1 rw\n"
                      "1 2 8:3 / /media/Disk rw - ext4 /dev/sdc1 rw\n"
                      "1 2 8:4 / /Volumes/Disk rw - ext4 /dev/sdd1 rw\n"
                      "1 2 8:5 / /mnt/Root rw - ext4 /dev/sde1 rw\n"),
              (std::vector<Mount>{{"Disk", "/mnt/Disk"},
                                  {"Disk 1", "/media/Disk 1"},
                                  {"Disk 2", "/media/Disk"},
                                  {"Disk 3", "/Volumes/Disk"},
                                  {"Root 1", "/mnt/Root"}}));
}

TEST(MountDiscovery, FoldersThatAreNotUtf8HaveNoVolume) {
    EXPECT_EQ(Volumes("1 2 8:1 / /mnt/bad\xFF rw - ext4 /dev/sda1 rw\n"
                      "1 2 8:2 / /mnt/bad\xFF/good rw - ext4 /dev/sdb1 rw\n"),
              std::vector<Mount>());
}

TEST(MountDiscovery, LabelsOfLinkNamesAreUnescaped) {
    const std::pair<std::string_view, std::string_view> kCases[] = {
        {"", ""},
        {"Plain", "Plain"},
        {"USB\\x20Disk", "USB Disk"},
        {"a\\x2fb\\x5cc", "a/b\\c"},
        {"a\\x2Fb", "a/b"},
        {"Caf\xC3\xA9", "Caf\xC3\xA9"},
        {"odd\\x", "odd\\x"},
        {"odd\\x2", "odd\\x2"},
        {"odd\\xgg", "odd\\xgg"},
        {"odd\\x00", "odd\\x00"},
    };
    for (const auto& [linkName, label] : kCases)
        EXPECT_EQ(LabelFromLinkName(linkName), label);
}

// --- Reading through the table ------------------------------------------------------------------

// Puts a scratch folder in the place of the host's tables while it lives.
class FakeHost {
 public:
    FakeHost() {
        folder_ = scratch_.Path();
        scratch_.MakeFolder("by-label");
        syscalls.openat = [](int folder, const char* path, int flags, mode_t mode) {
            return kHostSyscalls.openat(folder, Place(path).c_str(), flags, mode);
        };
        syscalls.fstatat = [](int folder, const char* path, struct stat* status, int flags) {
            return kHostSyscalls.fstatat(folder, Place(path).c_str(), status, flags);
        };
    }
    ~FakeHost() { syscalls = kHostSyscalls; }

    void SetMountInfo(std::string_view text) { scratch_.Write("mountinfo", text); }
    void AddLabel(const char* linkName, const char* device) {
        ASSERT_EQ(symlink(device, scratch_.Path(std::string("by-label/") + linkName).c_str()), 0);
    }

 private:
    static std::string Place(const std::string& path) {
        if (path == "/proc/self/mountinfo") return folder_ + "/mountinfo";
        const std::string labels = "/dev/disk/by-label";
        if (path.starts_with(labels)) return folder_ + "/by-label" + path.substr(labels.size());
        return path;
    }

    Scratch scratch_;
    static inline std::string folder_;
};

TEST(MountDiscovery, TheHostsTablesAreReadThroughTheTableOfCalls) {
    FakeHost host;
    host.SetMountInfo(
        "1 2 1:3 / /mnt/a rw - ext4 /dev/null rw\n"
        "1 2 1:5 / /mnt/b rw - ext4 /dev/zero rw\n"
        "1 2 1:5 / /mnt/c rw - ext4 /dev/no-such-device rw\n");
    host.AddLabel("First\\x20Label", "/dev/null");
    host.AddLabel("Lost", "/dev/no-such-device");
    std::vector<Mount> volumes;
    EXPECT_TRUE(DiscoverVolumes("Root", &volumes));
    EXPECT_EQ(volumes,
              (std::vector<Mount>{{"First Label", "/mnt/a"}, {"b", "/mnt/b"}, {"c", "/mnt/c"}}));
}

TEST(MountDiscovery, ALongTableIsReadWhole) {
    FakeHost host;
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += "1 2 0:9 / /mnt/volume-" + std::to_string(i) + " rw - tmpfs none rw\n";
    host.SetMountInfo(text);
    std::vector<Mount> volumes;
    EXPECT_TRUE(DiscoverVolumes("Root", &volumes));
    ASSERT_EQ(volumes.size(), 1000U);
    EXPECT_EQ(volumes.back(), (Mount{"volume-999", "/mnt/volume-999"}));
}

TEST(MountDiscovery, AHostThatDoesNotShowItsMountsChangesNothing) {
    FakeHost host;
    std::vector<Mount> volumes = {{"Before", "/mnt/before"}};
    EXPECT_FALSE(DiscoverVolumes("Root", &volumes)) << "there is no table";
    EXPECT_EQ(volumes, (std::vector<Mount>{{"Before", "/mnt/before"}}));

    host.SetMountInfo("1 2 1:3 / /mnt/a rw - ext4 /dev/null rw\n");
    const int descriptors = Testing::OpenDescriptors();
    syscalls.pread = [](int, void*, size_t, off_t) -> ssize_t {
        errno = EIO;
        return -1;
    };
    EXPECT_FALSE(DiscoverVolumes("Root", &volumes)) << "it cannot be read";
    EXPECT_EQ(volumes, (std::vector<Mount>{{"Before", "/mnt/before"}}));
    EXPECT_EQ(Testing::OpenDescriptors(), descriptors);
}

TEST(MountDiscovery, InterruptedCallsAreMadeAgain) {
    FakeHost host;
    host.SetMountInfo("1 2 1:3 / /mnt/a rw - ext4 /dev/null rw\n");
    static int interruptions;
    interruptions = 0;
    syscalls.pread = [](int fd, void* buffer, size_t size, off_t offset) -> ssize_t {
        if (interruptions++ % 2 == 0) {
            errno = EINTR;
            return -1;
        }
        return kHostSyscalls.pread(fd, buffer, size, offset);
    };
    std::vector<Mount> volumes;
    EXPECT_TRUE(DiscoverVolumes("Root", &volumes));
    EXPECT_EQ(volumes, (std::vector<Mount>{{"a", "/mnt/a"}}));
    EXPECT_GE(interruptions, 4);
}

TEST(MountDiscovery, WithoutLabelsAVolumeHasTheNameOfItsFolder) {
    FakeHost host;
    host.SetMountInfo("1 2 1:3 / /mnt/a rw - ext4 /dev/null rw\n");
    host.AddLabel("Label", "/dev/null");
    syscalls.fstatat = [](int, const char*, struct stat*, int) {
        errno = EACCES;
        return -1;
    };
    std::vector<Mount> volumes;
    EXPECT_TRUE(DiscoverVolumes("Root", &volumes));
    EXPECT_EQ(volumes, (std::vector<Mount>{{"a", "/mnt/a"}}));
}

}  // namespace
}  // namespace Ondrel::Host
