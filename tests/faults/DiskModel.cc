// The recording table, and the states that follow from a recording.
#include "tests/faults/DiskModel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <set>

#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Testing {
namespace {

namespace fs = std::filesystem;
using Kind = DiskEvent::Kind;

// --- Recording ----------------------------------------------------------------------------------

struct Recording {
    std::string folder;
    std::map<ino_t, int> files;  // the number of the file that has the inode now
    int lastFile = 0;
    std::vector<DiskEvent> events;
};

Recording recording;

// The name of an item directly in the folder; empty for any other.
std::string NameIn(int folder, const char* path) {
    if (folder != AT_FDCWD || path == nullptr) return {};
    const fs::path whole = fs::path(path).lexically_normal();
    return whole.parent_path() == recording.folder ? whole.filename().string() : std::string();
}

int FileOf(int fd) {
    struct stat status {};
    if (kHostSyscalls.fstat(fd, &status) == -1 || !S_ISREG(status.st_mode)) return 0;
    const auto found = recording.files.find(status.st_ino);
    return found == recording.files.end() ? 0 : found->second;
}

void Note(DiskEvent event) {
    recording.events.push_back(std::move(event));
}

int OpenAt(int folder, const char* path, int flags, mode_t mode) {
    const std::string name = NameIn(folder, path);
    struct stat status {};
    const bool isThere = kHostSyscalls.fstatat(folder, path, &status, AT_SYMLINK_NOFOLLOW) == 0;
    const int fd = kHostSyscalls.openat(folder, path, flags, mode);
    if (fd == -1 || name.empty() || (flags & O_CREAT) == 0 || isThere) return fd;
    kHostSyscalls.fstat(fd, &status);
    recording.files[status.st_ino] = ++recording.lastFile;
    Note({Kind::kMake, recording.lastFile, name, {}, 0, {}});
    return fd;
}

void NoteWrite(int fd, const void* bytes, ssize_t size, off_t offset) {
    const int file = FileOf(fd);
    if (file == 0 || size <= 0) return;
    const auto* const text = static_cast<const char*>(bytes);
    Note({Kind::kWrite,
          file,
          {},
          {},
          static_cast<std::size_t>(offset),
          std::string(text, static_cast<std::size_t>(size))});
}

ssize_t Write(int fd, const void* buffer, size_t size, off_t offset) {
    const ssize_t put = kHostSyscalls.pwrite(fd, buffer, size, offset);
    NoteWrite(fd, buffer, put, offset);
    return put;
}

ssize_t WriteParts(int fd, const iovec* parts, int count, off_t offset, int flags) {
    const ssize_t put = kHostSyscalls.pwritev2(fd, parts, count, offset, flags);
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes.append(static_cast<const char*>(parts[i].iov_base), parts[i].iov_len);
    NoteWrite(fd, bytes.data(), put, offset);
    return put;
}

int Resize(int fd, off_t size) {
    const int result = kHostSyscalls.ftruncate(fd, size);
    if (result == 0 && FileOf(fd) != 0)
        Note({Kind::kResize, FileOf(fd), {}, {}, static_cast<std::size_t>(size), {}});
    return result;
}

// The disk itself is not waited for.
int Sync(int fd) {
    struct stat status {};
    kHostSyscalls.fstat(fd, &status);
    if (S_ISDIR(status.st_mode))
        Note({Kind::kSyncFolder, 0, {}, {}, 0, {}});
    else if (FileOf(fd) != 0)
        Note({Kind::kSyncFile, FileOf(fd), {}, {}, 0, {}});
    return 0;
}

int Rename(int from, const char* oldPath, int to, const char* newPath, unsigned flags) {
    const int result = kHostSyscalls.renameat2(from, oldPath, to, newPath, flags);
    if (result == 0) Note({Kind::kRename, 0, NameIn(from, oldPath), NameIn(to, newPath), 0, {}});
    return result;
}

int Remove(int folder, const char* path, int flags) {
    const int result = kHostSyscalls.unlinkat(folder, path, flags);
    if (result == 0) Note({Kind::kRemove, 0, NameIn(folder, path), {}, 0, {}});
    return result;
}

// --- States -------------------------------------------------------------------------------------

// Whether a change is stored for certain when the power goes at `end`.
bool IsFlushed(const std::vector<DiskEvent>& events, std::size_t at, std::size_t end) {
    const DiskEvent& event = events[at];
    const bool isName =
        event.kind == Kind::kMake || event.kind == Kind::kRename || event.kind == Kind::kRemove;
    return std::any_of(
        events.begin() + static_cast<std::ptrdiff_t>(at),
        events.begin() + static_cast<std::ptrdiff_t>(end), [&](const DiskEvent& later) {
            return isName ? later.kind == Kind::kSyncFolder
                          : later.kind == Kind::kSyncFile && later.file == event.file;
        });
}

bool IsSync(const DiskEvent& event) {
    return event.kind == Kind::kSyncFile || event.kind == Kind::kSyncFolder;
}

// A disk in the making: names lead to files, files have bytes.
class Disk {
 public:
    explicit Disk(const DiskState& before) {
        int file = 0;
        for (const auto& [name, bytes] : before) {
            names_[name] = --file;  // numbers of their own
            files_[file] = bytes;
        }
    }

