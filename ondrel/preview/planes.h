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
inline __m128i Load(const unsigned char* place) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(place));
}

inline void Store(__m128i bytes, unsigned char* place) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(place), bytes);
}

// Eight pixels as four planes of eight bytes.
struct EightPixels {
    __m128i unusedAndRed;
    __m128i greenAndBlue;
};

// Each step brings pixels together that are twice as near: every fourth, every second, all.
inline EightPixels LoadEight(const unsigned char* pixels) {
    const __m128i a = Load(pixels);
    const __m128i b = Load(pixels + 16);
    const __m128i low = _mm_unpacklo_epi8(a, b);
    const __m128i high = _mm_unpackhi_epi8(a, b);
    const __m128i even = _mm_unpacklo_epi8(low, high);
    const __m128i odd = _mm_unpackhi_epi8(low, high);
    return {_mm_unpacklo_epi8(even, odd), _mm_unpackhi_epi8(even, odd)};
}

inline void Separate(const unsigned char* pixels, int width, unsigned char* planes) {
    constexpr int kAtOnce = 16;
    unsigned char* const green = planes + width;
    unsigned char* const blue = green + width;
    int x = 0;
    for (; x <= width - kAtOnce; x += kAtOnce) {
        const unsigned char* const from = pixels + kPixelBytes * static_cast<long>(x);
        const EightPixels a = LoadEight(from);
        const EightPixels b = LoadEight(from + 8 * kPixelBytes);
        Store(_mm_unpackhi_epi64(a.unusedAndRed, b.unusedAndRed), planes + x);
        Store(_mm_unpacklo_epi64(a.greenAndBlue, b.greenAndBlue), green + x);
        Store(_mm_unpackhi_epi64(a.greenAndBlue, b.greenAndBlue), blue + x);
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
