// The pixels of a text, put together from its glyphs and made bold, italic and so on. Internal to
// libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_TEXTMASK_H
#define ONDREL_PLATFORM_QUICKDRAW_TEXTMASK_H

#include <cstdint>
#include <vector>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Glyph.h"

namespace Ondrel::QuickDraw {

class TextMask {
 public:
    // All pixels of the box, none of them set. Throws std::bad_alloc.
    explicit TextMask(const Rect& box);

    enum class State : std::uint8_t { kClear, kSet, kInside };

    const Rect& Box() const { return box_; }
    State At(int y, int x) const { return static_cast<State>(*Pixel(y, x)); }

    // Sets a glyph's pixels, as far as they lie inside.
    void Put(const Glyph& glyph, int baseline, int x);

    // Each pixel also sets the `count` ones to its right.
    void Smear(int count);

    // Slants it by one pixel for each two rows above or below the baseline.
    void Slant(int baseline);

    // A line below the baseline from `left` to `right`, which leaves room around descenders.
    void Underline(int baseline, int left, int right, int thickness);

    // Sets the pixels around those set: one to the left and above, `reach` to the right and below.
    // Those that were set are inside then.
    void Hollow(int reach);

 private:
    std::size_t Index(int y, int x) const {
        return static_cast<std::size_t>(y - box_.top) * static_cast<std::size_t>(box_.Width()) +
               static_cast<std::size_t>(x - box_.left);
    }
    std::uint8_t* Pixel(int y, int x) { return pixels_.data() + Index(y, x); }
    const std::uint8_t* Pixel(int y, int x) const { return pixels_.data() + Index(y, x); }
    bool IsSetInside(int y, int x) const;
    bool HasDescender(int baseline, int x, int rows) const;

    Rect box_;
    std::vector<std::uint8_t> pixels_;
};

}  // namespace Ondrel::QuickDraw

#endif
