// The parts that every picture has: what it begins with, and its end.
#include "ondrel/preview/ResourceFork.h"

namespace Ondrel {
namespace {

constexpr short kSizeWord = 50;
constexpr short kVersionOpcode = 0x0011;
constexpr short kVersion2 = 0x02FF;
constexpr short kHeaderOpcode = 0x0C00;
constexpr short kDefHiliteOpcode = 0x001E;
constexpr short kClipOpcode = 0x0001;
constexpr short kRectRegionSize = 10;

void AppendFrame(ResourceFork* fork, int width, int height) {
    fork->AppendShort(0);
    fork->AppendShort(0);
    fork->AppendShort(static_cast<short>(height));
    fork->AppendShort(static_cast<short>(width));
}

int Fixed(int value) {
    return static_cast<int>(static_cast<unsigned>(value) << 16);
}

}  // namespace

void PICTResource::WritePICTHeader(int width, int height) {
    fork_->AppendShort(kSizeWord);
    AppendFrame(fork_, width, height);
    fork_->AppendShort(kVersionOpcode);
    fork_->AppendShort(kVersion2);
    fork_->AppendShort(kHeaderOpcode);
    fork_->AppendLong(-1);
    fork_->AppendLong(0);
    fork_->AppendLong(0);
    // Bottom and right, in the order that the pictures of this library have always had.
    fork_->AppendLong(Fixed(width));
    fork_->AppendLong(Fixed(height));
    fork_->AppendLong(0);
    fork_->AppendShort(kDefHiliteOpcode);
    fork_->AppendShort(kClipOpcode);
    fork_->AppendShort(kRectRegionSize);
    AppendFrame(fork_, width, height);
}

void PICTResource::Close() {
    static constexpr unsigned char eofPict[] = {0x00, 0xFF};
    if (fork_->ResourceSize() % 2 != 0) fork_->Append("", 1);
    fork_->Append(eofPict, sizeof eofPict);
}

}  // namespace Ondrel
