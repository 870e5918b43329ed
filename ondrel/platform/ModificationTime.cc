// The modification time of an item.
#include "ondrel/platform/ModificationTime.h"

#include "ondrel/platform/HostCalls.h"

namespace Ondrel {

int GetModificationTime(const char* path, std::int64_t* seconds) {
    struct stat host;
    const int result = Host::Retry([&] { return syscalls.fstatat(AT_FDCWD, path, &host, 0); });
    if (result == -1) return errno;
    *seconds = host.st_mtim.tv_sec;
    return 0;
}

}  // namespace Ondrel
