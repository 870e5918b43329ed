// A line drawn with a pen. Internal to libOndrel.
//
// The path of a line is made of pixels: in each row those nearest to the ideal line, drawn from the
// top down, so that a line covers the same pixels in both directions. The pen is a rectangle that
// hangs below and to the right of each pixel's place on the path.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PENLINE_H
#define ONDREL_PLATFORM_QUICKDRAW_PENLINE_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/RowShape.h"

namespace Ondrel::QuickDraw {

class PenLine : public RowShape {
 public:
    PenLine(const Point& from, const Point& to, int penWidth, int penHeight);

    Rect Bounds() const override;
    std::uint64_t AppendRow(int y, Spans& spans) override;

 private:
    Span PathRow(int y) const;

    Point top_;
    Point bottom_;
    int penWidth_;
    int penHeight_;
};

}  // namespace Ondrel::QuickDraw

#endif
