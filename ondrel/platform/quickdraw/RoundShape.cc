// Rectangles, ovals and arcs row by row. Internal to libOndrel.
#include "ondrel/platform/quickdraw/RoundShape.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace Ondrel::QuickDraw {

namespace {

constexpr Span kAll = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

Span Common(const Span& a, const Span& b) {
    return {std::max(a.left, b.left), std::min(a.right, b.right)};
}

// Whether the centre of pixel (row, column) of an oval lies in it. Everything is doubled, so that
// centres are whole numbers; nothing overflows for sides up to 65535.
bool IsInOval(std::int64_t width, std::int64_t height, std::int64_t row, std::int64_t column) {
    const auto square = [](std::int64_t n) { return static_cast<std::uint64_t>(n * n); };
    const std::uint64_t all = square(width) * square(height);
    const std::uint64_t down = square(2 * row + 1 - height) * square(width);
    return down <= all && square(2 * column + 1 - width) * square(height) <= all - down;
}

// How many pixels at the left of a row of an oval are outside of it.
int OvalInset(int width, int height, int row) {
    constexpr int kLargestExact = 65535;
    const double down = (2.0 * row + 1 - height) / height;
    const double across = width * std::sqrt(std::max(0.0, 1 - down * down));
    int inset = static_cast<int>(std::ceil((width - across - 1) / 2));
    inset = std::clamp(inset, 0, (width + 1) / 2);
    if (width > kLargestExact || height > kLargestExact) return inset;
    // The root was rounded.
    while (inset > 0 && IsInOval(width, height, row, inset - 1))
        --inset;
    while (inset < (width + 1) / 2 && !IsInOval(width, height, row, inset))
        ++inset;
    return inset;
}

// The pixel border nearest to a place of a row.
int Border(double place) {
    constexpr double kFarthest = 1 << 30;
    return static_cast<int>(std::floor(std::clamp(place, -kFarthest, kFarthest) + 0.5));
}

}  // namespace

RoundedRect::RoundedRect(const Rect& rect, int ovalWidth, int ovalHeight)
    : rect_(rect),
      ovalWidth_(std::clamp(ovalWidth, 0, std::max(0, rect.Width()))),
      ovalHeight_(std::clamp(ovalHeight, 0, std::max(0, rect.Height()))) {}

RoundedRect RoundedRect::Inset(int right, int down) const {
    const Rect smaller = {rect_.top + down, rect_.left + right, rect_.bottom - down,
                          rect_.right - right};
    return {smaller, ovalWidth_ - 2 * right, ovalHeight_ - 2 * down};
}

Span RoundedRect::Row(int y) const {
    if (rect_.IsEmpty() || y < rect_.top || y >= rect_.bottom) return {};
    const int fromEdge = std::min(y - rect_.top, rect_.bottom - 1 - y);
    if (ovalWidth_ == 0 || 2 * fromEdge >= ovalHeight_) return {rect_.left, rect_.right};
    const int inset = OvalInset(ovalWidth_, ovalHeight_, fromEdge);
    return {rect_.left + inset, rect_.right - inset};
}

// Sines are rounded to 1/65536, so that those of angles that mirror each other are the same and 45
// degrees are exact.
Wedge::Ray Wedge::RayAt(const Rect& rect, int angle) {
    constexpr double kUnit = 65536;
    const double radians = angle * std::numbers::pi / 180;
    return {std::round(std::sin(radians) * kUnit) * rect.Width(),
            -std::round(std::cos(radians) * kUnit) * rect.Height()};
}

Wedge::Wedge(const Rect& rect, int startAngle, int arcAngle)
    : middleH_((rect.left + rect.right) / 2.0),
      middleV_((rect.top + rect.bottom) / 2.0),
      isWide_(std::abs(arcAngle) > 180),
      isWhole_(std::abs(arcAngle) >= 360) {
    const int from = arcAngle < 0 ? startAngle + arcAngle : startAngle;
    const int to = from + std::abs(arcAngle);
    first_ = RayAt(rect, isWide_ ? to : from);
    second_ = RayAt(rect, isWide_ ? from : to);
}

// What lies clockwise of the first ray and counterclockwise of the second, which is at most half a
// turn on. A pixel centre on the first belongs to it, one on the second does not.
Span Wedge::Narrow(int y) const {
    const double down = y + 0.5 - middleV_;
    Span span = kAll;
    if (first_.down != 0) {
        const int border = Border(middleH_ + first_.right * down / first_.down);
        (first_.down < 0 ? span.left : span.right) = border;
    } else if (first_.right * down < 0) {
        return {};
    }
    if (second_.down != 0) {
        const int border = Border(middleH_ + second_.right * down / second_.down);
        span = Common(span, second_.down < 0 ? Span{kAll.left, border} : Span{border, kAll.right});
    } else if (second_.right * down > 0) {
        return {};
    } else if (down == 0) {
        const int middle = Border(middleH_);
        span = Common(span, second_.right > 0 ? Span{kAll.left, middle} : Span{middle, kAll.right});
    }
    return span;
}

void Wedge::AppendPart(int y, const Span& span, Spans& spans) const {
    const auto append = [&spans](const Span& part) {
        if (part.left < part.right) spans.push_back(part);
    };
    if (isWhole_) return append(span);
    const Span narrow = Narrow(y);
    if (!isWide_) return append(Common(span, narrow));
    if (narrow.left >= narrow.right) return append(span);
    append(Common(span, {kAll.left, narrow.left}));
    append(Common(span, {narrow.right, kAll.right}));
}

void RoundShape::AppendPart(int y, const Span& span, Spans& spans) const {
    if (span.left >= span.right) return;
    if (wedge_)
        wedge_->AppendPart(y, span, spans);
    else
        spans.push_back(span);
}

std::uint64_t RoundShape::AppendRow(int y, Spans& spans) {
    constexpr std::uint64_t kWork = 16;
    const Span row = outer_.Row(y);
    const Span hole = hole_ ? hole_->Row(y) : Span{};
    if (hole.left >= hole.right) {
        AppendPart(y, row, spans);
    } else {
        AppendPart(y, {row.left, std::min(row.right, hole.left)}, spans);
        AppendPart(y, {std::max(row.left, hole.right), row.right}, spans);
    }
    return hole_ ? 2 * kWork : kWork;
}

}  // namespace Ondrel::QuickDraw
