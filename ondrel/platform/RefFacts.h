// What the 80 bytes of an FSRef hold, and finding the item again by them alone. Internal to
// platform/; References.cc keeps the paths that make this search rare.
//
//   offset  size  meaning (host byte order: a reference lives no longer than the process)
//        0     4  kMark; all zero bytes name nothing
//        4     2  number of folders below the root that the way to the item leads through
//        6     2  zero
//        8    24  identity of the item
//       32    12  inode and device of its folder
//       44     4  hash of the item's name
//       48    32  hashes of the names of the folders on the way, from the root on
//
// The hashes guide the way down from the root, with more bits for the first names, where folders
// have many others beside them. Whether it was the right way is seen at its end by the identities,
// so that a collision costs a detour and never gives a wrong item.
#ifndef ONDREL_PLATFORM_REFFACTS_H
#define ONDREL_PLATFORM_REFFACTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// What tells an item from every other. A file system gives an inode number anew as soon as its file
// is gone; the time of birth tells the two files apart, unless both were born within one tick of
// the file system's clock.
struct Identity {
    std::uint64_t inode;
    std::int64_t birth;  // nanoseconds since 1970; 0 where the file system does not know
    std::uint32_t device;
    std::uint32_t kind;  // the type bits of its mode
    bool operator==(const Identity&) const = default;
};

struct RefFacts {
    static constexpr std::uint32_t kMark = 0x52464631;

    std::uint32_t mark;
    std::uint16_t depth;
    std::uint16_t zero;
    Identity item;
    std::uint64_t folderInode;
    std::uint32_t folderDevice;
    std::uint32_t nameHash;
    unsigned char chain[32];

    bool IsFolder(const Identity& other) const {
        return other.inode == folderInode && other.device == folderDevice;
    }
};
static_assert(sizeof(RefFacts) == 80);

// The identity of the item at a path, as statx takes it; a failure is the code.
OSErr GetIdentity(int folder, const char* path, int flags, Identity* identity);

std::uint32_t HashOfName(std::string_view name);

// Sets depth and chain from the full path of the item's folder.
void SetChain(std::string_view folderPath, RefFacts* facts);

// Looks in one folder for the item. fnfErr: it is not there; dirNFErr: the path does not lead to
// its folder.
OSErr FindInFolder(const std::string& folderPath, const RefFacts& facts, std::string* path);

// Looks for the item from the root on, along the chain.
OSErr FindFromRoot(const RefFacts& facts, std::string* path);

// Forgets where all items were seen last, so that references have to be searched for: for tests.
void ForgetPlaces();

}  // namespace Ondrel::Host

#endif
