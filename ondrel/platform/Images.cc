// Drawing through pixman, and halving by our own code, which is what icons are mostly made with.
// Scaling treats the four bytes of a pixel alike, so that it can use the
// one pixel format that the compositor is fastest with; only putting the result over what is there
// needs to know which byte is alpha.
#include "ondrel/platform/Images.h"

#include <pixman.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "ondrel/platform/Halving.h"

namespace Ondrel {
namespace {

constexpr bool kLittle = std::endian::native == std::endian::little;
constexpr pixman_format_code_t kAnyOrder = PIXMAN_a8r8g8b8;
constexpr pixman_format_code_t kAlphaFirst = kLittle ? PIXMAN_b8g8r8a8 : PIXMAN_a8r8g8b8;
constexpr pixman_format_code_t kSkipFirst = kLittle ? PIXMAN_b8g8r8x8 : PIXMAN_x8r8g8b8;

constexpr std::size_t kPixel = 4;

bool IsRoomFor(const void* pixels, int width, int height, std::size_t rowBytes) {
    const bool isSize =
        width > 0 && height > 0 && width <= kMostImagePixels && height <= kMostImagePixels;
    return isSize && pixels != nullptr && reinterpret_cast<std::uintptr_t>(pixels) % kPixel == 0 &&
           rowBytes % kPixel == 0 && rowBytes / kPixel >= static_cast<std::size_t>(width) &&
           rowBytes <= static_cast<std::size_t>(std::numeric_limits<int>::max());
}

// --- Pixels -------------------------------------------------------------------------------------

// Pixels in memory of ours, or of the caller's.
struct Pixels {
    std::unique_ptr<std::uint32_t[]> own;
    const std::uint32_t* start = nullptr;
    int width = 0;
    int height = 0;
    std::size_t rowBytes = 0;
};

// Where pixels are put.
struct Target {
    std::uint32_t* start;
    int width;
    int height;
    std::size_t rowBytes;
};

// Makes the pixels' own memory, whatever is in it.
Target MakeOwn(int width, int height, Pixels* pixels) {
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    pixels->own = std::make_unique_for_overwrite<std::uint32_t[]>(count);
    pixels->start = pixels->own.get();
    pixels->width = width;
    pixels->height = height;
    pixels->rowBytes = static_cast<std::size_t>(width) * kPixel;
    return {pixels->own.get(), width, height, pixels->rowBytes};
}

struct Unref {
    void operator()(pixman_image_t* image) const { pixman_image_unref(image); }
};
using PixmanImage = std::unique_ptr<pixman_image_t, Unref>;

// What is drawn from is never written to, whatever the compositor's interface says.
PixmanImage Wrap(const void* pixels, int width, int height, std::size_t rowBytes,
                 pixman_format_code_t format) {
    auto* const bits = static_cast<std::uint32_t*>(const_cast<void*>(pixels));
    PixmanImage image(
        pixman_image_create_bits_no_clear(format, width, height, bits, static_cast<int>(rowBytes)));
    if (image == nullptr) throw std::bad_alloc();
    return image;
}

unsigned char Scaled(unsigned char colour, unsigned char alpha) {
    const unsigned product = colour * alpha + 128U;
    return static_cast<unsigned char>((product + (product >> 8)) >> 8);
}

Pixels Premultiplied(const Image& image) {
    Pixels pixels;
    auto* to = reinterpret_cast<unsigned char*>(MakeOwn(image.width, image.height, &pixels).start);
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* from = image.pixels + static_cast<std::size_t>(y) * image.rowBytes;
        for (int x = 0; x < image.width; ++x, from += kPixel, to += kPixel) {
            to[0] = from[0];
            for (int i = 1; i < 4; ++i)
                to[i] = Scaled(from[i], from[0]);
        }
    }
    return pixels;
}

// Every pixel is opaque, or zero all over: such are the same before and after the multiplication.
bool IsOpaqueOrZero(const Image& image) {
    const std::uint32_t alpha = kLittle ? 0x000000FF : 0xFF000000;
    for (int y = 0; y < image.height; ++y) {
        const unsigned char* from = image.pixels + static_cast<std::size_t>(y) * image.rowBytes;
        std::uint32_t others = 0;
        for (int x = 0; x < image.width; ++x, from += kPixel) {
            std::uint32_t pixel;
            std::memcpy(&pixel, from, kPixel);
            others |= (pixel & alpha) == alpha || pixel == 0 ? 0 : 1;
        }
        if (others != 0) return false;
    }
    return true;
}

Pixels PixelsOf(const Image& image) {
    if (image.alpha == AlphaInfo::kFirst && !IsOpaqueOrZero(image)) return Premultiplied(image);
    Pixels pixels;
    pixels.start = reinterpret_cast<const std::uint32_t*>(image.pixels);
    pixels.width = image.width;
    pixels.height = image.height;
    pixels.rowBytes = image.rowBytes;
    return pixels;
}

// --- Scaling ------------------------------------------------------------------------------------

pixman_fixed_t Ratio(int from, int to) {
    return static_cast<pixman_fixed_t>((std::int64_t{from} << 16) / to);
}

// Between neighbours: right for anything from half the size on.
void Interpolate(const Pixels& from, const Target& to) {
    const PixmanImage source = Wrap(from.start, from.width, from.height, from.rowBytes, kAnyOrder);
    const PixmanImage target = Wrap(to.start, to.width, to.height, to.rowBytes, kAnyOrder);
    pixman_transform_t transform;
    pixman_transform_init_scale(&transform, Ratio(from.width, to.width),
                                Ratio(from.height, to.height));
    if (!pixman_image_set_transform(source.get(), &transform) ||
        !pixman_image_set_filter(source.get(), PIXMAN_FILTER_BILINEAR, nullptr, 0))
        throw std::bad_alloc();
    pixman_image_set_repeat(source.get(), PIXMAN_REPEAT_PAD);
    pixman_image_composite32(PIXMAN_OP_SRC, source.get(), nullptr, target.get(), 0, 0, 0, 0, 0, 0,
                             to.width, to.height);
}

void Copy(const Pixels& from, const Target& to) {
    const auto* row = reinterpret_cast<const unsigned char*>(from.start);
    auto* toRow = reinterpret_cast<unsigned char*>(to.start);
    for (int y = 0; y < to.height; ++y, row += from.rowBytes, toRow += to.rowBytes)
        std::memcpy(toRow, row, static_cast<std::size_t>(to.width) * kPixel);
}

// The next size on the way: half as long as that is not too short, and then the size itself.
int Step(int from, int to) {
    return from / 2 <= to ? to : from / 2 + from % 2;
}

bool IsHalf(int from, int to) {
    return from == 2 * to;
}

bool IsSize(const Pixels& pixels, int width, int height) {
    return pixels.width == width && pixels.height == height;
}

// One step, from the size before it.
void ScaleStep(const Pixels& from, const Target& to) {
    if (IsSize(from, to.width, to.height))
        Copy(from, to);
    else if (IsHalf(from.width, to.width) && IsHalf(from.height, to.height))
        Halve(reinterpret_cast<const unsigned char*>(from.start), from.rowBytes, to.width,
              to.height, reinterpret_cast<unsigned char*>(to.start), to.rowBytes);
    else
        Interpolate(from, to);
}

void ScaleInto(Pixels pixels, const Target& to) {
    for (;;) {
        const int width = Step(pixels.width, to.width);
        const int height = Step(pixels.height, to.height);
        if (width == to.width && height == to.height) return ScaleStep(pixels, to);
        Pixels next;
        ScaleStep(pixels, MakeOwn(width, height, &next));
        pixels = std::move(next);
    }
}

Pixels ScaledTo(Pixels pixels, int width, int height) {
    if (IsSize(pixels, width, height)) return pixels;
    Pixels scaled;
    ScaleInto(std::move(pixels), MakeOwn(width, height, &scaled));
    return scaled;
}

// --- Drawing ------------------------------------------------------------------------------------

bool IsValid(const ImageRect& rect) {
    return rect.width > 0 && rect.height > 0 && rect.width <= kMostImagePixels &&
           rect.height <= kMostImagePixels;
}

bool Meets(const BitmapContext& context, const ImageRect& rect) {
    return rect.left < context.width && rect.top < context.height && rect.left > -rect.width &&
           rect.top > -rect.height;
}

bool IsInside(const BitmapContext& context, const ImageRect& rect) {
    return rect.left >= 0 && rect.top >= 0 && rect.width <= context.width - rect.left &&
           rect.height <= context.height - rect.top;
}

// The part of a context that a rectangle inside of it covers.
unsigned char* PlaceOf(const BitmapContext& context, const ImageRect& rect) {
    return context.pixels + static_cast<std::size_t>(rect.top) * context.rowBytes +
           static_cast<std::size_t>(rect.left) * kPixel;
}

// Half of an opaque picture, straight into the context: a document's icon begins with it.
bool DrawHalf(const BitmapContext& context, const ImageRect& rect, const Image& image) {
    if (image.alpha != AlphaInfo::kNoneSkipFirst || !IsInside(context, rect) ||
        !IsHalf(image.width, rect.width) || !IsHalf(image.height, rect.height))
        return false;
    HalveOpaque(image.pixels, image.rowBytes, rect.width, rect.height, PlaceOf(context, rect),
                context.rowBytes);
    return true;
}

void Draw(const BitmapContext& context, const ImageRect& rect, const Image& image) {
    if (DrawHalf(context, rect, image)) return;
    const bool isOpaque = image.alpha == AlphaInfo::kNoneSkipFirst;
    const Pixels pixels = ScaledTo(PixelsOf(image), rect.width, rect.height);
    const PixmanImage source = Wrap(pixels.start, pixels.width, pixels.height, pixels.rowBytes,
                                    isOpaque ? kSkipFirst : kAlphaFirst);
    const PixmanImage target =
        Wrap(context.pixels, context.width, context.height, context.rowBytes, kAlphaFirst);
    pixman_image_composite32(isOpaque ? PIXMAN_OP_SRC : PIXMAN_OP_OVER, source.get(), nullptr,
                             target.get(), 0, 0, 0, 0, rect.left, rect.top, rect.width,
                             rect.height);
}

// What is opaque replaces what is there anyway; its alpha has to be filled in.
void Put(const BitmapContext& context, const ImageRect& rect, const Image& image) {
    if (image.alpha == AlphaInfo::kNoneSkipFirst) return Draw(context, rect, image);
    auto* const start = reinterpret_cast<std::uint32_t*>(PlaceOf(context, rect));
    ScaleInto(PixelsOf(image), {start, rect.width, rect.height, context.rowBytes});
}

}  // namespace

bool Image::IsValid() const {
    return IsRoomFor(pixels, width, height, rowBytes);
}

bool BitmapContext::IsValid() const {
    return IsRoomFor(pixels, width, height, rowBytes);
}

OSErr DrawImage(const BitmapContext& context, const ImageRect& rect, const Image& image) {
    if (!context.IsValid() || !image.IsValid() || !IsValid(rect)) return paramErr;
    if (!Meets(context, rect)) return noErr;
    return OrMemFull([&] {
        Draw(context, rect, image);
        return noErr;
    });
}

OSErr PutImage(const BitmapContext& context, const ImageRect& rect, const Image& image) {
    if (!context.IsValid() || !image.IsValid() || !IsValid(rect) || !IsInside(context, rect))
        return paramErr;
    return OrMemFull([&] {
        Put(context, rect, image);
        return noErr;
    });
}

}  // namespace Ondrel
