// Composition through ICU. Plain ASCII, which nearly every name is, goes through unchanged.
#include "ondrel/platform/Composition.h"

#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>

namespace Ondrel::Host {
namespace {

constexpr std::size_t kLongestText = 65536;

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool DecodeUtf8(std::string_view text, std::u16string* units) {
    units->resize(text.size());
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strFromUTF8(units->data(), static_cast<std::int32_t>(units->size()), &length, text.data(),
                  static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status)) return false;
    units->resize(static_cast<std::size_t>(length));
    return true;
}

// A unit grows to three at most when it is composed.
bool Normalise(const std::u16string& units, std::u16string* composed) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfc = unorm2_getNFCInstance(&status);
    composed->resize(units.size() * 3);
    const std::int32_t length =
        unorm2_normalize(nfc, units.data(), static_cast<std::int32_t>(units.size()),
                         composed->data(), static_cast<std::int32_t>(composed->size()), &status);
    if (U_FAILURE(status)) return false;
    composed->resize(static_cast<std::size_t>(length));
    return true;
}

}  // namespace

bool EncodeUtf8(const std::u16string& units, std::string* text) {
    std::string bytes(units.size() * 3, '\0');
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(bytes.data(), static_cast<std::int32_t>(bytes.size()), &length, units.data(),
                static_cast<std::int32_t>(units.size()), &status);
    if (U_FAILURE(status)) return false;
    bytes.resize(static_cast<std::size_t>(length));
    *text = std::move(bytes);
    return true;
}

bool ComposeUtf8(std::string_view text, std::string* composed) {
    if (IsAscii(text)) {
        composed->assign(text);
        return true;
    }
    std::u16string units;
    std::u16string result;
    return text.size() <= kLongestText && DecodeUtf8(text, &units) && Normalise(units, &result) &&
           EncodeUtf8(result, composed);
}

}  // namespace Ondrel::Host
