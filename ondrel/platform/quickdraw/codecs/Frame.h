// A compressed image, and the pixels that come out of it. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_CODECS_FRAME_H
#define ONDREL_PLATFORM_QUICKDRAW_CODECS_FRAME_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "ondrel/platform/Types.h"
#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PixelMap.h"

namespace Ondrel::QuickDraw {

// What is known of an image before it is decoded. `depth` counts colours below 33: 1, 2, 4, 8, 16,
// 24 or 32 bits; 33, 34, 36 and 40 are 1, 2, 4 and 8 bits of grey.
struct CompressedImage {
    FourCC codec = 0;
    int depth = 24;
    bool hasAlpha = false;  // the fourth byte of 32-bit pixels is alpha
    ColorTable colors;      // of indices
    std::string_view data;
    int nesting = 0;                // how many pictures it is in, one in the other
    std::uint64_t* work = nullptr;  // what a picture in it may ask for; it takes off what it did

    bool IsIndexed() const { return depth <= 8 || depth > 32; }
    int Bits() const { return depth > 32 ? depth - 32 : depth; }
};

// The pixels of an image; 0 where the data said nothing of a pixel. Alpha below 255 only where a
// pixel is to be drawn over what is there.
class Frame {
 public:
    // Throws std::bad_alloc.
    Frame(int width, int height)
        : width_(width),
          height_(height),
          pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

    int Width() const { return width_; }
    int Height() const { return height_; }
    Pixel* Row(int y) {
        return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    }
    const Pixel* Row(int y) const { return const_cast<Frame*>(this)->Row(y); }
    const std::vector<Pixel>& Pixels() const { return pixels_; }

 private:
    int width_;
    int height_;
    std::vector<Pixel> pixels_;
};

}  // namespace Ondrel::QuickDraw

#endif
