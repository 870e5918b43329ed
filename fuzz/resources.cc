// Resource forks: any bytes are read as one, its resources listed and looked at, and one is put
// into it. What could be read must still be there afterwards, and a refusal changes nothing.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/ResourceMap.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

struct Kept {
    FourCC type;
    std::int16_t id;
    std::string data;
};

// Of several resources of one type and ID the first one counts.
std::vector<Kept> Readable(std::string_view fork) {
    std::vector<Kept> kept;
    ResourceMap map;
    if (map.Read(fork) != noErr) return kept;
    for (const Resource& resource : map.Resources()) {
        std::string_view data;
        if (map.Find(resource.type, resource.id) != &resource) continue;
        if (map.Data(resource, &data) == noErr)
            kept.push_back({resource.type, resource.id, std::string(data)});
    }
    return kept;
}

// No more than the map has room for, and none longer than the fork.
void CheckList(std::string_view fork) {
    constexpr std::size_t kReference = 12;
    std::vector<ResourceInfo> list;
    const OSErr error = ListForkResources(fork, &list);
    Require(error == noErr || list.empty());
    Require(list.size() <= fork.size() / kReference);
    for (const ResourceInfo& resource : list)
        Require(resource.size <= fork.size() && (!resource.isDamaged || resource.size == 0));
}

void CheckIsThere(const ResourceMap& map, FourCC type, std::int16_t id, std::string_view bytes) {
    const Resource* const resource = map.Find(type, id);
    std::string_view data;
    Require(resource != nullptr && map.Data(*resource, &data) == noErr && data == bytes);
}

void Put(std::string fork, const std::vector<Kept>& kept, FourCC type, std::int16_t id) {
    const std::string before = fork;
    if (PutResource(type, id, "new bytes", &fork) != noErr) {
        Require(fork == before);
        return;
    }
    ResourceMap map;
    Require(map.Read(fork) == noErr);
    CheckIsThere(map, type, id, "new bytes");
    for (const Kept& old : kept)
        if (old.type != type || old.id != id) CheckIsThere(map, old.type, old.id, old.data);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string fork(reinterpret_cast<const char*>(data), size);
    CheckList(fork);
    std::string composed = EmptyFork();
    Require(PutResource(MakeFourCC("PICT"), 256, fork, &composed) == noErr);
    Require(Readable(composed).at(0).data == fork);
    const std::vector<Kept> kept = Readable(fork);
    Put(fork, kept, MakeFourCC("icns"), -16455);
    if (kept.empty()) return 0;
    Put(fork, kept, kept.front().type, kept.front().id);
    Put(fork, kept, kept.back().type, kept.back().id);
    return 0;
}
