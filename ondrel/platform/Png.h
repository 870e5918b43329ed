// Pictures as PNG files in memory, written and read.
#ifndef ONDREL_PLATFORM_PNG_H
#define ONDREL_PLATFORM_PNG_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Images.h"

namespace Ondrel {

// Appends a PNG file of the picture: 8 bits a channel, with alpha; the colours of a premultiplied
// picture are taken as they are. paramErr: the picture is not valid. memFullErr, with nothing
// appended.
ONDREL_EXPORT OSErr AppendPng(const Image& image, std::string* png);

// The same for a picture that is written often and must not take long: it is packed only where at
// least half of its pixels equal their left neighbours. Others would come out half as large, and
// take ten times as long.
OSErr AppendQuickPng(const Image& image, std::string* png);

// A picture that owns its pixels: four bytes each, alpha (not multiplied into the colours), red,
// green, blue, in rows from the top without gaps.
struct PngPicture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;

    Image AsImage() const {
        return {pixels.data(), width, height, static_cast<std::size_t>(width) * 4,
                AlphaInfo::kFirst};
    }
};

// The most pixels that ReadPng makes unless it is told otherwise: 512 MiB of them.
inline constexpr std::size_t kMostPngPixels = std::size_t{1} << 27;

// Reads a PNG file of any colour type, depth and interlace. Channels of 16 bits are rounded to 8,
// a transparent colour becomes alpha 0, and the colours stay as they are stored, whatever the file
// says of gamma and profiles. What stands behind the last row is not looked at.
// paramErr, with *picture as it was: it is no PNG file, it is damaged or cut off, a side is longer
// than kMostImagePixels, or it has more than `mostPixels` pixels. Its size is believed only when
// there is enough data behind it. memFullErr.
ONDREL_EXPORT OSErr ReadPng(std::string_view png, PngPicture* picture,
                            std::size_t mostPixels = kMostPngPixels);

}  // namespace Ondrel

#endif
