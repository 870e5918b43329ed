// Pictures written out as bytes, and what they draw as text.
#ifndef TESTS_PLATFORM_QUICKDRAW_ART_H
#define TESTS_PLATFORM_QUICKDRAW_ART_H

#include <cstdint>
#include <string>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"

namespace Ondrel::Testing {

// A whole picture of a version: its size, frame and version, then commands given in hexadecimal,
// and the end.
std::string PictureOf(int version, const QuickDraw::Rect& frame, const std::string& commands);

// Rows of a canvas: '.' nothing drawn, '_' white, '#' black, R, G, B, C, M, Y for the pure colours,
// '%' the usual highlight, '?' another.
std::string ArtOf(const QuickDraw::Canvas& canvas);

// Draws a picture on a canvas of its frame's size.
std::string Art(const std::string& picture);

// A picture of version 1, its frame at (0, 0). Version 1 has opcodes of one byte, without padding.
std::string Art(int width, int height, const std::string& commands);

// How much work drawing a picture took, in the canvas's units, of an allowance.
std::uint64_t WorkOf(const std::string& picture, std::uint64_t allowance);

}  // namespace Ondrel::Testing

#endif
