// Pictures in memory as the commands handle them: four bytes a pixel, alpha first, the colours not
// multiplied by it.
#ifndef TOOLS_ONDREL_PIXELS_H
#define TOOLS_ONDREL_PIXELS_H

#include <optional>
#include <string>
#include <string_view>

#include "ondrel/platform/Png.h"

namespace OndrelTool {

using Pixels = Ondrel::PngPicture;

// An area of that size, transparent. Throws a Failure where it is too large.
Pixels MakePixels(int width, int height);

// The picture in at most this size, in its proportions; never made larger.
Pixels FitInto(const Pixels& picture, int mostWidth, int mostHeight);

// Scaled to exactly that size.
Pixels ScaledTo(const Pixels& picture, int width, int height);

// Over white, opaque.
Pixels OnWhite(Pixels picture);

// A PNG file, and one read from the command line's file. Throw a Failure that names the subject.
std::string PngOf(const Pixels& picture, std::string_view subject);
Pixels ReadPngFile(const std::string& file);

// The picture that PICT bytes record, with its frame's size, or as much smaller as it takes for no
// side to be longer than `mostSide`. Nothing where they are no picture.
std::optional<Pixels> RenderPicture(std::string_view bytes, int mostSide);

}  // namespace OndrelTool

#endif
