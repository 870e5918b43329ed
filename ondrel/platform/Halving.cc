// Averages of two by two pixels.
#include "ondrel/platform/Halving.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ondrel {
namespace {

constexpr std::size_t kPixel = 4;

#ifdef __SSE2__
__m128i LoadPixels(const unsigned char* pixels) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
}

// The sums of two rows: the even and the odd pixels of four, in 16 bits a channel.
struct Sums {
    __m128i first;   // pixels 0 and 1
    __m128i second;  // pixels 2 and 3
};

Sums SumOfRows(const unsigned char* upper, const unsigned char* lower) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i a = LoadPixels(upper);
    const __m128i b = LoadPixels(lower);
    return {_mm_add_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero)),
            _mm_add_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero))};
}

// Two pixels of the half, in 16 bits a channel.
__m128i TwoAverages(const Sums& sums) {
    const __m128i even = _mm_unpacklo_epi64(sums.first, sums.second);
    const __m128i odd = _mm_unpackhi_epi64(sums.first, sums.second);
    return _mm_srli_epi16(_mm_add_epi16(even, odd), 2);
}

void HalveRow(const unsigned char* upper, const unsigned char* lower, int width,
              unsigned char alpha, unsigned char* to) {
    constexpr int kAtOnce = 4;
    const __m128i filling = _mm_set1_epi32(alpha);
    int x = 0;
    for (; x <= width - kAtOnce; x += kAtOnce) {
        const std::size_t at = 2 * kPixel * static_cast<std::size_t>(x);
        const __m128i left = TwoAverages(SumOfRows(upper + at, lower + at));
        const __m128i right = TwoAverages(SumOfRows(upper + at + 16, lower + at + 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + kPixel * static_cast<std::size_t>(x)),
                         _mm_or_si128(_mm_packus_epi16(left, right), filling));
    }
    HalveRowPortably(upper, lower, x, width, alpha, to);
}
#else
void HalveRow(const unsigned char* upper, const unsigned char* lower, int width,
              unsigned char alpha, unsigned char* to) {
    HalveRowPortably(upper, lower, 0, width, alpha, to);
}
#endif

void HalveRows(const unsigned char* from, std::size_t fromRowBytes, int width, int height,
               unsigned char alpha, unsigned char* to, std::size_t toRowBytes) {
    for (int y = 0; y < height; ++y, from += 2 * fromRowBytes, to += toRowBytes)
        HalveRow(from, from + fromRowBytes, width, alpha, to);
}

}  // namespace

void Halve(const unsigned char* from, std::size_t fromRowBytes, int width, int height,
           unsigned char* to, std::size_t toRowBytes) {
    HalveRows(from, fromRowBytes, width, height, 0, to, toRowBytes);
}

void HalveOpaque(const unsigned char* from, std::size_t fromRowBytes, int width, int height,
                 unsigned char* to, std::size_t toRowBytes) {
    HalveRows(from, fromRowBytes, width, height, 0xFF, to, toRowBytes);
}

void HalveRowPortably(const unsigned char* upper, const unsigned char* lower, int x, int width,
                      unsigned char alpha, unsigned char* to) {
    for (; x < width; ++x) {
        const std::size_t at = kPixel * static_cast<std::size_t>(x);
        for (std::size_t i = 0; i < kPixel; ++i) {
            const std::size_t left = 2 * at + i;
            const unsigned sum =
                0U + upper[left] + upper[left + kPixel] + lower[left] + lower[left + kPixel];
            to[at + i] = static_cast<unsigned char>(sum / 4);
        }
        to[at] = static_cast<unsigned char>(to[at] | alpha);
    }
}

}  // namespace Ondrel
