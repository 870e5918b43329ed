// Regions over pixman's, and the stored form. Internal to libOndrel.
//
// A stored region, big-endian:
//
//   0  2  length of the whole, 10 for a rectangle
//   2  8  bounds: top, left, bottom, right
//  10  .  rows, each: the row's coordinate, the places along it where inside and outside change in
//         comparison with the row above, 0x7FFF; behind the last row another 0x7FFF
//
// For example 00 1C  00 00 00 00 00 02 00 04  00 00 00 00 00 04 7F FF  00 02 00 00 00 04 7F FF
// 7F FF is the rectangle of 4 by 2 pixels at (0, 0) told as rows.
#include "ondrel/platform/quickdraw/Region.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace Ondrel::QuickDraw {

namespace {

using BoxList = std::span<const pixman_box32_t>;

// The most rectangles of a region. A stored region has at most 32767 bytes, but its rows build on
// each other, so that a few bytes can stand for a row of thousands of rectangles.
constexpr std::size_t kMostBoxes = 65536;

constexpr int kEndOfRow = 0x7FFF;

BoxList BoxesOf(const pixman_region32_t& region) {
    int count = 0;
    const pixman_box32_t* const boxes = pixman_region32_rectangles(&region, &count);
    return {boxes, static_cast<std::size_t>(count)};
}

// Where the band of rectangles ends that begins at `from`.
std::size_t BandEnd(BoxList boxes, std::size_t from) {
    std::size_t to = from;
    while (to < boxes.size() && boxes[to].y1 == boxes[from].y1)
        ++to;
    return to;
}

// No combination of the two has more rectangles than this: where two bands meet, at most as many
// as both have, and those of a band once more for each part that the other's bands cut it into.
std::size_t MostBoxesOfCombination(BoxList a, BoxList b) {
    std::size_t most = a.size() + b.size();
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const std::size_t endOfA = BandEnd(a, i);
        const std::size_t endOfB = BandEnd(b, j);
        most += 2 * (endOfA - i + endOfB - j);
        const int bottom = std::min(a[i].y2, b[j].y2);
        const bool isAOver = a[i].y2 == bottom;
        const bool isBOver = b[j].y2 == bottom;
        if (isAOver) i = endOfA;
        if (isBOver) j = endOfB;
    }
    return most;
}

using Combine = pixman_bool_t (*)(pixman_region32_t*, const pixman_region32_t*,
                                  const pixman_region32_t*);

// False, and `target` is empty, where memory runs out or the result would be too large.
bool CombineInto(pixman_region32_t* target, const pixman_region32_t& with, Combine combine) {
    constexpr std::size_t kMostOfCombination = 16 * kMostBoxes;
    if (MostBoxesOfCombination(BoxesOf(*target), BoxesOf(with)) <= kMostOfCombination &&
        combine(target, target, &with) != 0)
        return true;
    pixman_region32_fini(target);
    pixman_region32_init(target);
    return false;
}

// The rectangles between two rows of a stored region, from the places where it changes.
bool AppendBand(const std::vector<int>& changes, int top, int bottom,
                std::vector<pixman_box32_t>* boxes) {
    if (changes.size() % 2 != 0) return false;
    if (changes.size() / 2 > kMostBoxes - boxes->size()) return false;
    for (std::size_t i = 0; i < changes.size(); i += 2)
        boxes->push_back({changes[i], top, changes[i + 1], bottom});
    return true;
}

// The places along one row, behind its coordinate, up to and with the end mark.
bool ReadChanges(PictureBytes& rows, std::vector<int>* changes) {
    changes->clear();
    for (;;) {
        const int place = rows.S16();
        if (rows.HasFailed()) return false;
        if (place == kEndOfRow) return true;
        if (!changes->empty() && place <= changes->back()) return false;
        changes->push_back(place);
    }
}

bool ReadRows(PictureBytes rows, std::vector<pixman_box32_t>* boxes) {
    std::vector<int> inside;
    std::vector<int> changes;
    std::vector<int> next;
    int top = 0;
    for (bool isFirst = true;; isFirst = false) {
        const int row = rows.S16();
        if (rows.HasFailed()) return false;
        if (row == kEndOfRow) return inside.empty();
        if (!isFirst && row <= top) return false;
        if (!AppendBand(inside, top, row, boxes) || !ReadChanges(rows, &changes)) return false;
        next.clear();
        std::set_symmetric_difference(inside.begin(), inside.end(), changes.begin(), changes.end(),
                                      std::back_inserter(next));
        inside.swap(next);
        top = row;
    }
}

}  // namespace

