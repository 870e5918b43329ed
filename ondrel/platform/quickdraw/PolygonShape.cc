// Polygons row by row, with the edges that cross a row kept from one to the next. Internal to
// libOndrel.
#include "ondrel/platform/quickdraw/PolygonShape.h"

#include <algorithm>
#include <utility>

namespace Ondrel::QuickDraw {

namespace {

std::int64_t FloorOf(std::int64_t dividend, std::int64_t divisor) {
    const std::int64_t quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

Rect BoundsOf(std::span<const Point> points) {
    if (points.empty()) return {};
    Rect bounds = {points[0].v, points[0].h, points[0].v, points[0].h};
    for (const Point& point : points) {
        bounds.top = std::min(bounds.top, point.v);
        bounds.left = std::min(bounds.left, point.h);
        bounds.bottom = std::max(bounds.bottom, point.v);
        bounds.right = std::max(bounds.right, point.h);
    }
    return bounds;
}

}  // namespace

PolygonShape::PolygonShape(std::span<const Point> points) : bounds_(BoundsOf(points)) {
    edges_.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
        AddEdge(points[i], points[i + 1 == points.size() ? 0 : i + 1]);
    std::sort(edges_.begin(), edges_.end(),
              [](const Edge& a, const Edge& b) { return a.top < b.top; });
}

// The crossing in row `top` + k is h + dh (2 k + 1) / (2 dv), rounded to the nearest pixel border.
void PolygonShape::AddEdge(Point from, Point to) {
    if (from.v == to.v) return;
    if (from.v > to.v) std::swap(from, to);
    const std::int64_t down = to.v - from.v;
    const std::int64_t right = to.h - from.h;
    Edge edge{};
    edge.top = from.v;
    edge.bottom = to.v;
    edge.divisor = 2 * down;
    edge.crossing = from.h + FloorOf(right + down, edge.divisor);
    edge.rest = right + down - FloorOf(right + down, edge.divisor) * edge.divisor;
    edge.step = FloorOf(2 * right, edge.divisor);
    edge.stepRest = 2 * right - edge.step * edge.divisor;
    edges_.push_back(edge);
}

void PolygonShape::Advance(Edge& edge, int rows) {
    const std::int64_t rest = edge.rest + rows * edge.stepRest;
    edge.crossing += rows * edge.step + rest / edge.divisor;
    edge.rest = rest % edge.divisor;
}

// Brings the active edges to a row; answers how many edges were looked at.
std::size_t PolygonShape::Enter(int y) {
    std::size_t looked = active_.size();
    std::erase_if(active_, [y](const Edge& edge) { return edge.bottom <= y; });
    for (Edge& edge : active_)
        Advance(edge, y - activeRow_);
    for (; entered_ < edges_.size() && edges_[entered_].top <= y; ++entered_, ++looked) {
        if (edges_[entered_].bottom <= y) continue;
        active_.push_back(edges_[entered_]);
        Advance(active_.back(), y - edges_[entered_].top);
    }
    activeRow_ = y;
    const auto isLeftOf = [](const Edge& a, const Edge& b) { return a.crossing < b.crossing; };
    if (!std::is_sorted(active_.begin(), active_.end(), isLeftOf))
        std::sort(active_.begin(), active_.end(), isLeftOf);
    return looked;
}

std::uint64_t PolygonShape::AppendRow(int y, Spans& spans) {
    constexpr std::uint64_t kWorkOfEdge = 16;
    const std::size_t looked = Enter(y);
    for (std::size_t i = 0; i + 1 < active_.size(); i += 2) {
        const Span span = {static_cast<int>(active_[i].crossing),
                           static_cast<int>(active_[i + 1].crossing)};
        if (span.left < span.right) spans.push_back(span);
    }
    return 4 + kWorkOfEdge * looked;
}

}  // namespace Ondrel::QuickDraw
