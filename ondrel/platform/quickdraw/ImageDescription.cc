#include "ondrel/platform/quickdraw/ImageDescription.h"

#include "ondrel/platform/quickdraw/SystemColors.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::size_t kFixedSize = 86;
constexpr int kFirstGrey = 32;

// An image may be this large whatever its data, and larger by as much for each byte of them.
constexpr std::size_t kAnyPixels = std::size_t{1} << 20;
constexpr std::size_t kPixelsOfByte = 256;

bool IsPlausible(int width, int height, std::size_t dataSize) {
    if (width <= 0 || height <= 0) return false;
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    return pixels <= kAnyPixels || (pixels - kAnyPixels) / kPixelsOfByte <= dataSize;
}

void SetSystemColors(CompressedImage* image) {
    const int bits = image->Bits();
    if (bits < 1 || bits > 8) return;
    image->colors = image->depth > kFirstGrey ? SystemGreys(bits) : SystemColors(bits);
}

}  // namespace

bool ReadImageDescription(PictureBytes& bytes, ImageDescription* description) {
    PictureBytes whole = bytes;
    const std::size_t size = whole.U32();
    if (size < kFixedSize) return false;
    PictureBytes fields(bytes.Take(size));
    fields.Skip(4);
    description->image.codec = fields.U32();
    fields.Skip(24);
    description->width = fields.S16();
    description->height = fields.S16();
    fields.Skip(8);
    description->dataSize = fields.U32();
    fields.Skip(2 + 32);  // number of frames, name
    description->image.depth = fields.S16();
    const bool hasColors = fields.U16() == 0;
    description->image.colors.fill(kBlack);
    std::uint32_t seed = 0;
    if (bytes.HasFailed()) return false;
    if (!hasColors || fields.Left() == 0 || !description->image.IsIndexed() ||
        !ReadColorTable(fields, &description->image.colors, &seed))
        SetSystemColors(&description->image);
    return true;
}

std::unique_ptr<Frame> DecodeImage(ImageDescription& description, Canvas& canvas) {
    const Decoder decode = DecoderOf(description.image.codec);
    const std::size_t dataSize = description.image.data.size();
    if (decode == nullptr || !IsPlausible(description.width, description.height, dataSize))
        return nullptr;
    const auto pixels = static_cast<std::uint64_t>(description.width) *
                        static_cast<std::uint64_t>(description.height);
    if (!canvas.Spend(4 * pixels)) return nullptr;
    auto frame = std::make_unique<Frame>(description.width, description.height);
    std::uint64_t work = canvas.WorkLeft();
    description.image.work = &work;
    const bool isDecoded = decode(description.image, frame.get());
    description.image.work = nullptr;
    (void)canvas.Spend(canvas.WorkLeft() - work);
    return isDecoded ? std::move(frame) : nullptr;
}

}  // namespace Ondrel::QuickDraw
