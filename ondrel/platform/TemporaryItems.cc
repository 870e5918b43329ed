// The folder for temporary items. It stands where everybody may write, so that it is used only when
// it is ours and closed to others.
#include <stdlib.h>
#include <unistd.h>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"

namespace Ondrel::Host {
namespace {

std::string TemporaryRoot() {
    const char* folder = getenv("TMPDIR");
    return folder != nullptr && folder[0] == '/' ? folder : "/tmp";
}

OSErr CheckIsOurs(const std::string& path) {
    struct stat status;
    if (Retry([&] {
            return syscalls.fstatat(AT_FDCWD, path.c_str(), &status, AT_SYMLINK_NOFOLLOW);
        }) == -1)
        return LastHostError();
    const bool isOurs =
        S_ISDIR(status.st_mode) && status.st_uid == geteuid() && (status.st_mode & 077) == 0;
    return isOurs ? noErr : permErr;
}

}  // namespace

OSErr TemporaryItemsFolder(bool create, std::string* path) {
    std::string folder = JoinPath(TemporaryRoot(), "TemporaryItems-" + std::to_string(geteuid()));
    OSErr error = CheckIsOurs(folder);
    if (error == fnfErr && create) {
        error = CreateFolder(folder.c_str(), 0700);
        if (error == noErr || error == dupFNErr) error = CheckIsOurs(folder);
    }
    if (error == noErr) *path = std::move(folder);
    return error;
}

}  // namespace Ondrel::Host
