// 16-bit Unicode text: NUL-terminated UTF-16 in host byte order, as it crosses the boundary between
// the library and the host, and Uni16String, the standard string of it.
//
// Capacities count units (16-bit) or bytes (8-bit) and include the terminator. A bounded call never
// writes behind its capacity, always terminates when the capacity is at least 1, writes nothing
// when it is 0, and never cuts a character in two. Results that count do not count the terminator.
// Neither null texts nor overlapping buffers are allowed, unless a call says otherwise.
#ifndef ONDREL_CORE_UNICODE_H
#define ONDREL_CORE_UNICODE_H

#include <cstddef>
#include <cwchar>
#include <ios>
#include <string>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// --- Plain texts --------------------------------------------------------------------------------

// Length in units up to the NUL.
ONDREL_EXPORT unsigned long Uni16CharGetLength(const unsigned short* text);

// Copies with the terminator and answers the length copied. The bounded form cuts the text.
ONDREL_EXPORT unsigned long Uni16CharCopy(unsigned short* dst, const unsigned short* src);
ONDREL_EXPORT unsigned long Uni16CharCopy(unsigned short* dst, const unsigned short* src,
                                          unsigned long maxUnits);

// Copies exactly `units` units; the caller terminates. The buffers may overlap.
ONDREL_EXPORT void Uni16CharPartialCopy(unsigned short* dst, const unsigned short* src,
                                        unsigned long units);

// Appends with the terminator. The plain form needs room for both texts; the bounded form, whose
// capacity counts the whole of `dst`, cuts. They answer the length of the whole.
ONDREL_EXPORT unsigned long Uni16CharAppend(unsigned short* dst, const unsigned short* src);
ONDREL_EXPORT unsigned long Uni16CharAppend(unsigned short* dst, const unsigned short* src,
                                            unsigned long maxUnits);

// The first occurrence of `character`, or null. The terminator is no occurrence. The bounded form
// looks at exactly `units` units and does not stop at a NUL.
ONDREL_EXPORT const unsigned short* Uni16CharFindCharacter(const unsigned short* text,
                                                           unsigned short character);
ONDREL_EXPORT const unsigned short* Uni16CharPartialFindCharacter(const unsigned short* text,
                                                                  unsigned short character,
                                                                  unsigned long units);

// 0 when equal, negative when `a` sorts first by unit values, positive when it sorts after. The
// bounded form compares exactly `units` units.
ONDREL_EXPORT int Uni16CharCompare(const unsigned short* a, const unsigned short* b);
ONDREL_EXPORT int Uni16CharPartialCompare(const unsigned short* a, const unsigned short* b,
                                          unsigned long units);

// Options of Uni16CharCompareWithOptions.
inline constexpr int kCompareIgnoreCase = 1;  // full Unicode case folding, no locale
inline constexpr int kCompareCanonical = 8;   // composed and decomposed forms are equal

// 0 when equal under the options, 1 when `a` sorts first (by code points of what is compared), 2
// when it sorts after. Texts that are plain ASCII on both sides never reach ICU.
ONDREL_EXPORT int Uni16CharCompareWithOptions(const unsigned short* a, const unsigned short* b,
                                              int options);

// Normalises in place to precomposed form (NFC) and answers the length. The plain form leaves a
// text alone whose composed form would be longer than the text; the bounded form needs the capacity
// of the buffer, and leaves a text alone whose composed form does not fit it.
ONDREL_EXPORT unsigned long Uni16CharMakePreComposed(unsigned short* text);
ONDREL_EXPORT unsigned long Uni16CharMakePreComposed(unsigned short* text, unsigned long maxUnits);

// --- UTF-8 --------------------------------------------------------------------------------------

// UTF-8 to UTF-16. Answers the units written, 0 for an empty text, -1 when the input is not valid
// UTF-8 (overlong forms, surrogates and code points above U+10FFFF are not): then the part before
// the fault has been converted and terminated. A text that is too long is cut and is no fault.
ONDREL_EXPORT int UTF8ToUni16Char(const char* text, unsigned short* out, unsigned long outUnits);

