// A walk over a tree of folders, one open folder and one transfer for each level.
//
// Invariants: the levels up to depth_ are those of the way down; of these, the first and the last
// ones are open, at most kMostOpen in all, and what lies between is given back: its identity and
// the position behind the entry that was entered are kept. The present folder is open unless it
// could not be opened again; then it counts as ended.
#include "ondrel/platform/FolderTree.h"

#include <unistd.h>

#include "ondrel/platform/FolderEntries.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/NameMatch.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel {

using namespace Host;

namespace {

constexpr std::size_t kMostOpen = 64;
constexpr int kHow = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

FolderTree::Kind KindOfType(unsigned char type) {
    if (type == DT_UNKNOWN) return FolderTree::Kind::kUnknown;
    return type == DT_DIR ? FolderTree::Kind::kFolder : FolderTree::Kind::kOther;
}

Descriptor OpenIn(const Descriptor& folder, const char* name, int how) {
    return Descriptor(Retry([&] { return syscalls.openat(folder.Get(), name, how, 0); }));
}

OSErr IdentityOf(const Descriptor& folder, FolderIdentity* identity) {
    struct stat status;
    if (Retry([&] { return syscalls.fstat(folder.Get(), &status); }) == -1) return LastHostError();
    *identity = {status.st_dev, status.st_ino};
    return noErr;
}

// fnfErr: it is another folder.
OSErr CheckIdentity(const Descriptor& folder, const FolderIdentity& expected) {
    FolderIdentity identity{};
    const OSErr code = IdentityOf(folder, &identity);
    if (code != noErr) return code;
    return identity == expected ? noErr : OSErr{fnfErr};
}

}  // namespace

struct FolderTree::Level {
    Descriptor folder;
    std::unique_ptr<char[]> transfer;  // kFolderTransferSize bytes
    std::size_t filled = 0;
    std::size_t current = 0;   // where the current entry stands in the transfer
    std::size_t position = 0;  // where the next one does
    std::size_t transfers = 0;
    bool ended = false;          // the host has no more entries
    std::size_t pathLength = 0;  // of the folder's own path
    FolderIdentity identity{};   // of a folder that is given back
    off_t resume = 0;            // where such a folder goes on

    void Start(Descriptor opened) {
        folder = std::move(opened);
        if (!transfer) transfer.reset(new char[kFolderTransferSize]);
        filled = current = position = transfers = 0;
        ended = false;
    }
};

FolderTree::FolderTree() = default;
FolderTree::~FolderTree() = default;

OSErr FolderTree::Open(const char* path) {
    levels_.clear();
    depth_ = 0;
    name_ = {};
    error_ = noErr;
    Descriptor folder(Retry([&] { return syscalls.openat(AT_FDCWD, path, kHow, 0); }));
    if (!folder.IsOpen()) return LastHostError();
    return OrMemFull([&] {
        path_ = path;
        Level start;
        start.Start(std::move(folder));
        start.pathLength = path_.size();
        levels_.push_back(std::move(start));
        return noErr;
    });
}

OSErr FolderTree::GetIdentity(FolderIdentity* identity) const {
    return levels_.empty() ? OSErr{fnfErr} : IdentityOf(levels_[depth_].folder, identity);
}

// --- Entries ------------------------------------------------------------------------------------

bool FolderTree::Refill(Level& level) {
    if (level.ended) return false;
    const ssize_t got = Retry([&] {
        return syscalls.getdents64(level.folder.Get(), level.transfer.get(), kFolderTransferSize);
    });
    if (got > 0) {
        level.filled = static_cast<std::size_t>(got);
        level.position = 0;
        ++level.transfers;
        return true;
    }
    // The last transfer stays: Rewind may use it.
    if (got == -1) error_ = LastHostError();
    level.ended = true;
    return false;
}

bool FolderTree::Next() {
    name_ = {};
    error_ = noErr;
    if (levels_.empty()) return false;
    Level& level = levels_[depth_];
    for (;;) {
        if (level.position == level.filled && !Refill(level)) return false;
        const HostEntry entry = EntryAt(level.transfer.get(), level.filled, level.position);
        if (entry.size == 0) {
            level.position = level.filled;
            level.ended = true;
            return false;
        }
        level.current = level.position;
        level.position += entry.size;
        if (IsDots(entry.name)) continue;
        name_ = entry.name;
        kind_ = KindOfType(entry.type);
        return true;
    }
}

FolderTree::Kind FolderTree::AskKind() {
    if (kind_ == Kind::kUnknown && !name_.empty()) {
        struct stat status;
        const int result = Retry([&] {
            return syscalls.fstatat(levels_[depth_].folder.Get(), name_.data(), &status,
                                    AT_SYMLINK_NOFOLLOW);
        });
        if (result == 0) kind_ = S_ISDIR(status.st_mode) ? Kind::kFolder : Kind::kOther;
    }
    return kind_;
}

