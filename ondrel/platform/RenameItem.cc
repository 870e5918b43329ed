// Renaming an item together with its sidecar. Two names cannot change in one step, so each policy
// takes its steps in the order in which the last one that can fail leaves all before it undoable:
//
//   kRefuse    the item, which settles atomically whether the name was free; then its sidecar. A
//              stale sidecar at the free name is moved aside first.
//   kReplace   the target's sidecar aside, the item's sidecar, and the item last: from the moment
//              when the old target is gone nothing can fail any more.
#include <array>
#include <string>
#include <utility>

#include "ondrel/platform/Flush.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"
#include "ondrel/platform/Sidecar.h"
#include "ondrel/platform/SidecarAside.h"

namespace Ondrel::Host {
namespace {

OSErr Move(const char* from, const char* to) {
    return CodeOf(Retry([&] { return syscalls.renameat2(AT_FDCWD, from, AT_FDCWD, to, 0); }));
}

bool IsSameItem(const ItemStatus& a, const ItemStatus& b) {
    return a.device == b.device && a.inode == b.inode;
}

OSErr IsSameFolder(std::string_view a, std::string_view b, bool* isSame) {
    ItemStatus first;
    ItemStatus second;
    OSErr error = GetTargetStatus(std::string(a).append(".").c_str(), &first);
    if (error == noErr) error = GetTargetStatus(std::string(b).append(".").c_str(), &second);
    *isSame = error == noErr && IsSameItem(first, second);
    return error;
}

// Answers for a target that is there: noErr when it is the item itself, by the same text or by
// another composition or case that the file system does not tell apart. A second hard link of the
// item is another target.
OSErr RefuseTarget(const char* from, const char* to) {
    struct stat item;
    struct stat target;
    if (Retry([&] { return syscalls.fstatat(AT_FDCWD, from, &item, AT_SYMLINK_NOFOLLOW); }) == -1 ||
        Retry([&] { return syscalls.fstatat(AT_FDCWD, to, &target, AT_SYMLINK_NOFOLLOW); }) == -1)
        return LastHostError();
    if (item.st_dev != target.st_dev || item.st_ino != target.st_ino) return dupFNErr;
    if (S_ISDIR(item.st_mode) || item.st_nlink == 1) return noErr;
    const PathParts first = SplitPath(from);
    const PathParts second = SplitPath(to);
    if (first.name != second.name) return dupFNErr;
    bool isSame = false;
    const OSErr error = IsSameFolder(first.folder, second.folder, &isSame);
    return error == noErr && !isSame ? dupFNErr : error;
}

// Renames unless the target is there. A file system that cannot do it in one step (EINVAL) is asked
// first; a folder moved into itself gives the same number, and gets it again from the plain call.
OSErr MoveToFreeName(const char* from, const char* to) {
    if (Retry([&] { return syscalls.renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE); }) ==
        0)
        return noErr;
    if (errno != EINVAL) return LastHostError();
    ItemStatus status;
    const OSErr error = GetItemStatus(to, &status);
    if (error == noErr) return dupFNErr;
    return error == fnfErr ? Move(from, to) : error;
}

// What stands at the sidecar's name of a path. A folder there is no sidecar, and a name too long to
// have one has none.
struct SidecarEntry {
    std::string path;
    ItemStatus status;
    bool isThere = false;
};

std::array<std::string, 2> PlacesOfSidecar(const char* path) {
    return {SidecarPath(path), ServerSidecarPath(path)};
}

OSErr FindSidecar(std::string path, SidecarEntry* entry) {
    entry->path = std::move(path);
    const OSErr error = GetItemStatus(entry->path.c_str(), &entry->status);
    if (error == fnfErr || error == bdNamErr || error == dirNFErr) return noErr;
    const ItemKind kind = entry->status.kind;
    entry->isThere = error == noErr && (kind == ItemKind::kFile || kind == ItemKind::kLink);
    return error;
}

// Moves a sidecar without a file aside, before it becomes the item's own. Left where it is: the
// item itself ("._a" renamed to "a"), and what is no AppleDouble file and so nobody's sidecar.
OSErr TakeStaleSidecar(const char* from, const SidecarEntry& sidecar, SidecarAside* aside) {
    ItemStatus item;
    if (const OSErr error = GetItemStatus(from, &item); error != noErr) return error;
    if (IsSameItem(item, sidecar.status)) return noErr;
    const OSErr error = CheckSidecarFile(sidecar.path);
    if (error == noErr) return aside->Take(sidecar.path);
    return error == mapReadErr ? noErr : error;
}

// Moves the "._name" of the item along; none is no failure. mapReadErr: a file that is no sidecar
// has the new name.
OSErr MoveSidecarBeside(const char* from, const char* to) {
    SidecarEntry sidecar;
    if (const OSErr error = FindSidecar(SidecarPath(from), &sidecar); error != noErr) return error;
    if (!sidecar.isThere) return noErr;
    const OSErr error = MoveToFreeName(sidecar.path.c_str(), SidecarPath(to).c_str());
    return error == dupFNErr ? mapReadErr : error;
}

// The same for the one in a file server's folder. Where the new place has no such folder it becomes
// a "._name", or stays behind when that is there and hides it anyhow.
OSErr MoveSidecarOfServer(const char* from, const char* to) {
    SidecarEntry sidecar;
    OSErr error = FindSidecar(ServerSidecarPath(from), &sidecar);
    if (error != noErr || !sidecar.isThere) return error;
    error = CheckSidecarFile(sidecar.path);
    if (error != noErr) return error == mapReadErr ? noErr : error;
    error = MoveToFreeName(sidecar.path.c_str(), ServerSidecarPath(to).c_str());
    if (error == dupFNErr) return mapReadErr;
    if (error != fnfErr && error != dirNFErr) return error;
    error = MoveToFreeName(sidecar.path.c_str(), SidecarPath(to).c_str());
    return error == dupFNErr ? noErr : error;
}

OSErr MoveSidecar(const char* from, const char* to) {
    OSErr error = OrMemFull([&] { return MoveSidecarBeside(from, to); });
    if (error != noErr) return error;
    error = OrMemFull([&] { return MoveSidecarOfServer(from, to); });
    if (error != noErr) (void)OrMemFull([&] { return MoveSidecarBeside(to, from); });
    return error;
}

OSErr RenameToFreeName(const char* from, const char* to) {
    std::array<SidecarAside, 2> stale;
    for (std::size_t i = 0; i < stale.size(); ++i) {
        SidecarEntry sidecar;
        if (const OSErr error = FindSidecar(PlacesOfSidecar(to)[i], &sidecar); error != noErr)
            return error;
        if (!sidecar.isThere) continue;
        ItemStatus target;
        if (GetItemStatus(to, &target) == noErr) return RefuseTarget(from, to);
        const OSErr error = TakeStaleSidecar(from, sidecar, &stale[i]);
        if (error != noErr) return error;
    }
    if (const OSErr error = MoveToFreeName(from, to); error != noErr)
        return error == dupFNErr ? RefuseTarget(from, to) : error;
    if (const OSErr error = MoveSidecar(from, to); error != noErr) {
        (void)MoveToFreeName(to, from);
        return error;
    }
    for (SidecarAside& aside : stale)
        aside.Discard();
    return noErr;
}

// Moves aside what would become the item's sidecar: that of the target, whatever is in it, or a
// stale one.
OSErr TakeSidecarOfTarget(const char* from, std::string place, bool targetIsThere,
                          SidecarAside* aside) {
    SidecarEntry sidecar;
    if (const OSErr error = FindSidecar(std::move(place), &sidecar); error != noErr) return error;
    if (!sidecar.isThere) return noErr;
    return targetIsThere ? aside->Take(sidecar.path) : TakeStaleSidecar(from, sidecar, aside);
}

// Brings a sidecar that now has its new name to the disk under it.
OSErr FlushSidecarName(const char* to) {
    ItemStatus status;
    if (GetItemStatus(SidecarPath(to).c_str(), &status) != noErr) return noErr;
    return FlushFolder(JoinPath(SplitPath(to).folder, "."));
}

OSErr MoveSidecarFirst(const char* from, const char* to, WhenTargetExists policy) {
    const OSErr error = MoveSidecar(from, to);
    if (error != noErr || policy != WhenTargetExists::kReplaceDurably) return error;
    const OSErr flushed = OrMemFull([&] { return FlushSidecarName(to); });
    if (flushed != noErr) (void)MoveSidecar(to, from);
    return flushed;
}

OSErr RenameOverTarget(const char* from, const char* to, WhenTargetExists policy) {
    ItemStatus item;
    ItemStatus target;
    if (const OSErr error = GetItemStatus(from, &item); error != noErr) return error;
    const OSErr found = GetItemStatus(to, &target);
    if (found != noErr && found != fnfErr) return found;
    // As the host has it: between two names of one item there is nothing to do.
    if (found == noErr && IsSameItem(item, target)) return noErr;

    std::array<SidecarAside, 2> replaced;
    OSErr error = noErr;
    for (std::size_t i = 0; i < replaced.size() && error == noErr; ++i)
        error = TakeSidecarOfTarget(from, PlacesOfSidecar(to)[i], found == noErr, &replaced[i]);
    if (error == noErr) error = MoveSidecarFirst(from, to, policy);
    if (error != noErr) return error;
    error = Move(from, to);
    if (error != noErr) {
        (void)MoveSidecar(to, from);
        return error;
    }
    for (SidecarAside& aside : replaced)
        aside.Discard();
    return noErr;
}

}  // namespace

OSErr RenameItem(const char* from, const char* to, WhenTargetExists policy) {
    return OrMemFull([&] {
        return policy == WhenTargetExists::kRefuse ? RenameToFreeName(from, to)
                                                   : RenameOverTarget(from, to, policy);
    });
}

}  // namespace Ondrel::Host
