// PNG files as frames. One of another size than the frame is laid into its top left corner.
#include "ondrel/platform/Png.h"

#include <algorithm>

#include "ondrel/platform/quickdraw/RowPixels.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {

bool DecodePng(const CompressedImage& image, Frame* frame) {
    PngPicture picture;
    const OSErr result = ReadPng(image.data, &picture, 2 * frame->Pixels().size());
    if (result == memFullErr) throw std::bad_alloc();
    if (result != noErr) return false;
    const auto step = static_cast<std::size_t>(picture.width) * 4;
    const auto width = static_cast<std::size_t>(std::min(picture.width, frame->Width()));
    RowFormat format;
    format.kind = RowKind::kA888;
    for (int y = 0; y < std::min(picture.height, frame->Height()); ++y)
        ToPixels(format, picture.pixels.data() + static_cast<std::size_t>(y) * step, 0, width,
                 frame->Row(y));
    return true;
}

}  // namespace Ondrel::QuickDraw
