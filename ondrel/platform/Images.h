// Pictures of 32-bit pixels in memory, and drawing them scaled into one another.
//
// A pixel is four bytes, the same on every machine: one for alpha or unused, then red, green, blue.
// Rows run from top to bottom and start at multiples of four bytes, and places count from the top
// left corner. Neither a picture nor a context owns its pixels; the caller keeps them in place
// while either is used.
#ifndef ONDREL_PLATFORM_IMAGES_H
#define ONDREL_PLATFORM_IMAGES_H

#include <cstddef>
#include <cstdint>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// What the first byte of a pixel means.
enum class AlphaInfo : std::uint32_t {
    kPremultipliedFirst = 2,  // alpha, and the colours are already multiplied by it
    kFirst = 4,               // alpha, and the colours are whole
    kNoneSkipFirst = 6,       // nothing: the pixel is opaque
};

// The largest width and height of a picture, in pixels.
inline constexpr int kMostImagePixels = 32766;

// A picture to be drawn.
struct Image {
    const unsigned char* pixels = nullptr;
    int width = 0;
    int height = 0;
    std::size_t rowBytes = 0;  // from the start of a row to that of the next
    AlphaInfo alpha = AlphaInfo::kNoneSkipFirst;

    // It has at least one pixel, no side is longer than kMostImagePixels, a row has room for its
    // pixels, and rows start where they may.
    ONDREL_EXPORT bool IsValid() const;
};

// A picture to be drawn into; its pixels are premultiplied, alpha first.
struct BitmapContext {
    unsigned char* pixels = nullptr;
    int width = 0;
    int height = 0;
    std::size_t rowBytes = 0;

    ONDREL_EXPORT bool IsValid() const;
};

struct ImageRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// Draws a whole picture over what is in the context, scaled to fill a rectangle; what lies outside
// of the context is left out. One of the rectangle's size is taken as it is. One made smaller is
// halved by averaging as often as that can be, and the rest of the way is interpolated between
// neighbours, as all of it is for one made larger: half the size is exactly the average of each
// two by two pixels, rounded down.
// paramErr: one of the two is not valid, or a side of the rectangle is below 1 or above
// kMostImagePixels. memFullErr. After a failure the context is as it was.
ONDREL_EXPORT OSErr DrawImage(const BitmapContext& context, const ImageRect& rect,
                              const Image& image);

// The same for a rectangle that lies in the context, whose pixels are replaced by the picture's: as
// DrawImage draws over pixels that are all zero, in less time. After memFullErr the rectangle may
// hold anything. paramErr also where it does not lie in the context.
OSErr PutImage(const BitmapContext& context, const ImageRect& rect, const Image& image);

}  // namespace Ondrel

#endif
