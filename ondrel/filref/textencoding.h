// Conversions between UTF-8 and the platform's C-string encoding, and two comparisons of UTF-8
// texts.
//
// None of these reports an error: invalid UTF-8 is passed through or converted as far as it goes,
// and what the platform's encoding lacks becomes '?'. The names with and without "C" mean the same.
#ifndef ONDREL_FILREF_TEXTENCODING_H
#define ONDREL_FILREF_TEXTENCODING_H

#include <cstddef>
#include <string>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// UTF-8 to the platform's encoding. With `keepIfInvalid`, input that is not valid UTF-8 comes back
// unchanged; without, what stands before the fault is converted.
ONDREL_EXPORT std::string utf8ToPlatformCString(const std::string& utf8, bool keepIfInvalid);
ONDREL_EXPORT std::string utf8ToPlatformString(const std::string& utf8, bool keepIfInvalid);

// The same into a buffer of `outSize` bytes, at least 1: cut between bytes, always terminated.
// Answers the bytes written without the terminator.
ONDREL_EXPORT int utf8ToPlatformCString(const char* utf8, char* out, std::size_t outSize,
                                        bool keepIfInvalid);

// The platform's encoding to UTF-8.
ONDREL_EXPORT std::string platformCStringToUtf8(const std::string& platform);
ONDREL_EXPORT std::string platformStringToUtf8(const std::string& platform);

// The same into a buffer of `outSize` bytes, filled with zeros behind the text. A text of `outSize`
// bytes or more fills it completely and is not terminated. Answers the length of the whole text:
// compare it with `outSize`.
ONDREL_EXPORT int platformCStringToUtf8(const char* platform, char* out, std::size_t outSize);

// Compares ignoring case: -1, 0 or 1. Only the first 1023 units of each text count.
ONDREL_EXPORT int utf8CompareNoCase(const char* a, const char* b);

// strseaign over both texts in the platform's encoding; over the texts as they are where one of
// them is empty. The offset counts bytes of the converted text.
ONDREL_EXPORT int strseaignUTF8(const char* text, const char* pattern);

}  // namespace Ondrel

#endif
