// Resources as handles, and handles as blocks of memory.
#include "ondrel/platform/ResourceFile.h"

#include <algorithm>
#include <new>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace Host {
namespace {

constexpr std::uint8_t kResCompressed = 0x01;
constexpr std::uint32_t kCompressedMark = 0xA89F6572;

// What a handle points into: its first member is what the handle points to.
struct Block {
    char* data;
    std::size_t size;
    std::map<const Resource*, Handle>* owner;  // null: the caller's
    const Resource* resource;
};

Block* BlockOf(Handle handle) {
    return reinterpret_cast<Block*>(handle);
}

void Free(Block* block) {
    delete[] block->data;
    delete block;
}

// Only both together make a compressed resource: the bit was free before there was any.
bool IsCompressed(const Resource& resource, std::string_view data) {
    return (resource.attributes & kResCompressed) != 0 && data.size() >= 4 &&
           Get32(data, 0) == kCompressedMark;
}

ResourceInfo Describe(const ResourceMap& map, const Resource& resource) {
    std::string_view data;
    ResourceInfo info;
    info.type = resource.type;
    info.id = resource.id;
    info.attributes = resource.attributes;
    info.hasName = resource.hasName;
    info.name = resource.name;
    info.isDamaged = map.Data(resource, &data) != noErr;
    info.isCompressed = IsCompressed(resource, data);
    info.size = static_cast<std::uint32_t>(data.size());
    return info;
}

Block* Copy(std::string_view data) {
    char* const bytes = new (std::nothrow) char[data.size()];
    Block* const block =
        bytes == nullptr ? nullptr : new (std::nothrow) Block{bytes, data.size(), nullptr, nullptr};
    if (block == nullptr) {
        delete[] bytes;
        return nullptr;
    }
    std::copy(data.begin(), data.end(), bytes);
    return block;
}

}  // namespace

ResourceFile::~ResourceFile() {
    for (const auto& [resource, handle] : handles_)
        Free(BlockOf(handle));
}

OSErr ResourceFile::Open(std::shared_ptr<const StoredFork> fork) {
    fork_ = std::move(fork);
    if (fork_->Size() == 0) return resFNotFound;
    std::string start;
    OSErr error = fork_->Read(0, std::min(fork_->Size(), ForkHeader::kSize), &start);
    if (error != noErr) return error;
    const auto header = ForkHeader::Read(start, fork_->Size());
    if (!header) return mapReadErr;
    header_ = *header;
    error = fork_->Read(header_.mapOffset, header_.mapSize, &mapBytes_);
    return error == noErr ? map_.ReadMap(mapBytes_) : error;
}

OSErr ResourceFile::ReadData() {
    if (hasData_) return noErr;
    const OSErr error = fork_->Read(header_.dataOffset, header_.dataSize, &data_);
    hasData_ = error == noErr;
    if (hasData_) map_.UseData(data_);
    return error;
}

OSErr ResourceFile::MakeHandle(const Resource& resource, Handle* made) {
    std::string_view data;
    if (const OSErr error = map_.Data(resource, &data); error != noErr) return error;
    if (IsCompressed(resource, data)) return CantDecompress;
    Block* const block = Copy(data);
    if (block == nullptr) return memFullErr;
    block->owner = &handles_;
    block->resource = &resource;
    try {
        handles_[&resource] = &block->data;
    } catch (const std::bad_alloc&) {
        Free(block);
        return memFullErr;
    }
    *made = &block->data;
    return noErr;
}

OSErr ResourceFile::Get(FourCC type, short id, Handle* resource) {
    const Resource* const found = map_.Find(type, id);
    if (found == nullptr) return resNotFound;
    const auto made = handles_.find(found);
    if (made != handles_.end()) {
        *resource = made->second;
        return noErr;
    }
    const OSErr error = ReadData();
    return error == noErr ? MakeHandle(*found, resource) : error;
}

std::vector<ResourceInfo> ResourceFile::List(const ResourceMap& map) {
    std::vector<ResourceInfo> list;
    list.reserve(map.Resources().size());
    for (const Resource& resource : map.Resources())
        list.push_back(Describe(map, resource));
    return list;
}

OSErr ResourceFile::List(std::vector<ResourceInfo>* list) {
    const OSErr error = ReadData();
    if (error == noErr) *list = List(map_);
    return error;
}

bool ResourceFile::Detach(Handle handle) {
    if (handle == nullptr || BlockOf(handle)->owner == nullptr) return false;
    Block* const block = BlockOf(handle);
    block->owner->erase(block->resource);
    block->owner = nullptr;
    return true;
}

}  // namespace Host

std::size_t GetHandleSize(Handle handle) {
    return handle == nullptr ? 0 : Host::BlockOf(handle)->size;
}

void DisposeHandle(Handle handle) {
    if (handle != nullptr && Host::BlockOf(handle)->owner == nullptr)
        Host::Free(Host::BlockOf(handle));
}

}  // namespace Ondrel
