// Images that are not compressed at all. Their rows are padded, how far is not told: to 1, 2, 4 or
// 16 bytes as it fits the data.
#include "ondrel/platform/quickdraw/codecs/Codecs.h"
#include "ondrel/platform/quickdraw/codecs/PixelFormat.h"

namespace Ondrel::QuickDraw {
namespace {

std::size_t Padded(std::size_t size, std::size_t unit) {
    return (size + unit - 1) / unit * unit;
}

// The bytes from one row to the next.
std::size_t RowBytes(std::size_t least, std::size_t rows, std::size_t all) {
    for (const std::size_t unit : {2U, 4U, 16U, 1U}) {
        if (Padded(least, unit) * rows == all) return Padded(least, unit);
    }
    for (const std::size_t unit : {2U, 1U}) {
        if (Padded(least, unit) * rows <= all) return Padded(least, unit);
    }
    return Padded(least, 2);
}

}  // namespace

bool DecodeRaw(const CompressedImage& image, Frame* frame) {
    const RowFormat format = FormatOf(image);
    if (format.bits == 0) return false;
    const auto width = static_cast<std::size_t>(frame->Width());
    const std::size_t least = (width * static_cast<std::size_t>(format.bits) + 7) / 8;
    const std::size_t step =
        RowBytes(least, static_cast<std::size_t>(frame->Height()), image.data.size());
    std::string_view left = image.data;
    for (int y = 0; y < frame->Height() && left.size() >= least; ++y) {
        ToPixels(format, reinterpret_cast<const std::uint8_t*>(left.data()), 0, width,
                 frame->Row(y));
        left.remove_prefix(std::min(step, left.size()));
    }
    return image.data.size() >= least;
}

}  // namespace Ondrel::QuickDraw
