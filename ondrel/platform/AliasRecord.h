// The alias record: how a Finder alias file remembers its target, in an 'alis' resource. Read only,
// and only what leads to the target by name. Internal to libOndrel.
//
// Origin: "Inside Macintosh: Files", chapter 4, and records that macOS has written. All integers
// are big-endian.
//
//   version 2                                 version 3
//     0   4  user type                          0   4  user type
//     4   2  length of the record               4   2  length of the record
//     6   2  version                            6   2  version
//     8   2  0 file, 1 folder                   8   2  0 file, 1 folder
//    10  28  volume name, counted              10  14  volume date, signature, kind of drive
//    38   8  volume date, signature, kind      24   4  number of the parent folder
//    46   4  number of the parent folder       28  12  number and date of the target
//    50  64  target name, counted              40  18  volume flags and more
//   114  36  number, date, codes and more      58      tagged parts
//   150      tagged parts
//
// A tagged part is a kind (0xFFFF ends the list), a length, and bytes padded to an even number.
#ifndef ONDREL_PLATFORM_ALIASRECORD_H
#define ONDREL_PLATFORM_ALIASRECORD_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"

namespace Ondrel {

// What a record says, as UTF-8; a text is empty where the record does not have it.
struct AliasRecord {
    bool isFolder = false;
    bool isInVolumeRoot = false;
    std::string volumeName;  // as a Mac shows it
    std::string targetName;  // likewise
    std::string colonPath;   // volume first
    std::string posixPath;   // from the root of the volume
    std::string mountPoint;  // where the volume was mounted
};

// Reads a record. mapReadErr: it is damaged, or of another version.
OSErr ReadAliasRecord(std::string_view bytes, AliasRecord* record);

}  // namespace Ondrel

#endif
