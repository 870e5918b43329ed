// Images from outside: any bytes are listed as an icon family, and read as a PNG file, as they are
// and with the checksums that they should have. What was read has the pixels that its size tells,
// and can be written and read again.
#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/IconFamily.h"
#include "ondrel/platform/Icons.h"
#include "ondrel/platform/Png.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

constexpr std::size_t kMostPixels = 1 << 16;

// The elements of a family that is whole fill it.
void ReadFamily(std::string_view bytes) {
    constexpr std::size_t kHead = 8;
    std::vector<IconElement> elements;
    const OSErr error = ListIconElements(bytes, &elements);
    std::size_t size = kHead;
    for (const IconElement& element : elements)
        size += kHead + element.size;
    Require(elements.empty() || size <= bytes.size());
    if (error == noErr) Require(size == Get32(bytes, 4));
}

// Inputs that were changed would mostly fail by their checksums.
std::string WithChecksums(std::string png) {
    constexpr std::size_t kSignature = 8;
    constexpr std::size_t kFrame = 12;
    for (std::size_t at = std::min(png.size(), kSignature); png.size() - at >= kFrame;) {
        const std::size_t length = Get32(png, at);
        if (length > png.size() - at - kFrame) break;
        Put32(png, at + 8 + length, libdeflate_crc32(0, png.data() + at + 4, 4 + length));
        at += kFrame + length;
    }
    return png;
}

void Rewrite(const PngPicture& picture) {
    const Image image = picture.AsImage();
    for (const auto append : {AppendPng, AppendQuickPng}) {
        std::string png;
        PngPicture same;
        Require(append(image, &png) == noErr);
        Require(ReadPng(png, &same) == noErr);
        Require(same.width == picture.width && same.pixels == picture.pixels);
    }
    std::string family;
    std::vector<IconElement> elements;
    Require(ComposeIconFamily(image, &family) == noErr);
    Require(ListIconElements(family, &elements) == noErr && !elements.empty());
}

void ReadPicture(std::string_view bytes) {
    PngPicture picture;
    if (ReadPng(bytes, &picture, kMostPixels) != noErr) {
        Require(picture.width == 0 && picture.pixels.empty());
        return;
    }
    const Image image = picture.AsImage();
    Require(image.IsValid());
    Require(picture.pixels.size() == image.rowBytes * static_cast<std::size_t>(image.height));
    Require(picture.pixels.size() <= 4 * kMostPixels);
    Rewrite(picture);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    ReadFamily(bytes);
    ReadPicture(bytes);
    ReadPicture(WithChecksums(bytes));
    return 0;
}
