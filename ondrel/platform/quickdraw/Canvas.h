// What a picture is drawn on, and how much work it may still ask for. Internal to libOndrel.
//
// A pixel is a native 32-bit number 0xAARRGGBB: 0 where nothing was drawn yet, alpha 255 where
// something was. Nothing in a picture is half transparent. Modes that look at what is there already
// see white where nothing was drawn.
#ifndef ONDREL_PLATFORM_QUICKDRAW_CANVAS_H
#define ONDREL_PLATFORM_QUICKDRAW_CANVAS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ondrel/platform/quickdraw/Geometry.h"

namespace Ondrel::QuickDraw {

using Pixel = std::uint32_t;

inline constexpr Pixel kOpaque = 0xFF000000;
inline constexpr Pixel kWhite = 0xFFFFFFFF;
inline constexpr Pixel kBlack = 0xFF000000;

class Canvas {
 public:
    // Throws std::bad_alloc. `work` is the number of pixels that may be touched before the picture
    // is cut off.
    Canvas(int width, int height, std::uint64_t work)
        : width_(width),
          height_(height),
          work_(work),
          pixels_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

    int Width() const { return width_; }
    int Height() const { return height_; }
    Rect Bounds() const { return {0, 0, height_, width_}; }

    Pixel* Row(int y) {
        return pixels_.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width_);
    }
    const Pixel* Row(int y) const { return const_cast<Canvas*>(this)->Row(y); }

    // Takes an amount of work off the allowance. False when it is used up: the caller draws no
    // more.
    bool Spend(std::uint64_t amount) {
        if (amount > work_) {
            work_ = 0;
            return false;
        }
        work_ -= amount;
        return true;
    }
    bool IsExhausted() const { return work_ == 0; }
    std::uint64_t WorkLeft() const { return work_; }

 private:
    int width_;
    int height_;
    std::uint64_t work_;
    std::vector<Pixel> pixels_;
};

}  // namespace Ondrel::QuickDraw

#endif
