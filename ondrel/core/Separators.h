// The exchange of ':' and '/' between the names of Mac paths and those of POSIX paths. Internal to
// core.
#ifndef ONDREL_CORE_SEPARATORS_H
#define ONDREL_CORE_SEPARATORS_H

#include <cstddef>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Ondrel::Core {

// Copies `units` units, with ':' for '/' and the reverse. True when a colon in them follows another
// one; `wasColon` tells what stands before them, and then what stands last.
inline bool CopyExchangedPlain(const unsigned short* from, std::size_t units, unsigned short* to,
                               bool* wasColon) {
    bool doubled = false;
    for (std::size_t i = 0; i < units; ++i) {
        const unsigned short unit = from[i];
        doubled = doubled || (*wasColon && unit == ':');
        *wasColon = unit == ':';
        to[i] = unit == ':' ? '/' : unit == '/' ? ':' : unit;
    }
    return doubled;
}

inline bool CopyExchanged(const unsigned short* from, std::size_t units, unsigned short* to,
                          bool* wasColon) {
    std::size_t i = 0;
    unsigned doubled = 0;
#if defined(__SSE2__)
    // Two bits for each unit of a block, and the last one's bits carried on into the next.
    const __m128i colon = _mm_set1_epi16(':');
    const __m128i slash = _mm_set1_epi16('/');
    const __m128i difference = _mm_set1_epi16(':' ^ '/');
    unsigned carried = *wasColon ? 3 : 0;
    for (; units - i >= 8; i += 8) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
        const __m128i isColon = _mm_cmpeq_epi16(block, colon);
        const __m128i isEither = _mm_or_si128(isColon, _mm_cmpeq_epi16(block, slash));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i),
                         _mm_xor_si128(block, _mm_and_si128(isEither, difference)));
        const auto colons = static_cast<unsigned>(_mm_movemask_epi8(isColon));
        doubled |= colons & ((colons << 2) | carried);
        carried = colons >> 14;
    }
    *wasColon = carried != 0;
#endif
    const bool restDoubled = CopyExchangedPlain(from + i, units - i, to + i, wasColon);
    return doubled != 0 || restDoubled;
}

}  // namespace Ondrel::Core

#endif
