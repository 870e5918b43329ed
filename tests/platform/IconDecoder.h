// An icon family taken apart again, by the rules of its format and none of our writer's code.
#ifndef TESTS_PLATFORM_ICONDECODER_H
#define TESTS_PLATFORM_ICONDECODER_H

#include <gtest/gtest.h>
#include <png.h>

#include <cstring>
#include <map>
#include <string>
#include <string_view>

namespace Ondrel::Testing {

inline std::size_t Number(std::string_view bytes, std::size_t at) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value = value * 256 + static_cast<unsigned char>(bytes.at(at + i));
    return value;
}

// The elements by type. A test failure where lengths do not add up.
inline std::map<std::string, std::string> IconElements(const std::string& family) {
    std::map<std::string, std::string> elements;
    EXPECT_EQ(family.substr(0, 4), "icns");
    EXPECT_EQ(Number(family, 4), family.size());
    for (std::size_t at = 8; at < family.size();) {
        const std::size_t length = Number(family, at + 4);
        if (length < 8 || length > family.size() - at) {
            ADD_FAILURE() << "an element of " << length << " bytes at " << at;
            break;
        }
        EXPECT_TRUE(
            elements.emplace(family.substr(at, 4), family.substr(at + 8, length - 8)).second);
        at += length;
    }
    return elements;
}

// One plane out of packed planes that begin at `at`, which is moved behind it.
inline std::string UnpackedPlane(const std::string& packed, std::size_t size, std::size_t* at) {
    std::string plane;
    while (plane.size() < size && *at < packed.size()) {
        const auto code = static_cast<unsigned char>(packed[(*at)++]);
        if (code < 128) {
            plane += packed.substr(*at, code + 1U);
            *at += code + 1U;
        } else {
            plane += std::string(code - 125U, packed.at((*at)++));
        }
    }
    EXPECT_EQ(plane.size(), size);
    return plane;
}

// Alpha, red, green, blue of each pixel, from a colour element and its mask.
inline std::string PixelsOfPlanes(const std::string& colours, const std::string& mask,
                                  std::size_t padding) {
    std::size_t at = padding;
    const std::string red = UnpackedPlane(colours, mask.size(), &at);
    const std::string green = UnpackedPlane(colours, mask.size(), &at);
    const std::string blue = UnpackedPlane(colours, mask.size(), &at);
    EXPECT_EQ(at, colours.size());
    std::string pixels;
    for (std::size_t i = 0; i < mask.size(); ++i)
        pixels += {mask[i], red[i], green[i], blue[i]};
    return pixels;
}

// Alpha, red, green, blue of each pixel of a PNG file of that many pixels a side.
inline std::string PixelsOfPng(const std::string& bytes, unsigned side) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    std::string pixels;
    EXPECT_NE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()), 0)
        << image.message;
    EXPECT_EQ(image.width, side);
    EXPECT_EQ(image.height, side);
    image.format = PNG_FORMAT_ARGB;
    pixels.resize(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0)
        << image.message;
    return pixels;
}

}  // namespace Ondrel::Testing

#endif
