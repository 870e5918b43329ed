// From the bytes of a row to pixels, for every depth. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_ROWPIXELS_H
#define ONDREL_PLATFORM_QUICKDRAW_ROWPIXELS_H

#include <cstddef>
#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"

namespace Ondrel::QuickDraw {

enum class RowKind : std::uint8_t {
    kIndexed,  // 1, 2, 4 or 8 bits, leftmost in the top bits, into a table of colours
    k555,      // a bit unused, then five of each colour
    k888,      // three bytes
    kX888,     // a byte unused, then three
    kA888,     // a byte of alpha, then three
    kPlanes,   // the bytes of one colour after another; the last three planes count
    kPixels,   // our own pixels
};

struct RowFormat {
    RowKind kind = RowKind::kIndexed;
    int bits = 1;                   // of an index
    const Pixel* colors = nullptr;  // as many as there are indices
    std::size_t plane = 0;          // bytes of a plane
    std::size_t skipped = 0;        // bytes of planes in front
};

// The pixels from place `first` on; all of them opaque, but for kA888 and kPixels, which are as
// they are.
void ToPixels(const RowFormat& format, const std::uint8_t* row, std::size_t first,
              std::size_t count, Pixel* pixels);

}  // namespace Ondrel::QuickDraw

#endif
