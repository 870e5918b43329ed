// Composing resource forks. The data area is laid out first, and tells where each resource went;
// the map is built from that. Its fields are 16 and 24 bits wide, and what does not fit is refused
// before anything is stored.
#include "ondrel/platform/ComposeFork.h"

#include <algorithm>
#include <map>
#include <span>
#include <vector>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/ResourceMap.h"

namespace Ondrel {
namespace {

constexpr std::size_t kDataOffset = 256;
constexpr std::size_t kForkHeader = 16;
constexpr std::size_t kMapHeader = 28;
constexpr std::size_t kTypeSize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr std::size_t kLengthSize = 4;  // before the bytes of a resource
constexpr std::size_t kMostData = 1 << 24;
constexpr std::size_t kMost16 = 0xFFFF;
constexpr std::uint16_t kNone = 0xFFFF;

void Append16(std::string& bytes, std::size_t value) {
    bytes.append(2, '\0');
    Put16(bytes, bytes.size() - 2, static_cast<std::uint16_t>(value));
}

void Append32(std::string& bytes, std::size_t value) {
    bytes.append(4, '\0');
    Put32(bytes, bytes.size() - 4, static_cast<std::uint32_t>(value));
}

// --- The data -----------------------------------------------------------------------------------

// Whether a map can tell the place of data behind so many others.
bool HasRoom(std::size_t place, std::size_t size) {
    return place < kMostData && size <= kMostData - place;
}

// The data area as it grows behind the header, in the fork to be. Bytes that came from one place of
// the old fork are stored once.
class DataArea {
 public:
    explicit DataArea(std::string& fork) : fork_(fork) {}

    // Where the bytes are now; false when they would lie too far for a map.
    bool Add(std::string_view data, std::uint32_t* offset) {
        const std::size_t size = Size();
        if (!HasRoom(size, data.size())) return false;
        *offset = static_cast<std::uint32_t>(size);
        Append32(fork_, data.size());
        fork_.append(data);
        return true;
    }

    OSErr Keep(const ResourceMap& map, const Resource& resource, std::uint32_t* offset) {
        const auto known = kept_.find(resource.dataOffset);
        if (known != kept_.end()) {
            *offset = known->second;
            return noErr;
        }
        std::string_view data;
        if (const OSErr error = map.Data(resource, &data); error != noErr) return error;
        if (!Add(data, offset)) return dskFulErr;
        kept_[resource.dataOffset] = *offset;
        return noErr;
    }

    std::size_t Size() const { return fork_.size() - kDataOffset; }

