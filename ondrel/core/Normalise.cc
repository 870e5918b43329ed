// Composition and the comparisons that look beyond code units, by ICU. What is plain enough to be
// decided here never reaches it.
#include <unicode/unorm.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "ondrel/core/Unicode.h"

namespace Ondrel {
namespace {

constexpr std::size_t kShortText = 1024;

const UChar* AsIcu(const unsigned short* text) {
    return reinterpret_cast<const UChar*>(text);
}

UChar* AsIcu(unsigned short* text) {
    return reinterpret_cast<UChar*>(text);
}

// Characters that neither decompose in a composed text, nor compose with others of these, nor are
// marks: everything below the first combining mark, Chinese, Japanese but for its two sound marks,
// Korean syllables.
constexpr unsigned short kFirstCombiningMark = 0x0300;

bool IsPlain(unsigned short unit) {
    if (unit < kFirstCombiningMark) return true;
    if (unit >= 0x4E00 && unit <= 0x9FFF) return true;
    if (unit >= 0x3030 && unit <= 0x30FF) return unit != 0x3099 && unit != 0x309A;
    return (unit >= 0x3000 && unit <= 0x3029) || (unit >= 0xAC00 && unit <= 0xD7A3);
}

// Whether four units at once are all below the first combining mark: then no bit above the lowest
// ten is set, and never both of the upper two of these.
bool AreFourBelowMarks(const unsigned short* units) {
    static_assert(kFirstCombiningMark == 0x0300);
    std::uint64_t all = 0;
    std::memcpy(&all, units, sizeof all);
    const std::uint64_t both = all & (all >> 1);
    return ((all & 0xFC00FC00FC00FC00ULL) | (both & 0x0100010001000100ULL)) == 0;
}

// Whether a text is composed for certain.
bool IsPlain(const unsigned short* text, std::size_t length) {
    std::size_t i = 0;
    for (; length - i >= 4; i += 4) {
        if (AreFourBelowMarks(text + i)) continue;
        if (!std::all_of(text + i, text + i + 4, [](unsigned short unit) { return IsPlain(unit); }))
            return false;
    }
    return std::all_of(text + i, text + length, [](unsigned short unit) { return IsPlain(unit); });
}

// The composed form of a text in a buffer; its length, or more than `room` when it does not fit or
// there is none.
std::size_t Compose(const unsigned short* text, std::size_t length, unsigned short* composed,
                    std::size_t room) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
    const std::int32_t result =
        unorm2_normalize(nfc, AsIcu(text), static_cast<std::int32_t>(length), AsIcu(composed),
                         static_cast<std::int32_t>(room), &status);
    return U_FAILURE(status) ? room + 1 : static_cast<std::size_t>(result);
}

// Composes a text of `length` units in place where the result has at most `room`.
std::size_t ComposeInPlace(unsigned short* text, std::size_t length, std::size_t room) {
    if (IsPlain(text, length) || length > INT_MAX) return length;
    room = std::min<std::size_t>(room, INT_MAX);

    std::array<unsigned short, kShortText> onStack;
    std::vector<unsigned short> onHeap;
    unsigned short* composed = onStack.data();
    if (room > onStack.size()) {
        onHeap.resize(std::min(room, 3 * length));  // a unit never grows to more
        room = onHeap.size();
        composed = onHeap.data();
    }
    const std::size_t result = Compose(text, length, composed, room);
    if (result > room) return length;
    Uni16CharPartialCopy(text, composed, result);
    text[result] = 0;
    return result;
}

bool IsAscii(unsigned short unit) {
    return unit < 0x80;
}

unsigned short FoldAscii(unsigned short unit) {
    return unit >= 'A' && unit <= 'Z' ? static_cast<unsigned short>(unit | 0x20) : unit;
}

// Compares by code points, with ICU where folding or decomposing is asked for.
int CompareBeyondAscii(const unsigned short* a, const unsigned short* b, int options) {
    UErrorCode status = U_ZERO_ERROR;
    const bool ignoreCase = (options & kCompareIgnoreCase) != 0;
    std::uint32_t how = U_COMPARE_CODE_POINT_ORDER;
    if ((options & kCompareCanonical) != 0) {
        if (ignoreCase) how |= U_COMPARE_IGNORE_CASE | U_FOLD_CASE_DEFAULT;
        const std::int32_t order = unorm_compare(AsIcu(a), -1, AsIcu(b), -1, how, &status);
        if (U_SUCCESS(status)) return order;
    } else if (ignoreCase) {
        how |= U_FOLD_CASE_DEFAULT;
        const std::int32_t order = u_strCaseCompare(AsIcu(a), -1, AsIcu(b), -1, how, &status);
        if (U_SUCCESS(status)) return order;
    }
    return u_strcmpCodePointOrder(AsIcu(a), AsIcu(b));
}

constexpr int kEqual = 0;
constexpr int kFirstSortsFirst = 1;
constexpr int kFirstSortsAfter = 2;

int OrderOf(int difference) {
    if (difference == 0) return kEqual;
    return difference < 0 ? kFirstSortsFirst : kFirstSortsAfter;
}

}  // namespace

unsigned long Uni16CharMakePreComposed(unsigned short* text) {
    const std::size_t length = Uni16CharGetLength(text);
    return ComposeInPlace(text, length, length);
}

unsigned long Uni16CharMakePreComposed(unsigned short* text, unsigned long maxUnits) {
    const std::size_t length = Uni16CharGetLength(text);
    return maxUnits == 0 ? length : ComposeInPlace(text, length, maxUnits - 1);
}

// An ASCII character is a starter that neither folds to more than one character nor decomposes, so
// that no mark behind it changes its place: whatever is equal before it can be passed over, and
// where both texts have one the first two that differ decide.
int Uni16CharCompareWithOptions(const unsigned short* a, const unsigned short* b, int options) {
    const bool ignoreCase = (options & kCompareIgnoreCase) != 0;
    std::size_t safe = 0;  // up to here the texts are equal, and what follows stands by itself
    for (std::size_t i = 0;; ++i) {
        if (a[i] == b[i]) {
            if (a[i] == 0) return kEqual;
            if (IsAscii(a[i])) safe = i;
            continue;
        }
        if (!IsAscii(a[i]) || !IsAscii(b[i]))
            return OrderOf(CompareBeyondAscii(a + safe, b + safe, options));
        const int left = ignoreCase ? FoldAscii(a[i]) : a[i];
        const int right = ignoreCase ? FoldAscii(b[i]) : b[i];
        if (left != right) return OrderOf(left - right);
        safe = i;
    }
}

}  // namespace Ondrel
