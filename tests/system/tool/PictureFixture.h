// Pictures for the tests of the tool: a small PICT written out, and PNG files looked into.
#ifndef TESTS_SYSTEM_TOOL_PICTUREFIXTURE_H
#define TESTS_SYSTEM_TOOL_PICTUREFIXTURE_H

#include <string>
#include <string_view>

#include "ondrel/platform/Png.h"
#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {

// 20 by 10 pixels: the left half is black, the right half is not drawn.
inline std::string HalfBlackPict() {
    return Bytes(
        "00 00  00 00 00 00 00 0A 00 14"  // size, frame
        "11 01"                           // version 1
        "31 00 00 00 00 00 0A 00 0A"      // paint a rectangle
        "FF");
}

inline ::Ondrel::PngPicture Unpacked(std::string_view png) {
    ::Ondrel::PngPicture picture;
    EXPECT_EQ(ReadPng(png, &picture), 0) << "no PNG file of " << png.size() << " bytes";
    return picture;
}

// A pixel's alpha, red, green and blue as text; of transparent ones the alpha alone.
inline std::string PixelAt(const ::Ondrel::PngPicture& picture, int x, int y) {
    const std::size_t at = static_cast<std::size_t>(y * picture.width + x) * 4;
    const std::string_view all(reinterpret_cast<const char*>(picture.pixels.data()),
                               picture.pixels.size());
    if (at + 4 > all.size()) return "outside";
    return Hex(all.substr(at, all[at] == 0 ? 1 : 4));
}

}  // namespace OndrelTool::Testing

#endif
