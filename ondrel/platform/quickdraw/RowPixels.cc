#include "ondrel/platform/quickdraw/RowPixels.h"

#include <cstring>

namespace Ondrel::QuickDraw {
namespace {

Pixel Opaque(unsigned red, unsigned green, unsigned blue) {
    return kOpaque | red << 16 | green << 8 | blue;
}

// Five bits to eight: the top bits again below.
unsigned Widened(unsigned five) {
    return five << 3 | five >> 2;
}

void FromIndices(const RowFormat& format, const std::uint8_t* row, std::size_t first,
                 std::size_t count, Pixel* pixels) {
    const auto bits = static_cast<std::size_t>(format.bits);
    const unsigned mask = (1U << bits) - 1;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t bit = (first + i) * bits;
        const std::size_t shift = 8 - bits - bit % 8;
        pixels[i] = format.colors[row[bit / 8] >> shift & mask];
    }
}

void FromBytes(const RowFormat& format, const std::uint8_t* row, std::size_t count, Pixel* pixels) {
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = format.colors[row[i]];
}

void From555(const std::uint8_t* row, std::size_t count, Pixel* pixels) {
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned value = static_cast<unsigned>(row[2 * i] << 8 | row[2 * i + 1]);
        pixels[i] =
            Opaque(Widened(value >> 10 & 31), Widened(value >> 5 & 31), Widened(value & 31));
    }
}

void From888(const std::uint8_t* row, std::size_t step, std::size_t count, Pixel* pixels) {
    for (std::size_t i = 0; i < count; ++i, row += step)
        pixels[i] = Opaque(row[0], row[1], row[2]);
}

void FromA888(const std::uint8_t* row, std::size_t count, Pixel* pixels) {
    for (std::size_t i = 0; i < count; ++i, row += 4)
        pixels[i] = static_cast<Pixel>(row[0]) << 24 |
                    static_cast<Pixel>(row[1] << 16 | row[2] << 8 | row[3]);
}

void FromPlanes(const std::uint8_t* red, std::size_t plane, std::size_t count, Pixel* pixels) {
    const std::uint8_t* const green = red + plane;
    const std::uint8_t* const blue = green + plane;
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = Opaque(red[i], green[i], blue[i]);
}

}  // namespace

void ToPixels(const RowFormat& format, const std::uint8_t* row, std::size_t first,
              std::size_t count, Pixel* pixels) {
    switch (format.kind) {
        case RowKind::kIndexed:
            if (format.bits == 8) return FromBytes(format, row + first, count, pixels);
            return FromIndices(format, row, first, count, pixels);
        case RowKind::k555:
            return From555(row + 2 * first, count, pixels);
        case RowKind::k888:
            return From888(row + 3 * first, 3, count, pixels);
        case RowKind::kX888:
            return From888(row + 4 * first + 1, 4, count, pixels);
        case RowKind::kA888:
            return FromA888(row + 4 * first, count, pixels);
        case RowKind::kPlanes:
            return FromPlanes(row + format.skipped + first, format.plane, count, pixels);
        case RowKind::kPixels:
            std::memcpy(pixels, row + first * sizeof(Pixel), count * sizeof(Pixel));
            return;
    }
}

}  // namespace Ondrel::QuickDraw
