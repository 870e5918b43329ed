// The commands that draw images: bit maps and pixel maps. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_BITS_H
#define ONDREL_PLATFORM_QUICKDRAW_BITS_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/State.h"

namespace Ondrel::QuickDraw {

// Draws what stands behind one of the opcodes 0x90, 0x91, 0x98, 0x99, 0x9A and 0x9B. False when the
// data ends early or does not make sense: as many rows as there were are drawn, and the picture is
// over.
bool DrawBits(std::uint16_t opcode, PictureBytes& bytes, const State& state, Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