// UTF-16 to UTF-8. Answers the bytes written. A surrogate without its partner becomes U+FFFD. Three
// bytes per unit and one for the terminator always suffice.
ONDREL_EXPORT int Uni16CharToUTF8(const unsigned short* text, char* out, unsigned long outBytes);

// --- The platform's C-string encoding -----------------------------------------------------------

// To and from the encoding of the process's locale (as nl_langinfo names it; the plain C locale
// counts as UTF-8, and so does an encoding that ICU does not know). What has no counterpart, and
// what is ill-formed, becomes '?'. They answer the units or bytes written.
ONDREL_EXPORT int PlatformCStringToUni16Char(const char* text, unsigned short* out,
                                             unsigned long outUnits);
ONDREL_EXPORT int Uni16CharToPlatformCString(const unsigned short* text, char* out,
                                             unsigned long outBytes);

// --- Percent-encoding of one URL path segment ---------------------------------------------------

// Letters, digits and -._~!$&'()*+,=:@; stay; every other byte of the UTF-8 form, '/' included,
// becomes '%' and two upper-case digits (RFC 3986, section 3.3, for pchar). Bytes that are not
// valid UTF-8 are encoded one by one; a surrogate without its partner as U+FFFD. They answer the
// bytes written; a cut leaves whole characters.
ONDREL_EXPORT int UTF8ToURLEncoding(const char* text, char* out, unsigned long outBytes);
ONDREL_EXPORT int Uni16CharToURLEncoding(const unsigned short* text, char* out,
                                         unsigned long outBytes);

// --- Uni16String --------------------------------------------------------------------------------

namespace Core {

// The standard's character traits for 16-bit units.
struct uni16char_traits {
    using char_type = unsigned short;
    using int_type = unsigned int;
    using off_type = std::streamoff;
    using pos_type = std::fpos<std::mbstate_t>;
    using state_type = std::mbstate_t;

    static void assign(char_type& to, const char_type& from) noexcept { to = from; }
    static char_type* assign(char_type* text, std::size_t units, char_type unit) {
        for (std::size_t i = 0; i < units; ++i)
            text[i] = unit;
        return text;
    }
    static bool eq(char_type a, char_type b) noexcept { return a == b; }
    static bool lt(char_type a, char_type b) noexcept { return a < b; }
    static int compare(const char_type* a, const char_type* b, std::size_t units) {
        return Uni16CharPartialCompare(a, b, units);
    }
    static std::size_t length(const char_type* text) { return Uni16CharGetLength(text); }
    static const char_type* find(const char_type* text, std::size_t units, const char_type& unit) {
        return Uni16CharPartialFindCharacter(text, unit, units);
    }
    static char_type* move(char_type* dst, const char_type* src, std::size_t units) {
        Uni16CharPartialCopy(dst, src, units);
        return dst;
    }
    static char_type* copy(char_type* dst, const char_type* src, std::size_t units) {
        Uni16CharPartialCopy(dst, src, units);
        return dst;
    }
    static int_type not_eof(int_type value) noexcept { return value == eof() ? 0 : value; }
    static char_type to_char_type(int_type value) noexcept { return static_cast<char_type>(value); }
    static int_type to_int_type(char_type unit) noexcept { return unit; }
    static bool eq_int_type(int_type a, int_type b) noexcept { return a == b; }
    static int_type eof() noexcept { return 0xFFFFFFFFU; }
};

}  // namespace Core

using Uni16String = std::basic_string<unsigned short, Core::uni16char_traits>;

// The two conversions over whole strings. Input that is not valid is converted as far as it goes.
ONDREL_EXPORT Uni16String UTF8ToUni16String(const std::string& text);
ONDREL_EXPORT std::string Uni16StringToUTF8(const Uni16String& text);

}  // namespace Ondrel

#endif
