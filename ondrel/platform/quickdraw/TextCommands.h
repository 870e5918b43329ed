// The commands that draw texts. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_TEXTCOMMANDS_H
#define ONDREL_PLATFORM_QUICKDRAW_TEXTCOMMANDS_H

#include <cstdint>
#include <string_view>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

struct PlacedText {
    Point location;
    std::string_view text;
};

bool IsTextCommand(std::uint16_t opcode);

// Reads what stands behind such an opcode: a place, or distances from the last text's, and the
// text with its length in front.
PlacedText ReadTextCommand(std::uint16_t opcode, const Point& last, PictureBytes& bytes);

}  // namespace Ondrel::QuickDraw

#endif
