// What the Resource Manager has of one open resource file: its map, and the handles that it has
// made of its resources. Internal to platform/.
//
// Invariants: the fork's bytes are those of the moment of opening, whatever is written to the fork;
// a handle belongs to the file until it is detached, and goes with it.
#ifndef ONDREL_PLATFORM_RESOURCEFILE_H
#define ONDREL_PLATFORM_RESOURCEFILE_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/ResourceMap.h"

namespace Ondrel::Host {

class ResourceFile {
 public:
    ResourceFile() = default;
    ~ResourceFile();
    ResourceFile(const ResourceFile&) = delete;
    ResourceFile& operator=(const ResourceFile&) = delete;

    // Reads the map of a fork. Codes as ResourceMap::Read's.
    OSErr Open(std::shared_ptr<const std::string> fork);

    // See Get1Resource and ListResources, whose codes these are.
    OSErr Get(FourCC type, short id, Handle* resource);
    std::vector<ResourceInfo> List() const { return List(map_); }

    // The list of any map's resources.
    static std::vector<ResourceInfo> List(const ResourceMap& map);

    // Takes the handle out of the file that owns it. False: none does.
    static bool Detach(Handle handle);

 private:
    OSErr MakeHandle(const Resource& resource, Handle* made);

    std::shared_ptr<const std::string> fork_;
    ResourceMap map_;
    std::map<const Resource*, Handle> handles_;
};

}  // namespace Ondrel::Host

#endif
