// Bringing one file and its entry in its folder to the disk.
#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Flush.h"
#include "ondrel/platform/FlushNotes.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"

namespace Ondrel {
namespace Host {

namespace {

OSErr FlushOpen(const Descriptor& file, FlushWhen when, bool* temporary) {
    struct stat status;
    if (Retry([&] { return syscalls.fstat(file.Get(), &status); }) == -1) return LastHostError();
    if (!S_ISREG(status.st_mode)) return fnfErr;
    if (when == FlushWhen::kUnlessFlushed && WasFlushed(status)) return noErr;
    const OSErr code = CodeOf(Retry([&] { return syscalls.fdatasync(file.Get()); }));
    if (code != noErr) return code;
    const bool isTemporary = NoteFlush(status.st_dev, status.st_ino);
    if (temporary != nullptr) *temporary = isTemporary;
    RememberFlush(status);
    return noErr;
}

}  // namespace

OSErr FlushContents(const char* path, FlushWhen when, bool* temporary) {
    Descriptor file = OpenPath(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!file.IsOpen() && errno == EACCES)
        file = OpenPath(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);  // a file only for writing
    if (!file.IsOpen()) return errno == ENXIO ? fnfErr : LastHostError();
    const OSErr code = FlushOpen(file, when, temporary);
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
    bool temporary = false;
    const OSErr code = Host::FlushContents(path, Host::FlushWhen::kAlways, &temporary);
    if (code == fnfErr || temporary) return code;
    const OSErr folder = OrMemFull([&] {
        const std::string_view text = path;
        const std::size_t end = std::max<std::size_t>(text.rfind('/'), 1);
        return Host::FlushFolder(std::string(text.substr(0, end)));
    });
    return code != noErr ? code : folder;
}

}  // namespace Ondrel
