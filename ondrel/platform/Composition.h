// Unicode composition of UTF-8 names, as the platform layer needs it to tell a volume by its name.
// Internal to libOndrel; texts of the library's callers are core/Unicode.h.
#ifndef ONDREL_PLATFORM_COMPOSITION_H
#define ONDREL_PLATFORM_COMPOSITION_H

#include <string>
#include <string_view>

namespace Ondrel::Host {

// The precomposed form (NFC) of a UTF-8 text. False, and nothing stored, when the text is not valid
// UTF-8 or too long to be a name of anything (64 KiB).
bool ComposeUtf8(std::string_view text, std::string* composed);

// The UTF-8 form of UTF-16 units. False, and nothing stored, when a surrogate stands alone.
bool EncodeUtf8(const std::u16string& units, std::string* text);

}  // namespace Ondrel::Host

#endif
