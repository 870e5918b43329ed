// Icon families. The sizes are drawn with premultiplied colours, and stored with whole ones.
#include "ondrel/platform/IconFamily.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
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

// The picture in one size.
struct Square {
    std::unique_ptr<unsigned char[]> pixels;
    int side = 0;

    void Make(int newSide) {
        side = newSide;
        pixels = std::make_unique_for_overwrite<unsigned char[]>(Size());
    }
    std::size_t RowBytes() const { return static_cast<std::size_t>(side) * kPixel; }
    std::size_t Size() const { return RowBytes() * static_cast<std::size_t>(side); }
    Image AsImage(AlphaInfo alpha) const { return {pixels.get(), side, side, RowBytes(), alpha}; }
};

bool HasHalfTransparent(const Square& square) {
    unsigned between = 0;
    for (std::size_t at = 0; at < square.Size(); at += kPixel)
        between |= (square.pixels[at] + 1U) & 0xFE;  // 0 for alpha 0 and 255
    return between != 0;
}

// Alpha first, colours whole again.
void Unpremultiply(const Square& square) {
    if (!HasHalfTransparent(square)) return;
    for (std::size_t at = 0; at < square.Size(); at += kPixel) {
        const unsigned alpha = square.pixels[at];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t i = at + 1; i < at + kPixel; ++i)
            square.pixels[i] = static_cast<unsigned char>(
                std::min(255U, (square.pixels[i] * 255U + alpha / 2) / alpha));
    }
}

// Draws the picture into a square that is transparent elsewhere; its colours stay premultiplied.
OSErr DrawSquare(const Image& image, const Square& square) {
    const ImageRect rect = Centred(image, square.side);
    if (rect.width != square.side || rect.height != square.side)
        std::memset(square.pixels.get(), 0, square.Size());
    return PutImage({square.pixels.get(), square.side, square.side, square.RowBytes()}, rect,
                    image);
}

// Whether a size tells more of the picture than the one before it. A PNG file costs much, so that
// it is made only of a picture that fills it.
bool GivesSense(const Size& size, const Size& before, int longerSide) {
    return size.mask == 0 ? longerSide >= size.side : longerSide > before.side;
}

std::size_t CountSizes(int longerSide) {
    std::size_t count = 1;
    while (count < std::size(kSizes) && GivesSense(kSizes[count], kSizes[count - 1], longerSide))
        ++count;
    return count;
}

// Draws all squares, the largest first: a smaller one is drawn from it, unless it was itself made
// larger than the picture.
OSErr DrawSquares(const Image& image, std::vector<Square>* squares) {
    Image source = image;
    squares->resize(CountSizes(LongerSide(image)));
    for (std::size_t i = squares->size(); i-- > 0;) {
        Square& square = (*squares)[i];
        square.Make(kSizes[i].side);
        if (const OSErr error = DrawSquare(source, square); error != noErr) return error;
        if (square.side <= LongerSide(image))
            source = square.AsImage(AlphaInfo::kPremultipliedFirst);
    }
    for (const Square& square : *squares)
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

std::string Plane(const Square& square, std::size_t channel) {
    std::string plane(square.Size() / kPixel, '\0');
    const unsigned char* from = square.pixels.get() + channel;
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

void AppendPlanes(const Size& size, const Square& square, std::string& family) {
    std::size_t start = Begin(size.picture, family);
    family.append(size.padding, '\0');
    for (std::size_t channel = 1; channel < kPixel; ++channel)
        AppendPackedPlane(Plane(square, channel), &family);
    End(start, family);
    start = Begin(size.mask, family);
    family.append(Plane(square, 0));
    End(start, family);
}

OSErr AppendPngElement(const Size& size, const Square& square, std::string& family) {
    const std::size_t start = Begin(size.picture, family);
    const OSErr error = AppendQuickPng(square.AsImage(AlphaInfo::kFirst), &family);
    End(start, family);
    return error;
}

OSErr Compose(const Image& image, std::string& family) {
    std::vector<Square> squares;
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

std::size_t RoomForIconFamily(int longerSide) {
    constexpr std::size_t kAround = 256;   // heads, and what a PNG file has before its pixels
    constexpr std::size_t kAroundRow = 8;  // of a PNG file; planes that do not pack need less
    std::size_t room = kAround;
    for (std::size_t i = 0; i < CountSizes(longerSide); ++i) {
        const auto side = static_cast<std::size_t>(kSizes[i].side);
        room += kAround + side * (kPixel * side + kAroundRow);
    }
    return room;
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
