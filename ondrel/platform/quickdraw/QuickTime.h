// The commands that draw images compressed by QuickTime. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_QUICKTIME_H
#define ONDREL_PLATFORM_QUICKDRAW_QUICKTIME_H

#include <cstdint>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/State.h"

namespace Ondrel::QuickDraw {

enum class QuickTimeResult {
    kDrawn,    // the image stands on the canvas; what the picture draws in its place for readers
               // that know no QuickTime is to be left out
    kSkipped,  // the compressor is not known or its data is damaged; that substitute is to be drawn
    kDamaged,  // the command ends early or makes no sense; the picture is over
};

// Draws what stands behind the opcodes 0x8200 (compressed) and 0x8201 (uncompressed). `bytes`
// afterwards stands behind the command, by its stored length.
QuickTimeResult DrawQuickTime(std::uint16_t opcode, PictureBytes& bytes, const State& state,
                              Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
