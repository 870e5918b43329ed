// Icon families. Each size is drawn from the picture itself, with premultiplied colours, and stored
// with whole ones.
#include "ondrel/platform/IconFamily.h"

#include <algorithm>
#include <new>
#include <vector>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/Png.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {
namespace {

struct Size {
    int side;
    FourCC picture;
    FourCC mask;          // 0: the picture is a PNG file, which has it
    std::size_t padding;  // zero bytes before the planes
};

constexpr Size kSizes[] = {
    {16, MakeFourCC("is32"), MakeFourCC("s8mk"), 0},
    {32, MakeFourCC("il32"), MakeFourCC("l8mk"), 0},
    {128, MakeFourCC("it32"), MakeFourCC("t8mk"), 4},
    {256, MakeFourCC("ic08"), 0, 0},
    {512, MakeFourCC("ic09"), 0, 0},
};

constexpr std::size_t kElementHead = 8;
constexpr std::size_t kPixel = 4;
constexpr std::size_t kLongestRun = 130;
constexpr std::size_t kShortestRun = 3;
constexpr std::size_t kLongestPlain = 128;

// --- Drawing ------------------------------------------------------------------------------------

// Where a picture goes in a square, as large as it fits.
ImageRect Centred(const Image& image, int side) {
    const int longer = std::max(image.width, image.height);
    const auto scaled = [&](int length) {
        return std::max(1, static_cast<int>(std::int64_t{length} * side / longer));
    };
    const int width = scaled(image.width);
    const int height = scaled(image.height);
    return {(side - width) / 2, (side - height) / 2, width, height};
}

// Alpha first, colours whole again.
void Unpremultiply(std::vector<unsigned char>& pixels) {
    for (std::size_t at = 0; at < pixels.size(); at += kPixel) {
        const unsigned alpha = pixels[at];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t i = at + 1; i < at + kPixel; ++i)
            pixels[i] =
                static_cast<unsigned char>(std::min(255U, (pixels[i] * 255U + alpha / 2) / alpha));
    }
}

OSErr DrawSquare(const Image& image, int side, std::vector<unsigned char>* pixels) {
    const auto rowBytes = static_cast<std::size_t>(side) * kPixel;
    pixels->assign(rowBytes * static_cast<std::size_t>(side), 0);
    const OSErr error =
        DrawImage({pixels->data(), side, side, rowBytes}, Centred(image, side), image);
    if (error == noErr) Unpremultiply(*pixels);
    return error;
}

// --- Packing ------------------------------------------------------------------------------------

// How often the byte at `at` stands there, up to the longest run.
std::size_t RunAt(std::string_view plane, std::size_t at) {
    const std::size_t end = std::min(plane.size(), at + kLongestRun);
    std::size_t next = at + 1;
    while (next < end && plane[next] == plane[at])
        ++next;
    return next - at;
}

// Where the bytes that are no run end.
std::size_t EndOfPlain(std::string_view plane, std::size_t at) {
    const std::size_t end = std::min(plane.size(), at + kLongestPlain);
    while (at < end && RunAt(plane, at) < kShortestRun)
        ++at;
    return at;
}

std::string Plane(const std::vector<unsigned char>& pixels, std::size_t channel) {
    std::string plane;
    plane.reserve(pixels.size() / kPixel);
    for (std::size_t at = channel; at < pixels.size(); at += kPixel)
        plane.push_back(static_cast<char>(pixels[at]));
    return plane;
}

// --- Elements -----------------------------------------------------------------------------------

// Begins an element; its length is stored when it ends.
std::size_t Begin(FourCC type, std::string& family) {
    const std::size_t start = family.size();
    family.append(kElementHead, '\0');
    Put32(family, start, type);
    return start;
}

void End(std::size_t start, std::string& family) {
    Put32(family, start + 4, static_cast<std::uint32_t>(family.size() - start));
}

void AppendPlanes(const Size& size, const std::vector<unsigned char>& pixels, std::string& family) {
    std::size_t start = Begin(size.picture, family);
    family.append(size.padding, '\0');
    for (std::size_t channel = 1; channel < kPixel; ++channel)
        AppendPackedPlane(Plane(pixels, channel), &family);
    End(start, family);
    start = Begin(size.mask, family);
    family.append(Plane(pixels, 0));
    End(start, family);
}

OSErr AppendPngElement(const Size& size, const std::vector<unsigned char>& pixels,
                       std::string& family) {
    const std::size_t start = Begin(size.picture, family);
    const Image image{pixels.data(), size.side, size.side,
                      static_cast<std::size_t>(size.side) * kPixel, AlphaInfo::kFirst};
    const OSErr error = AppendPng(image, &family);
    End(start, family);
    return error;
}

OSErr Compose(const Image& image, std::string& family) {
    const std::size_t start = Begin(MakeFourCC("icns"), family);
    std::vector<unsigned char> pixels;
    for (const Size& size : kSizes) {
        OSErr error = DrawSquare(image, size.side, &pixels);
        if (error != noErr) return error;
        if (size.mask == 0)
            error = AppendPngElement(size, pixels, family);
        else
            AppendPlanes(size, pixels, family);
        if (error != noErr) return error;
        if (size.side >= std::max(image.width, image.height)) break;
    }
    End(start, family);
    return noErr;
}

}  // namespace

void AppendPackedPlane(std::string_view plane, std::string* packed) {
    for (std::size_t at = 0; at < plane.size();) {
        const std::size_t run = RunAt(plane, at);
        if (run >= kShortestRun) {
            packed->push_back(static_cast<char>(run + 125));
            packed->push_back(plane[at]);
            at += run;
            continue;
        }
        const std::size_t end = EndOfPlain(plane, at);
        packed->push_back(static_cast<char>(end - at - 1));
        packed->append(plane.substr(at, end - at));
        at = end;
    }
}

OSErr ComposeIconFamily(const Image& image, std::string* family) {
    if (!image.IsValid()) return paramErr;
    try {
        family->clear();
        return Compose(image, *family);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
}

}  // namespace Ondrel
