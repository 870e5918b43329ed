// Half a picture on a transparent square.
#include "ondrel/preview/iconsquare.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "ondrel/platform/Images.h"

namespace Ondrel::Pictures {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr unsigned char kOpaque = 0xFF;

// Null when there is no memory. Where the drawing fails the half stays white.
drapix* MakeHalf(const drapix& image) {
    drapix* const half = drapixall(image.height / 2, image.width / 2);
    if (half == nullptr) return nullptr;
    const BitmapContext context{half->base, half->width, half->height,
                                static_cast<std::size_t>(half->rowBytes)};
    DrawImage(context, {0, 0, half->width, half->height},
              {image.base, image.width, image.height, static_cast<std::size_t>(image.rowBytes),
               AlphaInfo::kNoneSkipFirst});
    return half;
}

void CopyOpaque(const unsigned char* from, unsigned char* to, int pixels) {
    const auto bytes = static_cast<std::size_t>(pixels) * kPixelBytes;
    std::memcpy(to, from, bytes);
    for (std::size_t i = 0; i < bytes; i += kPixelBytes)
        to[i] = kOpaque;
}

void FillSquare(drapix* half, drapix* square) {
    for (int y = 0; y < square->height; ++y) {
        unsigned char* const row = drabufbas(square, y);
        std::memset(row, 0, static_cast<std::size_t>(square->rowBytes));
        if (y < half->height) CopyOpaque(drabufbas(half, y), row, half->width);
    }
}

}  // namespace

drapix* MakeIconSquare(const drapix& image) {
    if (image.width < 2 || image.height < 2) return nullptr;
    drapix* const half = MakeHalf(image);
    if (half == nullptr) return nullptr;
    const int side = std::max(half->width, half->height);
    drapix* const square = drapixall(side, side);
    if (square != nullptr) FillSquare(half, square);
    drapixdea(half);
    return square;
}

}  // namespace Ondrel::Pictures
