// The shape of one character, as pixels that are its own or not. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_GLYPH_H
#define ONDREL_PLATFORM_QUICKDRAW_GLYPH_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ondrel::QuickDraw {

// Its place is told from the point where the pen stands on the baseline.
struct Glyph {
    int left = 0;  // of its leftmost pixel column, to the right
    int top = 0;   // of its first row, upwards
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;  // row by row, 1 or 0

    const std::uint8_t* Row(int y) const {
        return pixels.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
    }
};

}  // namespace Ondrel::QuickDraw

#endif