    // The number of the file of that name among those that were there before.
    static int NumberBefore(const DiskState& before, const std::string& name) {
        return -1 - static_cast<int>(std::distance(before.begin(), before.find(name)));
    }

    void Apply(const DiskEvent& event, const std::map<std::size_t, int>& moved, std::size_t at) {
        switch (event.kind) {
            case Kind::kMake:
                names_[event.name] = event.file;
                return;
            case Kind::kRename:
                names_.erase(event.name);
                if (!event.target.empty()) names_[event.target] = moved.at(at);
                return;
            case Kind::kRemove:
                names_.erase(event.name);
                return;
            case Kind::kWrite: {
                std::string& bytes = files_[event.file];
                bytes.resize(std::max(bytes.size(), event.offset + event.bytes.size()));
                bytes.replace(event.offset, event.bytes.size(), event.bytes);
                return;
            }
            case Kind::kResize:
                files_[event.file].resize(event.offset);
                return;
            default:
                return;
        }
    }

    DiskState State() {
        DiskState state;
        for (const auto& [name, file] : names_)
            state[name] = files_[file];
        return state;
    }

 private:
    std::map<std::string, int> names_;
    std::map<int, std::string> files_;
};

// Which file each rename moved: the one that had the name when nothing was lost.
std::map<std::size_t, int> FilesMoved(const DiskState& before,
                                      const std::vector<DiskEvent>& events) {
    std::map<std::string, int> names;
    for (const auto& item : before)
        names[item.first] = Disk::NumberBefore(before, item.first);
    std::map<std::size_t, int> moved;
    for (std::size_t i = 0; i < events.size(); ++i) {
        const DiskEvent& event = events[i];
        if (event.kind == Kind::kMake) names[event.name] = event.file;
        if (event.kind == Kind::kRemove) names.erase(event.name);
        if (event.kind != Kind::kRename) continue;
        moved[i] = names[event.name];
        names.erase(event.name);
        if (!event.target.empty()) names[event.target] = moved[i];
    }
    return moved;
}

// The subsets of `count` changes as sets of bits: all, or some of very many.
std::vector<std::vector<bool>> Subsets(std::size_t count, std::size_t most) {
    std::vector<std::vector<bool>> subsets;
    if (count <= most) {
        for (std::size_t bits = 0; bits < std::size_t{1} << count; ++bits) {
            std::vector<bool> subset(count);
            for (std::size_t i = 0; i < count; ++i)
                subset[i] = (bits >> i & 1) != 0;
            subsets.push_back(std::move(subset));
        }
        return subsets;
    }
    std::mt19937 random(static_cast<unsigned>(count));
    for (std::size_t i = 0; i < std::size_t{1} << most; ++i) {
        std::vector<bool> subset(count);
        // Few lost, many lost, and all that lies between.
        const unsigned share = static_cast<unsigned>(i % 9);
        for (std::size_t k = 0; k < count; ++k)
            subset[k] = random() % 8 < share;
        subsets.push_back(std::move(subset));
    }
    return subsets;
}

}  // namespace

DiskRecorder::DiskRecorder(const Scratch& scratch) {
    recording = Recording();
    recording.folder = scratch.Path();
    // The files that are there get the numbers that Disk gives them.
    int file = 0;
    for (const auto& item : TakeDiskState(scratch.Path())) {
        struct stat status {};
        EXPECT_EQ(stat(scratch.Path(item.first).c_str(), &status), 0);
        recording.files[status.st_ino] = --file;
    }
    syscalls = kHostSyscalls;
    syscalls.openat = OpenAt;
    syscalls.pwrite = Write;
    syscalls.pwritev2 = WriteParts;
    syscalls.ftruncate = Resize;
    syscalls.fsync = Sync;
    syscalls.fdatasync = Sync;
    syscalls.renameat2 = Rename;
    syscalls.unlinkat = Remove;
}

DiskRecorder::~DiskRecorder() {
    syscalls = kHostSyscalls;
}

std::vector<DiskEvent> DiskRecorder::Take() {
    syscalls = kHostSyscalls;
    return std::move(recording.events);
}

DiskState TakeDiskState(const std::string& folder) {
    DiskState state;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.is_regular_file())
            state[entry.path().filename().string()] = ReadAll(entry.path().string());
    return state;
}

void ForEachStateAfterAPowerCut(const DiskState& before, const std::vector<DiskEvent>& events,
                                std::size_t mostPending,
                                const std::function<void(const DiskState&, bool finished)>& look) {
    const std::map<std::size_t, int> moved = FilesMoved(before, events);
    std::set<DiskState> seen;
    for (std::size_t end = 0; end <= events.size(); ++end) {
        const bool finished = end == events.size();
        if (finished) seen.clear();
        std::vector<bool> flushed(end);
        std::size_t pending = 0;
        for (std::size_t i = 0; i < end; ++i) {
            flushed[i] = IsSync(events[i]) || IsFlushed(events, i, end);
            pending += flushed[i] ? 0 : 1;
        }
        for (const std::vector<bool>& subset : Subsets(pending, mostPending)) {
            Disk disk(before);
            std::size_t next = 0;
            for (std::size_t i = 0; i < end; ++i)
                if (flushed[i] || subset[next++]) disk.Apply(events[i], moved, i);
            if (const DiskState state = disk.State(); seen.insert(state).second)
                look(state, finished);
        }
    }
}

}  // namespace Ondrel::Testing
