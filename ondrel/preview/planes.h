// Internal to preview/: the pixels of a row as three planes, red, green and blue.
//
// The two forms give the same planes: one for processors with SSE2, which is every x86-64, and one
// for all others.
#ifndef ONDREL_PREVIEW_PLANES_H
#define ONDREL_PREVIEW_PLANES_H

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ondrel::Planes {

inline constexpr int kPixelBytes = 4;  // one that is not used, red, green, blue

// Separates the pixels from `x` on; the planes of a row of `width` pixels follow each other.
inline void SeparatePortably(const unsigned char* pixels, int x, int width, unsigned char* planes) {
    unsigned char* const green = planes + width;
    unsigned char* const blue = green + width;
    for (pixels += kPixelBytes * static_cast<long>(x); x < width; ++x, pixels += kPixelBytes) {
        planes[x] = pixels[1];
        green[x] = pixels[2];
        blue[x] = pixels[3];
    }
}

#ifdef __SSE2__
// The even and the odd bytes of two registers.
struct Halves {
    __m128i even;
    __m128i odd;
};

inline Halves EvenAndOdd(__m128i a, __m128i b) {
    const __m128i low = _mm_set1_epi16(0x00FF);
    return {_mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)),
            _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8))};
}

inline void Store(__m128i bytes, unsigned char* place) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(place), bytes);
}

inline void Separate(const unsigned char* pixels, int width, unsigned char* planes) {
    constexpr int kAtOnce = 16;
    int x = 0;
    for (; x <= width - kAtOnce; x += kAtOnce) {
        const auto* const from =
            reinterpret_cast<const __m128i*>(pixels + kPixelBytes * static_cast<long>(x));
        const Halves first = EvenAndOdd(_mm_loadu_si128(from), _mm_loadu_si128(from + 1));
        const Halves second = EvenAndOdd(_mm_loadu_si128(from + 2), _mm_loadu_si128(from + 3));
        const Halves unusedAndGreen = EvenAndOdd(first.even, second.even);
        const Halves redAndBlue = EvenAndOdd(first.odd, second.odd);
        Store(redAndBlue.even, planes + x);
        Store(unusedAndGreen.odd, planes + width + x);
        Store(redAndBlue.odd, planes + 2L * width + x);
    }
    SeparatePortably(pixels, x, width, planes);
}
#else
inline void Separate(const unsigned char* pixels, int width, unsigned char* planes) {
    SeparatePortably(pixels, 0, width, planes);
}
#endif

}  // namespace Ondrel::Planes

#endif