Region::Region() {
    pixman_region32_init(&region_);
}

Region::Region(const Rect& rect) {
    if (rect.IsEmpty()) {
        pixman_region32_init(&region_);
        return;
    }
    const pixman_box32_t box = {rect.left, rect.top, rect.right, rect.bottom};
    pixman_region32_init_with_extents(&region_, &box);
}

Region::Region(const Region& other) : failed_(other.failed_) {
    pixman_region32_init(&region_);
    if (pixman_region32_copy(&region_, &other.region_) != 0) return;
    pixman_region32_fini(&region_);
    pixman_region32_init(&region_);
    failed_ = true;
}

Region::Region(Region&& other) noexcept : region_(other.region_), failed_(other.failed_) {
    pixman_region32_init(&other.region_);
    other.failed_ = false;
}

Region& Region::operator=(Region other) noexcept {
    std::swap(region_, other.region_);
    std::swap(failed_, other.failed_);
    return *this;
}

Region::~Region() {
    pixman_region32_fini(&region_);
}

Region Region::FromRects(BoxList boxes) {
    Region made;
    if (boxes.empty()) return made;
    pixman_region32_fini(&made.region_);
    if (boxes.size() <= 16 * kMostBoxes &&
        pixman_region32_init_rects(&made.region_, boxes.data(), static_cast<int>(boxes.size())))
        return made;
    pixman_region32_init(&made.region_);
    made.failed_ = true;
    return made;
}

bool Region::IsEmpty() const {
    return Boxes().empty();
}

Rect Region::Bounds() const {
    if (IsEmpty()) return {};
    const pixman_box32_t& box = region_.extents;
    return {box.y1, box.x1, box.y2, box.x2};
}

bool Region::Contains(const Point& pixel) const {
    return pixman_region32_contains_point(&region_, pixel.h, pixel.v, nullptr) != 0;
}

std::span<const pixman_box32_t> Region::Boxes() const {
    return BoxesOf(region_);
}

void Region::Move(int down, int right) {
    pixman_region32_translate(&region_, right, down);
}

Region& Region::operator&=(const Region& other) {
    failed_ = !CombineInto(&region_, other.region_, pixman_region32_intersect) || failed_ ||
              other.failed_;
    return *this;
}

Region& Region::operator|=(const Region& other) {
    failed_ =
        !CombineInto(&region_, other.region_, pixman_region32_union) || failed_ || other.failed_;
    return *this;
}

Region& Region::operator-=(const Region& other) {
    failed_ =
        !CombineInto(&region_, other.region_, pixman_region32_subtract) || failed_ || other.failed_;
    return *this;
}

Region& Region::operator^=(const Region& other) {
    Region common = *this;
    common &= other;
    *this |= other;
    return *this -= common;
}

Region Region::Mapped(const Mapping& mapping) const {
    if (mapping.IsUnscaled()) {
        Region moved = *this;
        moved.Move(-mapping.frame.top, -mapping.frame.left);
        return moved;
    }
    std::vector<pixman_box32_t> boxes;
    boxes.reserve(Boxes().size());
    for (const pixman_box32_t& box : Boxes()) {
        const Rect rect = mapping.Map(Rect{box.y1, box.x1, box.y2, box.x2});
        if (!rect.IsEmpty()) boxes.push_back({rect.left, rect.top, rect.right, rect.bottom});
    }
    Region mapped = FromRects(boxes);
    mapped.failed_ = mapped.failed_ || failed_;
    return mapped;
}

bool ReadRegion(PictureBytes& bytes, Region* region) {
    constexpr std::size_t kBareLength = 10;
    const std::size_t length = bytes.U16();
    const Rect bounds = bytes.ReadRect();
    *region = Region(bytes.HasFailed() ? Rect{} : bounds);
    if (bytes.HasFailed() || length < kBareLength) return false;
    if (length == kBareLength) return true;
    const std::string_view rows = bytes.Take(length - kBareLength);
    if (bytes.HasFailed()) return false;
    std::vector<pixman_box32_t> boxes;
    if (!ReadRows(PictureBytes(rows), &boxes)) return false;
    *region = Region::FromRects(boxes);
    return !region->HasFailed();
}

}  // namespace Ondrel::QuickDraw
