// Pictures of the corpus drawn on white, and the references that others made of them.
#ifndef TESTS_PLATFORM_QUICKDRAW_CORPUSPICTURES_H
#define TESTS_PLATFORM_QUICKDRAW_CORPUSPICTURES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Images.h"

namespace Ondrel::Testing {

// An opaque picture: four bytes a pixel, the first one 255.
struct Raster {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;

    Raster() = default;
    Raster(int w, int h);  // white

    std::string Size() const { return std::to_string(width) + "x" + std::to_string(height); }
    unsigned char* At(int x, int y);
    const unsigned char* At(int x, int y) const;
    Image AsImage() const;
    BitmapContext AsContext();
};

// Draws a picture, at the size of its frame or at that size.
OSErr DrawPicture(std::string_view bytes, Raster* drawn);
OSErr DrawPicture(std::string_view bytes, int width, int height, Raster* drawn);

// A PNG file on white; none when it cannot be read.
std::optional<Raster> ReadReference(const std::string& path);

Raster Scaled(const Raster& raster, int width, int height);

// How far two pictures of one size are from each other: of each channel of each pixel.
struct Difference {
    int most = 0;
    double mean = 0;
};
Difference Compare(const Raster& a, const Raster& b);

// The same of two pictures of any sizes, seen from afar: of the means of some squares, of at least
// eight pixels of `a` a side and at most 24 of them across and down.
Difference CompareFromAfar(const Raster& a, const Raster& b);

}  // namespace Ondrel::Testing

#endif
