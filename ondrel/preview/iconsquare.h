// Internal to preview/: the picture of a document's icon.
#ifndef ONDREL_PREVIEW_ICONSQUARE_H
#define ONDREL_PREVIEW_ICONSQUARE_H

#include <cstddef>
#include <memory>

#include "ondrel/platform/Images.h"
#include "ondrel/preview/drapix.h"

namespace Ondrel::Pictures {

// A square of pixels with alpha in the first byte of each, or none at all.
struct IconSquare {
    std::unique_ptr<unsigned char[]> pixels;
    int side = 0;

    bool IsThere() const { return pixels != nullptr; }
    std::size_t RowBytes() const { return static_cast<std::size_t>(side) * 4; }

    // It must outlive the image. A pixel is opaque or zero, so that it is the same whether its
    // colours are multiplied by alpha or not; such ones are drawn without a look at each.
    Image AsImage() const {
        return {pixels.get(), side, side, RowBytes(), AlphaInfo::kPremultipliedFirst};
    }
};

// A 32-bit picture scaled to half its size (rounded down), opaque, at the top left of a square that
// is transparent elsewhere. None when the half has no pixel or there is no memory.
IconSquare MakeIconSquare(const drapix& image);

}  // namespace Ondrel::Pictures

#endif
