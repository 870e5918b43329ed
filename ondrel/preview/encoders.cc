// What the encoders have in common, and the output into memory.
#include "ondrel/preview/encoders.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Ondrel {
namespace {

constexpr unsigned kLeastBuffer = 65536;

constexpr std::array<unsigned char, 256> MakeReversed() {
    std::array<unsigned char, 256> table{};
    for (unsigned i = 0; i < 256; ++i)
        for (unsigned bit = 0; bit < 8; ++bit)
            if ((i >> bit & 1) != 0) table[i] |= static_cast<unsigned char>(0x80U >> bit);
    return table;
}

// The bits of each of eight bytes reversed: neighbours, then pairs, then halves change places.
std::uint64_t ReverseInBytes(std::uint64_t x) {
    constexpr std::uint64_t kSingles = 0x5555555555555555U;
    constexpr std::uint64_t kPairs = 0x3333333333333333U;
    constexpr std::uint64_t kHalves = 0x0F0F0F0F0F0F0F0FU;
    x = (x >> 1 & kSingles) | (x & kSingles) << 1;
    x = (x >> 2 & kPairs) | (x & kPairs) << 2;
    return (x >> 4 & kHalves) | (x & kHalves) << 4;
}

}  // namespace

constinit const std::array<unsigned char, 256> KesEncoder::mBitRevTab = MakeReversed();

KesEncoder::KesEncoder(unsigned width, unsigned depth, KesEncoderOutput* output,
                       unsigned bufferSize)
    : width_(width),
      depth_(depth),
      rowBytes_(static_cast<unsigned>((std::uint64_t{width} * depth + 7) / 8)),
      output_(output),
      bufferSize_(bufferSize == 0 ? std::max(rowBytes_, kLeastBuffer) : bufferSize) {
    buffer_ = new unsigned char[bufferSize_];
}

KesEncoder::~KesEncoder() {
    delete[] buffer_;
}

void KesEncoder::BitInversion(const unsigned char* in, int length, unsigned char* out) {
    int i = 0;
    for (std::uint64_t word; length - i >= 8; i += 8) {
        std::memcpy(&word, in + i, sizeof word);
        word = ReverseInBytes(word);
        std::memcpy(out + i, &word, sizeof word);
    }
    for (; i < length; ++i)
        out[i] = mBitRevTab[in[i]];
}

PackBitsBuff::PackBitsBuff(unsigned char* area, unsigned long capacity)
    : area_(area), capacity_(area == nullptr ? 0 : capacity), position(area) {}

PackBitsBuff::~PackBitsBuff() {
    delete[] area_;
}

void PackBitsBuff::WriteEncoded(const unsigned char* data, unsigned long length) {
    const auto used = static_cast<unsigned long>(position - area_);
    if (used > capacity_ || length > capacity_ - used)
        throw static_cast<const char*>("Packbits overflow");
    if (length == 0) return;
    std::memcpy(position, data, length);
    position += length;
}

}  // namespace Ondrel
