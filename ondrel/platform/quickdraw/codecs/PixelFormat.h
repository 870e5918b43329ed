// The pixels of compressed images, as they stand in their data. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_CODECS_PIXELFORMAT_H
#define ONDREL_PLATFORM_QUICKDRAW_CODECS_PIXELFORMAT_H

#include "ondrel/platform/quickdraw/RowPixels.h"
#include "ondrel/platform/quickdraw/codecs/Frame.h"

namespace Ondrel::QuickDraw {

// How pixels of the image's depth are stored one after the other; `bits` is a pixel's. The image
// has to stay while the format is used. Bits of 0: no pixel has that depth.
inline RowFormat FormatOf(const CompressedImage& image) {
    RowFormat format;
    format.bits = 0;
    const int bits = image.Bits();
    if (image.IsIndexed()) {
        if (bits != 1 && bits != 2 && bits != 4 && bits != 8) return format;
        format.kind = RowKind::kIndexed;
        format.colors = image.colors.data();
    } else if (bits == 16) {
        format.kind = RowKind::k555;
    } else if (bits == 24) {
        format.kind = RowKind::k888;
    } else if (bits == 32) {
        format.kind = image.hasAlpha ? RowKind::kA888 : RowKind::kX888;
    } else {
        return format;
    }
    format.bits = bits;
    return format;
}

}  // namespace Ondrel::QuickDraw

#endif
