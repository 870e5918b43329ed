// The icon family of a picture: the 'icns' resource that a desktop draws a file's icon from.
// Internal to platform/.
//
// Origin: the element types and their run lengths as icnsutils and the Finder read them. All
// integers are big-endian.
//
//   offset  size  meaning
//        0     4  'icns'
//        4     4  length of the whole
//        8        elements: type (4), length with these 8 bytes (4), bytes
//
//   pixels  colours  mask   bytes
//       16  is32     s8mk   red, green and blue planes, each packed; the mask is a plane of alpha
//       32  il32     l8mk
//      128  it32     t8mk   four zero bytes before the packed planes
//      256  ic08            a PNG file
//      512  ic09
//
// A plane is packed in runs: a byte n below 128 is followed by n + 1 bytes as they are, one from
// 128 on by a byte that stands n - 125 times. 16 red bytes of 7 are 8D 07.
#ifndef ONDREL_PLATFORM_ICONFAMILY_H
#define ONDREL_PLATFORM_ICONFAMILY_H

#include <cstddef>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Images.h"

namespace Ondrel {

// The family of a picture. It has the sizes up to 128 until the first that holds the picture whole,
// and 256 and 512 where the picture fills them; one that is not square is centred. paramErr: the
// picture is not valid. memFullErr.
OSErr ComposeIconFamily(const Image& image, std::string* family);

// So many bytes hold the family of any picture whose longer side is that long.
std::size_t RoomForIconFamily(int longerSide);

// Appends a plane of bytes as the 'is32' element and its like have it.
void AppendPackedPlane(std::string_view plane, std::string* packed);

}  // namespace Ondrel

#endif
