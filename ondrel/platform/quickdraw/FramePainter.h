// Putting decoded images on the canvas, through a matrix. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_FRAMEPAINTER_H
#define ONDREL_PLATFORM_QUICKDRAW_FRAMEPAINTER_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/State.h"
#include "ondrel/platform/quickdraw/TransferMode.h"
#include "ondrel/platform/quickdraw/codecs/Frame.h"

namespace Ondrel::QuickDraw {

// From an image to the picture, in 65536ths: (h, v) goes to (a h + c v + x, b h + d v + y).
struct Matrix {
    std::int32_t a = 65536;
    std::int32_t b = 0;
    std::int32_t c = 0;
    std::int32_t d = 65536;
    std::int32_t x = 0;
    std::int32_t y = 0;
};

struct FramePlace {
    Rect source;  // of the frame
    Matrix matrix;
    const Region* mask = nullptr;  // in the picture's coordinates
};

// Draws a part of a frame; what of it is 0 leaves the canvas as it is.
void DrawFrame(const Frame& frame, const FramePlace& place, const Ink& ink, const State& state,
               Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
