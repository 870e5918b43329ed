// The search that ignores case. ASCII texts are searched as they are. Any other is decoded from the
// platform's encoding and folded in full, a character to one or more code points, so that "strasse"
// is found in "Stra\u00DFe"; a match begins and ends with whole characters.
#include <unicode/stringoptions.h>
#include <unicode/ustring.h>

#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "ondrel/core/CString.h"
#include "ondrel/core/PlatformEncoding.h"

namespace Ondrel {
namespace {

using Core::PlacedPoint;

bool IsAscii(std::string_view text) {
    unsigned all = 0;
    for (const char c : text)
        all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

char FoldAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

bool EqualInAscii(std::string_view a, std::string_view b) {
    for (std::size_t i = 0; i < b.size(); ++i)
        if (FoldAscii(a[i]) != FoldAscii(b[i])) return false;
    return true;
}

// The pattern is not empty.
long SearchAscii(std::string_view text, std::string_view pattern) {
    for (std::size_t at = 0; pattern.size() <= text.size() - at; ++at)
        if (EqualInAscii(text.substr(at), pattern)) return static_cast<long>(at);
    return -1;
}

// Appends the folded form of a character, each of its code points with the character's place.
void AppendFolded(const PlacedPoint& character, std::vector<PlacedPoint>* folded) {
    std::array<UChar, 2> units;
    std::array<UChar, 8> result;  // no character folds to more than three
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    const auto point = static_cast<UChar32>(character.point);
    if (character.point < Core::kFirstStrayByte) {
        if (point >= 0x10000) {
            units = {U16_LEAD(point), U16_TRAIL(point)};
            length = 2;
        } else {
            units[0] = static_cast<UChar>(point);
            length = 1;
        }
        length = u_strFoldCase(result.data(), static_cast<std::int32_t>(result.size()),
                               units.data(), length, U_FOLD_CASE_DEFAULT, &status);
    }
    if (length == 0 || U_FAILURE(status)) {
        folded->push_back(character);
        return;
    }
    for (std::int32_t i = 0; i < length;) {
        UChar32 one = 0;
        U16_NEXT(result.data(), i, length, one);
        folded->push_back({static_cast<char32_t>(one), character.place});
    }
}

std::vector<PlacedPoint> DecodeFolded(const char* text) {
    std::vector<PlacedPoint> folded;
    for (const PlacedPoint& character : Core::DecodePlatformCString(text))
        AppendFolded(character, &folded);
    return folded;
}

// Whether a character begins at a position of a folded text, its end included.
bool IsBoundary(const std::vector<PlacedPoint>& text, std::size_t at) {
    return at == 0 || at == text.size() || text[at].place != text[at - 1].place;
}

bool StandsAt(const std::vector<PlacedPoint>& text, std::size_t at,
              const std::vector<PlacedPoint>& pattern) {
    for (std::size_t i = 0; i < pattern.size(); ++i)
        if (text[at + i].point != pattern[i].point) return false;
    return IsBoundary(text, at) && IsBoundary(text, at + pattern.size());
}

long SearchFolded(const std::vector<PlacedPoint>& text, const std::vector<PlacedPoint>& pattern) {
    for (std::size_t at = 0; at + pattern.size() <= text.size(); ++at)
        if (StandsAt(text, at, pattern)) return text[at].place;
    return -1;
}

}  // namespace

long strseaign(const char* text, const char* pattern) {
    if (*pattern == 0) return 0;
    if (IsAscii(text) && IsAscii(pattern)) return SearchAscii(text, pattern);
    return SearchFolded(DecodeFolded(text), DecodeFolded(pattern));
}

}  // namespace Ondrel
