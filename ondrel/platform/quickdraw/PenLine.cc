// Lines row by row. Internal to libOndrel.
#include "ondrel/platform/quickdraw/PenLine.h"

#include <algorithm>

namespace Ondrel::QuickDraw {

namespace {

// Rounded down; the divisor is above 0.
std::int64_t FloorOf(std::int64_t dividend, std::int64_t divisor) {
    const std::int64_t quotient = dividend / divisor;
    return dividend % divisor < 0 ? quotient - 1 : quotient;
}

}  // namespace

PenLine::PenLine(const Point& from, const Point& to, int penWidth, int penHeight)
    : top_(from.v <= to.v ? from : to),
      bottom_(from.v <= to.v ? to : from),
      penWidth_(penWidth),
      penHeight_(penHeight) {}

Rect PenLine::Bounds() const {
    if (penWidth_ <= 0 || penHeight_ <= 0) return {};
    return {top_.v, std::min(top_.h, bottom_.h), bottom_.v + penHeight_,
            std::max(top_.h, bottom_.h) + penWidth_};
}

// The pixels of the path in a row between top and bottom: where the line is steep the one that it
// passes nearest, where it is flat those between the row's upper and lower border.
Span PenLine::PathRow(int y) const {
    const std::int64_t down = bottom_.v - top_.v;
    const std::int64_t right = bottom_.h - top_.h;
    const std::int64_t row = y - top_.v;
    if (down == 0) return {std::min(top_.h, bottom_.h), std::max(top_.h, bottom_.h) + 1};
    if (std::abs(right) <= down) {
        const int at = top_.h + static_cast<int>(FloorOf(2 * right * row + down, 2 * down));
        return {at, at + 1};
    }
    const std::int64_t above = FloorOf((2 * row - 1) * right, 2 * down);
    const std::int64_t below = FloorOf((2 * row + 1) * right, 2 * down);
    const std::int64_t first =
        std::max(std::min(above, below) + 1, std::min<std::int64_t>(0, right));
    const std::int64_t last = std::min(std::max(above, below), std::max<std::int64_t>(0, right));
    return {top_.h + static_cast<int>(first), top_.h + static_cast<int>(last) + 1};
}

// The pen reaches a row from each row of the path that is less than its height above.
std::uint64_t PenLine::AppendRow(int y, Spans& spans) {
    constexpr std::uint64_t kWork = 16;
    const Span first = PathRow(std::max(top_.v, y - penHeight_ + 1));
    const Span last = PathRow(std::min(bottom_.v, y));
    spans.push_back(
        {std::min(first.left, last.left), std::max(first.right, last.right) + penWidth_ - 1});
    return kWork;
}

}  // namespace Ondrel::QuickDraw
