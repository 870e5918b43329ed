// Comparison of names, by ICU where ASCII does not decide.
#include "ondrel/platform/NameMatch.h"

#include <unicode/unorm.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <climits>

namespace Ondrel {
namespace {

constexpr std::size_t kShortName = 256;      // units on the stack; longer than nearly any name
constexpr std::size_t kLongestText = 65536;  // no host has longer names

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// False when the text is not valid UTF-8. A unit for each byte always suffices.
bool Decode(std::string_view text, UChar* units, std::int32_t* length) {
    UErrorCode status = U_ZERO_ERROR;
    const auto size = static_cast<std::int32_t>(text.size());
    u_strFromUTF8(units, size, length, text.data(), size, &status);
    return U_SUCCESS(status);
}

bool DecodeUtf8(std::string_view text, std::u16string* units) {
    std::int32_t length = 0;
    units->resize(text.size());
    if (text.size() > kLongestText || !Decode(text, units->data(), &length)) return false;
    units->resize(static_cast<std::size_t>(length));
    return true;
}

bool EncodeUtf8(const std::u16string& units, std::string* text) {
    text->resize(units.size() * 3);
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(text->data(), static_cast<std::int32_t>(text->size()), &length, units.data(),
                static_cast<std::int32_t>(units.size()), &status);
    if (U_FAILURE(status)) return false;
    text->resize(static_cast<std::size_t>(length));
    return true;
}

// Replaces a text by what an ICU function makes of it.
template <class Convert>
bool Replace(std::u16string* text, Convert convert) {
    UErrorCode status = U_ZERO_ERROR;
    std::u16string result(text->size() * 4 + 16, u'\0');
    std::int32_t length = convert(result, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        result.resize(static_cast<std::size_t>(length));
        length = convert(result, &status);
    }
    if (U_FAILURE(status)) return false;
    result.resize(static_cast<std::size_t>(length));
    *text = std::move(result);
    return true;
}

bool Decompose(std::u16string* text) {
    return Replace(text, [&](std::u16string& result, UErrorCode* status) {
        return unorm2_normalize(unorm2_getNFDInstance(status), text->data(),
                                static_cast<std::int32_t>(text->size()), result.data(),
                                static_cast<std::int32_t>(result.size()), status);
    });
}

bool FoldCase(std::u16string* text) {
    return Replace(text, [&](std::u16string& result, UErrorCode* status) {
        return u_strFoldCase(result.data(), static_cast<std::int32_t>(result.size()), text->data(),
                             static_cast<std::int32_t>(text->size()), U_FOLD_CASE_DEFAULT, status);
    });
}

std::string FoldAscii(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    return text;
}

}  // namespace

SoughtName::SoughtName(std::string_view macName, Case rule) : folds_(rule == Case::kFolded) {
    if (macName.find(':') != std::string_view::npos) return;
    if (IsAscii(macName)) {
        key_ = macName;
        std::replace(key_.begin(), key_.end(), '/', ':');
        name_.assign(key_.begin(), key_.end());
        if (folds_) key_ = FoldAscii(std::move(key_));
        return;
    }
    std::u16string name;
    if (DecodeUtf8(macName, &name)) SetKey(std::move(name));
}

SoughtName::SoughtName(const UniChar* macName, UniCharCount length, Case rule)
    : folds_(rule == Case::kFolded) {
    if (length > kLongestText) return;
    std::u16string name(macName, macName + length);
    if (name.find(u':') == std::u16string::npos) SetKey(std::move(name));
}

void SoughtName::SetKey(std::u16string name) {
    std::replace(name.begin(), name.end(), u'/', u':');
    std::u16string form = name;
    const bool formed = Decompose(&form) && (!folds_ || (FoldCase(&form) && Decompose(&form)));
    if (!formed || !EncodeUtf8(form, &key_)) {
        key_.clear();
        return;
    }
    name_ = std::move(name);
}

bool SoughtName::MatchesBeyondAscii(std::string_view hostName) const {
    if (key_.empty()) return false;
    std::array<UChar, kShortName> onStack;
    std::u16string onHeap;
    UChar* units = onStack.data();
    if (hostName.size() > onStack.size()) {
        onHeap.resize(std::min(hostName.size(), kLongestText));
        units = onHeap.data();
    }
    std::int32_t length = 0;
    if (hostName.size() > kLongestText || !Decode(hostName, units, &length)) return false;
    UErrorCode status = U_ZERO_ERROR;
    const std::uint32_t how = folds_ ? U_COMPARE_IGNORE_CASE | U_FOLD_CASE_DEFAULT : 0;
    const std::int32_t order = unorm_compare(name_.data(), static_cast<std::int32_t>(name_.size()),
                                             units, length, how, &status);
    return U_SUCCESS(status) && order == 0;
}

bool IsUtf8Name(std::string_view hostName) {
    if (IsAscii(hostName)) return true;
    std::array<UChar, kShortName> onStack;
    std::u16string onHeap;
    std::int32_t length = 0;
    if (hostName.size() <= onStack.size()) return Decode(hostName, onStack.data(), &length);
    return DecodeUtf8(hostName, &onHeap);
}

}  // namespace Ondrel
