// The commands that set what is drawn with. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_STATECOMMANDS_H
#define ONDREL_PLATFORM_QUICKDRAW_STATECOMMANDS_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/State.h"

namespace Ondrel::QuickDraw {

enum class StateResult : std::uint8_t {
    kSet,
    kOther,    // the command is not one of these; nothing was read
    kDamaged,  // it ends early or makes no sense; the picture is over
};

// Reads what stands behind an opcode and sets it. `canvas` is the canvas's rectangle: no clip
// reaches farther.
StateResult ReadStateCommand(std::uint16_t opcode, const Rect& canvas, PictureBytes& bytes,
                             State& state);

}  // namespace Ondrel::QuickDraw

#endif
