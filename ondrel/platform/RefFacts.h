// What the 80 bytes of an FSRef hold, and finding the item again by them alone. Internal to
// platform/; References.cc keeps the paths that make this search rare.
//
//   offset  size  meaning (host byte order: a reference lives no longer than the process)
//        0     4  kMark; all zero bytes name nothing
//        4     2  number of folders above the item's own folder and below the root, own included
//        6     2  zero
//        8    16  device and inode of the item
//       24    16  device and inode of its folder
//       40     4  hash of the item's name
//       44    36  hashes of the folders' names from the root on, each of as many bits as all of
//                 them have room for, at most 32
//
// The hashes guide the way down from the root; whether it was the right one is seen at its end by
// the identities, so that a collision costs a detour and never gives a wrong item.
#ifndef ONDREL_PLATFORM_REFFACTS_H
#define ONDREL_PLATFORM_REFFACTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

struct FileIdentity {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const FileIdentity&) const = default;
};

struct RefFacts {
    static constexpr std::uint32_t kMark = 0x52464631;

    std::uint32_t mark;
    std::uint16_t depth;
    std::uint16_t zero;
    FileIdentity item;
    FileIdentity folder;
    std::uint32_t nameHash;
    unsigned char chain[36];
};
static_assert(sizeof(RefFacts) == 80);

std::uint32_t HashOfName(std::string_view name);

// Sets depth and chain from the full path of the item's folder.
void SetChain(std::string_view folderPath, RefFacts* facts);

// Looks in one folder for the item. fnfErr: it is not there; dirNFErr: the path does not lead to
// its folder.
OSErr FindInFolder(const std::string& folderPath, const RefFacts& facts, std::string* path);

// Looks for the item from the root on, along the chain.
OSErr FindFromRoot(const RefFacts& facts, std::string* path);

}  // namespace Ondrel::Host

#endif
