// The plain operations on 16-bit texts: length, copies, search, comparison by unit values.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "ondrel/core/Unicode.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Ondrel {
namespace {

bool IsSurrogate(unsigned short unit, unsigned base) {
    return (unit & 0xFC00U) == base;
}

// The longest part of a text of `length` units that has at most `room` and ends with a whole
// character.
std::size_t CutLength(const unsigned short* text, std::size_t length, std::size_t room) {
    if (length <= room) return length;
    const bool splits =
        room > 0 && IsSurrogate(text[room - 1], 0xD800) && IsSurrogate(text[room], 0xDC00);
    return splits ? room - 1 : room;
}

}  // namespace

#if defined(__SSE2__)

// Reads whole blocks at addresses that are multiples of their size, so that no read crosses into
// memory that holds nothing of the text; the sanitizers cannot know that.
__attribute__((no_sanitize("address"), no_sanitize("thread"))) unsigned long Uni16CharGetLength(
    const unsigned short* text) {
    const auto address = reinterpret_cast<std::uintptr_t>(text);
    const std::uintptr_t lead = address & 15;
    const auto* block = reinterpret_cast<const __m128i*>(address - lead);
    const __m128i zero = _mm_setzero_si128();
    auto zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero))) >> lead;
    if (zeros != 0) return static_cast<unsigned long>(std::countr_zero(zeros)) / 2;
    do {
        ++block;
        zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(*block, zero)));
    } while (zeros == 0);
    const auto bytes = reinterpret_cast<std::uintptr_t>(block) - address +
                       static_cast<unsigned>(std::countr_zero(zeros));
    return bytes / 2;
}

#else

unsigned long Uni16CharGetLength(const unsigned short* text) {
    unsigned long length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

#endif

unsigned long Uni16CharCopy(unsigned short* dst, const unsigned short* src) {
    const unsigned long length = Uni16CharGetLength(src);
    Uni16CharPartialCopy(dst, src, length + 1);
    return length;
}

unsigned long Uni16CharCopy(unsigned short* dst, const unsigned short* src,
                            unsigned long maxUnits) {
    if (maxUnits == 0) return 0;
    const unsigned long length = CutLength(src, Uni16CharGetLength(src), maxUnits - 1);
    Uni16CharPartialCopy(dst, src, length);
    dst[length] = 0;
    return length;
}

void Uni16CharPartialCopy(unsigned short* dst, const unsigned short* src, unsigned long units) {
    if (units != 0) std::memmove(dst, src, units * sizeof *dst);
}

unsigned long Uni16CharAppend(unsigned short* dst, const unsigned short* src) {
    const unsigned long length = Uni16CharGetLength(dst);
    return length + Uni16CharCopy(dst + length, src);
}

unsigned long Uni16CharAppend(unsigned short* dst, const unsigned short* src,
                              unsigned long maxUnits) {
    const unsigned long length = Uni16CharGetLength(dst);
    if (length >= maxUnits) return length;
    return length + Uni16CharCopy(dst + length, src, maxUnits - length);
}

const unsigned short* Uni16CharFindCharacter(const unsigned short* text, unsigned short character) {
    for (; *text != 0; ++text)
        if (*text == character) return text;
    return nullptr;
}

const unsigned short* Uni16CharPartialFindCharacter(const unsigned short* text,
                                                    unsigned short character, unsigned long units) {
    for (unsigned long i = 0; i < units; ++i)
        if (text[i] == character) return text + i;
    return nullptr;
}

int Uni16CharCompare(const unsigned short* a, const unsigned short* b) {
    while (*a != 0 && *a == *b) {
        ++a;
        ++b;
    }
    return *a - *b;
}

int Uni16CharPartialCompare(const unsigned short* a, const unsigned short* b, unsigned long units) {
    for (unsigned long i = 0; i < units; ++i)
        if (a[i] != b[i]) return a[i] - b[i];
    return 0;
}

}  // namespace Ondrel
