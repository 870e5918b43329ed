// Pixel maps for tests, released by themselves.
#ifndef TESTS_PREVIEW_PIXELS_H
#define TESTS_PREVIEW_PIXELS_H

#include <memory>
#include <string>
#include <vector>

#include "ondrel/preview/drapix.h"

namespace Ondrel::Testing {

struct ReleaseMap {
    void operator()(drapix* map) const { drapixdea(map); }
    void operator()(draenv* buffer) const { dradea(buffer); }
};
using OwnedPix = std::unique_ptr<drapix, ReleaseMap>;
using OwnedEnv = std::unique_ptr<draenv, ReleaseMap>;

// "1234" for 0x1234.
std::string Hex16(int value);

OwnedPix BlankMap(int width, int height);
OwnedPix MapOf(int width, int height, const std::string& hex);
OwnedPix NoiseMap(int width, int height, unsigned seed);

// A mask from its rows in hex.
OwnedEnv MaskOf(int width, int height, const std::vector<std::string>& rows);

void SetPixel(const OwnedPix& map, int x, int y, int red, int green, int blue);

// A row's red bytes, then the green, then the blue ones.
std::string PlanesOf(const OwnedPix& map, int y);

}  // namespace Ondrel::Testing

#endif
