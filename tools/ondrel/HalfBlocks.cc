// Rows of pixels as characters.
#include "tools/ondrel/HalfBlocks.h"

#include <fmt/format.h>

#include <cstdint>

namespace OndrelTool {
namespace {

constexpr const char* kUpper = "\xE2\x96\x80";
constexpr const char* kLower = "\xE2\x96\x84";
constexpr const char* kShades[] = {" ", "\xE2\x96\x91", "\xE2\x96\x92", "\xE2\x96\x93",
                                   "\xE2\x96\x88"};

struct Colour {
    bool isSeen = false;
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
    bool operator==(const Colour&) const = default;
};

Colour ColourAt(const Pixels& picture, int x, int y) {
    if (y >= picture.height) return {};
    const std::size_t at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                            static_cast<std::size_t>(x)) *
                           4;
    const unsigned char* const pixel = picture.pixels.data() + at;
    if (pixel[0] < 128) return {};
    return {true, pixel[1], pixel[2], pixel[3]};
}

// Sets the colour of what is drawn (38) or of the ground behind it (48).
std::string Code(int which, const Colour& colour) {
    if (!colour.isSeen) return fmt::format("\x1B[{}m", which + 1);
    return fmt::format("\x1B[{};2;{};{};{}m", which, colour.red, colour.green, colour.blue);
}

std::string ColourLine(const Pixels& picture, int y) {
    std::string line;
    Colour front;
    Colour ground;
    for (int x = 0; x < picture.width; ++x) {
        const Colour upper = ColourAt(picture, x, y);
        const Colour lower = ColourAt(picture, x, y + 1);
        const Colour& drawn = upper.isSeen ? upper : lower;
        const Colour behind = upper.isSeen ? lower : Colour{};
        if (behind != ground) line += Code(48, ground = behind);
        if (drawn.isSeen && drawn != front) line += Code(38, front = drawn);
        line += upper.isSeen ? kUpper : lower.isSeen ? kLower : " ";
    }
    return line + "\x1B[0m\n";
}

// How dark the two pixels are, 0 to 4.
std::size_t ShadeAt(const Pixels& picture, int x, int y) {
    unsigned darkness = 0;
    for (int i = 0; i < 2; ++i) {
        const Colour colour = ColourAt(picture, x, y + i);
        if (colour.isSeen)
            darkness +=
                255 - (2126U * colour.red + 7152U * colour.green + 722U * colour.blue) / 10000;
    }
    return (darkness * 4 + 255) / 510;
}

std::string ShadeLine(const Pixels& picture, int y) {
    std::string line;
    for (int x = 0; x < picture.width; ++x)
        line += kShades[ShadeAt(picture, x, y)];
    return line + "\n";
}

}  // namespace

std::string HalfBlocks(const Pixels& picture, bool colours) {
    std::string lines;
    for (int y = 0; y < picture.height; y += 2)
        lines += colours ? ColourLine(picture, y) : ShadeLine(picture, y);
    return lines;
}

}  // namespace OndrelTool
