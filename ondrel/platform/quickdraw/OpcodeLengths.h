// How long the data of commands is that are not drawn. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_OPCODELENGTHS_H
#define ONDREL_PLATFORM_QUICKDRAW_OPCODELENGTHS_H

#include <cstdint>

#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

// Leaves out what stands behind an opcode that draws nothing and sets nothing that is drawn with:
// comments, and all that are reserved. False when it ends early.
bool SkipCommand(std::uint16_t opcode, PictureBytes& bytes);

}  // namespace Ondrel::QuickDraw

#endif
