// The names of temporary files. Internal to fil/.
#ifndef ONDREL_FIL_TEMPORARYNAME_H
#define ONDREL_FIL_TEMPORARYNAME_H

#include "ondrel/platform/Types.h"

namespace Ondrel {

// Room for four characters, ten digits, " Temp" and the terminator.
inline constexpr int kTemporaryNameSize = 32;

// "Mine123456 Temp": the four characters of the code, of which those that are not printable ASCII,
// and the colon, which no name can hold, become '?'.
void FormatTemporaryName(FourCC signature, unsigned int ticks, char* name);

}  // namespace Ondrel

#endif
