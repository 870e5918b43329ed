// The description that stands in front of an image's compressed data. Internal to libOndrel.
//
//   0   length of the description          4   compressor
//   32  2 width   34  2 height             44  length of the data
//   82  2 depth   84  2 colours: 0 when a table of colours follows, else the system's
#ifndef ONDREL_PLATFORM_QUICKDRAW_IMAGEDESCRIPTION_H
#define ONDREL_PLATFORM_QUICKDRAW_IMAGEDESCRIPTION_H

#include <memory>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/codecs/Frame.h"

namespace Ondrel::QuickDraw {

struct ImageDescription {
    int width = 0;
    int height = 0;
    CompressedImage image;  // its data are still to be set
    std::size_t dataSize = 0;
};

// False when it ends early or makes no sense; `bytes` else stands behind it.
bool ReadImageDescription(PictureBytes& bytes, ImageDescription* description);

// The image decoded, its work taken off the canvas's. Null when the compressor is not known,
// nothing comes out of the data, or the image is far larger than its data let it be. Throws
// std::bad_alloc.
std::unique_ptr<Frame> DecodeImage(ImageDescription& description, Canvas& canvas);

}  // namespace Ondrel::QuickDraw

#endif
