// Image commands put together from their fields, a canvas to draw them on, and what is on it as
// text.
#ifndef TESTS_PLATFORM_QUICKDRAW_IMAGECOMMANDS_H
#define TESTS_PLATFORM_QUICKDRAW_IMAGECOMMANDS_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/State.h"
#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw::Testing {

using Ondrel::Testing::Bytes;

inline constexpr std::uint64_t kEnoughWork = 100'000'000;

// A canvas that shows a frame at its size, or scaled, and the state of a picture on it.
struct Page {
    Canvas canvas;
    State state;

    explicit Page(const Rect& frame, int scale = 1)
        : canvas(frame.Width() * scale, frame.Height() * scale, kEnoughWork) {
        state.mapping = {frame, canvas.Width(), canvas.Height()};
        state.clip = Region(canvas.Bounds());
    }
    Page(int width, int height) : Page(Rect{0, 0, height, width}) {}
};

inline char Letter(Pixel pixel) {
    switch (pixel) {
        case 0:
            return '.';
        case kWhite:
            return 'W';
        case kBlack:
            return 'K';
        case 0xFFFF0000:
            return 'R';
        case 0xFF00FF00:
            return 'G';
        case 0xFF0000FF:
            return 'B';
        case 0xFFFFFF00:
            return 'Y';
        case 0xFF00FFFF:
            return 'C';
        case 0xFFFF00FF:
            return 'M';
        default:
            return '?';
    }
}

// The first letters of the colours, a dot where nothing was drawn; rows end with a bar.
inline std::string Letters(const Canvas& canvas) {
    std::string text;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x)
            text += Letter(canvas.Row(y)[x]);
        text += '|';
    }
    return text;
}

// Each pixel as the six digits of its colour, or dots; rows end with a bar.
inline std::string Colors(const Canvas& canvas) {
    std::string text;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            char digits[8] = "......";
            const Pixel pixel = canvas.Row(y)[x];
            if (pixel != 0) std::snprintf(digits, sizeof digits, "%06X", pixel & 0xFFFFFF);
            text += (x == 0 ? "" : " ") + std::string(digits);
        }
        text += '|';
    }
    return text;
}

inline std::string Word(int value) {
    return {static_cast<char>(value >> 8 & 255), static_cast<char>(value & 255)};
}

inline std::string RectBytes(const Rect& rect) {
    return Word(rect.top) + Word(rect.left) + Word(rect.bottom) + Word(rect.right);
}

// The fields of a pixel map that matter; the others are filled in.
struct MapFields {
    int rowBytes;
    Rect bounds;
    int packType;
    int depth;
    int components = 1;
};

inline std::string MapBytes(const MapFields& map) {
    return Word(map.rowBytes | 0x8000) + RectBytes(map.bounds) + Word(0) + Word(map.packType) +
           Bytes("00000000 00480000 00480000") + Word(map.depth > 8 ? 16 : 0) + Word(map.depth) +
           Word(map.components) + Word(map.depth == 16 ? 5 : 8) +
           Bytes("00000000 00000000 00000000");
}

// A table of these colours, 0xRRGGBB, from index 0.
inline std::string TableBytes(const std::vector<unsigned>& colors,
                              std::string_view seed = "00000000") {
    std::string bytes = Bytes(seed) + Word(0) + Word(static_cast<int>(colors.size()) - 1);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        bytes += Word(static_cast<int>(i));
        for (const int shift : {16, 8, 0})
            bytes += Word(static_cast<int>((colors[i] >> shift & 255) * 257));
    }
    return bytes;
}

// Where a part of an image goes, and how.
inline std::string PlaceBytes(const Rect& source, const Rect& destination, int mode = 0) {
    return RectBytes(source) + RectBytes(destination) + Word(mode);
}

}  // namespace Ondrel::QuickDraw::Testing

#endif
