// Pictures made half as large. Internal to libOndrel.
//
// Each byte of a pixel becomes the average of the four that it stands for, rounded down. The two
// forms give the same pixels: one for processors with SSE2, which is every x86-64, and one for all
// others.
#ifndef ONDREL_PLATFORM_HALVING_H
#define ONDREL_PLATFORM_HALVING_H

#include <cstddef>

namespace Ondrel {

// `width` and `height` are those of the half, in pixels of four bytes; `from` has twice as many.
// Neither needs an alignment, and the two do not overlap.
void Halve(const unsigned char* from, std::size_t fromRowBytes, int width, int height,
           unsigned char* to, std::size_t toRowBytes);

// The same with the first byte of each pixel FF.
void HalveOpaque(const unsigned char* from, std::size_t fromRowBytes, int width, int height,
                 unsigned char* to, std::size_t toRowBytes);

// One row of the half from its two rows, from pixel `x` on: the plain form, for tests to compare
// the other one with. `alpha` is what the first byte of each pixel is filled up with: FF or 00.
void HalveRowPortably(const unsigned char* upper, const unsigned char* lower, int x, int width,
                      unsigned char alpha, unsigned char* to);

}  // namespace Ondrel

#endif
