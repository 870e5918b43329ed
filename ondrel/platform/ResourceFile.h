// What the Resource Manager has of one open resource file: its map, and the handles that it has
// made of its resources. Internal to platform/.
//
// Invariants: the fork's bytes are those of the moment of opening, whatever is written to the fork;
// only its map is read before somebody asks for a resource; a handle belongs to the file until it
// is detached, and goes with it.
#ifndef ONDREL_PLATFORM_RESOURCEFILE_H
#define ONDREL_PLATFORM_RESOURCEFILE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/ResourceMap.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {

class ResourceFile {
 public:
    ResourceFile() = default;
    ~ResourceFile();
    ResourceFile(const ResourceFile&) = delete;
    ResourceFile& operator=(const ResourceFile&) = delete;

    // Reads the map of a fork. Codes as ResourceMap::Read's, and the host's.
    OSErr Open(std::shared_ptr<const StoredFork> fork);

    // See Get1Resource and ListResources, whose codes these are, beside the host's.
    OSErr Get(FourCC type, short id, Handle* resource);
    OSErr List(std::vector<ResourceInfo>* list);

    // The list of any map's resources.
    static std::vector<ResourceInfo> List(const ResourceMap& map);

    // Takes the handle out of the file that owns it. False: none does.
    static bool Detach(Handle handle);

 private:
    OSErr ReadData();
    OSErr MakeHandle(const Resource& resource, Handle* made);

    std::shared_ptr<const StoredFork> fork_;
    ForkHeader header_{};
    std::string mapBytes_;
    std::string data_;
    bool hasData_ = false;
    ResourceMap map_;
    std::map<const Resource*, Handle> handles_;
};

}  // namespace Ondrel::Host

#endif
