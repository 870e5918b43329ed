// Drawing, reading and comparing rasters.
#include "tests/platform/quickdraw/CorpusPictures.h"

#include <algorithm>
#include <cstdlib>

#include "ondrel/platform/Pictures.h"
#include "ondrel/platform/Png.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr std::size_t kPixelBytes = 4;

}  // namespace

Raster::Raster(int w, int h)
    : width(w),
      height(h),
      pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * kPixelBytes, 255) {}

unsigned char* Raster::At(int x, int y) {
    return const_cast<unsigned char*>(static_cast<const Raster*>(this)->At(x, y));
}

const unsigned char* Raster::At(int x, int y) const {
    return pixels.data() + (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(x)) *
                               kPixelBytes;
}

Image Raster::AsImage() const {
    return {pixels.data(), width, height, static_cast<std::size_t>(width) * kPixelBytes,
            AlphaInfo::kPremultipliedFirst};
}

BitmapContext Raster::AsContext() {
    return {pixels.data(), width, height, static_cast<std::size_t>(width) * kPixelBytes};
}

OSErr DrawPicture(std::string_view bytes, int width, int height, Raster* drawn) {
    Picture picture;
    if (const OSErr code = picture.Read(bytes); code != noErr) return code;
    *drawn = Raster(width, height);
    return picture.Render(drawn->AsContext());
}

OSErr DrawPicture(std::string_view bytes, Raster* drawn) {
    Picture picture;
    if (const OSErr code = picture.Read(bytes); code != noErr) return code;
    return DrawPicture(bytes, picture.Width(), picture.Height(), drawn);
}

std::optional<Raster> ReadReference(const std::string& path) {
    PngPicture png;
    if (path.empty() || ReadPng(ReadAll(path), &png) != noErr) return std::nullopt;
    Raster raster(png.width, png.height);
    const ImageRect whole{0, 0, png.width, png.height};
    if (DrawImage(raster.AsContext(), whole, png.AsImage()) != noErr) return std::nullopt;
    return raster;
}

Raster Scaled(const Raster& raster, int width, int height) {
    Raster scaled(width, height);
    (void)DrawImage(scaled.AsContext(), {0, 0, width, height}, raster.AsImage());
    return scaled;
}

// The means of as many rectangles across and down, each of which is at least a pixel.
Raster MeansOf(const Raster& raster, int across, int down) {
    Raster means(across, down);
    for (int y = 0; y < down; ++y) {
        for (int x = 0; x < across; ++x) {
            const int left = x * raster.width / across;
            const int right = std::max(left + 1, (x + 1) * raster.width / across);
            const int top = y * raster.height / down;
            const int bottom = std::max(top + 1, (y + 1) * raster.height / down);
            for (int channel = 1; channel < 4; ++channel) {
                long sum = 0;
                for (int row = top; row < bottom; ++row)
                    for (int column = left; column < right; ++column)
                        sum += raster.At(column, row)[channel];
                means.At(x, y)[channel] =
                    static_cast<unsigned char>(sum / (long{right - left} * (bottom - top)));
            }
        }
    }
    return means;
}

Difference Compare(const Raster& a, const Raster& b) {
    Difference difference;
    double sum = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i) {
        const int apart = std::abs(a.pixels[i] - b.pixels[i]);
        difference.most = std::max(difference.most, apart);
        sum += apart;
    }
    difference.mean = sum / (static_cast<double>(a.pixels.size()) * 3 / kPixelBytes);
    return difference;
}

Difference CompareFromAfar(const Raster& a, const Raster& b) {
    constexpr int kSide = 8;
    constexpr int kMost = 24;
    const int across = std::clamp(std::min(a.width, b.width) / kSide, 1, kMost);
    const int down = std::clamp(std::min(a.height, b.height) / kSide, 1, kMost);
    return Compare(MeansOf(a, across, down), MeansOf(b, across, down));
}

}  // namespace Ondrel::Testing