bool FolderTree::IsItem() {
    if (name_.empty() || !IsUtf8Name(name_)) return false;
    if (name_ == kServerFolder && AskKind() == Kind::kFolder) return false;
    if (!IsSidecarName(name_)) return true;
    const Level& level = levels_[depth_];
    const std::string_view partner = name_.substr(2);
    if (HasEntry(level.transfer.get(), level.filled, partner)) return false;
    struct stat status;
    return Retry([&] {
               return syscalls.fstatat(level.folder.Get(), partner.data(), &status,
                                       AT_SYMLINK_NOFOLLOW);
           }) != 0;
}

OSErr FolderTree::Rewind() {
    name_ = {};
    error_ = noErr;
    if (levels_.empty()) return fnfErr;
    Level& level = levels_[depth_];
    level.position = 0;
    if (level.transfers <= 1) return noErr;
    level.filled = level.transfers = 0;
    const off_t start = Retry([&] { return syscalls.lseek(level.folder.Get(), 0, SEEK_SET); });
    level.ended = start == -1;
    return CodeOf(start);
}

// --- Down and up --------------------------------------------------------------------------------

// Closes the open folder next to the start but the start itself; the present folder takes over its
// transfer.
OSErr FolderTree::GiveBackOldest() {
    Level& oldest = levels_[depth_ + 1 - kMostOpen];
    if (!oldest.folder.IsOpen()) return noErr;
    if (const OSErr code = IdentityOf(oldest.folder, &oldest.identity); code != noErr) return code;
    oldest.resume = PositionBehind(oldest.transfer.get(), oldest.current);
    (void)oldest.folder.Close();
    levels_[depth_].transfer = std::move(oldest.transfer);
    return noErr;
}

// Makes sure that there is memory for one level more.
OSErr FolderTree::MakeRoom() {
    return OrMemFull([&] {
        path_.reserve(path_.size() + 1 + name_.size());
        if (levels_.size() == depth_ + 1) levels_.emplace_back();
        Level& next = levels_[depth_ + 1];
        // See GiveBackOldest.
        const bool takesOver =
            depth_ + 1 >= kMostOpen && levels_[depth_ + 2 - kMostOpen].folder.IsOpen();
        if (!next.transfer && !takesOver) next.transfer.reset(new char[kFolderTransferSize]);
        return noErr;
    });
}

OSErr FolderTree::Enter() {
    if (name_.empty()) return fnfErr;
    if (const OSErr code = MakeRoom(); code != noErr) return code;
    Descriptor folder = OpenIn(levels_[depth_].folder, name_.data(), kHow | O_NOFOLLOW);
    if (!folder.IsOpen()) return LastHostError();
    ++depth_;
    if (depth_ >= kMostOpen) {
        if (const OSErr code = GiveBackOldest(); code != noErr) {
            --depth_;
            return code;
        }
    }
    if (path_.back() != '/') path_ += '/';
    path_ += name_;
    name_ = {};
    error_ = noErr;
    levels_[depth_].Start(std::move(folder));
    levels_[depth_].pathLength = path_.size();
    return noErr;
}

// Opens a folder that was given back: as the parent of the one that is left now, or else step by
// step from the start.
OSErr FolderTree::OpenAgain(std::size_t depth) {
    Level& level = levels_[depth];
    const Descriptor& child = levels_[depth + 1].folder;
    Descriptor folder;
    if (child.IsOpen()) folder = OpenIn(child, "..", kHow);
    if (!folder.IsOpen() || CheckIdentity(folder, level.identity) != noErr) {
        std::size_t start = levels_[0].pathLength;
        folder = OpenIn(levels_[0].folder, ".", kHow);
        for (std::size_t i = 1; i <= depth && folder.IsOpen(); ++i) {
            start += path_[start] == '/';
            const std::string name = path_.substr(start, levels_[i].pathLength - start);
            folder = OpenIn(folder, name.c_str(), kHow | O_NOFOLLOW);
            start = levels_[i].pathLength;
        }
        if (!folder.IsOpen()) return LastHostError();
        if (const OSErr code = CheckIdentity(folder, level.identity); code != noErr) return code;
    }
    const off_t there = Retry([&] { return syscalls.lseek(folder.Get(), level.resume, SEEK_SET); });
    if (there == -1) return LastHostError();
    level.Start(std::move(folder));
    level.transfers = 1;  // its first entries are in none of those to come: see Rewind
    return noErr;
}

bool FolderTree::Leave() {
    name_ = {};
    error_ = noErr;
    if (depth_ == 0) return false;
    Level& above = levels_[depth_ - 1];
    if (!above.folder.IsOpen()) {
        above.transfer = std::move(levels_[depth_].transfer);
        error_ = OpenAgain(depth_ - 1);
        if (error_ != noErr) {
            above.filled = above.position = 0;
            above.ended = true;
        }
    }
    (void)levels_[depth_].folder.Close();
    --depth_;
    path_.resize(above.pathLength);
    return true;
}

}  // namespace Ondrel
