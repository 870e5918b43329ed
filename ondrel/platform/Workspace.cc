// The icon of a file. The resource fork is opened for writing, which keeps every other writer away
// until its new content and the flag are stored together.
#include "ondrel/platform/Workspace.h"

#include <memory>
#include <new>
#include <string>

#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/IconFamily.h"
#include "ondrel/platform/ResourceContent.h"
#include "ondrel/platform/ResourceFile.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel {
namespace {

constexpr FourCC kIconFamily = MakeFourCC("icns");
constexpr std::int16_t kCustomIcon = -16455;

// Changes nothing but memory: what the fork then holds is stored when it is closed.
OSErr PutIntoFork(const Image& image, Host::ResourceContent* content) {
    try {
        std::string family;
        std::string composed;
        const std::shared_ptr<const std::string> fork = content->Share();
        OSErr error = ComposeIconFamily(image, &family);
        if (error == noErr)
            error = ForkWithResource(*fork, kIconFamily, kCustomIcon, family, &composed);
        if (error == noErr) content->Replace(std::move(composed), kFinderFlagHasCustomIcon);
        return error;
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace

OSErr SetIconForFile(const char* path, const Image& image) {
    if (path == nullptr || !image.IsValid()) return paramErr;
    short fork = 0;
    if (const OSErr error = Host::OpenFork(path, Host::ForkKind::kResource, fsRdWrPerm, &fork);
        error != noErr)
        return error;
    const OSErr error = PutIntoFork(image, Host::FindFork(fork)->content);
    const OSErr stored = FSCloseFork(fork);
    return error != noErr ? error : stored;
}

}  // namespace Ondrel
