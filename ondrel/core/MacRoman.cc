// MacRoman by ICU's converter.
#include "ondrel/core/MacRoman.h"

#include <unicode/ucnv.h>

namespace Ondrel {
namespace {

constexpr const char* kMacRoman = "macintosh";

// Owns a converter that stops at what it cannot convert.
class StrictConverter {
 public:
    explicit StrictConverter(const char* encoding) {
        UErrorCode error = U_ZERO_ERROR;
        converter_ = ucnv_open(encoding, &error);
        ucnv_setFromUCallBack(converter_, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                              &error);
        ucnv_setToUCallBack(converter_, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        isUsable_ = U_SUCCESS(error);
    }
    ~StrictConverter() { ucnv_close(converter_); }
    StrictConverter(const StrictConverter&) = delete;
    StrictConverter& operator=(const StrictConverter&) = delete;

    UConverter* Get() const { return isUsable_ ? converter_ : nullptr; }

 private:
    UConverter* converter_ = nullptr;
    bool isUsable_ = false;
};

// `most` bytes hold any result. False where something could not be converted.
bool Convert(const char* from, const char* to, const std::string& text, std::size_t most,
             std::string* out) {
    const StrictConverter source(from);
    const StrictConverter target(to);
    if (source.Get() == nullptr || target.Get() == nullptr) return false;
    std::string converted(most, '\0');
    char* place = converted.data();
    const char* rest = text.data();
    UErrorCode error = U_ZERO_ERROR;
    ucnv_convertEx(target.Get(), source.Get(), &place, place + most, &rest,
                   text.data() + text.size(), nullptr, nullptr, nullptr, nullptr, true, true,
                   &error);
    if (U_FAILURE(error)) return false;
    converted.resize(static_cast<std::size_t>(place - converted.data()));
    *out = std::move(converted);
    return true;
}

}  // namespace

std::string MacRomanToUTF8(const std::string& text) {
    std::string out;
    (void)Convert(kMacRoman, "UTF-8", text, text.size() * 3, &out);
    return out;
}

bool UTF8ToMacRoman(const std::string& text, std::string* out) {
    return Convert("UTF-8", kMacRoman, text, text.size(), out);
}

}  // namespace Ondrel
