// Icon families. The sizes are drawn with premultiplied colours, and stored with whole ones.
#include "ondrel/platform/IconFamily.h"

#include <algorithm>
#include <iterator>
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

int LongerSide(const Image& image) {
    return std::max(image.width, image.height);
}

// Where a picture goes in a square, as large as it fits.
ImageRect Centred(const Image& image, int side) {
    const int longer = LongerSide(image);
    const auto scaled = [&](int length) {
        return std::max(1, static_cast<int>(std::int64_t{length} * side / longer));
    };
    const int width = scaled(image.width);
    const int height = scaled(image.height);
    return {(side - width) / 2, (side - height) / 2, width, height};
}

bool HasHalfTransparent(const std::vector<unsigned char>& pixels) {
    unsigned between = 0;
    for (std::size_t at = 0; at < pixels.size(); at += kPixel)
        between |= (pixels[at] + 1U) & 0xFE;  // 0 for alpha 0 and 255
    return between != 0;
}

// Alpha first, colours whole again.
void Unpremultiply(std::vector<unsigned char>& pixels) {
    if (!HasHalfTransparent(pixels)) return;
    for (std::size_t at = 0; at < pixels.size(); at += kPixel) {
        const unsigned alpha = pixels[at];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t i = at + 1; i < at + kPixel; ++i)
            pixels[i] =
                static_cast<unsigned char>(std::min(255U, (pixels[i] * 255U + alpha / 2) / alpha));
    }
}

// Draws the picture into a square; its colours stay premultiplied.
OSErr DrawSquare(const Image& image, int side, std::vector<unsigned char>* square) {
    const auto rowBytes = static_cast<std::size_t>(side) * kPixel;
    square->assign(rowBytes * static_cast<std::size_t>(side), 0);
    return DrawImage({square->data(), side, side, rowBytes}, Centred(image, side), image);
}

Image AsImage(const std::vector<unsigned char>& square, int side, AlphaInfo alpha) {
    return {square.data(), side, side, static_cast<std::size_t>(side) * kPixel, alpha};
}

// Whether a size tells more of the picture than the one before it. A PNG file costs much, so that
// it is made only of a picture that fills it.
bool GivesSense(const Size& size, const Size& before, const Image& image) {
    return size.mask == 0 ? LongerSide(image) >= size.side : LongerSide(image) > before.side;
}

std::size_t CountSizes(const Image& image) {
    std::size_t count = 1;
    while (count < std::size(kSizes) && GivesSense(kSizes[count], kSizes[count - 1], image))
        ++count;
    return count;
}

// Draws all squares, the largest first: a smaller one is drawn from it, unless it was itself made
// larger than the picture.
OSErr DrawSquares(const Image& image, std::vector<std::vector<unsigned char>>* squares) {
    Image source = image;
    squares->resize(CountSizes(image));
    for (std::size_t i = squares->size(); i-- > 0;) {
        std::vector<unsigned char>& square = (*squares)[i];
        const int side = kSizes[i].side;
        if (const OSErr error = DrawSquare(source, side, &square); error != noErr) return error;
        if (side <= LongerSide(image))
            source = AsImage(square, side, AlphaInfo::kPremultipliedFirst);
    }
    for (std::vector<unsigned char>& square : *squares)
        Unpremultiply(square);
    return noErr;
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
    const std::size_t lastRun = plane.size() - std::min(plane.size(), kShortestRun - 1);
    while (at < std::min(end, lastRun) &&
           !(plane[at] == plane[at + 1] && plane[at] == plane[at + 2]))
        ++at;
    return at < lastRun ? at : end;
}

std::string Plane(const std::vector<unsigned char>& pixels, std::size_t channel) {
    std::string plane(pixels.size() / kPixel, '\0');
    const unsigned char* from = pixels.data() + channel;
    for (char& byte : plane) {
        byte = static_cast<char>(*from);
        from += kPixel;
    }
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
    const OSErr error = AppendQuickPng(AsImage(pixels, size.side, AlphaInfo::kFirst), &family);
    End(start, family);
    return error;
}

OSErr Compose(const Image& image, std::string& family) {
    std::vector<std::vector<unsigned char>> squares;
    if (const OSErr error = DrawSquares(image, &squares); error != noErr) return error;
    const std::size_t start = Begin(MakeFourCC("icns"), family);
    for (std::size_t i = 0; i < squares.size(); ++i) {
        OSErr error = noErr;
        if (kSizes[i].mask == 0)
            error = AppendPngElement(kSizes[i], squares[i], family);
        else
            AppendPlanes(kSizes[i], squares[i], family);
        if (error != noErr) return error;
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
