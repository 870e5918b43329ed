// The faces of text, each a simple operation on pixels.
#include "ondrel/platform/quickdraw/TextMask.h"

#include <algorithm>
#include <cstddef>

namespace Ondrel::QuickDraw {
namespace {

constexpr auto kSet = static_cast<std::uint8_t>(TextMask::State::kSet);
constexpr std::uint8_t kSpread = 255;  // set in the end, but nothing spreads from it

// Sets the pixels up to `before` in front of each set one of a line, and up to `after` behind it;
// the line's pixels are `step` apart.
void Spread(std::uint8_t* line, int count, std::ptrdiff_t step, int before, int after) {
    int last = -after - 1;  // the last set pixel so far
    for (int i = 0; i < count; ++i) {
        std::uint8_t& pixel = line[i * step];
        if (pixel == kSet)
            last = i;
        else if (i - last <= after)
            pixel = kSpread;
    }
    int next = count + before;
    for (int i = count - 1; i >= 0; --i) {
        std::uint8_t& pixel = line[i * step];
        if (pixel == kSet)
            next = i;
        else if (next - i <= before)
            pixel = kSpread;
    }
    for (int i = 0; i < count; ++i)
        if (line[i * step] == kSpread) line[i * step] = kSet;
}

}  // namespace

TextMask::TextMask(const Rect& box) : box_(box) {
    if (box_.IsEmpty()) box_ = {};
    pixels_.resize(static_cast<std::size_t>(box_.Width()) *
                   static_cast<std::size_t>(box_.Height()));
}

bool TextMask::IsSetInside(int y, int x) const {
    return y >= box_.top && y < box_.bottom && x >= box_.left && x < box_.right &&
           At(y, x) != State::kClear;
}

void TextMask::Put(const Glyph& glyph, int baseline, int x) {
    const int left = x + glyph.left;
    const int top = baseline - glyph.top;
    const Rect inside = Intersection(box_, {top, left, top + glyph.height, left + glyph.width});
    for (int row = inside.top; row < inside.bottom; ++row)
        for (int column = inside.left; column < inside.right; ++column)
            *Pixel(row, column) |= glyph.Row(row - top)[column - left];
}

void TextMask::Smear(int count) {
    for (int y = box_.top; y < box_.bottom; ++y)
        Spread(Pixel(y, box_.left), box_.Width(), 1, 0, count);
}

void TextMask::Slant(int baseline) {
    const auto before = pixels_;
    for (int y = box_.top; y < box_.bottom; ++y) {
        const int above = baseline - 1 - y;  // whole rows between it and the baseline
        const int shift = above >= 0 ? above / 2 : (above - 1) / 2;
        for (int x = box_.left; x < box_.right; ++x) {
            const int from = x - shift;
            const bool isInside = from >= box_.left && from < box_.right;
            *Pixel(y, x) = isInside ? before[Index(y, from)] : std::uint8_t{0};
        }
    }
}

bool TextMask::HasDescender(int baseline, int x, int rows) const {
    for (int y = baseline; y < baseline + rows; ++y)
        for (int near = x - 1; near <= x + 1; ++near)
            if (IsSetInside(y, near)) return true;
    return false;
}

void TextMask::Underline(int baseline, int left, int right, int thickness) {
    std::vector<int> columns;
    for (int x = std::max(left, box_.left); x < std::min(right, box_.right); ++x)
        if (!HasDescender(baseline, x, 2 * thickness + 1)) columns.push_back(x);
    const int top = std::max(baseline + thickness, box_.top);
    for (int y = top; y < std::min(baseline + 2 * thickness, box_.bottom); ++y)
        for (const int x : columns)
            *Pixel(y, x) = 1;
}

void TextMask::Hollow(int reach) {
    const auto before = pixels_;
    for (int y = box_.top; y < box_.bottom; ++y)
        Spread(Pixel(y, box_.left), box_.Width(), 1, 1, reach);
    for (int x = box_.left; x < box_.right; ++x)
        Spread(Pixel(box_.top, x), box_.Height(), box_.Width(), 1, reach);
    for (std::size_t i = 0; i < before.size(); ++i)
        if (before[i] != 0) pixels_[i] = static_cast<std::uint8_t>(State::kInside);
}

}  // namespace Ondrel::QuickDraw
