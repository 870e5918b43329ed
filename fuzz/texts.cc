// Texts in every encoding: the first byte chooses the locale, the others are converted each way
// into buffers of every size. Nothing is written behind a buffer, a text stays terminated, and what
// is converted whole comes back as it was.
#include <locale.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Require.h"
#include "ondrel/core/CString.h"
#include "ondrel/core/MacRoman.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/textencoding.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

// The plain C locale, and those of one and of several bytes a character that fuzz/run has made and
// named by LOCPATH.
std::vector<locale_t> OpenLocales() {
    std::vector<locale_t> locales;
    for (const char* name : {"C", "en_US.ISO-8859-1", "ja_JP.EUC-JP"})
        if (const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr))
            locales.push_back(locale);
    return locales;
}

// True in a locale whose encoding counts as UTF-8.
bool ChooseLocale(unsigned char choice) {
    static const std::vector<locale_t>& locales = *new std::vector<locale_t>(OpenLocales());
    const std::size_t index = choice % locales.size();
    uselocale(locales[index]);
    return index == 0;
}

// Converts into a buffer of exactly `room` units.
template <class Unit, class Convert>
void Into(std::size_t room, Convert convert) {
    const std::unique_ptr<Unit[]> buffer(new Unit[room]);
    std::fill_n(buffer.get(), room, Unit{'x'});
    (void)convert(buffer.get(), static_cast<unsigned long>(room));
    Require(room == 0 ||
            std::find(buffer.get(), buffer.get() + room, Unit{0}) != buffer.get() + room);
}

void ConvertBytes(const char* text, std::size_t room) {
    using Unit = unsigned short;
    Into<Unit>(room, [&](Unit* out, unsigned long n) { return UTF8ToUni16Char(text, out, n); });
    Into<Unit>(
        room, [&](Unit* out, unsigned long n) { return PlatformCStringToUni16Char(text, out, n); });
    Into<char>(room, [&](char* out, unsigned long n) { return UTF8ToURLEncoding(text, out, n); });
    if (room == 0) return;
    for (const bool keep : {false, true})
        Into<char>(room, [&](char* out, unsigned long n) {
            return utf8ToPlatformCString(text, out, n, keep);
        });
    const std::unique_ptr<char[]> filled(new char[room]);
    const int whole = platformCStringToUtf8(text, filled.get(), room);
    Require((static_cast<std::size_t>(whole) < room) ==
            (std::memchr(filled.get(), 0, room) != nullptr));
}

void ConvertUnits(const Uni16String& text, std::size_t room) {
    const unsigned short* const units = text.c_str();
    Into<char>(room, [&](char* out, unsigned long n) { return Uni16CharToUTF8(units, out, n); });
    Into<char>(room, [&](char* out, unsigned long n) {
        return Uni16CharToPlatformCString(units, out, n);
    });
    Into<char>(room,
               [&](char* out, unsigned long n) { return Uni16CharToURLEncoding(units, out, n); });
    if (room == 0) return;
    Into<unsigned short>(room, [&](unsigned short* out, unsigned long n) {
        Uni16CharCopy(out, units, n);
        return Uni16CharMakePreComposed(out, n);
    });
}

// The plain form needs no capacity: what would be longer stays as it is.
void Compose(const Uni16String& text) {
    const std::size_t size = text.size() + 1;
    const std::unique_ptr<unsigned short[]> buffer(new unsigned short[size]);
    std::copy_n(text.c_str(), size, buffer.get());
    const std::size_t length = Uni16CharMakePreComposed(buffer.get());
    Require(length == Uni16CharGetLength(buffer.get()) && length < size);
}

// A text that is valid is the same after a journey through the other encoding.
void CheckRoundTrip(const std::string& text, bool isUtf8Locale) {
    const Uni16String units = UTF8ToUni16String(text);
    const std::string back = Uni16StringToUTF8(units);
    Require(text.starts_with(back) && UTF8ToUni16String(back) == units);
    const std::string platform = utf8ToPlatformCString(back, true);
    Require(utf8ToPlatformString(back, true) == platform);
    Require(platformCStringToUtf8(platform) == platformStringToUtf8(platform));
    if (isUtf8Locale) Require(platform == back && platformCStringToUtf8(platform) == back);
}

// Of single bytes each one is a character.
void CheckMacRoman(const std::string& text) {
    std::string back;
    Require(UTF8ToMacRoman(MacRomanToUTF8(text), &back) && back == text);
    const std::string before = back;
    if (!UTF8ToMacRoman(text, &back)) Require(back == before);
}

void Compare(const std::string& text, const Uni16String& units) {
    const std::string half = text.substr(text.size() / 2);
    const long place = strseaign(text.c_str(), half.c_str());
    Require(place >= -1 && place <= static_cast<long>(text.size()));
    (void)strseaignUTF8(text.c_str(), half.c_str());
    Require(utf8CompareNoCase(text.c_str(), half.c_str()) ==
            -utf8CompareNoCase(half.c_str(), text.c_str()));
    const Uni16String other = UTF8ToUni16String(text);
    for (const int options :
         {0, kCompareIgnoreCase, kCompareCanonical, kCompareIgnoreCase | kCompareCanonical}) {
        const int order = Uni16CharCompareWithOptions(units.c_str(), other.c_str(), options);
        const int reverse = Uni16CharCompareWithOptions(other.c_str(), units.c_str(), options);
        Require(order >= 0 && order <= 2 && (order + reverse) % 3 == 0);
        Require(Uni16CharCompareWithOptions(other.c_str(), other.c_str(), options) == 0);
    }
}

}  // namespace

// glibc never gives back what it has parted LOCPATH into.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "leak:argz_add_sep";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const bool isUtf8Locale = ChooseLocale(data[0]);
    std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    CheckMacRoman(text);
    text.resize(std::strlen(text.c_str()));
    Uni16String units;
    for (std::size_t i = 1; i + 1 < size; i += 2)
        units += static_cast<unsigned short>(data[i] << 8 | data[i + 1]);
    units.resize(Uni16CharGetLength(units.c_str()));
    for (const std::size_t room :
         {std::size_t{0}, std::size_t{1}, std::size_t{2}, size / 2, size + 1, 3 * size + 4}) {
        ConvertBytes(text.c_str(), room);
        ConvertUnits(units, room);
    }
    Compose(units);
    CheckRoundTrip(text, isUtf8Locale);
    Compare(text, units);
    return 0;
}
