// A shape to be painted, told row by row. Internal to libOndrel.
//
// Shapes are asked for the rows that are seen, from top to bottom, and never made as a whole: a few
// bytes of a picture can stand for a shape of millions of rectangles.
#ifndef ONDREL_PLATFORM_QUICKDRAW_ROWSHAPE_H
#define ONDREL_PLATFORM_QUICKDRAW_ROWSHAPE_H

#include <cstdint>
#include <vector>

#include "ondrel/platform/quickdraw/Geometry.h"

namespace Ondrel::QuickDraw {

// Pixels of a row, up to but without `right`.
struct Span {
    int left = 0;
    int right = 0;
};
using Spans = std::vector<Span>;

// In canvas coordinates, which may lie far outside of the canvas.
class RowShape {
 public:
    RowShape() = default;
    RowShape(const RowShape&) = delete;
    RowShape& operator=(const RowShape&) = delete;
    virtual ~RowShape() = default;

    // No pixel of the shape lies outside.
    virtual Rect Bounds() const = 0;

    // Appends the pixels of row y, which lies within the bounds, as spans from left to right that
    // share no pixel. Each call asks for a row below the last call's. Answers how much work it was,
    // counted as a canvas counts it.
    virtual std::uint64_t AppendRow(int y, Spans& spans) = 0;
};

}  // namespace Ondrel::QuickDraw

#endif
