// The conversions go through 16-bit text, in buffers sized for the worst expansion of the input, so
// that only the caller's own buffer ever cuts anything.
#include "ondrel/filref/textencoding.h"

#include <algorithm>
#include <memory>

#include "ondrel/core/CString.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"

namespace Ondrel {
namespace {

// The most bytes that the platform's encoding has for one unit, and UTF-8 for one.
constexpr std::size_t kPlatformBytesPerUnit = 4;
constexpr std::size_t kUtf8BytesPerUnit = 3;

using Units = std::unique_ptr<unsigned short[]>;
using Chars = std::unique_ptr<char[]>;

}  // namespace

// --- UTF-8 to the platform's encoding -----------------------------------------------------------

std::string utf8ToPlatformCString(const std::string& utf8, bool keepIfInvalid) {
    if (utf8.empty()) return {};
    const std::size_t units = utf8.size() + 1;
    const Units text = std::make_unique_for_overwrite<unsigned short[]>(units);
    if (UTF8ToUni16Char(utf8.c_str(), text.get(), units) < 0 && keepIfInvalid) return utf8;
    const std::size_t bytes = kPlatformBytesPerUnit * units;
    const Chars converted = std::make_unique_for_overwrite<char[]>(bytes);
    Uni16CharToPlatformCString(text.get(), converted.get(), bytes);
    return converted.get();
}

std::string utf8ToPlatformString(const std::string& utf8, bool keepIfInvalid) {
    return utf8ToPlatformCString(utf8, keepIfInvalid);
}

int utf8ToPlatformCString(const char* utf8, char* out, std::size_t outSize, bool keepIfInvalid) {
    if (outSize == 0) return 0;
    const std::string converted = utf8ToPlatformCString(std::string(utf8), keepIfInvalid);
    const std::size_t length = std::min(converted.size(), outSize - 1);
    std::copy_n(converted.data(), length, out);
    out[length] = 0;
    return static_cast<int>(length);
}

// --- The platform's encoding to UTF-8 -----------------------------------------------------------

std::string platformCStringToUtf8(const std::string& platform) {
    const std::size_t units = 2 * platform.size() + 2;
    const Units text = std::make_unique_for_overwrite<unsigned short[]>(units);
    PlatformCStringToUni16Char(platform.c_str(), text.get(), units);
    const std::size_t bytes = kUtf8BytesPerUnit * units;
    const Chars converted = std::make_unique_for_overwrite<char[]>(bytes);
    Uni16CharToUTF8(text.get(), converted.get(), bytes);
    return converted.get();
}

std::string platformStringToUtf8(const std::string& platform) {
    return platformCStringToUtf8(platform);
}

int platformCStringToUtf8(const char* platform, char* out, std::size_t outSize) {
    const std::string converted = platformCStringToUtf8(std::string(platform));
    const std::size_t length = std::min(converted.size(), outSize);
    std::copy_n(converted.data(), length, out);
    std::fill_n(out + length, outSize - length, '\0');
    return static_cast<int>(converted.size());
}

// --- Comparison and search ----------------------------------------------------------------------

int utf8CompareNoCase(const char* a, const char* b) {
    unsigned short textA[kFilrefSize];
    unsigned short textB[kFilrefSize];
    UTF8ToUni16Char(a, textA, kFilrefSize);
    UTF8ToUni16Char(b, textB, kFilrefSize);
    switch (Uni16CharCompareWithOptions(textA, textB, kCompareIgnoreCase)) {
        case 1:
            return -1;
        case 2:
            return 1;
        default:
            return 0;
    }
}

int strseaignUTF8(const char* text, const char* pattern) {
    const std::string platformText = utf8ToPlatformCString(std::string(text), false);
    const std::string platformPattern = utf8ToPlatformCString(std::string(pattern), false);
    if (platformText.empty() || platformPattern.empty())
        return static_cast<int>(strseaign(text, pattern));
    return static_cast<int>(strseaign(platformText.c_str(), platformPattern.c_str()));
}

}  // namespace Ondrel
