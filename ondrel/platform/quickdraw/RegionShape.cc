// Regions row by row. Internal to libOndrel.
#include "ondrel/platform/quickdraw/RegionShape.h"

#include <algorithm>

namespace Ondrel::QuickDraw {

namespace {

// The first rectangle from the `from`th on that ends below a row. Rectangles stand in bands, and
// those of a band end alike.
std::size_t FirstBelow(std::span<const pixman_box32_t> boxes, std::size_t from, int y) {
    const auto rest = boxes.subspan(from);
    const auto at = std::partition_point(rest.begin(), rest.end(),
                                         [y](const pixman_box32_t& box) { return box.y2 <= y; });
    return from + static_cast<std::size_t>(at - rest.begin());
}

}  // namespace

std::span<const pixman_box32_t> RegionRows::At(int y) {
    if (begin_ < boxes_.size() && boxes_[begin_].y2 <= y) {
        begin_ = FirstBelow(boxes_, begin_, y);
        end_ = begin_;
    }
    if (begin_ >= boxes_.size() || boxes_[begin_].y1 > y) return {};
    while (end_ < boxes_.size() && boxes_[end_].y1 == boxes_[begin_].y1)
        ++end_;
    return boxes_.subspan(begin_, end_ - begin_);
}

std::uint64_t RegionShape::AppendRow(int y, Spans& spans) {
    const std::span<const pixman_box32_t> boxes = rows_.At(y);
    for (const pixman_box32_t& box : boxes)
        spans.push_back({box.x1, box.x2});
    return 4 + boxes.size();
}

RegionFrame::RegionFrame(const Region& region, int penWidth, int penHeight)
    : bounds_(penWidth <= 0 || penHeight <= 0 ? Rect{} : region.Bounds()),
      boxes_(region.Boxes()),
      rows_(region),
      penWidth_(penWidth),
      penHeight_(penHeight) {}

// Keeps of the pixels inside those that are in this band too, and not near its border.
void RegionFrame::NarrowInside(std::span<const pixman_box32_t> band) {
    next_.clear();
    std::size_t i = 0;
    for (const pixman_box32_t& box : band) {
        const Span narrow = {box.x1 + penWidth_, box.x2 - penWidth_};
        if (narrow.left >= narrow.right) continue;
        while (i < inside_.size() && inside_[i].right <= narrow.left)
            ++i;
        for (std::size_t j = i; j < inside_.size() && inside_[j].left < narrow.right; ++j) {
            next_.push_back(
                {std::max(inside_[j].left, narrow.left), std::min(inside_[j].right, narrow.right)});
        }
    }
    inside_.swap(next_);
}

// Looks at all bands from the pen's height above a row to as far below. A row without a pixel in
// between leaves nothing inside.
std::uint64_t RegionFrame::FindInside(int y) {
    std::uint64_t looked = 0;
    int covered = y - penHeight_;
    above_ = FirstBelow(boxes_, above_, covered);
    inside_.assign(1, {bounds_.left, bounds_.right});
    for (std::size_t i = above_; covered <= y + penHeight_ && !inside_.empty();) {
        if (i == boxes_.size() || boxes_[i].y1 > covered) {
            inside_.clear();
            break;
        }
        std::size_t end = i;
        while (end < boxes_.size() && boxes_[end].y1 == boxes_[i].y1)
            ++end;
        looked += end - i + inside_.size();
        NarrowInside(boxes_.subspan(i, end - i));
        covered = boxes_[i].y2;
        i = end;
    }
    return looked;
}

std::uint64_t RegionFrame::AppendRow(int y, Spans& spans) {
    const std::span<const pixman_box32_t> boxes = rows_.At(y);
    const std::uint64_t looked = FindInside(y);
    std::size_t i = 0;
    for (const pixman_box32_t& box : boxes) {
        int left = box.x1;
        for (; i < inside_.size() && inside_[i].left < box.x2; ++i) {
            if (left < inside_[i].left) spans.push_back({left, inside_[i].left});
            left = inside_[i].right;
        }
        if (left < box.x2) spans.push_back({left, box.x2});
    }
    return 4 + 2 * (looked + boxes.size());
}

}  // namespace Ondrel::QuickDraw
