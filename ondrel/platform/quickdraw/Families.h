// The font families that pictures name, by number or by name, and what to draw them with today.
// Internal to libOndrel.
//
// Origin: the family numbers are those of "Inside Macintosh: Text", chapter 4, the character
// widths those of the PostScript fonts' public metrics.
#ifndef ONDREL_PLATFORM_QUICKDRAW_FAMILIES_H
#define ONDREL_PLATFORM_QUICKDRAW_FAMILIES_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/quickdraw/MacText.h"

namespace Ondrel::QuickDraw {

// How wide a family's characters were, in thousandths of its size; texts keep their length by it,
// whatever font stands in. Where nothing is known it is all 0 and the font's own widths hold.
struct FamilyWidths {
    const std::uint16_t* ascii = nullptr;  // from the blank on, 95 of them
    int fixed = 0;                         // the one width of all characters
    int mean = 0;                          // of the letters of kSampleLetters
    bool isOfBold = false;  // these are the bold face's own; else that was a pixel wider

    // Of those letters, however the widths are known.
    double Mean() const;
};

// The most frequent letters of texts: what they take, texts take.
inline constexpr std::string_view kSampleLetters = "etaoinshrdlc";

struct FamilyChoice {
    std::vector<std::string> names;  // in UTF-8, the best first; the last may be a kind of font
    bool isHeavy = false;            // its plain face is a bold one
    FamilyWidths widths;
    FamilyWidths boldWidths;
    CharacterSet characters = CharacterSet::kMacRoman;
};

// The family of that number, or of the name that the picture gives it, if it does: `fontNames` is
// by number, in MacRoman. Unknown ones are whatever the system finds alike, in the end a sans
// serif.
FamilyChoice ChooseFamily(int number, const std::map<int, std::string>& fontNames);

}  // namespace Ondrel::QuickDraw

#endif
