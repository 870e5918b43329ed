// Carries out a picture's commands one by one. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PLAYER_H
#define ONDREL_PLATFORM_QUICKDRAW_PLAYER_H

#include <string_view>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureHead.h"

namespace Ondrel::QuickDraw {

// Draws a picture, whose head was read from these bytes, so that its frame fills the canvas, until
// its end, damage, or the end of the canvas's allowance of work. `nesting` tells how many pictures
// it is in, one in the other. Throws std::bad_alloc.
void PlayPicture(std::string_view picture, const PictureHead& head, Canvas& canvas,
                 int nesting = 0);

}  // namespace Ondrel::QuickDraw

#endif
