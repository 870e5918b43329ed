// The platform's C-string encoding: that of the calling thread's locale. UTF-8, and the plain C
// locale that counts as UTF-8, go through our own conversions; any other through ICU's converter
// of that name, which is made once and kept under a mutex. An encoding that ICU does not know
// counts as UTF-8.
#include "ondrel/core/PlatformEncoding.h"

#include <langinfo.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>

#include "ondrel/core/Unicode.h"
#include "ondrel/core/Utf8.h"

namespace Ondrel {
namespace {

using Core::TranscodeStop;

constexpr char16_t kNoCounterpart = u'?';

// --- ICU's converter ----------------------------------------------------------------------------

// Writes '?' for bytes that are no character, in the place of ICU's U+FFFD.
void WriteQuestionMark(const void*, UConverterToUnicodeArgs* arguments, const char*, std::int32_t,
                       UConverterCallbackReason reason, UErrorCode* status) {
    if (reason > UCNV_IRREGULAR) return;
    *status = U_ZERO_ERROR;
    ucnv_cbToUWriteUChars(arguments, &kNoCounterpart, 1, 0, status);
}

// Never destroyed, for callers that run while the program ends.
struct CachedConverter {
    std::mutex lock;
    std::string codeset;
    UConverter* converter = nullptr;
};

CachedConverter& TheConverter() {
    static CachedConverter& cached = *new CachedConverter;
    return cached;
}

UConverter* OpenConverter(const char* codeset) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(codeset, &status);
    if (U_FAILURE(status)) return nullptr;
    ucnv_setSubstChars(converter, "?", 1, &status);
    ucnv_setToUCallBack(converter, WriteQuestionMark, nullptr, nullptr, nullptr, &status);
    if (U_SUCCESS(status)) return converter;
    ucnv_close(converter);
    return nullptr;
}

bool CountsAsUtf8(std::string_view codeset) {
    return codeset == "UTF-8" || codeset == "ANSI_X3.4-1968" || codeset.empty();
}

// The converter of the present locale while it lives; none where the encoding counts as UTF-8.
class LocaleConverter {
 public:
    LocaleConverter() {
        const char* codeset = nl_langinfo(CODESET);
        if (CountsAsUtf8(codeset)) return;
        CachedConverter& cached = TheConverter();
        guard_ = std::unique_lock<std::mutex>(cached.lock);
        if (cached.codeset != codeset) {
            ucnv_close(cached.converter);
            cached.converter = OpenConverter(codeset);
            cached.codeset = codeset;
        }
        converter_ = cached.converter;
    }

    UConverter* Get() const { return converter_; }

