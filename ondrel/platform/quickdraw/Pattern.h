// Patterns that areas are painted with: eight by eight bits, or a small picture in colours.
// Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PATTERN_H
#define ONDREL_PLATFORM_QUICKDRAW_PATTERN_H

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

using Bits8x8 = std::array<std::uint8_t, 8>;  // rows from the top, leftmost pixel in the top bit

inline constexpr Bits8x8 kBlackBits = {255, 255, 255, 255, 255, 255, 255, 255};
inline constexpr Bits8x8 kWhiteBits = {};
inline constexpr Bits8x8 kGrayBits = {0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55, 0xAA, 0x55};

// A repeated picture; its sides are powers of two.
struct ColorTile {
    int width = 0;
    int height = 0;
    std::vector<Pixel> pixels;
};

// A pattern of bits, in the colours at the time of painting, unless it has a tile.
struct Pattern {
    Bits8x8 bits = kBlackBits;
    std::shared_ptr<const ColorTile> tile;
};

// Reads a stored colour pattern: its kind, its bits for old machines, then for one made of pixels
// a pixel map with its colour table and rows, for a single colour that colour. False when it ends
// early or does not make sense; `bytes` then stands somewhere in it and the picture is over.
bool ReadColorPattern(PictureBytes& bytes, Pattern* pattern);

}  // namespace Ondrel::QuickDraw

#endif
