// Runs of ASCII in steps of 16 and 8 characters: the inner step of the conversions between UTF-8
// and UTF-16. Every step writes a whole block and answers how many of its characters, from its
// start, are ASCII; what stands behind them in the output means nothing.
// Internal to core/.
//
// The processor's 16-byte registers serve where they are at hand. The plain forms do the same
// anywhere, and are what the tests hold the others against.
#ifndef ONDREL_CORE_ASCIIBLOCKS_H
#define ONDREL_CORE_ASCIIBLOCKS_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Ondrel::Core {

inline bool StartsWithAscii8(const unsigned char* text) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text, sizeof bytes);
    return (bytes & 0x8080808080808080ULL) == 0;
}

// Whether none of eight units has a bit of `mask`, which is a unit's four times.
inline bool HaveNone8(const unsigned short* text, std::uint64_t mask) {
    std::uint64_t units[2];
    std::memcpy(units, text, sizeof units);
    return ((units[0] | units[1]) & mask) == 0;
}

inline bool StartsWithAscii8(const unsigned short* text) {
    return HaveNone8(text, 0xFF80FF80FF80FF80ULL);
}

// Eight units whose UTF-8 forms are of one or two bytes.
inline bool StartsWithNarrow8(const unsigned short* text) {
    return HaveNone8(text, 0xF800F800F800F800ULL);
}

template <std::size_t kBlock>
std::size_t WidenAsciiPlain(const unsigned char* in, unsigned short* out) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        out[i] = in[i];
        if (in[i] < 0x80 && count == i) count = i + 1;
    }
    return count;
}

template <std::size_t kBlock>
std::size_t NarrowAsciiPlain(const unsigned short* in, unsigned char* out) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < kBlock; ++i) {
        out[i] = static_cast<unsigned char>(in[i] & 0xFF);
        if (in[i] < 0x80 && count == i) count = i + 1;
    }
    return count;
}

#if defined(__SSE2__)

inline std::size_t WidenAscii16(const unsigned char* in, unsigned short* out) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(bytes, zero));
    const auto beyond = static_cast<unsigned>(_mm_movemask_epi8(bytes));
    return static_cast<std::size_t>(std::countr_zero(beyond | 0x10000U));
}

inline std::size_t WidenAscii8(const unsigned char* in, unsigned short* out) {
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out),
                     _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    const auto beyond = static_cast<unsigned>(_mm_movemask_epi8(bytes));
    return static_cast<std::size_t>(std::countr_zero(beyond | 0x100U));
}

// One bit for each byte of eight units, set where a unit is not ASCII.
inline unsigned BeyondAscii(__m128i units) {
    const __m128i high = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
    const auto ascii =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(high, _mm_setzero_si128())));
    return ascii ^ 0xFFFFU;
}

inline std::size_t NarrowAscii16(const unsigned short* in, unsigned char* out) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
    const unsigned long long beyond =
        BeyondAscii(low) | (static_cast<unsigned long long>(BeyondAscii(high)) << 16);
    return static_cast<std::size_t>(std::countr_zero(beyond | 0x100000000ULL)) / 2;
}

inline std::size_t NarrowAscii8(const unsigned short* in, unsigned char* out) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(units, units));
    return static_cast<std::size_t>(std::countr_zero(BeyondAscii(units) | 0x10000U)) / 2;
}

#else

inline std::size_t WidenAscii16(const unsigned char* in, unsigned short* out) {
    return WidenAsciiPlain<16>(in, out);
}

inline std::size_t WidenAscii8(const unsigned char* in, unsigned short* out) {
    return WidenAsciiPlain<8>(in, out);
}

inline std::size_t NarrowAscii16(const unsigned short* in, unsigned char* out) {
    return NarrowAsciiPlain<16>(in, out);
}

inline std::size_t NarrowAscii8(const unsigned short* in, unsigned char* out) {
    return NarrowAsciiPlain<8>(in, out);
}

#endif

}  // namespace Ondrel::Core

#endif
