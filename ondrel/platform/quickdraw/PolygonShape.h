// Filled polygons. Internal to libOndrel.
//
// A pixel belongs to a polygon when a way from its centre to the outside crosses the outline an odd
// number of times. A centre that lies on an edge belongs to what is left of the edge. The last
// point is joined to the first.
#ifndef ONDREL_PLATFORM_QUICKDRAW_POLYGONSHAPE_H
#define ONDREL_PLATFORM_QUICKDRAW_POLYGONSHAPE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/RowShape.h"

namespace Ondrel::QuickDraw {

class PolygonShape : public RowShape {
 public:
    explicit PolygonShape(std::span<const Point> points);

    Rect Bounds() const override { return bounds_; }
    std::uint64_t AppendRow(int y, Spans& spans) override;

 private:
    // The crossing with a row's middle, kept as a whole number and a rest over twice the height.
    struct Edge {
        int top;
        int bottom;
        std::int64_t crossing;
        std::int64_t rest;
        std::int64_t step;  // to the next row
        std::int64_t stepRest;
        std::int64_t divisor;
    };
    void AddEdge(Point from, Point to);
    static void Advance(Edge& edge, int rows);
    std::size_t Enter(int y);

    Rect bounds_;
    std::vector<Edge> edges_;  // by their tops
    std::size_t entered_ = 0;
    std::vector<Edge> active_;
    int activeRow_ = 0;  // the row that the active edges stand at
};

}  // namespace Ondrel::QuickDraw

#endif
