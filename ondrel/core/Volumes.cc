// The public face of the mount table.
#include "ondrel/core/Volumes.h"

#include <utility>

#include "ondrel/platform/MountTable.h"

namespace Ondrel {

bool MountVolume(const char* name, const char* rootFolder) {
    return name != nullptr && rootFolder != nullptr && Host::AddMount(name, rootFolder);
}

bool UnmountVolume(const char* name) {
    return name != nullptr && Host::RemoveMount(name);
}

std::vector<Volume> MountedVolumes() {
    std::vector<Volume> volumes;
    for (Host::Mount& mount : Host::Mounts())
        volumes.push_back({std::move(mount.name), std::move(mount.root)});
    return volumes;
}

}  // namespace Ondrel
