// Predefined folders.
#include "ondrel/core/FileSupport.h"

#include <mutex>

#include "ondrel/core/DiskNames.h"

namespace Ondrel {
namespace {

struct ApplicationFolder {
    std::mutex mutex;
    FileSpec folder;  // empty: the running program's
};

// Never destroyed, for other objects' destructors may still ask.
ApplicationFolder& TheApplicationFolder() {
    static ApplicationFolder& setting = *new ApplicationFolder;
    return setting;
}

}  // namespace

OSErr FileSupport::GetPredefinedFolder(FileSpec& out, EFolderType type, bool create) {
    out = FileSpec();
    if (type != kTemporaryItems) return paramErr;
    return OrMemFull([&] {
        std::string path;
        const OSErr code = Host::TemporaryItemsFolder(create, &path);
        if (code != noErr) return code;
        out.SetPath(Core::CleanPath(path));
        return out.IsValid() ? noErr : fnfErr;
    });
}

OSErr FileSupport::GetApplicationFolder(FileSpec& out) {
    ApplicationFolder& setting = TheApplicationFolder();
    {
        const std::lock_guard lock(setting.mutex);
        out = setting.folder;
    }
    if (!out.IsValid()) out.SetPath(Core::CleanPath(Host::ProgramFolder()));
    return out.IsValid() ? noErr : fnfErr;
}

void SetApplicationFolder(const FileSpec& folder) {
    ApplicationFolder& setting = TheApplicationFolder();
    const std::lock_guard lock(setting.mutex);
    setting.folder = folder;
}

}  // namespace Ondrel
