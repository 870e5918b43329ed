// Rectangles, round rectangles, ovals and arcs, whole or as frames. Internal to libOndrel.
//
// A pixel belongs to an oval when its centre lies inside of the ellipse inscribed in the oval's
// rectangle, or on it. The corners of a round rectangle are those of an oval of their size. A frame
// is what lies inside of the shape and outside of one that is smaller by the pen on each side.
//
// Angles are degrees clockwise from twelve o'clock and belong to the rectangle: 45 leads through
// its top right corner, whatever its sides.
#ifndef ONDREL_PLATFORM_QUICKDRAW_ROUNDSHAPE_H
#define ONDREL_PLATFORM_QUICKDRAW_ROUNDSHAPE_H

#include <cstdint>
#include <optional>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/RowShape.h"

namespace Ondrel::QuickDraw {

// A rectangle whose corners are rounded by quarters of an oval: none for a rectangle, all of it for
// an oval.
class RoundedRect {
 public:
    RoundedRect(const Rect& rect, int ovalWidth, int ovalHeight);

    const Rect& Bounds() const { return rect_; }
    RoundedRect Inset(int right, int down) const;
    Span Row(int y) const;  // empty where nothing of it lies

 private:
    Rect rect_;
    int ovalWidth_;
    int ovalHeight_;
};

// The part of a plane between two rays from the middle of a rectangle.
class Wedge {
 public:
    Wedge(const Rect& rect, int startAngle, int arcAngle);

    // Appends the part of a span that lies in it.
    void AppendPart(int y, const Span& span, Spans& spans) const;

 private:
    struct Ray {
        double right = 0;
        double down = 0;
    };
    static Ray RayAt(const Rect& rect, int angle);
    Span Narrow(int y) const;

    double middleH_;
    double middleV_;
    Ray first_;
    Ray second_;
    bool isWide_;   // the wedge is what does not lie between the rays
    bool isWhole_;  // all around
};

class RoundShape : public RowShape {
 public:
    explicit RoundShape(const RoundedRect& outer) : outer_(outer) {}
    RoundShape(const RoundedRect& outer, const RoundedRect& hole) : outer_(outer), hole_(hole) {}

    void CutTo(const Wedge& wedge) { wedge_ = wedge; }

    Rect Bounds() const override { return outer_.Bounds(); }
    std::uint64_t AppendRow(int y, Spans& spans) override;

 private:
    void AppendPart(int y, const Span& span, Spans& spans) const;

    RoundedRect outer_;
    std::optional<RoundedRect> hole_;
    std::optional<Wedge> wedge_;
};

}  // namespace Ondrel::QuickDraw

#endif
