// Planes of colour in packed rows: the lengths of all rows, 2 bytes each, then the rows, plane by
// plane. Images of 32 bits have their alpha in a fourth plane.
#include "ondrel/platform/quickdraw/PackedRows.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::size_t kMostPlanes = 4;

// Reads the rows of one plane and lays them into the pixels.
class Planes {
 public:
    Planes(const CompressedImage& image, Frame* frame)
        : image_(image), frame_(*frame), row_(static_cast<std::size_t>(frame->Width())) {}

    void Read(std::size_t plane, PictureBytes& lengths, PictureBytes& rows) {
        for (int y = 0; y < frame_.Height(); ++y) {
            const std::string_view packed = rows.Take(lengths.U16());
            if (lengths.HasFailed() || rows.HasFailed()) return;
            const auto width = static_cast<std::size_t>(frame_.Width());
            const std::size_t made = UnpackBytes(packed, row_.data(), width).made;
            for (std::size_t x = 0; x < made; ++x)
                Lay(plane, row_[x], &frame_.Row(y)[x]);
        }
    }

 private:
    void Lay(std::size_t plane, std::uint8_t value, Pixel* pixel) const {
        if (image_.IsIndexed())
            *pixel = image_.colors[value];
        else if (plane < 3)
            *pixel |= static_cast<Pixel>(value) << (16 - 8 * plane) | kOpaque;
        else if (image_.hasAlpha)
            *pixel = (*pixel & ~kOpaque) | static_cast<Pixel>(value) << 24;
    }

    const CompressedImage& image_;
    Frame& frame_;
    std::vector<std::uint8_t> row_;
};

}  // namespace

bool DecodePlanar(const CompressedImage& image, Frame* frame) {
    if (image.Bits() != 8 && image.Bits() != 24 && image.Bits() != 32) return false;
    const std::size_t planes = static_cast<std::size_t>(image.Bits()) / 8;
    PictureBytes lengths(image.data);
    PictureBytes rows(image.data);
    rows.Skip(planes * static_cast<std::size_t>(frame->Height()) * 2);
    if (rows.HasFailed()) return false;
    Planes into(image, frame);
    for (std::size_t plane = 0; plane < std::min(planes, kMostPlanes); ++plane)
        into.Read(plane, lengths, rows);
    return true;
}

}  // namespace Ondrel::QuickDraw
