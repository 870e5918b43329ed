// How what is drawn combines with what is there. Internal to libOndrel.
//
// The eight boolean modes are numbered 0 to 7 for sources (bit maps, text) and 8 to 15 for
// patterns; 32 to 39 are the arithmetic ones, 49 and 50 the gray and hilite modes. Bit 6 (64)
// asks for dithering, which a canvas of 24-bit colours does not need, and is dropped.
#ifndef ONDREL_PLATFORM_QUICKDRAW_TRANSFERMODE_H
#define ONDREL_PLATFORM_QUICKDRAW_TRANSFERMODE_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"

namespace Ondrel::QuickDraw {

enum class TransferMode : std::uint8_t {
    kCopy = 0,
    kOr = 1,
    kXor = 2,
    kBic = 3,
    kNotCopy = 4,
    kNotOr = 5,
    kNotXor = 6,
    kNotBic = 7,
    kNone = 16,  // nothing is drawn
    kBlend = 32,
    kAddPin = 33,
    kAddOver = 34,
    kSubPin = 35,
    kTransparent = 36,
    kAddMax = 37,
    kSubOver = 38,
    kAdMin = 39,
    kGrayishTextOr = 49,
    kHilite = 50,
};

// The mode of a stored number; patterns' numbers give the mode of the same name. Those from 16 to
// 31 were never modes and draw nothing: pictures put what is for printers alone into mode 23. Any
// other that is not known is kCopy.
TransferMode ModeFromStored(int stored);

inline constexpr Pixel kDefaultHilite = 0xFFB3B3B3;

// All that combining needs besides the source.
struct Ink {
    TransferMode mode = TransferMode::kCopy;
    Pixel fore = kBlack;
    Pixel back = kWhite;
    Pixel operand = kBlack;         // weights of kBlend, limits of the pinned modes
    Pixel hilite = kDefaultHilite;  // replaces the background in kHilite
};

// What becomes of a pixel under one bit of a bit map, a pattern or a text: set bits are drawn in
// the foreground colour, clear ones in the background colour.
Pixel CombineBit(const Ink& ink, bool bit, Pixel destination);

// What a bit does to any pixel, so that whole rows can be painted at once: it leaves it as it is,
// paints it in a colour that does not depend on it, or makes something of what is there.
enum class BitEffect : std::uint8_t { kKeep, kPaint, kCombine };
BitEffect EffectOfBit(const Ink& ink, bool bit);

// What becomes of a pixel under one of a colour image or pattern.
Pixel CombineColor(const Ink& ink, Pixel source, Pixel destination);

}  // namespace Ondrel::QuickDraw

#endif
