// Pictures: any bytes are read and drawn as one. What was drawn is whole or was left alone, pixel
// by pixel, unless the picture was scaled. The pictures of the corpus are good seeds.
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "ondrel/platform/Pictures.h"

using namespace Ondrel;

namespace {

// Larger frames only cost time, until they are too large to be drawn at their own size.
constexpr std::int64_t kLargeFrame = std::int64_t{1} << 20;
constexpr std::int64_t kHugeFrame = std::int64_t{1} << 26;
constexpr int kSide = 64;

constexpr unsigned char kUntouched[4] = {0, 1, 2, 3};

void Draw(const Picture& picture, int width, int height) {
    std::vector<unsigned char> pixels;
    const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    pixels.reserve(count * 4);
    for (std::size_t i = 0; i < count; ++i)
        pixels.insert(pixels.end(), kUntouched, kUntouched + 4);
    const BitmapContext context{pixels.data(), width, height, static_cast<std::size_t>(width) * 4};
    if (picture.Render(context) != noErr) std::abort();
    if (width != picture.Width() || height != picture.Height()) return;
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        if (pixels[i] == 0xFF) continue;
        for (std::size_t j = 0; j < 4; ++j)
            if (pixels[i + j] != kUntouched[j]) std::abort();
    }
}

}  // namespace

// fontconfig packs some of its pointers, so that what it still holds seems to be lost.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "leak:libfontconfig";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Picture picture;
    if (picture.Read({reinterpret_cast<const char*>(data), size}) != noErr) return 0;
    const std::int64_t area = std::int64_t{picture.Width()} * picture.Height();
    const bool fits = picture.Width() <= kMostImagePixels && picture.Height() <= kMostImagePixels;
    if (area <= kLargeFrame && fits)
        Draw(picture, picture.Width(), picture.Height());
    else if (area >= kHugeFrame)
        Draw(picture, kSide, kSide);
    return 0;
}
