// What the Finder keeps of a file: its type and creator, and its flags.
#ifndef ONDREL_PLATFORM_FILECODES_H
#define ONDREL_PLATFORM_FILECODES_H

#include <cstdint>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// Bits of the Finder flags. Bits 1 to 3 are the number of a colour; 0 is none.
inline constexpr std::uint16_t kFinderFlagColourMask = 0x000E;
inline constexpr std::uint16_t kFinderFlagIsShared = 0x0040;
inline constexpr std::uint16_t kFinderFlagHasNoInits = 0x0080;
inline constexpr std::uint16_t kFinderFlagHasBeenInited = 0x0100;
inline constexpr std::uint16_t kFinderFlagHasCustomIcon = 0x0400;
inline constexpr std::uint16_t kFinderFlagIsStationery = 0x0800;
inline constexpr std::uint16_t kFinderFlagNameLocked = 0x1000;
inline constexpr std::uint16_t kFinderFlagHasBundle = 0x2000;
inline constexpr std::uint16_t kFinderFlagIsInvisible = 0x4000;
inline constexpr std::uint16_t kFinderFlagIsAlias = 0x8000;

// All are 0 for a file that has none.
struct FileCodes {
    FourCC type = 0;
    FourCC creator = 0;
    std::uint16_t finderFlags = 0;
    bool operator==(const FileCodes&) const = default;
};

// The codes of the file at a full POSIX path, through a symbolic link those of its target. fnfErr:
// no such file, or no regular one. mapReadErr: its sidecar is damaged. After a failure `*codes` is
// as it was.
ONDREL_EXPORT OSErr GetFileCodes(const char* path, FileCodes* codes);

// Stores codes with the file, in one step; everything else that its sidecar holds stays as it is. A
// file without codes and without a resource fork has no sidecar afterwards. Codes as above, and the
// host's; after a failure the old ones are there.
ONDREL_EXPORT OSErr SetFileCodes(const char* path, const FileCodes& codes);

}  // namespace Ondrel

#endif
