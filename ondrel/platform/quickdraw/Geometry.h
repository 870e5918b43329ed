// Points, rectangles and the scaling between a picture's coordinates and the canvas. Internal to
// libOndrel.
//
// Coordinates name the lines between pixels: the pixel at (v, h) lies right of h and below v. They
// come from 16-bit fields and are kept in 32 bits, so that sums and differences do not overflow.
#ifndef ONDREL_PLATFORM_QUICKDRAW_GEOMETRY_H
#define ONDREL_PLATFORM_QUICKDRAW_GEOMETRY_H

#include <algorithm>
#include <cstdint>

namespace Ondrel::QuickDraw {

struct Point {
    int v = 0;  // down
    int h = 0;  // to the right
    bool operator==(const Point&) const = default;
};

struct Rect {
    int top = 0;
    int left = 0;
    int bottom = 0;
    int right = 0;

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    bool IsEmpty() const { return right <= left || bottom <= top; }
    bool operator==(const Rect&) const = default;
};

inline Rect Intersection(const Rect& a, const Rect& b) {
    return {std::max(a.top, b.top), std::max(a.left, b.left), std::min(a.bottom, b.bottom),
            std::min(a.right, b.right)};
}

// From the coordinates of a picture to those of the canvas, whose top left corner is (0, 0).
// `frame` is what the canvas shows; moving the picture's origin moves it.
struct Mapping {
    Rect frame;
    int width = 0;   // of the canvas
    int height = 0;  // of the canvas

    bool IsUnscaled() const { return frame.Width() == width && frame.Height() == height; }
    int MapH(int h) const { return Scale(h - frame.left, width, frame.Width()); }
    int MapV(int v) const { return Scale(v - frame.top, height, frame.Height()); }
    Point Map(const Point& at) const { return {MapV(at.v), MapH(at.h)}; }
    Rect Map(const Rect& rect) const {
        return {MapV(rect.top), MapH(rect.left), MapV(rect.bottom), MapH(rect.right)};
    }

    // A length of the picture on the canvas; one that is not zero stays at least one pixel.
    int ScaleWidth(int length) const { return ScaleLength(length, width, frame.Width()); }
    int ScaleHeight(int length) const { return ScaleLength(length, height, frame.Height()); }

 private:
    // Rounded to the nearest, and kept so small that sums and products of a few lengths fit their
    // numbers; what lies farther out is on no canvas.
    static int Scale(std::int64_t value, std::int64_t to, std::int64_t from) {
        constexpr std::int64_t kFarthest = 1 << 28;
        if (to == from || from <= 0) return static_cast<int>(value);
        const std::int64_t twice = 2 * value * to + from;
        const std::int64_t quotient = twice / (2 * from);
        const bool isBelow = twice < 0 && quotient * 2 * from != twice;
        return static_cast<int>(
            std::clamp(isBelow ? quotient - 1 : quotient, -kFarthest, kFarthest));
    }
    static int ScaleLength(int length, int to, int from) {
        return length <= 0 ? 0 : std::max(1, Scale(length, to, from));
    }
};

}  // namespace Ondrel::QuickDraw

#endif
