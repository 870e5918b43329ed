// Regions to be painted, whole or as frames. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_REGIONSHAPE_H
#define ONDREL_PLATFORM_QUICKDRAW_REGIONSHAPE_H

#include <pixman.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/RowShape.h"

namespace Ondrel::QuickDraw {

// Goes through a region's rectangles row by row, downwards.
class RegionRows {
 public:
    explicit RegionRows(const Region& region) : boxes_(region.Boxes()) {}

    // The rectangles that cover row y, from left to right; none where the region has no pixel.
    // `y` is never smaller than in a call before.
    std::span<const pixman_box32_t> At(int y);

 private:
    std::span<const pixman_box32_t> boxes_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

// The region outlives the shape.
class RegionShape : public RowShape {
 public:
    explicit RegionShape(const Region& region) : bounds_(region.Bounds()), rows_(region) {}

    Rect Bounds() const override { return bounds_; }
    std::uint64_t AppendRow(int y, Spans& spans) override;

 private:
    Rect bounds_;
    RegionRows rows_;
};

// What of a region is no farther from its border than the pen is wide and high.
class RegionFrame : public RowShape {
 public:
    RegionFrame(const Region& region, int penWidth, int penHeight);

    Rect Bounds() const override { return bounds_; }
    std::uint64_t AppendRow(int y, Spans& spans) override;

 private:
    std::uint64_t FindInside(int y);
    void NarrowInside(std::span<const pixman_box32_t> band);

    Rect bounds_;
    std::span<const pixman_box32_t> boxes_;
    RegionRows rows_;
    std::size_t above_ = 0;  // the first rectangle that reaches as far down as the pen upwards
    int penWidth_;
    int penHeight_;
    Spans inside_;  // the row's pixels that are not of the frame
    Spans next_;
};

}  // namespace Ondrel::QuickDraw

#endif
