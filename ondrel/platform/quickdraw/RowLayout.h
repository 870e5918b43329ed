// How the rows of a map are stored, from what the map and its command say. Internal to libOndrel.
//
//   bits   packing 0      1              2              3            4
//   1-8    bytes          as they are    bytes          bytes        bytes
//   16     words          as they are    as they are    words        words
//   32     planes         as they are    3 of 4 bytes   planes       planes
//
// Planes are packed as bytes, a row's reds first. Rows shorter than 8 bytes are never packed, and
// neither is anything behind the two commands that say so.
#ifndef ONDREL_PLATFORM_QUICKDRAW_ROWLAYOUT_H
#define ONDREL_PLATFORM_QUICKDRAW_ROWLAYOUT_H

#include <cstddef>

#include "ondrel/platform/quickdraw/PackedRows.h"
#include "ondrel/platform/quickdraw/PixelMap.h"
#include "ondrel/platform/quickdraw/RowPixels.h"

namespace Ondrel::QuickDraw {

// What the command says of its rows.
enum class RowStorage : std::uint8_t {
    kUnpacked,
    kByMap,
    kPackedEvenIfShort,
};

struct RowLayout {
    Packing packing = Packing::kNone;
    std::size_t size = 0;          // of a row as unpacked
    std::size_t countedBytes = 0;  // decides about the size of packed lengths
    int columns = 0;               // pixels that a row has
    RowFormat format;
};

RowLayout LayoutOf(const PixelMap& map, RowStorage storage, const ColorTable& colors);

}  // namespace Ondrel::QuickDraw

#endif
