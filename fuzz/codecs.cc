// Compressed images: the first four bytes choose the compressor, the depth and the size, the others
// are the data. What is decoded of them stays in the frame, and takes no more work than it may.
#include <cstdint>
#include <string_view>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

using namespace Ondrel;
using namespace Ondrel::QuickDraw;
using OndrelFuzz::Require;

namespace {

constexpr std::size_t kChoices = 4;
constexpr std::uint64_t kWork = 1'000'000;

constexpr FourCC kCodecs[] = {MakeFourCC("jpeg"), MakeFourCC("png "), MakeFourCC("raw "),
                              MakeFourCC("rle "), MakeFourCC("smc "), MakeFourCC("rpza"),
                              MakeFourCC("cvid"), MakeFourCC("8BPS"), MakeFourCC("qdrw"),
                              MakeFourCC("none")};
constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32, 33, 34, 36, 40, 0, -1, 5, 64};

ColorTable SomeColors() {
    ColorTable colors;
    for (std::size_t i = 0; i < colors.size(); ++i)
        colors[i] = kOpaque | static_cast<Pixel>(i * 0x010307);
    return colors;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kChoices) return 0;
    // Nothing that can be read lies behind the data.
    const std::vector<char> bytes(data + kChoices, data + size);
    CompressedImage image;
    image.codec = kCodecs[data[0] % std::size(kCodecs)];
    image.depth = kDepths[data[1] % std::size(kDepths)];
    image.hasAlpha = data[1] >= 128;
    image.colors = SomeColors();
    image.data = {bytes.data(), bytes.size()};
    std::uint64_t work = kWork;
    image.work = &work;
    const Decoder decode = DecoderOf(image.codec);
    Require((decode == nullptr) == (data[0] % std::size(kCodecs) == std::size(kCodecs) - 1));
    if (decode == nullptr) return 0;
    Frame frame(data[2] + 1, data[3] + 1);
    (void)decode(image, &frame);
    Require(work <= kWork);
    return 0;
}
