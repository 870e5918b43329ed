#include "ondrel/platform/quickdraw/SystemColors.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr Pixel kSixteen[] = {
    0xFFFFFFFF, 0xFFFCF305, 0xFFFF6402, 0xFFDD0806, 0xFFF20884, 0xFF4600A5, 0xFF0000D4, 0xFF02ABEA,
    0xFF1FB714, 0xFF006411, 0xFF562C05, 0xFF90713A, 0xFFC0C0C0, 0xFF808080, 0xFF404040, 0xFF000000};

// A cube of six values a colour without its black, then ten more values of red, green, blue and
// grey, then black.
ColorTable TwoHundredFiftySix() {
    ColorTable colors;
    std::size_t next = 0;
    for (Pixel place = 0; place < 6 * 6 * 6 - 1; ++place) {
        const Pixel red = 5 - place / 36;
        const Pixel green = 5 - place / 6 % 6;
        const Pixel blue = 5 - place % 6;
        colors[next++] = kOpaque | red * 0x330000 | green * 0x3300 | blue * 0x33;
    }
    for (const Pixel channels : {0x010000U, 0x000100U, 0x000001U, 0x010101U}) {
        for (Pixel value = 0xEE; value > 0; value -= 0x11) {
            if (value % 0x33 != 0) colors[next++] = kOpaque | value * channels;
        }
    }
    colors[next] = kBlack;
    return colors;
}

}  // namespace

ColorTable SystemGreys(int bits) {
    ColorTable colors;
    colors.fill(kBlack);
    const unsigned last = (1U << bits) - 1;
    for (unsigned i = 0; i <= last; ++i)
        colors[i] = kOpaque | (255 * (last - i) / last) * 0x010101;
    return colors;
}

ColorTable SystemColors(int bits) {
    if (bits == 8) return TwoHundredFiftySix();
    ColorTable colors = SystemGreys(bits);
    if (bits == 4) std::copy(std::begin(kSixteen), std::end(kSixteen), colors.begin());
    return colors;
}

}  // namespace Ondrel::QuickDraw
