// Status of items, making and deleting them. The sidecar of a file is made after it and deleted
// after it, and a stale one is out of the way before the file is there: at no moment, a crash
// included, does a file carry the codes of another.
#include "ondrel/platform/HostFiles.h"

#include <optional>

#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/Sidecar.h"
#include "ondrel/platform/SidecarAside.h"
#include "ondrel/platform/SidecarPermission.h"

namespace Ondrel::Host {
namespace {

ItemKind KindOfMode(mode_t mode) {
    if (S_ISREG(mode)) return ItemKind::kFile;
    if (S_ISDIR(mode)) return ItemKind::kFolder;
    if (S_ISLNK(mode)) return ItemKind::kLink;
    return ItemKind::kOther;
}

OSErr GetStatus(const char* path, int flags, ItemStatus* status) {
    struct stat host;
    if (Retry([&] { return syscalls.fstatat(AT_FDCWD, path, &host, flags); }) == -1)
        return LastHostError();
    status->kind = KindOfMode(host.st_mode);
    status->device = host.st_dev;
    status->inode = host.st_ino;
    status->size = host.st_size;
    return noErr;
}

OSErr Unlink(const char* path) {
    return CodeOf(Retry([&] { return syscalls.unlinkat(AT_FDCWD, path, 0); }));
}

// Moves a sidecar without a file aside, before a new file takes it for its own. What is no
// AppleDouble file is nobody's sidecar and stays.
OSErr TakeStaleSidecar(const char* path, const std::string& sidecar, SidecarAside* stale) {
    const OSErr found = CheckSidecarFile(sidecar);
    if (found == fnfErr || found == bdNamErr || found == dirNFErr) return noErr;
    ItemStatus item;
    if (GetItemStatus(path, &item) == noErr) return dupFNErr;
    if (found == noErr) return stale->Take(sidecar);
    return found == mapReadErr ? noErr : found;
}

// The permission of the file at `like`; none where no file is there.
OSErr PermissionOf(const char* like, std::optional<SidecarPermission>* permission) {
    constexpr mode_t kAllBits = 0777;
    ItemStatus status;
    const OSErr error = like == nullptr ? fnfErr : GetTargetStatus(like, &status);
    if (error == fnfErr || (error == noErr && status.kind != ItemKind::kFile)) return noErr;
    if (error != noErr) return error;
    const OSErr taken = permission->emplace().TakeFrom(like, kAllBits);
    (*permission)->LetOwnerWrite();
    return taken;
}

// Who is not to use the file later does not get to open it in between.
OSErr MakeFile(const char* path, const char* like) {
    std::optional<SidecarPermission> permission;
    const OSErr known = OrMemFull([&] { return PermissionOf(like, &permission); });
    if (known != noErr) return known;
    const mode_t mode = permission ? 0600 : 0666;
    Descriptor file = OpenPath(path, O_WRONLY | O_CREAT | O_EXCL, mode);
    if (!file.IsOpen()) return LastHostError();
    OSErr error = permission ? permission->Apply(file) : noErr;
    if (const OSErr closed = file.Close(); error == noErr) error = closed;
    if (error != noErr) (void)Unlink(path);
    return error;
}

OSErr StoreCodes(const char* path, FourCC creator, FourCC type) {
    FinderInfo info;
    info.SetCreator(creator);
    info.SetType(type);
    return OrMemFull([&] { return WriteFinderInfo(path, info); });
}

OSErr UnlinkWithSidecar(const char* path) {
    const std::string beside = SidecarPath(path);
    const std::string ofServer = ServerSidecarPath(path);
    if (const OSErr error = Unlink(path); error != noErr) return error;
    // The file is gone and does not come back, so that this is a success: a sidecar that stays
    // belongs to nothing, and is taken away before a new file can have its name.
    (void)Unlink(beside.c_str());
    if (OrMemFull([&] { return CheckSidecarFile(ofServer); }) == noErr)
        (void)Unlink(ofServer.c_str());
    return noErr;
}

}  // namespace

OSErr GetItemStatus(const char* path, ItemStatus* status) {
    return GetStatus(path, AT_SYMLINK_NOFOLLOW, status);
}

OSErr GetTargetStatus(const char* path, ItemStatus* status) {
    return GetStatus(path, 0, status);
}

OSErr CreateFile(const char* path, FourCC creator, FourCC type, const char* like) {
    SidecarAside stale;
    SidecarAside staleOfServer;
    const OSErr taken = OrMemFull([&] {
        const OSErr error = TakeStaleSidecar(path, SidecarPath(path), &stale);
        if (error != noErr) return error;
        return TakeStaleSidecar(path, ServerSidecarPath(path), &staleOfServer);
    });
    if (taken != noErr) return taken;
    if (const OSErr error = MakeFile(path, like); error != noErr) return error;
    if (creator != 0 || type != 0) {
        if (const OSErr error = StoreCodes(path, creator, type); error != noErr) {
            (void)Unlink(path);
            return error;
        }
    }
    stale.Discard();
    staleOfServer.Discard();
    return noErr;
}

OSErr DeleteFile(const char* path) {
    ItemStatus status;
    if (const OSErr error = GetItemStatus(path, &status); error != noErr) return error;
    if (status.kind == ItemKind::kFolder) return fnfErr;
    if (status.kind == ItemKind::kFile &&
        (HasOpenFork(status.device, status.inode) || IsWrittenElsewhere(path)))
        return fBsyErr;
    return OrMemFull([&] { return UnlinkWithSidecar(path); });
}

OSErr CreateFolder(const char* path, unsigned int mode) {
    return CodeOf(
        Retry([&] { return syscalls.mkdirat(AT_FDCWD, path, static_cast<mode_t>(mode)); }));
}

}  // namespace Ondrel::Host
