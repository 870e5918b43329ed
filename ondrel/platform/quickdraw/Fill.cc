// Painting row by row: a row's pixels are found, cut to the clip, and painted span by span.
// Internal to libOndrel.
//
// Work is counted so that each unit takes a few nanoseconds at most: a solid colour fills four
// pixels for one, and what is made of what is there takes four for one pixel.
#include "ondrel/platform/quickdraw/Fill.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

#include "ondrel/platform/quickdraw/RegionShape.h"

namespace Ondrel::QuickDraw {

namespace {

bool IsAllOf(const Bits8x8& bits, std::uint8_t value) {
    return std::all_of(bits.begin(), bits.end(),
                       [value](std::uint8_t row) { return row == value; });
}

// Pixel patterns bring their own colours: those of the foreground and the background tint them in
// no boolean mode.
Ink InkOfTile(const Ink& ink) {
    Ink plain = ink;
    if (static_cast<int>(ink.mode) < static_cast<int>(TransferMode::kBlend)) {
        plain.fore = kBlack;
        plain.back = kWhite;
    }
    return plain;
}

class Painter {
 public:
    Painter(const Paint& paint, Canvas& canvas)
        : paint_(paint),
          canvas_(canvas),
          ink_(paint.pattern.tile ? InkOfTile(paint.ink) : paint.ink) {
        const bool isSet = IsAllOf(paint.pattern.bits, 0xFF);
        isSolid_ = !paint.pattern.tile && (isSet || IsAllOf(paint.pattern.bits, 0));
        for (const bool bit : {false, true}) {
            effects_[bit] = EffectOfBit(ink_, bit);
            if (effects_[bit] == BitEffect::kPaint) colors_[bit] = CombineBit(ink_, bit, 0);
        }
        if (!isSolid_) return;
        effects_[!isSet] = effects_[isSet];
        colors_[!isSet] = colors_[isSet];
        solidBit_ = isSet;
    }

    // Paints pixels that are on the canvas. False: no more work is allowed.
    bool PaintSpan(int y, const Span& span) {
        const auto count = static_cast<std::uint64_t>(span.right - span.left);
        Pixel* const row = canvas_.Row(y);
        if (isSolid_) return PaintSolid(row, span, count);
        if (!canvas_.Spend(1 + WorkOfPixel() * count)) return false;
        if (paint_.pattern.tile)
            PaintTile(y, row, span);
        else
            PaintBits(y, row, span);
        return true;
    }

 private:
    std::uint64_t WorkOfPixel() const {
        constexpr std::uint64_t kCombined = 4;
        if (paint_.pattern.tile) return ink_.mode == TransferMode::kCopy ? 1 : kCombined;
        const bool isCombined =
            std::any_of(std::begin(effects_), std::end(effects_),
                        [](auto effect) { return effect == BitEffect::kCombine; });
        return isCombined ? kCombined : 1;
    }

    bool PaintSolid(Pixel* row, const Span& span, std::uint64_t count) {
        const bool isPaint = effects_[0] == BitEffect::kPaint;
        if (effects_[0] == BitEffect::kKeep) return canvas_.Spend(1);
        if (!canvas_.Spend(1 + (isPaint ? count / 4 : 4 * count))) return false;
        if (isPaint) {
            std::fill(row + span.left, row + span.right, colors_[0]);
        } else {
            for (int h = span.left; h < span.right; ++h)
                row[h] = CombineBit(ink_, solidBit_, row[h]);
        }
        return true;
    }

    void PaintBits(int y, Pixel* row, const Span& span) const {
        const unsigned bits = paint_.pattern.bits[static_cast<unsigned>(y - paint_.origin.v) & 7];
        for (int h = span.left; h < span.right; ++h) {
            const bool bit =
                ((bits << (static_cast<unsigned>(h - paint_.origin.h) & 7)) & 0x80) != 0;
            if (effects_[bit] == BitEffect::kPaint)
                row[h] = colors_[bit];
            else if (effects_[bit] == BitEffect::kCombine)
                row[h] = CombineBit(ink_, bit, row[h]);
        }
    }

    void PaintTile(int y, Pixel* row, const Span& span) const {
        const ColorTile& tile = *paint_.pattern.tile;
        const auto width = static_cast<unsigned>(tile.width);
        const auto height = static_cast<unsigned>(tile.height);
        const std::size_t top = static_cast<unsigned>(y - paint_.origin.v) & (height - 1);
        const Pixel* const pixels = tile.pixels.data() + top * width;
        for (int h = span.left; h < span.right; ++h) {
            const Pixel pixel = pixels[static_cast<unsigned>(h - paint_.origin.h) & (width - 1)];
            row[h] = ink_.mode == TransferMode::kCopy ? pixel : CombineColor(ink_, pixel, row[h]);
        }
    }

    const Paint& paint_;
    Canvas& canvas_;
    Ink ink_;
    bool isSolid_ = false;
    bool solidBit_ = false;
    BitEffect effects_[2] = {};
    Pixel colors_[2] = {};
};

// Paints what spans and clip rectangles, both from left to right, have in common.
bool PaintRow(int y, const Spans& spans, std::span<const pixman_box32_t> clip, const Rect& within,
              Painter& painter) {
    auto span = spans.begin();
    auto box = clip.begin();
    while (span != spans.end() && box != clip.end()) {
        const Span part = {std::max({span->left, box->x1, within.left}),
                           std::min({span->right, box->x2, within.right})};
        if (part.left < part.right && !painter.PaintSpan(y, part)) return false;
        if (span->right < box->x2)
            ++span;
        else
            ++box;
    }
    return true;
}

}  // namespace

void Fill(RowShape& shape, const Paint& paint, const Region& clip, Canvas& canvas) {
    const Rect within = Intersection(Intersection(shape.Bounds(), clip.Bounds()), canvas.Bounds());
    if (within.IsEmpty()) return;
    Painter painter(paint, canvas);
    RegionRows clipRows(clip);
    Spans spans;
    for (int y = within.top; y < within.bottom; ++y) {
        spans.clear();
        const std::uint64_t work = shape.AppendRow(y, spans);
        const std::span<const pixman_box32_t> boxes = clipRows.At(y);
        if (!canvas.Spend(work + spans.size() + boxes.size())) return;
        if (!PaintRow(y, spans, boxes, within, painter)) return;
    }
}

}  // namespace Ondrel::QuickDraw
