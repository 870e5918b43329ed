// The platform's elementary types: error numbers, UTF-16 units, four-character codes.
#ifndef ONDREL_PLATFORM_TYPES_H
#define ONDREL_PLATFORM_TYPES_H

#include <cstddef>
#include <cstdint>

namespace Ondrel {

// A platform error code: 0 for success, otherwise negative; the codes are in Errors.h.
using OSErr = short;

// One UTF-16 code unit in host byte order.
using UniChar = unsigned short;
using UniCharCount = std::size_t;

// A four-character code: the first character is the most significant byte.
using FourCC = std::uint32_t;

constexpr FourCC MakeFourCC(const char (&text)[5]) {
    FourCC code = 0;
    for (int i = 0; i < 4; ++i)
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}

}  // namespace Ondrel

#endif
