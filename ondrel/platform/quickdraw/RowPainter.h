// Images put on the canvas row by row, scaled, clipped and combined. Internal to libOndrel.
//
// A pixel of the destination takes the pixel of the source that lies under its centre: rows and
// columns are left out or repeated, never mixed.
#ifndef ONDREL_PLATFORM_QUICKDRAW_ROWPAINTER_H
#define ONDREL_PLATFORM_QUICKDRAW_ROWPAINTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/RowPixels.h"
#include "ondrel/platform/quickdraw/State.h"
#include "ondrel/platform/quickdraw/TransferMode.h"

namespace Ondrel::QuickDraw {

// Where an image goes.
struct Placement {
    Rect bounds;       // of the image
    int columns = 0;   // pixels that its rows have, from the bounds' left on
    Rect source;       // the part of it that is drawn, in the coordinates of its bounds
    Rect destination;  // what that part fills, on the canvas
    Region visible;    // what of the canvas may change
};

// Places a part of an image in a rectangle of the picture, within the clip and, where there is
// one, a mask in the picture's coordinates. False when the canvas's work is used up.
bool Place(const State& state, Canvas& canvas, const Rect& rect, const Region* mask,
           Placement* placement);

// What the pixels of the rows stand for.
enum class Source : std::uint8_t {
    kBits,    // set and clear bits, in the foreground and the background colour
    kColors,  // opaque colours
    kBlended  // colours, those that are not opaque laid over what is there whatever the mode
};

// What becomes of a pixel under one of an image; bits are clear where it is 0.
Pixel Combined(Source source, const Ink& ink, Pixel pixel, Pixel under);

class RowPainter {
 public:
    // Throws std::bad_alloc. Bits need no colours in their format.
    RowPainter(const Placement& placement, Source source, const Ink& ink, const RowFormat& format,
               Canvas& canvas);
    RowPainter(const RowPainter&) = delete;
    RowPainter& operator=(const RowPainter&) = delete;

    // Draws the next row of the image, from its top on. False when the canvas's work is used up.
    bool DrawRow(const std::uint8_t* row);

 private:
    void PlaceColumns();
    void FillLine(const std::uint8_t* row);
    void DrawSpan(const std::uint8_t* row, int y, int left, int right);
    int FirstTarget(int sourceRow) const;

    const Placement& placement_;
    Source source_;
    Ink ink_;
    RowFormat format_;
    Canvas& canvas_;

    Pixel bitColors_[2];
    bool isCopy_;          // nothing of what is there is looked at
    bool isScaled_;        // across
    Rect area_;            // of the destination, what may be seen and has columns
    int row_ = 0;          // the next
    std::size_t box_ = 0;  // of the visible region: none before it reaches the next row
    std::vector<std::size_t> columns_;  // of the source, for each of the area; only when scaled
    std::vector<Pixel> columnPixels_;   // those of the source that the area needs
    std::vector<Pixel> line_;           // the area's pixels of this row
};

}  // namespace Ondrel::QuickDraw

#endif
