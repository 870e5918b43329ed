#include "ondrel/platform/quickdraw/RowPainter.h"

#include <algorithm>
#include <cstring>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint64_t kWorkOfBox = 4;

// The source's pixel under the centre of a pixel of the destination: both count from 0.
int UnderCentre(int pixel, int from, int to) {
    return static_cast<int>((2 * std::int64_t{pixel} + 1) * from / (2 * std::int64_t{to}));
}

// The colours that bits get before they are combined; where combining is no plain copy, a mark.
Pixel BitColor(const Ink& ink, bool bit) {
    if (ink.mode != TransferMode::kCopy) return bit ? 1 : 0;
    return bit ? ink.fore : ink.back;
}

bool IsPlainCopy(Source source, const Ink& ink) {
    if (ink.mode != TransferMode::kCopy || source == Source::kBlended) return false;
    return source == Source::kBits || (ink.fore == kBlack && ink.back == kWhite);
}

unsigned Mixed(unsigned over, unsigned under, unsigned alpha) {
    return (over * alpha + under * (255 - alpha) + 127) / 255;
}

Pixel Blended(Pixel over, Pixel under) {
    const unsigned alpha = over >> 24;
    if (alpha == 0) return under;
    if (under == 0) under = kWhite;
    Pixel result = kOpaque;
    for (const int shift : {0, 8, 16})
        result |= Mixed(over >> shift & 255, under >> shift & 255, alpha) << shift;
    return result;
}

}  // namespace

Pixel Combined(Source source, const Ink& ink, Pixel pixel, Pixel under) {
    if (source == Source::kBits) return CombineBit(ink, pixel != 0, under);
    if (source == Source::kColors || pixel >= kOpaque) return CombineColor(ink, pixel, under);
    return Blended(pixel, under);
}

bool Place(const State& state, Canvas& canvas, const Rect& rect, const Region* mask,
           Placement* placement) {
    placement->destination = state.mapping.Map(rect);
    placement->visible = Region(Intersection(placement->destination, canvas.Bounds()));
    const std::size_t boxes =
        state.clip.Boxes().size() + (mask == nullptr ? 0 : mask->Boxes().size());
    if (!canvas.Spend(kWorkOfBox * boxes)) return false;
    placement->visible &= state.clip;
    if (mask != nullptr) placement->visible &= mask->Mapped(state.mapping);
    return true;
}

RowPainter::RowPainter(const Placement& placement, Source source, const Ink& ink,
                       const RowFormat& format, Canvas& canvas)
    : placement_(placement),
      source_(source),
      ink_(ink),
      format_(format),
      canvas_(canvas),
      bitColors_{BitColor(ink, false), BitColor(ink, true)},
      isCopy_(IsPlainCopy(source, ink)),
      isScaled_(placement.source.Width() != placement.destination.Width()),
      area_(Intersection(placement.destination, placement.visible.Bounds())) {
    if (source_ == Source::kBits) format_.colors = bitColors_;
    if (placement.source.IsEmpty()) area_ = {};
    if (area_.IsEmpty()) return;
    PlaceColumns();
    if (area_.IsEmpty() || (isCopy_ && !isScaled_)) return;
    line_.resize(static_cast<std::size_t>(area_.Width()));
    if (isScaled_) columnPixels_.resize(columns_.back() - columns_.front() + 1);
}

// Narrows the area to what the rows have pixels for.
void RowPainter::PlaceColumns() {
    const int shift = placement_.source.left - placement_.bounds.left;
    if (!isScaled_) {
        const int start = placement_.destination.left - shift;  // of the image's first column
        area_.left = std::max(area_.left, start);
        area_.right = std::min(area_.right, start + placement_.columns);
        return;
    }
    if (!canvas_.Spend(2 * static_cast<std::uint64_t>(area_.Width()))) area_ = {};
    const auto column = [&](int x) {
        return shift + UnderCentre(x - placement_.destination.left, placement_.source.Width(),
                                   placement_.destination.Width());
    };
    while (!area_.IsEmpty() && column(area_.left) < 0)
        ++area_.left;
    while (!area_.IsEmpty() && column(area_.right - 1) >= placement_.columns)
        --area_.right;
    columns_.reserve(static_cast<std::size_t>(std::max(area_.Width(), 0)));
    for (int x = area_.left; x < area_.right; ++x)
        columns_.push_back(static_cast<std::size_t>(column(x)));
}

// The first row of the destination, from its top, whose centre lies in this row of the source or
// below.
int RowPainter::FirstTarget(int sourceRow) const {
    const std::int64_t from = placement_.source.Height();
    const std::int64_t to = placement_.destination.Height();
    return static_cast<int>((std::int64_t{2} * sourceRow * to + from - 1) / (2 * from));
}

// The pixels of the area, from a row of the image.
void RowPainter::FillLine(const std::uint8_t* row) {
    if (isScaled_) {
        ToPixels(format_, row, columns_.front(), columnPixels_.size(), columnPixels_.data());
        for (std::size_t i = 0; i < line_.size(); ++i)
            line_[i] = columnPixels_[columns_[i] - columns_.front()];
        return;
    }
    const int first =
        area_.left - placement_.destination.left + placement_.source.left - placement_.bounds.left;
    ToPixels(format_, row, static_cast<std::size_t>(first), line_.size(), line_.data());
}

void RowPainter::DrawSpan(const std::uint8_t* row, int y, int left, int right) {
    Pixel* const to = canvas_.Row(y) + left;
    const auto count = static_cast<std::size_t>(right - left);
    if (line_.empty()) {
        const int first =
            left - placement_.destination.left + placement_.source.left - placement_.bounds.left;
        ToPixels(format_, row, static_cast<std::size_t>(first), count, to);
        return;
    }
    const Pixel* const from = line_.data() + (left - area_.left);
    if (isCopy_) {
        std::memcpy(to, from, count * sizeof(Pixel));
        return;
    }
    for (std::size_t i = 0; i < count; ++i)
        to[i] = Combined(source_, ink_, from[i], to[i]);
}

bool RowPainter::DrawRow(const std::uint8_t* row) {
    const int sourceRow = row_++ + placement_.bounds.top - placement_.source.top;
    if (area_.IsEmpty() || sourceRow < 0 || sourceRow >= placement_.source.Height()) return true;
    const int top = placement_.destination.top;
    const int first = std::max(top + FirstTarget(sourceRow), area_.top);
    const int last = std::min(top + FirstTarget(sourceRow + 1), area_.bottom);
    if (first >= last) return true;
    if (!line_.empty()) {
        if (!canvas_.Spend((columnPixels_.size() + line_.size()) / 4)) return false;
        FillLine(row);
    }
    const auto boxes = placement_.visible.Boxes();
    for (int y = first; y < last; ++y) {
        const auto columns = static_cast<std::uint64_t>(area_.Width());
        if (!canvas_.Spend(1 + (isCopy_ ? columns / 8 : 2 * columns))) return false;
        while (box_ < boxes.size() && boxes[box_].y2 <= y)
            ++box_;
        for (std::size_t i = box_; i < boxes.size() && boxes[i].y1 <= y; ++i) {
            const int left = std::max(boxes[i].x1, area_.left);
            const int right = std::min(boxes[i].x2, area_.right);
            if (left < right) DrawSpan(row, y, left, right);
        }
    }
    return true;
}

}  // namespace Ondrel::QuickDraw
