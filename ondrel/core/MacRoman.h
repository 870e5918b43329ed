// Texts in MacRoman, the encoding of resources' names and of four-character codes.
#ifndef ONDREL_CORE_MACROMAN_H
#define ONDREL_CORE_MACROMAN_H

#include <string>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Every byte has a character: the result holds them all, a NUL as a NUL.
ONDREL_EXPORT std::string MacRomanToUTF8(const std::string& text);

// False, and `out` unchanged, where a character has no byte or the text is not UTF-8.
ONDREL_EXPORT bool UTF8ToMacRoman(const std::string& text, std::string* out);

}  // namespace Ondrel

#endif
