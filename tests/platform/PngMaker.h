// PNG files made byte by byte: the rows as they are stored, in a deflate stream of one block that
// is not compressed.
#ifndef TESTS_PLATFORM_PNGMAKER_H
#define TESTS_PLATFORM_PNGMAKER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

inline std::string BigEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>((value >> shift) & 0xFF);
    return bytes;
}

// The checksum of a chunk's type and data.
inline std::uint32_t PngChecksum(std::string_view bytes) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const char byte : bytes) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~sum;
}

inline std::string PngChunk(const std::string& type, const std::string& data) {
    return BigEndian(static_cast<std::uint32_t>(data.size())) + type + data +
           BigEndian(PngChecksum(type + data));
}

// Up to 65535 bytes as a zlib stream.
inline std::string StoredStream(const std::string& data) {
    std::uint32_t a = 1;
    std::uint32_t b = 0;
    for (const char byte : data) {
        a = (a + static_cast<unsigned char>(byte)) % 65521;
        b = (b + a) % 65521;
    }
    const std::string size = {static_cast<char>(data.size() & 0xFF),
                              static_cast<char>(data.size() >> 8)};
    const std::string inverse = {static_cast<char>(~size[0]), static_cast<char>(~size[1])};
    return Bytes("78 01 01") + size + inverse + data + BigEndian(b << 16 | a);
}

// What is to be in the file. `rows` has a filter byte in front of each row.
struct PngParts {
    std::uint32_t width;
    std::uint32_t height;
    int depth;
    int colourType;  // 0 grey, 2 RGB, 3 palette, 4 grey with alpha, 6 RGB with alpha
    std::string rows;
    std::string chunksBefore;  // PLTE, tRNS
    bool isInterlaced = false;
};

inline std::string MakePng(const PngParts& parts) {
    std::string header = BigEndian(parts.width) + BigEndian(parts.height);
    header += static_cast<char>(parts.depth);
    header += static_cast<char>(parts.colourType);
    header += std::string(2, '\0');
    header += static_cast<char>(parts.isInterlaced ? 1 : 0);
    return Bytes("89 50 4E 47 0D 0A 1A 0A") + PngChunk("IHDR", header) + parts.chunksBefore +
           PngChunk("IDAT", StoredStream(parts.rows)) + PngChunk("IEND", "");
}

}  // namespace Ondrel::Testing

#endif
