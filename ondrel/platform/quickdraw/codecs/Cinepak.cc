// The compressor of video by vectors: blocks of two by two pixels out of books of 256.
//
//   1  flags      3  length of all      2  width      2  height      2  number of strips
//   a strip    2  kind    2  length of all    8  top, left, bottom, right; a top of 0 follows on
//   a part     2  kind    2  length of all
//
// Parts of kind 0x2000 to 0x2700 are books: bit 0x100 when only some of its entries come, each
// word of 32 bits telling of 32 entries; bit 0x200 for the book of large blocks; bit 0x400 when
// entries are four bytes of grey instead of four and the two differences of colour. Each strip
// begins with the books of the one before, unless flag 1 is set.
//
// Parts of kind 0x3000 to 0x3200 are the blocks of four by four of a strip. One is either a large
// entry, each of whose pixels stands for four, or four small ones. Words of 32 bits, among the
// entries where they are needed, tell which: a bit for each block, in front of it in kind 0x3100 a
// bit that tells whether it is there at all; in kind 0x3200 all are large.
#include <memory>

#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/codecs/Blocks.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint8_t kBooksStartEmpty = 1;
constexpr std::uint16_t kBook = 0x2000;
constexpr std::uint16_t kBookEnd = 0x2800;
constexpr std::uint16_t kIsPartOfBook = 0x100;
constexpr std::uint16_t kIsLargeBook = 0x200;
constexpr std::uint16_t kIsGreyBook = 0x400;
constexpr std::uint16_t kSomeBlocks = 0x3100;
constexpr std::uint16_t kLargeBlocks = 0x3200;
constexpr std::uint16_t kAllBlocks = 0x3000;
constexpr std::size_t kStripHead = 12;
constexpr std::size_t kPartHead = 4;

using Entry = std::array<Pixel, 4>;  // top left, top right, bottom left, bottom right
using Book = std::array<Entry, 256>;

// Bits out of words of 32, each read when the one before is used up.
class Flags {
 public:
    explicit Flags(PictureBytes& bytes) : bytes_(bytes) {}
    bool Next() {
        if (mask_ == 0) {
            word_ = bytes_.U32();
            mask_ = 0x80000000;
        }
        const bool isSet = (word_ & mask_) != 0;
        mask_ >>= 1;
        return isSet;
    }

 private:
    PictureBytes& bytes_;
    std::uint32_t word_ = 0;
    std::uint32_t mask_ = 0;
};

Pixel FromDifferences(int light, int blue, int red) {
    const auto bounded = [](int value) { return static_cast<Pixel>(std::clamp(value, 0, 255)); };
    return kOpaque | bounded(light + 2 * red) << 16 | bounded(light - blue / 2 - red) << 8 |
           bounded(light + 2 * blue);
}

class StripReader {
 public:
    StripReader(const CompressedImage& image, Frame* frame)
        : colors_(image.depth == 8 ? &image.colors : nullptr), bytes_(image.data), frame_(*frame) {}

    bool Decode() {
        const std::uint8_t flags = bytes_.U8();
        bytes_.Skip(3 + 4);
        const int strips = bytes_.U16();
        if (bytes_.HasFailed()) return false;
        for (int i = 0; i < strips && bytes_.Left() >= kStripHead && bottom_ < frame_.Height();
             ++i) {
            if ((flags & kBooksStartEmpty) != 0) *books_ = {};
            DecodeStrip();
        }
        return true;
    }

 private:
    struct Books {
        Book small = {};
        Book large = {};
    };

    // What is left of a strip or part after its head, no more than there is.
    static PictureBytes Inside(std::size_t length, std::size_t head, PictureBytes& bytes) {
        return PictureBytes(bytes.Take(std::min(length - std::min(length, head), bytes.Left())));
    }

    void DecodeStrip() {
        bytes_.Skip(2);
        const std::size_t length = bytes_.U16();
        Rect place = bytes_.ReadRect();
        if (place.top == 0) {
            place.top = bottom_;
            place.bottom += bottom_;
        }
        bottom_ = std::max(bottom_, place.bottom);
        place.right = std::min(place.right, frame_.Width());
        place.bottom = std::min(place.bottom, frame_.Height());
        PictureBytes strip = Inside(length, kStripHead, bytes_);
        while (strip.Left() >= kPartHead) {
            const std::uint16_t kind = strip.U16();
            const std::size_t partLength = strip.U16();
            PictureBytes part = Inside(partLength, kPartHead, strip);
            if (kind >= kBook && kind < kBookEnd)
                ReadBook(kind, part);
            else if (kind == kAllBlocks || kind == kSomeBlocks || kind == kLargeBlocks)
                DrawBlocks(kind, place, part);
        }
    }

    void ReadBook(std::uint16_t kind, PictureBytes& bytes) {
        Book& book = (kind & kIsLargeBook) != 0 ? books_->large : books_->small;
        Flags flags(bytes);
        for (Entry& entry : book) {
            if ((kind & kIsPartOfBook) != 0 && !flags.Next()) continue;
            if (bytes.Left() < ((kind & kIsGreyBook) != 0 ? 4U : 6U)) return;
            entry = ReadEntry((kind & kIsGreyBook) != 0, bytes);
        }
    }

    Entry ReadEntry(bool isGrey, PictureBytes& bytes) const {
        std::array<int, 4> light;
        for (int& value : light)
            value = bytes.U8();
        const int blue = isGrey ? 0 : bytes.S8();
        const int red = isGrey ? 0 : bytes.S8();
        Entry entry;
        for (std::size_t i = 0; i < entry.size(); ++i) {
            entry[i] = colors_ != nullptr ? (*colors_)[static_cast<std::size_t>(light[i])]
                                          : FromDifferences(light[i], blue, red);
        }
        return entry;
    }

    void DrawBlocks(std::uint16_t kind, const Rect& place, PictureBytes& bytes) {
        if (place.left < 0 || place.top < 0) return;
        Flags flags(bytes);
        for (int top = place.top; top < place.bottom; top += kBlockSide) {
            for (int left = place.left; left < place.right; left += kBlockSide) {
                if (kind == kSomeBlocks && !flags.Next()) {
                    if (bytes.HasFailed()) return;
                    continue;
                }
                const bool isSmall = kind != kLargeBlocks && flags.Next();
                const Block block = isSmall ? ReadSmall(bytes) : ReadLarge(bytes);
                if (bytes.HasFailed()) return;
                PutBlock(block, left, top, &frame_);
            }
        }
    }

    Block ReadLarge(PictureBytes& bytes) const {
        const Entry& entry = books_->large[bytes.U8()];
        Block block;
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = entry[i / 8 * 2 + i % 4 / 2];
        return block;
    }

    Block ReadSmall(PictureBytes& bytes) const {
        std::array<std::size_t, 4> entries;
        for (std::size_t& entry : entries)
            entry = bytes.U8();
        Block block;
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = books_->small[entries[i / 8 * 2 + i % 4 / 2]][i / 4 % 2 * 2 + i % 2];
        return block;
    }

    const ColorTable* colors_;  // of light as an index; null when it is light
    PictureBytes bytes_;
    Frame& frame_;
    int bottom_ = 0;  // of the strips so far
    std::unique_ptr<Books> books_ = std::make_unique<Books>();
};

}  // namespace

bool DecodeCinepak(const CompressedImage& image, Frame* frame) {
    return StripReader(image, frame).Decode();
}

}  // namespace Ondrel::QuickDraw
