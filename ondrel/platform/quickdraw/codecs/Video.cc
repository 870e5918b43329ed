// The compressor of video in 16-bit colours, by blocks.
//
//   1  0xE1      3  length of all      then codes, for a block or several:
//
//   0x80 + n      leaves n + 1 blocks out
//   0xA0 + n      n + 1 blocks of one colour                2  colour
//   0xC0 + n      n + 1 blocks of four colours              2  first  2  last  4 each: indices
//   below 0x80    begins a colour of 15 bits; the top bit of what follows it tells which of
//                   one block of four colours               2  first  2  last  4  indices
//                   one block of 16 colours                 32
//
// Indices have two bits, from the block's top left; 0 is the last colour and 3 the first, 1 and 2
// lie a third of the way between them.
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/codecs/Blocks.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint8_t kStart = 0xE1;
constexpr std::uint8_t kCodes = 0xE0;
constexpr std::uint16_t kTopBit = 0x8000;

enum Code : std::uint8_t { kSkip = 0x80, kOneColor = 0xA0, kFourColors = 0xC0 };

using Four = std::array<Pixel, 4>;

Pixel Widened(unsigned color) {
    Pixel pixel = kOpaque;
    for (const int place : {0, 1, 2}) {
        const unsigned five = color >> (5 * place) & 31;
        pixel |= (five << 3 | five >> 2) << (8 * place);
    }
    return pixel;
}

// 21 parts of one colour and 11 of the other, in 32, each channel by itself.
unsigned Between(unsigned more, unsigned less) {
    unsigned color = 0;
    for (const int shift : {0, 5, 10})
        color |= (21 * (more >> shift & 31) + 11 * (less >> shift & 31)) >> 5 << shift;
    return color;
}

Four ColorsFrom(unsigned first, unsigned last) {
    return {Widened(last), Widened(Between(last, first)), Widened(Between(first, last)),
            Widened(first)};
}

Block ReadIndices(const Four& colors, PictureBytes& bytes) {
    const std::uint32_t indices = bytes.U32();
    Block block;
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = colors[indices >> (30 - 2 * i) & 3];
    return block;
}

Block ReadColors(std::uint16_t first, PictureBytes& bytes) {
    Block block;
    block[0] = Widened(first);
    for (std::size_t i = 1; i < block.size(); ++i)
        block[i] = Widened(bytes.U16());
    return block;
}

// Behind a code that begins a colour.
void DrawOne(std::uint16_t first, PictureBytes& bytes, Blocks& blocks) {
    PictureBytes ahead = bytes;
    const bool isFour = (ahead.U16() & kTopBit) != 0;
    const Block block =
        isFour ? ReadIndices(ColorsFrom(first, bytes.U16()), bytes) : ReadColors(first, bytes);
    if (!bytes.HasFailed()) blocks.Put(block);
}

void DrawSeveral(std::uint8_t code, PictureBytes& bytes, Blocks& blocks) {
    const int count = (code & ~kCodes) + 1;
    Four colors = {};
    Block block;
    if ((code & kCodes) == kOneColor) {
        block.fill(Widened(bytes.U16()));
    } else if ((code & kCodes) == kFourColors) {
        const std::uint16_t first = bytes.U16();
        colors = ColorsFrom(first, bytes.U16());
    }
    for (int i = 0; i < count && !blocks.AreFull(); ++i) {
        if ((code & kCodes) == kFourColors) block = ReadIndices(colors, bytes);
        if (bytes.HasFailed()) return;
        if ((code & kCodes) == kSkip)
            blocks.Skip();
        else
            blocks.Put(block);
    }
}

}  // namespace

bool DecodeVideo(const CompressedImage& image, Frame* frame) {
    PictureBytes bytes(image.data);
    if (bytes.U8() != kStart) return false;
    bytes.Skip(3);
    Blocks blocks(frame);
    while (bytes.Left() > 0 && !blocks.AreFull()) {
        const std::uint8_t code = bytes.U8();
        if (code < kSkip)
            DrawOne(static_cast<std::uint16_t>(code << 8 | bytes.U8()), bytes, blocks);
        else if (code < kCodes)
            DrawSeveral(code, bytes, blocks);
        else
            break;
    }
    return true;
}

}  // namespace Ondrel::QuickDraw
