// The commands that draw lines, rectangles, ovals, arcs, polygons and regions. Internal to
// libOndrel.
//
// The low three bits of a shape's opcode say what is done with it: frame 0, paint 1, erase 2,
// invert 3, fill 4; 5 to 7 are reserved. With 8 added, the shape is the one drawn last: rectangles,
// round rectangles, ovals and arcs share one rectangle.
#ifndef ONDREL_PLATFORM_QUICKDRAW_SHAPECOMMANDS_H
#define ONDREL_PLATFORM_QUICKDRAW_SHAPECOMMANDS_H

#include <cstdint>
#include <vector>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/State.h"

namespace Ondrel::QuickDraw {

class ShapeCommands {
 public:
    // Whether an opcode is one of these: lines, and the shapes with a verb that is not reserved.
    static bool IsShape(std::uint16_t opcode);

    // Draws what stands behind such an opcode; lines move the pen. False when it ends early or
    // makes no sense; the picture is over.
    bool Draw(std::uint16_t opcode, PictureBytes& bytes, State& state, Canvas& canvas);

 private:
    bool DrawPolygon(std::uint16_t opcode, PictureBytes& bytes, const State& state, Canvas& canvas);
    bool DrawRegion(std::uint16_t opcode, PictureBytes& bytes, const State& state, Canvas& canvas);

    Rect rect_;
    std::vector<Point> points_;  // of a polygon
    Region region_;
};

}  // namespace Ondrel::QuickDraw

#endif
