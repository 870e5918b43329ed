// Compressed images written out as bytes, and the frames that they become as text.
#ifndef TESTS_PLATFORM_QUICKDRAW_FRAMES_H
#define TESTS_PLATFORM_QUICKDRAW_FRAMES_H

#include <gtest/gtest.h>

#include <string>

#include "ondrel/platform/quickdraw/SystemColors.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"
#include "tests/platform/quickdraw/ImageCommands.h"

namespace Ondrel::QuickDraw::Testing {

// Indices 0 to 7 are white, red, green, blue, yellow, cyan, magenta and black; so are others.
inline ColorTable SomeColors() {
    ColorTable colors;
    colors.fill(kBlack);
    const Pixel first[] = {kWhite,     0xFFFF0000, 0xFF00FF00, 0xFF0000FF,
                           0xFFFFFF00, 0xFF00FFFF, 0xFFFF00FF, kBlack};
    std::copy(std::begin(first), std::end(first), colors.begin());
    return colors;
}

// A compressed image, to be decoded into a frame of that size.
struct FrameCase {
    const char* why;
    int depth;
    int width;
    int height;
    std::string data;
    const char* result;
};

// The frame as Letters() gives it, or Colors(); "none" where nothing could be made of the data.
inline std::string Decoded(FourCC codec, const FrameCase& of,
                           std::string (*text)(const Canvas&) = Letters) {
    CompressedImage image;
    image.codec = codec;
    image.depth = of.depth;
    image.colors = of.depth > 32 ? SystemGreys(of.depth - 32) : SomeColors();
    const std::vector<char> data(of.data.begin(), of.data.end());  // nothing readable behind it
    image.data = {data.data(), data.size()};
    Frame frame(of.width, of.height);
    if (!DecoderOf(codec)(image, &frame)) return "none";
    Canvas canvas(of.width, of.height, 0);
    for (int y = 0; y < of.height; ++y)
        std::copy_n(frame.Row(y), of.width, canvas.Row(y));
    return text(canvas);
}

// Decodes the data cut off at every byte, which must neither crash nor read what is not there.
inline void CutEverywhere(FourCC codec, FrameCase of) {
    const std::string whole = of.data;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        of.data = whole.substr(0, size);
        const std::string text = Decoded(codec, of);
        EXPECT_TRUE(text == "none" || text.size() == (static_cast<std::size_t>(of.width) + 1) *
                                                         static_cast<std::size_t>(of.height))
            << of.why << " cut at " << size;
    }
}

}  // namespace Ondrel::QuickDraw::Testing

#endif
