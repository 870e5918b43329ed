// The part of a text that lies in the stream's buffer, in steps of 16 bytes: searched for its end
// and moved in one pass. Internal to this folder.
//
// It serves where whole blocks are at hand, on both sides; the rest of a text, and everything on a
// processor without such registers, is for the byte-wise searches of lines.cc, which do the same.
// The caller's memory changes no further than behind the text's NUL: the last block is merged with
// what stands there.
#ifndef ONDREL_RECORDS_TEXTBLOCKS_H
#define ONDREL_RECORDS_TEXTBLOCKS_H

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Ondrel::Records {

struct MovedText {
    int length;  // bytes moved
    int end;     // the byte behind them that ended the text, or -1; a NUL is stored for it
};

#if defined(__SSE2__)

// One bit for each byte of a block: set where it is one of those that end a text.
template <unsigned char... kEnds>
unsigned EndsIn(__m128i block) {
    __m128i ends = _mm_setzero_si128();
    ((ends = _mm_or_si128(ends, _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(kEnds))))),
     ...);
    return static_cast<unsigned>(_mm_movemask_epi8(ends));
}

// A block whose first `count` bytes are set.
inline __m128i FirstBytes(int count) {
    static constexpr unsigned char kBytes[] = {
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0};
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(kBytes + 16 - count));
}

// Stores the first `count` bytes of a block, below 16, and a NUL.
inline void StoreEnd(__m128i block, int count, char* out) {
    auto* const place = reinterpret_cast<__m128i*>(out);
    const __m128i text = _mm_and_si128(FirstBytes(count), block);
    const __m128i rest = _mm_andnot_si128(FirstBytes(count + 1), _mm_loadu_si128(place));
    _mm_storeu_si128(place, _mm_or_si128(text, rest));
}

// Moves text from `in`, of which `left` bytes are there, to `out`, which has room for `room` bytes
// and a NUL. It stops at the first of the ending bytes, or before a block that is not whole.
template <unsigned char... kEnds>
MovedText MoveText(const unsigned char* in, int left, char* out, int room) {
    int moved = 0;
    for (; left - moved >= 16 && room - moved >= 16; moved += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + moved));
        if (const unsigned ends = EndsIn<kEnds...>(block); ends != 0) {
            const int count = std::countr_zero(ends);
            StoreEnd(block, count, out + moved);
            return {moved + count, in[moved + count]};
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + moved), block);
    }
    return {moved, -1};
}

#else

template <unsigned char... kEnds>
MovedText MoveText(const unsigned char*, int, char*, int) {
    return {0, -1};
}

#endif

}  // namespace Ondrel::Records

#endif
