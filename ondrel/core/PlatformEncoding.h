// The platform's C-string encoding, decoded with the places that its characters came from. Internal
// to core; the conversions themselves are in Unicode.h.
#ifndef ONDREL_CORE_PLATFORMENCODING_H
#define ONDREL_CORE_PLATFORMENCODING_H

#include <vector>

namespace Ondrel::Core {

struct PlacedPoint {
    char32_t point;
    long place;  // the offset of its character's first byte
};

// The code points of a text in the platform's encoding. A byte that belongs to no character is
// kFirstStrayByte plus its value, so that it equals nothing but itself.
inline constexpr char32_t kFirstStrayByte = 0x110000;
std::vector<PlacedPoint> DecodePlatformCString(const char* text);

}  // namespace Ondrel::Core

#endif