 private:
    std::unique_lock<std::mutex> guard_;
    UConverter* converter_ = nullptr;
};

// A converted text, with the place in the input that the character of each of its units or bytes
// came from.
template <class Unit>
struct Converted {
    std::basic_string<Unit> text;
    std::vector<std::int32_t> places;
};

// Converts a whole text with one of ICU's two functions, in a buffer that grows until all fits.
template <class Unit, class From, class Convert>
Converted<Unit> ConvertAll(UConverter* converter, const From* text, std::size_t size,
                           Convert convert) {
    Converted<Unit> result;
    for (std::size_t room = 2 * size + 16;; room *= 2) {
        result.text.resize(room);
        result.places.resize(room);
        const From* from = text;
        Unit* to = result.text.data();
        UErrorCode status = U_ZERO_ERROR;
        ucnv_reset(converter);
        convert(converter, &to, to + room, &from, text + size, result.places.data(), true, &status);
        if (status == U_BUFFER_OVERFLOW_ERROR) continue;
        result.text.resize(static_cast<std::size_t>(to - result.text.data()));
        result.places.resize(result.text.size());
        return result;
    }
}

Converted<char16_t> DecodeAll(UConverter* converter, std::string_view text) {
    return ConvertAll<char16_t>(converter, text.data(), text.size(), ucnv_toUnicode);
}

Converted<char> EncodeAll(UConverter* converter, const unsigned short* text, std::size_t units) {
    return ConvertAll<char>(converter, reinterpret_cast<const UChar*>(text), units,
                            ucnv_fromUnicode);
}

// --- Bounded results ----------------------------------------------------------------------------

std::size_t RoomIn(unsigned long capacity) {
    return std::min<std::size_t>(capacity - 1, INT_MAX);
}

bool IsHighSurrogate(char32_t unit) {
    return (unit & 0xFFFFFC00U) == 0xD800;
}

int StoreDecoded(const Converted<char16_t>& decoded, unsigned short* out, std::size_t room) {
    std::size_t length = decoded.text.size();
    if (length > room) {
        length = room;
        if (length > 0 && IsHighSurrogate(decoded.text[length - 1])) --length;
    }
    std::copy_n(decoded.text.begin(), length, out);
    out[length] = 0;
    return static_cast<int>(length);
}

int StoreEncoded(const Converted<char>& encoded, char* out, std::size_t room) {
    std::size_t length = encoded.text.size();
    if (length > room) {
        length = room;
        while (length > 0 && encoded.places[length] == encoded.places[length - 1])
            --length;
    }
    std::copy_n(encoded.text.begin(), length, out);
    out[length] = 0;
    return static_cast<int>(length);
}

// --- UTF-8, with '?' for faults -----------------------------------------------------------------

int DecodeReplacingFaults(const char* text, unsigned short* out, std::size_t room) {
    const char* const end = text + std::strlen(text);
    std::size_t written = 0;
    for (;;) {
        const Core::Transcoded part = Core::DecodeUtf8(text, static_cast<std::size_t>(end - text),
                                                       out + written, room - written);
        text += part.read;
        written += part.written;
        if (part.stop != TranscodeStop::kFault || written == room) break;
        text += Core::FaultLength(text);
        out[written++] = kNoCounterpart;
    }
    out[written] = 0;
    return static_cast<int>(written);
}

int EncodeReplacingFaults(const unsigned short* text, char* out, std::size_t room) {
    const unsigned short* const end = text + Uni16CharGetLength(text);
    std::size_t written = 0;
    for (;;) {
        const Core::Transcoded part = Core::EncodeUtf8(text, static_cast<std::size_t>(end - text),
                                                       out + written, room - written);
        text += part.read;
        written += part.written;
        if (part.stop != TranscodeStop::kFault || written == room) break;
        text += 1;
        out[written++] = static_cast<char>(kNoCounterpart);
    }
    out[written] = 0;
    return static_cast<int>(written);
}

// --- Placed code points -------------------------------------------------------------------------

// A byte that no character begins with, in a search for characters.
Core::PlacedPoint StrayByte(char byte, std::size_t place) {
    return {Core::kFirstStrayByte + static_cast<unsigned char>(byte), static_cast<long>(place)};
}

std::vector<Core::PlacedPoint> PlaceUtf8(const char* text) {
    std::vector<Core::PlacedPoint> points;
    for (std::size_t place = 0; text[place] != 0;) {
        char32_t point = 0;
        const std::size_t length = Core::ReadCharacter(text + place, &point);
        points.push_back(length == 0 ? StrayByte(text[place], place)
                                     : Core::PlacedPoint{point, static_cast<long>(place)});
        place += std::max<std::size_t>(length, 1);
    }
    return points;
}

std::vector<Core::PlacedPoint> PlaceDecoded(const Converted<char16_t>& decoded,
                                            std::string_view text) {
    std::vector<Core::PlacedPoint> points;
    const auto* units = reinterpret_cast<const unsigned short*>(decoded.text.data());
    for (std::size_t i = 0; i < decoded.text.size();) {
        const auto place = static_cast<std::size_t>(std::max(decoded.places[i], 0));
        std::size_t used = 0;
        const char32_t point = Core::CodePointAt(units + i, decoded.text.size() - i, &used);
        if (point == kNoCounterpart && text[place] != '?')
            points.push_back(StrayByte(text[place], place));
        else
            points.push_back({point, static_cast<long>(place)});
        i += used;
    }
    return points;
}

}  // namespace

int PlatformCStringToUni16Char(const char* text, unsigned short* out, unsigned long outUnits) {
    if (outUnits == 0) return 0;
    const LocaleConverter converter;
    if (converter.Get() == nullptr) return DecodeReplacingFaults(text, out, RoomIn(outUnits));
    return StoreDecoded(DecodeAll(converter.Get(), text), out, RoomIn(outUnits));
}

int Uni16CharToPlatformCString(const unsigned short* text, char* out, unsigned long outBytes) {
    if (outBytes == 0) return 0;
    const LocaleConverter converter;
    if (converter.Get() == nullptr) return EncodeReplacingFaults(text, out, RoomIn(outBytes));
    return StoreEncoded(EncodeAll(converter.Get(), text, Uni16CharGetLength(text)), out,
                        RoomIn(outBytes));
}

std::vector<Core::PlacedPoint> Core::DecodePlatformCString(const char* text) {
    const LocaleConverter converter;
    if (converter.Get() == nullptr) return PlaceUtf8(text);
    return PlaceDecoded(DecodeAll(converter.Get(), text), text);
}

}  // namespace Ondrel
