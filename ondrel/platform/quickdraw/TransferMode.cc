// The transfer modes on 24-bit colours. Internal to libOndrel.
//
// A boolean mode on a colour works by how black the source is: the blacker, the more the mode's
// work is done. Written as operations on the bits of a colour this gives, for black and white, just
// what the mode does with the set and the clear bits of a bit map.
#include "ondrel/platform/quickdraw/TransferMode.h"

#include <algorithm>

namespace Ondrel::QuickDraw {

namespace {

constexpr Pixel kColorBits = 0x00FFFFFF;

// What a mode finds on a pixel: white where nothing was drawn.
Pixel Seen(Pixel destination) {
    return destination == 0 ? kWhite : destination;
}

Pixel Inverted(Pixel destination) {
    return Seen(destination) ^ kColorBits;
}

std::uint32_t Channel(Pixel pixel, int shift) {
    return (pixel >> shift) & 0xFF;
}

template <typename Operation>
Pixel ByChannel(Pixel a, Pixel b, Pixel c, const Operation& operation) {
    const auto made = [&](int shift) {
        return (operation(Channel(a, shift), Channel(b, shift), Channel(c, shift)) & 0xFF) << shift;
    };
    return kOpaque | made(16) | made(8) | made(0);
}

Pixel Average(Pixel a, Pixel b) {
    return ByChannel(a, b, 0,
                     [](std::uint32_t x, std::uint32_t y, std::uint32_t) { return (x + y) / 2; });
}

// Exchanges the background colour and the highlight colour, and leaves any other alone.
Pixel Highlighted(const Ink& ink, Pixel destination) {
    const Pixel seen = Seen(destination);
    if (seen == ink.back) return ink.hilite;
    return seen == ink.hilite ? ink.back : destination;
}

Pixel Arithmetic(const Ink& ink, Pixel source, Pixel destination) {
    using U = std::uint32_t;
    const Pixel seen = Seen(destination);
    switch (ink.mode) {
        case TransferMode::kBlend:
            return ByChannel(source, seen, ink.operand, [](U s, U d, U weight) {
                return (s * weight + d * (255 - weight) + 127) / 255;
            });
        case TransferMode::kAddPin:
            return ByChannel(source, seen, ink.operand,
                             [](U s, U d, U limit) { return std::min(s + d, limit); });
        case TransferMode::kAddOver:
            return ByChannel(source, seen, 0, [](U s, U d, U) { return s + d; });
        case TransferMode::kSubPin:
            return ByChannel(source, seen, ink.operand,
                             [](U s, U d, U limit) { return std::max(d > s ? d - s : 0, limit); });
        case TransferMode::kAddMax:
            return ByChannel(source, seen, 0, [](U s, U d, U) { return std::max(s, d); });
        case TransferMode::kSubOver:
            return ByChannel(source, seen, 0, [](U s, U d, U) { return d - s; });
        default:
            return ByChannel(source, seen, 0, [](U s, U d, U) { return std::min(s, d); });
    }
}

// The bits of `on` where the source is black, those of `off` where it is white.
Pixel Mixed(Pixel source, Pixel on, Pixel off) {
    return kOpaque | (((~source & on) | (source & off)) & kColorBits);
}

// One of the modes that work where `source` is not white; there it leaves things alone.
Pixel CombineInked(TransferMode mode, const Ink& ink, Pixel source, Pixel destination) {
    if ((source & kColorBits) == kColorBits) return destination;
    const Pixel seen = Seen(destination);
    if (mode == TransferMode::kOr) return Mixed(source, ink.fore, seen);
    if (mode == TransferMode::kBic) return Mixed(source, ink.back, seen);
    return kOpaque | ((seen ^ ~source) & kColorBits);
}

}  // namespace

TransferMode ModeFromStored(int stored) {
    const int mode = stored & ~64;
    if (mode >= 0 && mode < 16) return static_cast<TransferMode>(mode & 7);
    if ((mode >= 32 && mode < 40) || mode == 49 || mode == 50)
        return static_cast<TransferMode>(mode);
    return mode >= 16 && mode < 32 ? TransferMode::kNone : TransferMode::kCopy;
}

Pixel CombineBit(const Ink& ink, bool bit, Pixel destination) {
    switch (ink.mode) {
        case TransferMode::kCopy:
            return bit ? ink.fore : ink.back;
        case TransferMode::kOr:
            return bit ? ink.fore : destination;
        case TransferMode::kXor:
            return bit ? Inverted(destination) : destination;
        case TransferMode::kBic:
            return bit ? ink.back : destination;
        case TransferMode::kNotCopy:
            return bit ? ink.back : ink.fore;
        case TransferMode::kNotOr:
            return bit ? destination : ink.fore;
        case TransferMode::kNotXor:
            return bit ? destination : Inverted(destination);
        case TransferMode::kNotBic:
            return bit ? destination : ink.back;
        case TransferMode::kTransparent:
            return bit && ink.fore != ink.back ? ink.fore : destination;
        case TransferMode::kGrayishTextOr:
            return bit ? Average(ink.fore, ink.back) : destination;
        case TransferMode::kHilite:
            return bit ? Highlighted(ink, destination) : destination;
        case TransferMode::kNone:
            return destination;
        default:
            return Arithmetic(ink, bit ? ink.fore : ink.back, destination);
    }
}

BitEffect EffectOfBit(const Ink& ink, bool bit) {
    switch (ink.mode) {
        case TransferMode::kCopy:
        case TransferMode::kNotCopy:
            return BitEffect::kPaint;
        case TransferMode::kOr:
        case TransferMode::kBic:
        case TransferMode::kGrayishTextOr:
            return bit ? BitEffect::kPaint : BitEffect::kKeep;
        case TransferMode::kNotOr:
        case TransferMode::kNotBic:
            return bit ? BitEffect::kKeep : BitEffect::kPaint;
        case TransferMode::kTransparent:
            return bit && ink.fore != ink.back ? BitEffect::kPaint : BitEffect::kKeep;
        case TransferMode::kXor:
        case TransferMode::kHilite:
            return bit ? BitEffect::kCombine : BitEffect::kKeep;
        case TransferMode::kNotXor:
            return bit ? BitEffect::kKeep : BitEffect::kCombine;
        case TransferMode::kNone:
            return BitEffect::kKeep;
        default:
            return BitEffect::kCombine;
    }
}

Pixel CombineColor(const Ink& ink, Pixel source, Pixel destination) {
    switch (ink.mode) {
        case TransferMode::kCopy:
            return Mixed(source, ink.fore, ink.back);
        case TransferMode::kNotCopy:
            return Mixed(source, ink.back, ink.fore);
        case TransferMode::kOr:
        case TransferMode::kXor:
        case TransferMode::kBic:
            return CombineInked(ink.mode, ink, source, destination);
        case TransferMode::kNotOr:
            return CombineInked(TransferMode::kOr, ink, ~source, destination);
        case TransferMode::kNotXor:
            return CombineInked(TransferMode::kXor, ink, ~source, destination);
        case TransferMode::kNotBic:
            return CombineInked(TransferMode::kBic, ink, ~source, destination);
        case TransferMode::kTransparent:
            return source == ink.back ? destination : source;
        case TransferMode::kGrayishTextOr: {
            Ink grayish = ink;
            grayish.fore = Average(ink.fore, ink.back);
            return CombineInked(TransferMode::kOr, grayish, source, destination);
        }
        case TransferMode::kHilite:
            return source == ink.back ? destination : Highlighted(ink, destination);
        case TransferMode::kNone:
            return destination;
        default:
            return Arithmetic(ink, source, destination);
    }
}

}  // namespace Ondrel::QuickDraw
