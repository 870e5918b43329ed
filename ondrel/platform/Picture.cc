// Pictures: found in their bytes, and drawn on a canvas that is then laid over the context.
//
// The canvas has the size of the picture's frame, so that pixels are what the picture's rules give
// and a smaller context gets averages of them; for frames of very many pixels it has the context's
// size, and coordinates are scaled instead.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

#include "ondrel/platform/Pictures.h"
#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/platform/quickdraw/Player.h"

namespace Ondrel {

namespace {

constexpr std::int64_t kMostFramePixels = std::int64_t{16} << 20;

// The work that a picture may ask for, in units of a few nanoseconds: some however small it is,
// more for each byte and pixel of it.
std::uint64_t WorkFor(std::size_t bytes, int width, int height) {
    constexpr std::uint64_t kAnyPicture = 32'000'000;
    constexpr std::uint64_t kByte = 24;
    constexpr std::uint64_t kPixel = 4;
    return kAnyPicture + kByte * bytes +
           kPixel * static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
}

bool IsDrawnAtFrameSize(int width, int height) {
    return width <= kMostImagePixels && height <= kMostImagePixels &&
           std::int64_t{width} * height <= kMostFramePixels;
}

// The bytes of a pixel in the order that images have them: alpha, red, green, blue.
QuickDraw::Pixel InOrder(QuickDraw::Pixel pixel) {
    return std::endian::native == std::endian::big ? pixel : __builtin_bswap32(pixel);
}

// Pixels are opaque, or zero where nothing was drawn: then what is there stays.
void LayOver(const QuickDraw::Pixel* pixels, int count, QuickDraw::Pixel* there) {
    for (int x = 0; x < count; ++x)
        there[x] = pixels[x] != 0 ? InOrder(pixels[x]) : there[x];
}

void DrawAtSize(const BitmapContext& context, const QuickDraw::Canvas& canvas) {
    for (int y = 0; y < canvas.Height(); ++y) {
        unsigned char* const row = context.pixels + static_cast<std::size_t>(y) * context.rowBytes;
        LayOver(canvas.Row(y), canvas.Width(), reinterpret_cast<QuickDraw::Pixel*>(row));
    }
}

OSErr DrawScaled(const BitmapContext& context, QuickDraw::Canvas& canvas) {
    for (int y = 0; y < canvas.Height(); ++y) {
        QuickDraw::Pixel* const row = canvas.Row(y);
        for (int x = 0; x < canvas.Width(); ++x)
            row[x] = InOrder(row[x]);
    }
    Image image;
    image.pixels = reinterpret_cast<const unsigned char*>(canvas.Row(0));
    image.width = canvas.Width();
    image.height = canvas.Height();
    image.rowBytes = static_cast<std::size_t>(image.width) * sizeof(QuickDraw::Pixel);
    image.alpha = AlphaInfo::kPremultipliedFirst;
    return DrawImage(context, {0, 0, context.width, context.height}, image);
}

OSErr DrawOver(const BitmapContext& context, QuickDraw::Canvas& canvas) {
    if (canvas.Width() != context.width || canvas.Height() != context.height)
        return DrawScaled(context, canvas);
    DrawAtSize(context, canvas);
    return noErr;
}

}  // namespace

OSErr Picture::Read(std::string_view bytes) {
    *this = Picture();
    const std::size_t start = QuickDraw::FindPicture(bytes);
    if (start == std::string_view::npos) return paramErr;
    QuickDraw::PictureHead head;
    if (!QuickDraw::ReadPictureHead(bytes.substr(start), &head)) return paramErr;
    try {
        bytes_ = bytes.substr(start);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
    width_ = head.frame.Width();
    height_ = head.frame.Height();
    return noErr;
}

OSErr Picture::Render(const BitmapContext& context) const {
    QuickDraw::PictureHead head;
    if (!QuickDraw::ReadPictureHead(bytes_, &head) || !context.IsValid()) return paramErr;
    const bool isFrameSize = IsDrawnAtFrameSize(width_, height_);
    const int width = isFrameSize ? width_ : context.width;
    const int height = isFrameSize ? height_ : context.height;
    try {
        QuickDraw::Canvas canvas(width, height, WorkFor(bytes_.size(), width, height));
        QuickDraw::PlayPicture(bytes_, head, canvas);
        return DrawOver(context, canvas);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace Ondrel
