// What a stored image says of itself: a bit map, or a pixel map with its colours. Internal to
// libOndrel.
//
//   bit map    2  bytes of a row, top bit clear      8  bounds
//   pixel map  2  bytes of a row, top bit set        8  bounds
//              2  version                            2  how rows are packed
//              4  size when packed                   8  resolution across and down
//              2  kind of pixels                     2  bits of a pixel
//              2  components of a pixel              2  bits of a component
//              4  bytes of a plane                   8  two places for the Mac's own use
//   colours    4  seed      2  flags      2  number of entries less one
//              8 each:  index, red, green, blue; the indices do not count where the top flag is set
#ifndef ONDREL_PLATFORM_QUICKDRAW_PIXELMAP_H
#define ONDREL_PLATFORM_QUICKDRAW_PIXELMAP_H

#include <array>
#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

using ColorTable = std::array<Pixel, 256>;  // what is not in a table is black

struct PixelMap {
    bool isBitMap = false;
    int rowBytes = 0;  // never negative
    Rect bounds;
    int packType = 0;
    int depth = 1;
    int components = 1;
};

// Whether a bit map may stand there; where only a pixel map may, the top bit does not count.
enum class MapKinds : std::uint8_t { kBoth, kPixelMap };

// Reads a map without its colours. False when it ends early or no image can have that depth.
bool ReadPixelMap(PictureBytes& bytes, MapKinds kinds, PixelMap* map);

// Reads a table of colours, and its seed. False when it is longer than the bytes.
bool ReadColorTable(PictureBytes& bytes, ColorTable* colors, std::uint32_t* seed);

// Three components of 16 bits each, as they are stored.
Pixel ReadColor(PictureBytes& bytes);

}  // namespace Ondrel::QuickDraw

#endif
