// Painting shapes onto the canvas. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_FILL_H
#define ONDREL_PLATFORM_QUICKDRAW_FILL_H

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Pattern.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/RowShape.h"
#include "ondrel/platform/quickdraw/TransferMode.h"

namespace Ondrel::QuickDraw {

// What a shape is painted with. Patterns repeat from `origin`, the place on the canvas where the
// picture's coordinates are (0, 0): so areas that meet have patterns that meet, and a pattern
// follows when the picture moves its origin. Patterns are not scaled.
struct Paint {
    Pattern pattern;
    Ink ink;
    Point origin;
};

// Paints what of the shape lies within the clip and on the canvas, until the canvas allows no more
// work.
void Fill(RowShape& shape, const Paint& paint, const Region& clip, Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
