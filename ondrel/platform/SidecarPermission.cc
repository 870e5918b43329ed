// Taking over owner, mode and access control list.
#include "ondrel/platform/SidecarPermission.h"

namespace Ondrel::Host {
namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr mode_t kGroupBits = 0070;

// The group may do what all others may. With a list, the group's bits of the mode are the list's
// mask, so that without the list they would say too much.
mode_t WithoutGroup(mode_t mode) {
    const mode_t others = (mode & 0007) << 3;
    return (mode & ~kGroupBits) | (mode & others);
}

}  // namespace

OSErr SidecarPermission::TakeFrom(const char* path, mode_t bits) {
    struct stat status;
    if (Retry([&] { return syscalls.fstatat(AT_FDCWD, path, &status, 0); }) == -1)
        return LastHostError();
    mode_ = status.st_mode & bits;
    owner_ = status.st_uid;
    group_ = status.st_gid;
    list_.clear();
    listIsUnknown_ = true;
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return noErr;

    const Descriptor file = OpenPath(path, O_RDONLY | O_NONBLOCK);
    if (!file.IsOpen()) return noErr;
    std::string list(4096, '\0');
    const auto size = Retry(
        [&] { return syscalls.fgetxattr(file.Get(), kAccessList, list.data(), list.size()); });
    if (size >= 0) list_ = list.substr(0, static_cast<std::size_t>(size));
    listIsUnknown_ = size == -1 && errno != ENODATA && errno != EOPNOTSUPP;
    return noErr;
}

void SidecarPermission::LetOwnerWrite() {
    constexpr mode_t kOwner = 0600;
    if ((mode_ & kOwner) == kOwner) return;
    // The list says the same as the mode of the owner, and cannot be had without.
    listIsUnknown_ = listIsUnknown_ || !list_.empty();
    list_.clear();
    mode_ |= kOwner;
}

OSErr SidecarPermission::Apply(const Descriptor& file) const {
    const int fd = file.Get();
    mode_t mode = listIsUnknown_ ? WithoutGroup(mode_) : mode_;
    struct stat status;
    if (Retry([&] { return syscalls.fstat(fd, &status); }) == -1) return LastHostError();
    const bool isSameOwner = status.st_uid == owner_ && status.st_gid == group_;
    if (!isSameOwner && Retry([&] { return syscalls.fchown(fd, owner_, group_); }) == -1 &&
        status.st_gid != group_ &&
        Retry([&] { return syscalls.fchown(fd, static_cast<uid_t>(-1), group_); }) == -1)
        mode = WithoutGroup(mode);
    if (!list_.empty() &&
        Retry([&] { return syscalls.fsetxattr(fd, kAccessList, list_.data(), list_.size(), 0); }) ==
            0)
        return noErr;
    if (!list_.empty()) mode = WithoutGroup(mode);
    // A list that the file has from its folder may let in more people.
    if (Retry([&] { return syscalls.fgetxattr(fd, kAccessList, nullptr, 0); }) > 0)
        (void)Retry([&] { return syscalls.fremovexattr(fd, kAccessList); });
    if (isSameOwner && (status.st_mode & 07777) == mode) return noErr;
    return CodeOf(Retry([&] { return syscalls.fchmod(fd, mode); }));
}

}  // namespace Ondrel::Host
