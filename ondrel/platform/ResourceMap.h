// A resource fork, read: its map as a list, its resources as views. For forks of anyone's making:
// every offset is checked before it is followed, nothing is followed twice, and the list is never
// longer than the map has room for. Internal to libOndrel.
//
// Origin: "Inside Macintosh: More Macintosh Toolbox", chapter 1, "Resource File Format". All
// integers are big-endian; offsets into the data count from the start of the data, offsets into the
// map from the start of the map, those of reference lists from the start of the type list.
//
//   fork   0  4  offset of the data           map   0 22  for the system's own use
//          4  4  offset of the map                 22  2  attributes of the file
//          8  4  length of the data                24  2  offset of the type list
//         12  4  length of the map                 26  2  offset of the name list
//
//   type list   0  2  number of types - 1 (0xFFFF: none), then for each
//               0  4  type
//               4  2  number of its resources - 1
//               6  2  offset of its reference list
//
//   reference   0  2  ID, signed                 data    0  4  length
//               2  2  offset of its name                    4     the bytes
//                     in the name list,
//                     0xFFFF: none               name    0  1  length
//               4  1  attributes                         1     the characters (MacRoman)
//               5  3  offset of its data
//               8  4  for the system's own use
#ifndef ONDREL_PLATFORM_RESOURCEMAP_H
#define ONDREL_PLATFORM_RESOURCEMAP_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

struct Resource {
    FourCC type;
    std::int16_t id;
    std::uint8_t attributes;
    std::uint32_t dataOffset;
    bool hasName;
    std::string_view name;  // as stored; empty without a name
};

// Where a fork has its data and its map.
struct ForkHeader {
    static constexpr std::size_t kSize = 16;

    std::size_t dataOffset;
    std::size_t dataSize;
    std::size_t mapOffset;
    std::size_t mapSize;

    // From the first kSize bytes of a fork, or all that there are. Nothing where the two do not lie
    // in a fork of `forkSize` bytes.
    static std::optional<ForkHeader> Read(std::string_view start, std::size_t forkSize);
};

class ResourceMap {
 public:
    // Reads the map of a fork, whose bytes must outlive the object. resFNotFound: the fork is
    // empty. mapReadErr: it is no resource fork, or its map is damaged. Data are checked by Data.
    OSErr Read(std::string_view fork);

    // The same in two steps, for who reads the data later or never. mapReadErr.
    OSErr ReadMap(std::string_view map);
    void UseData(std::string_view data) { data_ = data; }

    // The resources in the order of the map, types together.
    std::span<const Resource> Resources() const { return resources_; }
    std::uint16_t Attributes() const { return attributes_; }

    // The first resource of that type and ID, or the one with the lowest ID of a type; null where
    // there is none.
    const Resource* Find(FourCC type, std::int16_t id) const;
    const Resource* FindLowest(FourCC type) const;

    // The bytes of a resource. mapReadErr: they do not lie within the data of the fork.
    OSErr Data(const Resource& resource, std::string_view* bytes) const;

 private:
    OSErr ReadTypes(std::string_view map);
    OSErr ReadReferences(std::string_view map, FourCC type, std::size_t start, std::size_t count);
    bool ReadName(std::string_view map, std::size_t offset, Resource* resource) const;

    std::string_view data_;
    std::uint16_t attributes_ = 0;
    std::size_t typeList_ = 0;
    std::size_t nameList_ = 0;
    std::vector<Resource> resources_;
};

}  // namespace Ondrel

#endif
