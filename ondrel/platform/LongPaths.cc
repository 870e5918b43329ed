// Long paths are cut at slashes into pieces that the host takes; each is opened as a folder in the
// one before.
#include "ondrel/platform/LongPaths.h"

#include <limits.h>

namespace Ondrel::Host {
namespace {

constexpr std::size_t kLongest = PATH_MAX - 1;  // bytes without the NUL

}  // namespace

OSErr OpenLongPath(const std::string& path, Descriptor* folder, const char** rest) {
    std::size_t start = 0;
    while (path.size() - start > kLongest) {
        const std::size_t cut = path.rfind('/', start + kLongest);
        if (cut == std::string::npos || cut <= start) return bdNamErr;
        const std::string part = path.substr(start, cut - start);
        Descriptor next(Retry([&] {
            return syscalls.openat(folder->IsOpen() ? folder->Get() : AT_FDCWD, part.c_str(),
                                   O_PATH | O_DIRECTORY | O_CLOEXEC, 0);
        }));
        if (!next.IsOpen()) return LastHostError();
        *folder = std::move(next);
        start = cut + 1;
    }
    *rest = path.c_str() + start;
    return noErr;
}

}  // namespace Ondrel::Host
