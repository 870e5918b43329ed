// Bringing one file and its entry in its folder to the disk.
#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Flush.h"
#include "ondrel/platform/HostCalls.h"

namespace Ondrel {
namespace Host {

OSErr FlushContents(const char* path) {
    Descriptor file = OpenPath(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!file.IsOpen() && errno == EACCES)
        file = OpenPath(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);  // a file only for writing
    if (!file.IsOpen()) return errno == ENXIO ? fnfErr : LastHostError();
    struct stat status;
    if (Retry([&] { return syscalls.fstat(file.Get(), &status); }) == -1) return LastHostError();
    if (!S_ISREG(status.st_mode)) return fnfErr;
    const OSErr code = CodeOf(Retry([&] { return syscalls.fdatasync(file.Get()); }));
    const OSErr closed = file.Close();
    return code != noErr ? code : closed;
}

OSErr FlushFolder(const std::string& path) {
    Descriptor folder = OpenPath(path.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return LastHostError();
    const int result = Retry([&] { return syscalls.fsync(folder.Get()); });
    const OSErr code = result == -1 && errno == EINVAL ? noErr : CodeOf(result);
    const OSErr closed = folder.Close();
    return code != noErr ? code : closed;
}

}  // namespace Host

OSErr FSFlushFile(const char* path) {
    if (path == nullptr) return paramErr;
    if (*path != '/') return fnfErr;
    const OSErr code = Host::FlushContents(path);
    if (code == fnfErr) return fnfErr;
    const std::string text = path;
    const OSErr folder =
        Host::FlushFolder(text.substr(0, std::max<std::size_t>(text.rfind('/'), 1)));
    return code != noErr ? code : folder;
}

}  // namespace Ondrel
