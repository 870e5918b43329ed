// Pictures, scaled, rendered and packed by the library.
#include "tools/ondrel/Pixels.h"

#include <algorithm>
#include <cstdint>

#include "ondrel/platform/Pictures.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/FileArgument.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

constexpr std::size_t kPixel = 4;
constexpr std::size_t kMostPngBytes = std::size_t{1} << 30;

BitmapContext ContextOf(Pixels* pixels) {
    return {pixels->pixels.data(), pixels->width, pixels->height,
            static_cast<std::size_t>(pixels->width) * kPixel};
}

// A context's colours are multiplied by alpha; ours are not.
void Unpremultiply(Pixels* picture) {
    std::vector<unsigned char>& bytes = picture->pixels;
    for (std::size_t at = 0; at < bytes.size(); at += kPixel) {
        const unsigned alpha = bytes[at];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t i = at + 1; i < at + kPixel; ++i)
            bytes[i] =
                static_cast<unsigned char>(std::min(255U, (bytes[i] * 255U + alpha / 2) / alpha));
    }
}

struct Size {
    int width;
    int height;
};

// The largest size of the same proportions within bounds, no side below 1.
Size SizeWithin(Size size, int mostWidth, int mostHeight) {
    if (size.width <= mostWidth && size.height <= mostHeight) return size;
    const std::int64_t width = size.width;
    const std::int64_t height = size.height;
    if (width * mostHeight > height * mostWidth)
        return {mostWidth, std::max(1, static_cast<int>(height * mostWidth / width))};
    return {std::max(1, static_cast<int>(width * mostHeight / height)), mostHeight};
}

}  // namespace

Pixels MakePixels(int width, int height) {
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    if (width < 1 || height < 1 || width > kMostImagePixels || height > kMostImagePixels ||
        count > kMostPngPixels)
        Fail("", "a picture of " + std::to_string(width) + " x " + std::to_string(height) +
                     " pixels is too large");
    Pixels picture;
    picture.width = width;
    picture.height = height;
    picture.pixels.resize(count * kPixel);
    return picture;
}

Pixels ScaledTo(const Pixels& picture, int width, int height) {
    Pixels scaled = MakePixels(width, height);
    FailOnError(DrawImage(ContextOf(&scaled), {0, 0, width, height}, picture.AsImage()), "");
    Unpremultiply(&scaled);
    return scaled;
}

Pixels FitInto(const Pixels& picture, int mostWidth, int mostHeight) {
    const Size size = SizeWithin({picture.width, picture.height}, mostWidth, mostHeight);
    if (size.width == picture.width && size.height == picture.height) return picture;
    return ScaledTo(picture, size.width, size.height);
}

Pixels OnWhite(Pixels picture) {
    for (std::size_t at = 0; at < picture.pixels.size(); at += kPixel) {
        const unsigned alpha = picture.pixels[at];
        for (std::size_t i = at + 1; i < at + kPixel; ++i)
            picture.pixels[i] = static_cast<unsigned char>(
                (picture.pixels[i] * alpha + 255 * (255 - alpha) + 127) / 255);
        picture.pixels[at] = 255;
    }
    return picture;
}

std::string PngOf(const Pixels& picture, std::string_view subject) {
    std::string png;
    FailOnError(AppendPng(picture.AsImage(), &png), subject);
    return png;
}

Pixels ReadPngFile(const std::string& file) {
    const std::string bytes = ReadWholeFile(file, kMostPngBytes);
    Pixels picture;
    const OSErr error = ReadPng(bytes, &picture);
    if (error == paramErr) Fail(file, "is no PNG file, or a damaged or too large one");
    FailOnError(error, file);
    return picture;
}

std::optional<Pixels> RenderPicture(std::string_view bytes, int mostSide) {
    Picture picture;
    const OSErr error = picture.Read(bytes);
    if (error == memFullErr) FailOnError(error, "");
    if (error != noErr) return std::nullopt;
    const Size size = SizeWithin({picture.Width(), picture.Height()}, mostSide, mostSide);
    Pixels pixels = MakePixels(size.width, size.height);
    FailOnError(picture.Render(ContextOf(&pixels)), "");
    Unpremultiply(&pixels);
    return pixels;
}

}  // namespace OndrelTool
