// Internal to preview/: where neighbouring bytes are equal, 64 places at a time.
//
// Bit i of a mask is set where byte i equals byte i + 1, so that a run of n equal bytes is n - 1
// set bits, and the ends of runs are found by counting zeros. The two forms give the same masks:
// one for processors with SSE2, which is every x86-64, and one for all others.
#ifndef ONDREL_PREVIEW_EQUALRUNS_H
#define ONDREL_PREVIEW_EQUALRUNS_H

#include <bit>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ondrel::EqualRuns {

inline constexpr int kPlaces = 64;

// Both read kPlaces + 1 bytes.
inline std::uint64_t PortableMask(const unsigned char* bytes) {
    constexpr std::uint64_t kLow7 = 0x7F7F7F7F7F7F7F7FU;
    std::uint64_t mask = 0;
    for (int i = 0; i < kPlaces; i += 8) {
        std::uint64_t a;
        std::uint64_t b;
        std::memcpy(&a, bytes + i, sizeof a);
        std::memcpy(&b, bytes + i + 1, sizeof b);
        const std::uint64_t differing = a ^ b;
        // The top bit of each byte that is 0 in `differing`, shifted to its lowest bit.
        std::uint64_t equal = ~(((differing & kLow7) + kLow7) | differing | kLow7) >> 7;
        // The multiplication gathers the eight bits, the byte that comes first in memory lowest.
        if constexpr (std::endian::native == std::endian::little)
            equal = equal * 0x0102040810204080U >> 56;
        else
            equal = equal * 0x8040201008040201U >> 56;
        mask |= equal << i;
    }
    return mask;
}

#ifdef __SSE2__
// FF in each byte that equals the next one.
inline __m128i Equal16(const unsigned char* bytes) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 1));
    return _mm_cmpeq_epi8(a, b);
}

inline std::uint64_t Bits(__m128i equal) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(equal));
}

inline std::uint64_t Mask(const unsigned char* bytes) {
    const __m128i a = Equal16(bytes);
    const __m128i b = Equal16(bytes + 16);
    const __m128i c = Equal16(bytes + 32);
    const __m128i d = Equal16(bytes + 48);
    // Most blocks of noise have no equal neighbours, and those of flat rows no others.
    if (Bits(_mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d))) == 0) return 0;
    return Bits(a) | Bits(b) << 16 | Bits(c) << 32 | Bits(d) << 48;
}
#else
inline std::uint64_t Mask(const unsigned char* bytes) {
    return PortableMask(bytes);
}
#endif

}  // namespace Ondrel::EqualRuns

#endif
