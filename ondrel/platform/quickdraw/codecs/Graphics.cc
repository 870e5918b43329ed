// The compressor of graphics in 256 colours, by blocks.
//
//   1  flags      3  length of all      then codes; the upper half says what, the lower half gives
//   a number n of blocks less one, or the next byte does:
//
//   0  1 leaves n out        2  3 the last block again      4  5 the last two again, n times
//   6  7 blocks of one colour                                1  colour
//   8  9 blocks of two colours                               2 each: bits
//   A  B blocks of four colours                              4 each: two bits a pixel
//   C  D blocks of eight colours                             6 each: three bits a pixel
//   E    blocks of 16 colours                                16 each
//
// From 8 to D the even codes bring the colours, which are remembered, in a ring of 256 for each
// kind; the odd ones name by a byte some that were remembered.
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/codecs/Blocks.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

// The colours of the blocks of one kind.
template <std::size_t kColors>
class Ring {
 public:
    using Colors = std::array<std::uint8_t, kColors>;

    Colors Read(bool isRemembered, PictureBytes& bytes) {
        if (isRemembered) return ring_[bytes.U8()];
        Colors& colors = ring_[next_++];
        for (std::uint8_t& color : colors)
            color = bytes.U8();
        return colors;
    }

 private:
    std::array<Colors, 256> ring_ = {};
    std::uint8_t next_ = 0;
};

// Indices of `bits` bits each for 16 pixels, the first in the top bits of `bits * 16`.
std::uint64_t ReadIndices(std::size_t bits, PictureBytes& bytes) {
    if (bits == 1) return bytes.U16();
    if (bits == 2) return bytes.U32();
    // of each two bytes the upper 12 bits are four pixels of the first three rows; the lower four
    // of all three are the last row
    const std::uint64_t a = bytes.U16();
    const std::uint64_t b = bytes.U16();
    const std::uint64_t c = bytes.U16();
    return a >> 4 << 36 | b >> 4 << 24 | c >> 4 << 12 | (a & 15) << 8 | (b & 15) << 4 | (c & 15);
}

class CodeReader {
 public:
    CodeReader(const CompressedImage& image, Frame* frame)
        : colors_(image.colors), bytes_(image.data), blocks_(frame) {
        bytes_.Skip(4);
    }

    bool Decode() {
        if (bytes_.HasFailed()) return false;
        while (bytes_.Left() > 0 && !blocks_.AreFull() && Carry(bytes_.U8())) {
        }
        return true;
    }

 private:
    // False for a code that is none.
    bool Carry(std::uint8_t code) {
        const int kind = code >> 4;
        const bool isLong = kind == 1 || kind == 3 || kind == 5 || kind == 7;
        const int count = (isLong ? bytes_.U8() : code & 15) + 1;
        const bool isRemembered = kind % 2 != 0;
        switch (kind) {
            case 0:
            case 1:
                return Skip(count);
            case 2:
            case 3:
                return Repeat(1, count);
            case 4:
            case 5:
                return Repeat(2, 2 * count);
            case 6:
            case 7:
                return Fill(count);
            case 8:
            case 9:
                return Draw(1, two_.Read(isRemembered, bytes_), count);
            case 10:
            case 11:
                return Draw(2, four_.Read(isRemembered, bytes_), count);
            case 12:
            case 13:
                return Draw(3, eight_.Read(isRemembered, bytes_), count);
            case 14:
                return DrawAll(count);
            default:
                return false;
        }
    }

    bool Skip(int count) {
        for (int i = 0; i < count && !blocks_.AreFull(); ++i)
            blocks_.Skip();
        return true;
    }

    bool Repeat(int distance, int count) {
        for (int i = 0; i < count && !blocks_.AreFull(); ++i)
            blocks_.Put(Block(blocks_.Before(distance)));
        return true;
    }

    bool Fill(int count) {
        Block block;
        block.fill(colors_[bytes_.U8()]);
        for (int i = 0; i < count && !bytes_.HasFailed(); ++i)
            blocks_.Put(block);
        return true;
    }

    template <typename Colors>
    bool Draw(std::size_t bits, const Colors& colors, int count) {
        for (int i = 0; i < count; ++i) {
            const std::uint64_t indices = ReadIndices(bits, bytes_);
            if (bytes_.HasFailed()) return false;
            Block block;
            for (std::size_t at = 0; at < block.size(); ++at)
                block[at] = colors_[colors[indices >> (bits * (15 - at)) & (colors.size() - 1)]];
            blocks_.Put(block);
        }
        return true;
    }

    bool DrawAll(int count) {
        for (int i = 0; i < count; ++i) {
            Block block;
            for (Pixel& pixel : block)
                pixel = colors_[bytes_.U8()];
            if (bytes_.HasFailed()) return false;
            blocks_.Put(block);
        }
        return true;
    }

    const ColorTable& colors_;
    PictureBytes bytes_;
    Blocks blocks_;
    Ring<2> two_;
    Ring<4> four_;
    Ring<8> eight_;
};

}  // namespace

bool DecodeGraphics(const CompressedImage& image, Frame* frame) {
    return image.IsIndexed() && CodeReader(image, frame).Decode();
}

}  // namespace Ondrel::QuickDraw
