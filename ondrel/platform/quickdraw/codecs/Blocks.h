// A frame as blocks of four by four pixels, from left to right and from top to bottom. Internal to
// libOndrel. Blocks may reach over the right and the bottom edge.
#ifndef ONDREL_PLATFORM_QUICKDRAW_CODECS_BLOCKS_H
#define ONDREL_PLATFORM_QUICKDRAW_CODECS_BLOCKS_H

#include <algorithm>
#include <array>

#include "ondrel/platform/quickdraw/codecs/Frame.h"

namespace Ondrel::QuickDraw {

inline constexpr int kBlockSide = 4;
using Block = std::array<Pixel, 16>;  // rows from the top

// Puts a block's top left corner at a place in the frame.
inline void PutBlock(const Block& block, int left, int top, Frame* frame) {
    const int columns = std::min(kBlockSide, frame->Width() - left);
    const int rows = std::min(kBlockSide, frame->Height() - top);
    auto from = block.begin();
    for (int y = 0; y < rows; ++y, from += kBlockSide)
        std::copy_n(from, std::max(columns, 0), frame->Row(top + y) + left);
}

class Blocks {
 public:
    explicit Blocks(Frame* frame)
        : frame_(*frame), across_((frame->Width() + kBlockSide - 1) / kBlockSide) {}

    bool AreFull() const { return top_ >= frame_.Height(); }

    // The next block. None is put when all have been.
    void Put(const Block& block) {
        if (AreFull()) return;
        PutBlock(block, column_ * kBlockSide, top_, &frame_);
        Advance(block);
    }

    void Skip() { Advance({}); }

    // One of the last two blocks, 1 for the last; all 0 when it was left out.
    const Block& Before(int distance) const { return distance == 1 ? last_ : lastButOne_; }

 private:
    void Advance(const Block& block) {
        lastButOne_ = last_;
        last_ = block;
        if (++column_ < across_) return;
        column_ = 0;
        top_ += kBlockSide;
    }

    Frame& frame_;
    int across_;
    int column_ = 0;
    int top_ = 0;
    Block last_ = {};
    Block lastButOne_ = {};
};

}  // namespace Ondrel::QuickDraw

#endif
