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

// The even and the odd ones of eight pixels.
struct EvenAndOdd {
    __m128i even;
    __m128i odd;
};

EvenAndOdd LoadEvenAndOdd(const unsigned char* pixels) {
    const __m128 first = _mm_castsi128_ps(LoadPixels(pixels));
    const __m128 second = _mm_castsi128_ps(LoadPixels(pixels + 4 * kPixel));
    return {_mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0))),
            _mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1)))};
}

// Four pixels of the half. The averages of two that the processor has are rounded up: the average
// of their averages is one too much where any of the three was.
__m128i FourAverages(const EvenAndOdd& upper, const EvenAndOdd& lower) {
    const __m128i a = _mm_avg_epu8(upper.even, upper.odd);
    const __m128i b = _mm_avg_epu8(lower.even, lower.odd);
    const __m128i odd = _mm_or_si128(
        _mm_xor_si128(a, b),
        _mm_or_si128(_mm_xor_si128(upper.even, upper.odd), _mm_xor_si128(lower.even, lower.odd)));
    return _mm_sub_epi8(_mm_avg_epu8(a, b), _mm_and_si128(odd, _mm_set1_epi8(1)));
}

void HalveRow(const unsigned char* upper, const unsigned char* lower, int width,
              unsigned char alpha, unsigned char* to) {
    constexpr int kAtOnce = 4;
    const __m128i filling = _mm_set1_epi32(alpha);
    int x = 0;
    for (; x <= width - kAtOnce; x += kAtOnce) {
        const std::size_t at = 2 * kPixel * static_cast<std::size_t>(x);
        const __m128i half = FourAverages(LoadEvenAndOdd(upper + at), LoadEvenAndOdd(lower + at));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + kPixel * static_cast<std::size_t>(x)),
                         _mm_or_si128(half, filling));
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
