// Resource forks composed anew: an empty one, and one with a resource put into what is there.
// Internal to platform/; ResourceMap.h describes the format.
//
// What is composed has the header's 256 bytes, the data without gaps, and a map with the type list
// at 28, as the system's own Resource Manager lays it out. The empty fork is
//   00 00 01 00  00 00 01 00  00 00 00 00  00 00 00 1E   240 zero bytes
//   00 00 01 00  00 00 01 00  00 00 00 00  00 00 00 1E   00 00 00 00  00 00  00 00
//   00 1C  00 1E  FF FF
#ifndef ONDREL_PLATFORM_COMPOSEFORK_H
#define ONDREL_PLATFORM_COMPOSEFORK_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

std::string EmptyFork();

// Replaces one resource of a fork, or adds it behind the others of its type, without a name and
// attributes. Of the others everything stays: order, names, attributes, bytes, and resources that
// share their bytes go on doing so. An empty fork counts as one without resources; bytes that no
// resource uses go. Where the others lie as they are to lie, as in a fork of this library's
// writers, they are not moved. After a failure the fork is as it was.
// mapReadErr: the fork, or the place of a resource's bytes, is damaged. dskFulErr: there would be
// more than a map can tell of.
OSErr PutResource(FourCC type, std::int16_t id, std::string_view data, std::string* fork);

}  // namespace Ondrel

#endif
