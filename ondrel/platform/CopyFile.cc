// Copies of files, and of what a file has besides its bytes.
#include "ondrel/platform/CopyFile.h"

#include <memory>
#include <new>
#include <string_view>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/SidecarPermission.h"

namespace Ondrel::Host {
namespace {

constexpr std::size_t kPiece = std::size_t{256} * 1024;

// The access control list is part of the permission.
constexpr std::string_view kLists = "system.posix_acl_";
constexpr std::string_view kUsersOwn = "user.";

OSErr CopyBytes(const Descriptor& from, const Descriptor& to) {
    const std::unique_ptr<char[]> piece(new (std::nothrow) char[kPiece]);
    if (piece == nullptr) return memFullErr;
    for (off_t offset = 0;;) {
        const auto got =
            Retry([&] { return syscalls.pread(from.Get(), piece.get(), kPiece, offset); });
        if (got == -1) return LastHostError();
        if (got == 0) return noErr;
        const OSErr error = WriteAll(to, {piece.get(), static_cast<std::size_t>(got)}, offset);
        if (error != noErr) return error;
        offset += got;
    }
}

// The attribute's value; false when it cannot be read, with errno set.
bool ReadAttribute(const Descriptor& file, const char* name, std::string* value) {
    for (;;) {
        const auto size = Retry([&] { return syscalls.fgetxattr(file.Get(), name, nullptr, 0); });
        if (size == -1) return false;
        value->resize(static_cast<std::size_t>(size));
        const auto got = Retry(
            [&] { return syscalls.fgetxattr(file.Get(), name, value->data(), value->size()); });
        if (got >= 0) {
            value->resize(static_cast<std::size_t>(got));
            return true;
        }
        if (errno != ERANGE) return false;  // else it has grown in between
    }
}

OSErr CopyAttribute(const Descriptor& from, const Descriptor& to, const std::string& name) {
    if (name.starts_with(kLists)) return noErr;
    std::string value;
    std::string present;
    const bool read = ReadAttribute(from, name.c_str(), &value);
    if (!read && errno == ENODATA) return noErr;
    if (read && ReadAttribute(to, name.c_str(), &present) && present == value) return noErr;
    if (read && Retry([&] {
                    return syscalls.fsetxattr(to.Get(), name.c_str(), value.data(), value.size(),
                                              0);
                }) == 0)
        return noErr;
    return name.starts_with(kUsersOwn) ? LastHostError() : noErr;
}

// The names, each with its NUL; empty on a file system without attributes.
OSErr ListAttributes(const Descriptor& file, std::string* names) {
    for (;;) {
        const auto size = Retry([&] { return syscalls.flistxattr(file.Get(), nullptr, 0); });
        if (size == -1) return errno == EOPNOTSUPP ? noErr : LastHostError();
        names->resize(static_cast<std::size_t>(size));
        if (size == 0) return noErr;
        const auto got =
            Retry([&] { return syscalls.flistxattr(file.Get(), names->data(), names->size()); });
        if (got >= 0) {
            names->resize(static_cast<std::size_t>(got));
            return noErr;
        }
        if (errno != ERANGE) return LastHostError();
    }
}

OSErr CopyAttributes(const Descriptor& from, const Descriptor& to) {
    std::string names;
    if (const OSErr error = ListAttributes(from, &names); error != noErr) return error;
    for (std::size_t at = 0; at < names.size();) {
        const std::string name = names.c_str() + at;
        at += name.size() + 1;
        if (const OSErr error = CopyAttribute(from, to, name); error != noErr) return error;
    }
    return noErr;
}

OSErr GiveAttributes(const std::string& from, const Descriptor& source, const Descriptor& to) {
    constexpr mode_t kAll = 0777;
    SidecarPermission permission;
    if (const OSErr error = permission.TakeFrom(from.c_str(), kAll); error != noErr) return error;
    if (const OSErr error = permission.Apply(to); error != noErr) return error;
    return CopyAttributes(source, to);
}

// Links were followed before: one that stands there now was put there by somebody else.
constexpr int kHow = O_NONBLOCK | O_NOFOLLOW;

// A file that may only be written to still tells its attributes.
Descriptor OpenEither(const std::string& path) {
    Descriptor file = OpenPath(path.c_str(), O_RDONLY | kHow);
    if (!file.IsOpen() && errno == EACCES) file = OpenPath(path.c_str(), O_WRONLY | kHow);
    return file;
}

}  // namespace

OSErr CopyFile(const std::string& from, const std::string& to) {
    const Descriptor source = OpenPath(from.c_str(), O_RDONLY | kHow);
    if (!source.IsOpen()) return LastHostError();
    Descriptor copy = OpenPath(to.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!copy.IsOpen()) return LastHostError();
    OSErr error = CopyBytes(source, copy);
    if (error == noErr) error = OrMemFull([&] { return GiveAttributes(from, source, copy); });
    const OSErr closed = copy.Close();
    if (error == noErr) error = closed;
    if (error != noErr) (void)Retry([&] { return syscalls.unlinkat(AT_FDCWD, to.c_str(), 0); });
    return error;
}

OSErr TakeOverAttributes(const std::string& from, const std::string& to) {
    const Descriptor source = OpenEither(from);
    if (!source.IsOpen()) return LastHostError();
    const Descriptor target = OpenEither(to);
    if (!target.IsOpen()) return LastHostError();
    return GiveAttributes(from, source, target);
}

}  // namespace Ondrel::Host
