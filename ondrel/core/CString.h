// C-string services: comparison, search and bounded copy of NUL-terminated 8-bit texts.
#ifndef ONDREL_CORE_CSTRING_H
#define ONDREL_CORE_CSTRING_H

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Compares exactly, byte by byte: 0 when equal, negative when `a` sorts first by unsigned byte
// values, positive when it sorts after.
ONDREL_EXPORT int strcom(const char* a, const char* b);

// The byte offset of the first place in `text` where `pattern` stands, ignoring case, or -1. An
// empty pattern stands at 0. Both are in the platform's C-string encoding, and case is that of
// every letter of it (full Unicode case folding, no locale); a match begins and ends with whole
// characters, and bytes of no character match themselves alone. Composition counts.
ONDREL_EXPORT long strseaign(const char* text, const char* pattern);

// Copies at most `size` - 1 bytes and terminates; answers the bytes copied. It cuts between bytes,
// and writes nothing when `size` is below 1. The buffers may overlap.
ONDREL_EXPORT int strmovlen(const char* src, char* dst, int size);

}  // namespace Ondrel

#endif
