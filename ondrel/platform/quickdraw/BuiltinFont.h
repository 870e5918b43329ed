// A small font of our own, for machines where no font is installed. Internal to libOndrel.
//
// Its letters are at most five pixels wide and seven high; other sizes are whole multiples.
#ifndef ONDREL_PLATFORM_QUICKDRAW_BUILTINFONT_H
#define ONDREL_PLATFORM_QUICKDRAW_BUILTINFONT_H

#include "ondrel/platform/quickdraw/Glyph.h"

namespace Ondrel::QuickDraw {

inline constexpr int kBuiltinAscent = 7;
inline constexpr int kBuiltinDescent = 2;

// How many times as large the font is for letters of that many pixels an em; at least once.
int BuiltinMultiple(double pixels);

// The character, each pixel made into so many across and down. Characters that are not printable
// ASCII are blank.
Glyph BuiltinGlyph(char character, int across, int down);

// How far the pen moves on, for the font as it was drawn.
int BuiltinAdvance(char character);

}  // namespace Ondrel::QuickDraw

#endif
