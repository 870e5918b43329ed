// Half a picture on a transparent square.
#include "ondrel/preview/iconsquare.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace Ondrel::Pictures {
namespace {

constexpr std::size_t kPixelBytes = 4;

// Draws the half at the top left, which makes it opaque.
OSErr DrawHalf(const drapix& image, int width, int height, const IconSquare& square) {
    return DrawImage({square.pixels.get(), square.side, square.side, square.RowBytes()},
                     {0, 0, width, height},
                     {image.base, image.width, image.height,
                      static_cast<std::size_t>(image.rowBytes), AlphaInfo::kNoneSkipFirst});
}

// Makes all but the half transparent.
void ClearAround(int width, int height, const IconSquare& square) {
    const std::size_t used = static_cast<std::size_t>(width) * kPixelBytes;
    unsigned char* row = square.pixels.get();
    for (int y = 0; y < square.side; ++y, row += square.RowBytes()) {
        const std::size_t kept = y < height ? used : 0;
        std::memset(row + kept, 0, square.RowBytes() - kept);
    }
}

}  // namespace

IconSquare MakeIconSquare(const drapix& image) {
    const int width = image.width / 2;
    const int height = image.height / 2;
    if (width < 1 || height < 1) return {};
    IconSquare square;
    square.side = std::max(width, height);
    const std::size_t size = square.RowBytes() * static_cast<std::size_t>(square.side);
    square.pixels.reset(new (std::nothrow) unsigned char[size]);
    if (!square.IsThere() || DrawHalf(image, width, height, square) != noErr) return {};
    ClearAround(width, height, square);
    return square;
}

}  // namespace Ondrel::Pictures
