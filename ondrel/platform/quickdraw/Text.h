// Drawing texts. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_TEXT_H
#define ONDREL_PLATFORM_QUICKDRAW_TEXT_H

#include <string_view>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/State.h"

namespace Ondrel::QuickDraw {

// Draws a text of Mac Roman characters with its baseline at the state's text location. The location
// stays: a picture's offsets count from where a text began. Pixels are either the text's or not.
void DrawText(std::string_view text, const State& state, Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
