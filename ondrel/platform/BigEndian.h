// Big-endian integers in byte strings: all that the Mac's formats are made of. Internal to
// libOndrel. The caller has checked that the bytes are there.
#ifndef ONDREL_PLATFORM_BIGENDIAN_H
#define ONDREL_PLATFORM_BIGENDIAN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Ondrel {

// The unsigned integer in the `size` bytes (at most 4) at `at`.
inline std::uint32_t GetBigEndian(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = (value << 8) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

inline std::uint16_t Get16(std::string_view bytes, std::size_t at) {
    return static_cast<std::uint16_t>(GetBigEndian(bytes, at, 2));
}
inline std::uint32_t Get24(std::string_view bytes, std::size_t at) {
    return GetBigEndian(bytes, at, 3);
}
inline std::uint32_t Get32(std::string_view bytes, std::size_t at) {
    return GetBigEndian(bytes, at, 4);
}

inline void Put16(std::string& bytes, std::size_t at, std::uint16_t value) {
    bytes[at] = static_cast<char>(value >> 8);
    bytes[at + 1] = static_cast<char>(value & 0xFF);
}
inline void Put32(std::string& bytes, std::size_t at, std::uint32_t value) {
    Put16(bytes, at, static_cast<std::uint16_t>(value >> 16));
    Put16(bytes, at + 2, static_cast<std::uint16_t>(value & 0xFFFF));
}

}  // namespace Ondrel

#endif
