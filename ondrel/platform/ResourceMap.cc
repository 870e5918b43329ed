// Reading a resource map.
#include "ondrel/platform/ResourceMap.h"

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

constexpr std::size_t kMapHeaderSize = 28;
constexpr std::size_t kTypeSize = 8;
constexpr std::size_t kReferenceSize = 12;
constexpr std::uint16_t kNone = 0xFFFF;

// The part of a text; false when it does not lie in it whole.
bool Slice(std::string_view text, std::size_t offset, std::size_t size, std::string_view* part) {
    if (offset > text.size() || size > text.size() - offset) return false;
    *part = text.substr(offset, size);
    return true;
}

}  // namespace

std::optional<ForkHeader> ForkHeader::Read(std::string_view start, std::size_t forkSize) {
    if (start.size() < kSize) return {};
    const ForkHeader header{Get32(start, 0), Get32(start, 8), Get32(start, 4), Get32(start, 12)};
    const auto liesInFork = [forkSize](std::size_t offset, std::size_t size) {
        return offset <= forkSize && size <= forkSize - offset;
    };
    if (!liesInFork(header.dataOffset, header.dataSize) ||
        !liesInFork(header.mapOffset, header.mapSize))
        return {};
    return header;
}

OSErr ResourceMap::Read(std::string_view fork) {
    *this = {};
    if (fork.empty()) return resFNotFound;
    const auto header = ForkHeader::Read(fork, fork.size());
    if (!header) return mapReadErr;
    const OSErr error = ReadMap(fork.substr(header->mapOffset, header->mapSize));
    if (error == noErr) UseData(fork.substr(header->dataOffset, header->dataSize));
    return error;
}

OSErr ResourceMap::ReadMap(std::string_view map) {
    *this = {};
    if (map.size() < kMapHeaderSize) return mapReadErr;
    attributes_ = Get16(map, 22);
    typeList_ = Get16(map, 24);
    nameList_ = Get16(map, 26);
    const OSErr error = ReadTypes(map);
    if (error != noErr) *this = {};
    return error;
}

OSErr ResourceMap::ReadTypes(std::string_view map) {
    // Room for the count is not always there where there is no type: some writers end the map
    // before it.
    std::string_view list;
    if (!Slice(map, typeList_, 2, &list)) return typeList_ == map.size() ? noErr : mapReadErr;
    const std::uint16_t last = Get16(list, 0);
    if (last == kNone) return noErr;
    const std::size_t count = std::size_t{last} + 1;
    if (!Slice(map, typeList_ + 2, count * kTypeSize, &list)) return mapReadErr;
    for (std::size_t at = 0; at < list.size(); at += kTypeSize) {
        const OSErr error = ReadReferences(map, Get32(list, at), typeList_ + Get16(list, at + 6),
                                           std::size_t{Get16(list, at + 4)} + 1);
        if (error != noErr) return error;
    }
    return noErr;
}

OSErr ResourceMap::ReadReferences(std::string_view map, FourCC type, std::size_t start,
                                  std::size_t count) {
    std::string_view list;
    if (!Slice(map, start, count * kReferenceSize, &list)) return mapReadErr;
    // Lists that share their bytes could make a small map name millions of resources.
    if (count > map.size() / kReferenceSize - resources_.size()) return mapReadErr;
    for (std::size_t at = 0; at < list.size(); at += kReferenceSize) {
        Resource resource{};
        resource.type = type;
        resource.id = static_cast<std::int16_t>(Get16(list, at));
        resource.attributes = static_cast<std::uint8_t>(list[at + 4]);
        resource.dataOffset = Get24(list, at + 5);
        if (!ReadName(map, Get16(list, at + 2), &resource)) return mapReadErr;
        resources_.push_back(resource);
    }
    return noErr;
}

bool ResourceMap::ReadName(std::string_view map, std::size_t offset, Resource* resource) const {
    if (offset == kNone) return true;
    std::string_view length;
    if (!Slice(map, nameList_ + offset, 1, &length)) return false;
    resource->hasName = true;
    return Slice(map, nameList_ + offset + 1, static_cast<unsigned char>(length[0]),
                 &resource->name);
}

const Resource* ResourceMap::Find(FourCC type, std::int16_t id) const {
    for (const Resource& resource : resources_) {
        if (resource.type == type && resource.id == id) return &resource;
    }
    return nullptr;
}

const Resource* ResourceMap::FindLowest(FourCC type) const {
    const Resource* lowest = nullptr;
    for (const Resource& resource : resources_) {
        if (resource.type == type && (lowest == nullptr || resource.id < lowest->id))
            lowest = &resource;
    }
    return lowest;
}

OSErr ResourceMap::Data(const Resource& resource, std::string_view* bytes) const {
    std::string_view length;
    if (!Slice(data_, resource.dataOffset, 4, &length)) return mapReadErr;
    const std::size_t start = std::size_t{resource.dataOffset} + 4;
    return Slice(data_, start, Get32(length, 0), bytes) ? noErr : mapReadErr;
}

}  // namespace Ondrel
