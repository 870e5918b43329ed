// The characters of a picture's texts. Internal to libOndrel.
//
// Origin: the character sets MacRoman, Symbol and Zapf Dingbats, as Unicode's own mapping tables
// list them.
#ifndef ONDREL_PLATFORM_QUICKDRAW_MACTEXT_H
#define ONDREL_PLATFORM_QUICKDRAW_MACTEXT_H

#include <cstdint>

namespace Ondrel::QuickDraw {

enum class CharacterSet { kMacRoman, kSymbol, kDingbats };

// The character of a byte; 0 where the set has none.
char32_t UnicodeOf(std::uint8_t byte, CharacterSet set);

// What stands for a MacRoman character in a font of ASCII alone: an accented letter's base letter,
// a like sign, a blank where there is none.
char AsciiLike(std::uint8_t byte);

}  // namespace Ondrel::QuickDraw

#endif