 private:
    std::string& fork_;
    std::map<std::uint32_t, std::uint32_t> kept_;  // offset in the old fork, offset here
};

// --- The map ------------------------------------------------------------------------------------

// Runs of resources of one type in a list that has the types together.
std::size_t RunLength(const std::vector<Resource>& resources, std::size_t start) {
    std::size_t end = start;
    while (end < resources.size() && resources[end].type == resources[start].type)
        ++end;
    return end - start;
}

std::size_t CountTypes(const std::vector<Resource>& resources) {
    std::size_t types = 0;
    for (std::size_t at = 0; at < resources.size(); at += RunLength(resources, at))
        ++types;
    return types;
}

// The type list, which counts its references from its own start.
bool AppendTypes(const std::vector<Resource>& resources, std::string& map) {
    const std::size_t types = CountTypes(resources);
    std::size_t references = 2 + types * kTypeSize;
    if (types > kMost16) return false;
    Append16(map, types - 1);
    for (std::size_t at = 0; at < resources.size();) {
        const std::size_t count = RunLength(resources, at);
        if (references > kMost16 || count > kMost16) return false;
        Append32(map, resources[at].type);
        Append16(map, count - 1);
        Append16(map, references);
        references += count * kReferenceSize;
        at += count;
    }
    return true;
}

// The references, and the names that they point to.
bool AppendReferences(const std::vector<Resource>& resources, std::string& map,
                      std::string& names) {
    for (const Resource& resource : resources) {
        if (resource.hasName && names.size() >= kNone) return false;
        Append16(map, static_cast<std::uint16_t>(resource.id));
        Append16(map, resource.hasName ? names.size() : kNone);
        Append32(map, (std::size_t{resource.attributes} << 24) | resource.dataOffset);
        Append32(map, 0);
        if (!resource.hasName) continue;
        names.push_back(static_cast<char>(resource.name.size()));
        names.append(resource.name);
    }
    return true;
}

bool ComposeMap(const std::vector<Resource>& resources, std::uint16_t attributes,
                std::string* map) {
    map->assign(kMapHeader, '\0');
    std::string names;
    if (!AppendTypes(resources, *map) || !AppendReferences(resources, *map, names)) return false;
    if (map->size() > kMost16) return false;
    Put16(*map, 22, attributes);
    Put16(*map, 24, kMapHeader);
    Put16(*map, 26, static_cast<std::uint16_t>(map->size()));
    map->append(names);
    return true;
}

// --- The fork -----------------------------------------------------------------------------------

// The header with the two areas that the system and applications have in it.
std::string Header(std::string_view fork) {
    std::string header(kDataOffset, '\0');
    if (fork.size() >= kDataOffset && Get32(fork, 0) >= kDataOffset)
        header.replace(kForkHeader, kDataOffset - kForkHeader,
                       fork.substr(kForkHeader, kDataOffset - kForkHeader));
    return header;
}

// Ends a fork that has its header and its data with its map.
void Finish(std::string map, std::string& fork) {
    const std::size_t dataSize = fork.size() - kDataOffset;
    Put32(fork, 0, kDataOffset);
    Put32(fork, 4, static_cast<std::uint32_t>(kDataOffset + dataSize));
    Put32(fork, 8, static_cast<std::uint32_t>(dataSize));
    Put32(fork, 12, static_cast<std::uint32_t>(map.size()));
    map.replace(0, kForkHeader, fork, 0, kForkHeader);
    fork.append(map);
}

// The list with the new resource in it, once.
std::vector<Resource> Inserted(std::span<const Resource> old, const Resource& added) {
    std::vector<Resource> resources;
    auto place = resources.size();
    bool isIn = false;
    for (const Resource& resource : old) {
        const bool isIt = resource.type == added.type && resource.id == added.id;
        if (!isIt || !isIn) resources.push_back(isIt ? added : resource);
        isIn = isIn || isIt;
        if (resource.type == added.type) place = resources.size();
    }
    if (isIn) return resources;
    if (place == 0) place = resources.size();
    resources.insert(resources.begin() + static_cast<std::ptrdiff_t>(place), added);
    return resources;
}

// Whether all resources but the last stand in the fork as they would be composed; `*end` is then
// where their data end.
bool EndOfCompactData(std::string_view fork, const ResourceMap& map,
                      const std::vector<Resource>& resources, std::size_t* end) {
    if (fork.empty() || Get32(fork, 0) != kDataOffset) return false;
    std::size_t size = 0;
    for (std::size_t i = 0; i + 1 < resources.size(); ++i) {
        std::string_view data;
        if (resources[i].dataOffset != size || map.Data(resources[i], &data) != noErr) return false;
        size += kLengthSize + data.size();
    }
    *end = kDataOffset + size;
    return true;
}

// Writes the last resource and the map behind data that stay where they are.
OSErr AppendResource(std::vector<Resource>& resources, std::uint16_t attributes, std::size_t end,
                     std::string_view data, std::string* fork) {
    const std::size_t place = end - kDataOffset;
    if (!HasRoom(place, data.size())) return dskFulErr;
    resources.back().dataOffset = static_cast<std::uint32_t>(place);
    std::string map;
    if (!ComposeMap(resources, attributes, &map)) return dskFulErr;
    fork->reserve(end + kLengthSize + data.size() + map.size());
    // Nothing fails from here on, and the names in the old map are needed no longer.
    fork->resize(end);
    Append32(*fork, data.size());
    fork->append(data);
    Finish(std::move(map), *fork);
    return noErr;
}

OSErr ComposeAnew(const ResourceMap& old, FourCC type, std::int16_t id, std::string_view data,
                  std::vector<Resource>* resources, std::string* fork) {
    std::string result = Header(*fork);
    result.reserve(std::min(fork->size(), kMostData) + std::min(data.size(), kMostData) +
                   kDataOffset + kMost16);
    DataArea area(result);
    for (Resource& resource : *resources) {
        const bool isNew = resource.type == type && resource.id == id;
        OSErr kept = noErr;
        std::uint32_t offset = 0;
        if (!isNew)
            kept = area.Keep(old, resource, &offset);
        else if (!area.Add(data, &offset))
            kept = dskFulErr;
        if (kept != noErr) return kept;
        resource.dataOffset = offset;
    }
    std::string map;
    if (!ComposeMap(*resources, old.Attributes(), &map)) return dskFulErr;
    Finish(std::move(map), result);
    *fork = std::move(result);
    return noErr;
}

}  // namespace

std::string EmptyFork() {
    std::string map;
    (void)ComposeMap({}, 0, &map);
    std::string fork = Header({});
    Finish(std::move(map), fork);
    return fork;
}

OSErr PutResource(FourCC type, std::int16_t id, std::string_view data, std::string* fork) {
    ResourceMap old;
    const OSErr error = old.Read(*fork);
    if (error != noErr && error != resFNotFound) return error;

    // `data` has no place in the old fork; its resource is known by the type and ID.
    std::vector<Resource> resources = Inserted(old.Resources(), {type, id, 0, 0, false, {}});
    const bool isLast = resources.back().type == type && resources.back().id == id;
    std::size_t end = 0;
    if (isLast && EndOfCompactData(*fork, old, resources, &end))
        return AppendResource(resources, old.Attributes(), end, data, fork);
    return ComposeAnew(old, type, id, data, &resources, fork);
}

}  // namespace Ondrel
