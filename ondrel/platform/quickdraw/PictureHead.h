// What a picture begins with: its frame and version. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PICTUREHEAD_H
#define ONDREL_PLATFORM_QUICKDRAW_PICTUREHEAD_H

#include <cstddef>
#include <string_view>

#include "ondrel/platform/quickdraw/Geometry.h"

namespace Ondrel::QuickDraw {

struct PictureHead {
    int version = 1;
    Rect frame;                // in pixels of 1/72 inch: the size of the picture
    Rect source;               // what of its coordinates the frame shows
    std::size_t commands = 0;  // where the first command stands
};

// Where in these bytes a picture begins: at once, or behind the 512 bytes that a file of one has in
// front. npos: neither.
std::size_t FindPicture(std::string_view bytes);

// Reads the head of a picture. False where there is none, or its frame is empty.
bool ReadPictureHead(std::string_view picture, PictureHead* head);

}  // namespace Ondrel::QuickDraw

#endif
