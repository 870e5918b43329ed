// Volumes out of /proc/self/mountinfo, one line a mount:
//
//   36 35 98:0 /sub /mnt/My\040Disk rw,noatime master:1 - ext3 /dev/sdb1 rw,errors=continue
//   id parent device root  mount-folder options [tags ...] - type source options
//
// Blanks and backslashes in fields are written as three octal digits. `root` is the folder of the
// file system that is mounted, "/" for the whole. Labels are the names of the links in
// /dev/disk/by-label, told apart by the number of the device that a link leads to.
#include "ondrel/platform/MountDiscovery.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

#include "ondrel/platform/Composition.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"

namespace Ondrel::Host {
namespace {

constexpr const char* kMountInfoPath = "/proc/self/mountinfo";
constexpr const char* kLabelFolder = "/dev/disk/by-label";
constexpr std::array<std::string_view, 4> kVolumeFolders = {"/media/", "/run/media/", "/mnt/",
                                                            "/Volumes/"};

struct MountLine {
    std::string root;
    std::string folder;
    std::string source;
};

// Cuts the text up to the next separator off the front of `rest`.
std::string_view TakeUpTo(char separator, std::string_view* rest) {
    const std::size_t end = std::min(rest->find(separator), rest->size());
    const std::string_view taken = rest->substr(0, end);
    rest->remove_prefix(std::min(end + 1, rest->size()));
    return taken;
}

int DigitValue(char digit, int base) {
    int value = -1;
    if (digit >= '0' && digit <= '9') value = digit - '0';
    if (digit >= 'a' && digit <= 'f') value = digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F') value = digit - 'A' + 10;
    return value < base ? value : -1;
}

// The byte that a run of digits stands for; nothing when they are not digits, or make no byte.
std::optional<char> ByteFromDigits(std::string_view digits, int base) {
    int value = 0;
    for (const char digit : digits) {
        const int step = DigitValue(digit, base);
        if (step < 0) return std::nullopt;
        value = value * base + step;
    }
    if (value == 0 || value > 0xFF) return std::nullopt;
    return static_cast<char>(static_cast<unsigned char>(value));
}

// Replaces each `introducer` that `count` digits follow by the byte they stand for.
std::string Unescape(std::string_view text, std::string_view introducer, std::size_t count,
                     int base) {
    std::string plain;
    while (!text.empty()) {
        const std::size_t length = introducer.size() + count;
        if (text.size() >= length && text.starts_with(introducer)) {
            const auto byte = ByteFromDigits(text.substr(introducer.size(), count), base);
            if (byte) {
                plain += *byte;
                text.remove_prefix(length);
                continue;
            }
        }
        plain += text.front();
        text.remove_prefix(1);
    }
    return plain;
}

std::optional<MountLine> ParseMountLine(std::string_view line) {
    std::array<std::string_view, 6> fields;
    for (std::string_view& field : fields)
        field = TakeUpTo(' ', &line);
    while (!line.empty() && TakeUpTo(' ', &line) != "-")
        ;
    TakeUpTo(' ', &line);  // the file system's type
    const std::string_view source = TakeUpTo(' ', &line);
    if (!fields[4].starts_with('/')) return std::nullopt;
    return MountLine{Unescape(fields[3], "\\", 3, 8), Unescape(fields[4], "\\", 3, 8),
                     Unescape(source, "\\", 3, 8)};
}

std::vector<MountLine> ParseMountInfo(std::string_view text) {
    std::vector<MountLine> lines;
    while (!text.empty()) {
        auto line = ParseMountLine(TakeUpTo('\n', &text));
        if (!line || !IsBelowVolumeFolders(line->folder)) continue;
        std::erase_if(lines, [&](const MountLine& one) { return one.folder == line->folder; });
        lines.push_back(std::move(*line));
    }
    return lines;
}

// A name as a Mac shows it; empty when the text cannot be one.
std::string VolumeName(std::string_view text) {
    std::string name;
    if (!ComposeUtf8(text, &name)) return {};
    std::replace(name.begin(), name.end(), ':', '/');
    return name;
}

// Empty when the folder's path is not UTF-8: nothing below it has a name in this library.
std::string NameOf(const MountLine& line, const LabelLookup& labelOf) {
    std::string name;
    if (VolumeName(line.folder).empty()) return name;
    if (line.root == "/" && line.source.starts_with("/dev/"))
        name = VolumeName(labelOf(line.source));
    if (name.empty())
        name = VolumeName(std::string_view(line.folder).substr(line.folder.rfind('/') + 1));
    return name;
}

// The name itself, or with the first number behind it that makes it one of its own.
std::string UniqueName(const std::string& name, const std::vector<Mount>& others,
                       std::string_view reserved) {
    std::string unique = name;
    const auto isTaken = [&] {
        return unique == reserved ||
               std::any_of(others.begin(), others.end(),
                           [&](const Mount& other) { return other.name == unique; });
    };
    for (int number = 1; isTaken(); ++number)
        unique = name + " " + std::to_string(number);
    return unique;
}

// All bytes of a file whose size the host does not tell; false when it cannot be read.
bool ReadWhole(const char* path, std::string* text) {
    const Descriptor file = OpenPath(path, O_RDONLY);
    if (!file.IsOpen()) return false;
    std::array<char, 16384> block;
    for (;;) {
        const ssize_t count = Retry([&] {
            return syscalls.pread(file.Get(), block.data(), block.size(),
                                  static_cast<off_t>(text->size()));
        });
        if (count < 0) return false;
        if (count == 0) return true;
        text->append(block.data(), static_cast<std::size_t>(count));
    }
}

// The number of a device file, links followed; 0 when there is none.
dev_t DeviceNumber(const std::string& path) {
    struct stat status {};
    if (Retry([&] { return syscalls.fstatat(AT_FDCWD, path.c_str(), &status, 0); }) == -1) return 0;
    return S_ISBLK(status.st_mode) || S_ISCHR(status.st_mode) ? status.st_rdev : 0;
}

std::map<dev_t, std::string> ReadLabels() {
    std::map<dev_t, std::string> labels;
    FolderReader folder;
    if (folder.Open(kLabelFolder) != noErr) return labels;
    while (folder.Next()) {
        const dev_t device =
            DeviceNumber(std::string(kLabelFolder) + '/' + std::string(folder.Name()));
        if (device != 0) labels.emplace(device, LabelFromLinkName(folder.Name()));
    }
    return labels;
}

}  // namespace

bool IsBelowVolumeFolders(std::string_view path) {
    return std::any_of(kVolumeFolders.begin(), kVolumeFolders.end(), [&](std::string_view folder) {
        return path.size() > folder.size() && path.starts_with(folder);
    });
}

std::vector<Mount> VolumesFromMountInfo(std::string_view mountInfo, const LabelLookup& labelOf,
                                        std::string_view reserved) {
    std::vector<Mount> volumes;
    for (MountLine& line : ParseMountInfo(mountInfo)) {
        const std::string name = NameOf(line, labelOf);
        if (name.empty()) continue;
        volumes.push_back({UniqueName(name, volumes, reserved), std::move(line.folder)});
    }
    return volumes;
}

std::string LabelFromLinkName(std::string_view linkName) {
    return Unescape(linkName, "\\x", 2, 16);
}

bool DiscoverVolumes(std::string_view reserved, std::vector<Mount>* volumes) {
    std::string mountInfo;
    if (!ReadWhole(kMountInfoPath, &mountInfo)) return false;
    std::optional<std::map<dev_t, std::string>> labels;  // read when the first device asks
    const LabelLookup labelOf = [&](const std::string& device) -> std::string {
        if (!labels) labels = ReadLabels();
        const auto found = labels->find(DeviceNumber(device));
        return found == labels->end() ? std::string() : found->second;
    };
    *volumes = VolumesFromMountInfo(mountInfo, labelOf, reserved);
    return true;
}

}  // namespace Ondrel::Host
