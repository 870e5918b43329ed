// Pixel maps for tests.
#include "tests/preview/Pixels.h"

#include <cstring>

#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

std::string Hex16(int value) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (int shift = 12; shift >= 0; shift -= 4)
        text += kDigits[value >> shift & 15];
    return text;
}

OwnedPix BlankMap(int width, int height) {
    return OwnedPix(drapixall(height, width));
}

OwnedPix MapOf(int width, int height, const std::string& hex) {
    OwnedPix map = BlankMap(width, height);
    const std::string bytes = Bytes(hex);
    std::memcpy(map->base, bytes.data(), bytes.size());
    return map;
}

OwnedPix NoiseMap(int width, int height, unsigned seed) {
    OwnedPix map = BlankMap(width, height);
    unsigned char* const end = map->base + static_cast<long>(map->rowBytes) * height;
    for (unsigned char* byte = map->base; byte < end; ++byte) {
        seed = seed * 1664525U + 1013904223U;
        *byte = static_cast<unsigned char>(seed >> 24);
    }
    return map;
}

OwnedEnv MaskOf(int width, int height, const std::vector<std::string>& rows) {
    OwnedEnv mask(draall(height, width));
    unsigned char* row = mask->base;
    for (const std::string& hex : rows) {
        const std::string bytes = Bytes(hex);
        std::memcpy(row, bytes.data(), bytes.size());
        row += mask->rowBytes;
    }
    return mask;
}

void SetPixel(const OwnedPix& map, int x, int y, int red, int green, int blue) {
    unsigned char* const pixel = drabufbas(map.get(), y) + 4L * x;
    pixel[1] = static_cast<unsigned char>(red);
    pixel[2] = static_cast<unsigned char>(green);
    pixel[3] = static_cast<unsigned char>(blue);
}

std::string PlanesOf(const OwnedPix& map, int y) {
    std::string planes;
    for (int plane = 1; plane <= 3; ++plane)
        for (int x = 0; x < map->width; ++x)
            planes += static_cast<char>(drabufbas(map.get(), y)[4L * x + plane]);
    return planes;
}

}  // namespace Ondrel::Testing
