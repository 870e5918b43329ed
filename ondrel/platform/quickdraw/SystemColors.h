// The colours that the Mac used where an image brings none. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_SYSTEMCOLORS_H
#define ONDREL_PLATFORM_QUICKDRAW_SYSTEMCOLORS_H

#include "ondrel/platform/quickdraw/PixelMap.h"

namespace Ondrel::QuickDraw {

// Of indices of 1, 2, 4 or 8 bits: from white to black, in the order of the system's own tables.
ColorTable SystemColors(int bits);

// Greys from white to black.
ColorTable SystemGreys(int bits);

}  // namespace Ondrel::QuickDraw

#endif
