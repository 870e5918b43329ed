// The icon of a file. The resource fork is open for writing, which keeps every other writer away
// until its new content and the flag are stored together.
#include "ondrel/platform/Workspace.h"

#include <string>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/IconFamily.h"
#include "ondrel/platform/ResourceContent.h"
#include "ondrel/platform/ResourceFile.h"

namespace Ondrel {
namespace {

constexpr FourCC kIconFamily = MakeFourCC("icns");
constexpr std::int16_t kCustomIcon = -16455;

// Changes nothing but memory: what the fork then holds is stored when it is closed.
OSErr PutIntoFork(const std::string& icon, Host::ResourceContent* content) {
    return content->AddResource(kIconFamily, kCustomIcon, icon, kFinderFlagHasCustomIcon);
}

}  // namespace

OSErr SetIconForFile(const char* path, const Image& image) {
    if (path == nullptr || !image.IsValid()) return paramErr;
    short fork = 0;
    OSErr error = OrMemFull(
        [&] { return Host::OpenFork(path, Host::ForkKind::kResource, fsRdWrPerm, &fork); });
    if (error != noErr) return error;
    std::string icon;
    error = ComposeIcon(image, &icon);
    if (error == noErr) error = PutIntoFork(icon, Host::FindFork(fork)->content);
    const OSErr stored = FSCloseFork(fork);
    return error != noErr ? error : stored;
}

OSErr ComposeIcon(const Image& image, std::string* icon) {
    return ComposeIconFamily(image, icon);
}

std::size_t RoomForIcon(int longerSide) {
    return RoomForIconFamily(longerSide);
}

OSErr SetIconInFork(short forkRefNum, const std::string& icon) {
    const Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    if (fork->content == nullptr) return paramErr;
    return fork->facts.mayWrite ? PutIntoFork(icon, fork->content) : permErr;
}

}  // namespace Ondrel
