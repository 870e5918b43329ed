// Following aliases, one step after the other.
#include "ondrel/platform/Alias.h"

#include "ondrel/platform/AliasTarget.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"
#include "ondrel/platform/ResourceMap.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {
namespace {

constexpr int kMostSteps = 40;

constexpr FourCC kAliasResource = MakeFourCC("alis");

// One step: whether the item is an alias, and then the path that it leads to.
struct Step {
    bool isAlias = false;
    std::string target;
};

// A path that goes through something that is no folder leads nowhere, too.
OSErr AsDeadEnd(OSErr error) {
    return error == dirNFErr ? fnfErr : error;
}

OSErr FollowLink(const std::string& path, Step* step) {
    std::string text;
    if (const OSErr error = ReadLink(path.c_str(), &text); error != noErr) return error;
    step->isAlias = true;
    if (!text.starts_with('/')) text = std::string(SplitPath(path).folder) + text;
    const PathParts parts = SplitPath(text);
    if (parts.name.empty() || parts.name == "." || parts.name == "..")
        return AsDeadEnd(RealPath(text.c_str(), &step->target));
    // Only the way to the target is walked: the target may be a link, and the next step.
    std::string folder;
    const OSErr error = RealPath(std::string(parts.folder).c_str(), &folder);
    if (error == noErr) step->target = JoinPath(folder, parts.name);
    return AsDeadEnd(error);
}

// Reads the file's alias record; a file without one is left as no alias. What we may not read, or
// is no sidecar, makes no alias either.
OSErr FollowAliasFile(const std::string& path, Step* step) {
    FinderInfo info;
    OSErr error = ReadFinderInfo(path.c_str(), &info);
    if (error == mapReadErr || error == permErr) return noErr;
    if (error != noErr || (info.Flags() & kFinderFlagIsAlias) == 0) return error;
    AppleDouble sidecar;
    error = ReadSidecar(path.c_str(), &sidecar);
    if (error != noErr) return error;
    ResourceMap map;
    if (map.Read(sidecar.GetResourceFork()) != noErr) return noErr;
    const Resource* resource = map.FindLowest(kAliasResource);
    if (resource == nullptr) return noErr;
    step->isAlias = true;
    std::string_view bytes;
    AliasRecord record;
    if (map.Data(*resource, &bytes) != noErr || ReadAliasRecord(bytes, &record) != noErr)
        return fnfErr;
    return AsDeadEnd(FindAliasTarget(record, &step->target));
}

OSErr TakeStep(const std::string& path, Step* step) {
    ItemStatus status;
    if (const OSErr error = GetItemStatus(path.c_str(), &status); error != noErr) return error;
    if (status.kind == ItemKind::kLink) return FollowLink(path, step);
    if (status.kind == ItemKind::kFile) return FollowAliasFile(path, step);
    return noErr;
}

}  // namespace

OSErr ResolveAlias(const std::string& path, bool chains, std::string* target, bool* targetIsFolder,
                   bool* wasAliased) {
    *wasAliased = false;
    std::string current = path;
    for (int steps = 0; steps == 0 || chains; ++steps) {
        Step step;
        const OSErr error = TakeStep(current, &step);
        *wasAliased = *wasAliased || step.isAlias;
        if (error != noErr) return steps == 0 ? error : AsDeadEnd(error);
        if (!step.isAlias) break;
        if (steps == kMostSteps) return fnfErr;
        current = std::move(step.target);
    }
    ItemStatus status;
    if (const OSErr error = GetItemStatus(current.c_str(), &status); error != noErr)
        return *wasAliased ? AsDeadEnd(error) : error;
    *target = std::move(current);
    *targetIsFolder = status.kind == ItemKind::kFolder;
    return noErr;
}

}  // namespace Ondrel::Host
