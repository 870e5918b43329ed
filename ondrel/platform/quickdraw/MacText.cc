// The character sets as tables. The bytes below 128 of MacRoman are ASCII.
#include "ondrel/platform/quickdraw/MacText.h"

#include <string_view>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint8_t kFirstPrintable = 0x20;
constexpr std::uint8_t kFirstHigh = 0x80;

// The menus' signs, where other machines have control characters: the command key, the check mark,
// the diamond, the apple.
constexpr std::uint8_t kFirstSign = 0x11;
constexpr std::u16string_view kSigns = u"\u2318\u2713\u25C6\uF8FF";

constexpr std::u16string_view kHighMacRoman =
    u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
    u"†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
    u"¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
    u"‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";

constexpr std::string_view kLikeHighMacRoman =
    "AACENOUaaaaaaceeeeiiiinooooouuuu"
    "+*cLS*PBRCT'\"=AO8+<>YudENnfaoOao"
    "?!-Vf=A<>. AAOOo--\"\"''/oyY/E<>ff"
    "+.,,%AEAEEIIIIOO OUUUi^~-^'o,\",^";

constexpr std::u16string_view kLowSymbol =
    u" !∀#∃%&∋()∗+,−./0123456789:;<=>?"
    u"≅ΑΒΧ∆ΕΦΓΗΙϑΚΛΜΝΟΠΘΡΣΤΥςΩΞΨΖ[∴]⊥_"
    u"‾αβχδεφγηιϕκλμνοπθρστυϖωξψζ{|}∼";

constexpr std::uint8_t kFirstHighSymbol = 0xA0;
constexpr std::u16string_view kHighSymbol =
    u"€ϒ′≤⁄∞ƒ♣♦♥♠↔←↑→↓°±″≥×∝∂•÷≠≡≈…⏐⎯↵"
    u"ℵℑℜ℘⊗⊕∅∩∪⊃⊇⊄⊂⊆∈∉∠∇®©™∏√⋅¬∧∨⇔⇐⇑⇒⇓"
    u"◊〈®©™∑⎛⎜⎝⎡⎢⎣⎧⎨⎩⎪\uF8FF〉∫⌠⎮⌡⎞⎟⎠⎤⎥⎦⎫⎬⎭";

static_assert(kHighMacRoman.size() == 128 && kLikeHighMacRoman.size() == 128);
static_assert(kLowSymbol.size() == 95 && kHighSymbol.size() == 95);

constexpr char32_t At(std::u16string_view table, std::uint8_t first, std::uint8_t byte) {
    if (byte < first || std::size_t{byte} - first >= table.size()) return 0;
    return table[std::size_t{byte} - first];
}

constexpr bool IsAscii(std::uint8_t byte) {
    return byte >= kFirstPrintable && byte < 0x7F;
}

// The dingbats follow one another in Unicode but for those that had been there before.
constexpr char32_t Dingbat(std::uint8_t byte) {
    constexpr struct {
        std::uint8_t first, last;
        char16_t character;  // of the first; the others follow it
    } kElsewhere[] = {
        {0x20, 0x20, u' '},      {0x25, 0x25, u'\u260E'}, {0x2A, 0x2A, u'\u261B'},
        {0x2B, 0x2B, u'\u261E'}, {0x48, 0x48, u'\u2605'}, {0x6C, 0x6C, u'\u25CF'},
        {0x6E, 0x6E, u'\u25A0'}, {0x73, 0x73, u'\u25B2'}, {0x74, 0x74, u'\u25BC'},
        {0x75, 0x75, u'\u25C6'}, {0x77, 0x77, u'\u25D7'}, {0xA8, 0xA8, u'\u2663'},
        {0xA9, 0xA9, u'\u2666'}, {0xAA, 0xAA, u'\u2665'}, {0xAB, 0xAB, u'\u2660'},
        {0xAC, 0xB5, u'\u2460'}, {0xD5, 0xD5, u'\u2192'}, {0xD6, 0xD7, u'\u2194'},
        {0xF0, 0xF0, 0},
    };
    for (const auto& range : kElsewhere)
        if (byte >= range.first && byte <= range.last)
            return range.character == 0 ? 0 : char32_t{range.character} + byte - range.first;
    if (byte > 0x20 && byte < 0x7F) return char32_t{0x2701} + byte - 0x21;
    return byte > 0xA0 && byte < 0xFF ? char32_t{0x2761} + byte - 0xA1 : 0;
}

}  // namespace

char32_t UnicodeOf(std::uint8_t byte, CharacterSet set) {
    if (set == CharacterSet::kSymbol)
        return byte < kFirstHigh ? At(kLowSymbol, kFirstPrintable, byte)
                                 : At(kHighSymbol, kFirstHighSymbol, byte);
    if (set == CharacterSet::kDingbats) return Dingbat(byte);
    if (byte < kFirstPrintable) return At(kSigns, kFirstSign, byte);
    return IsAscii(byte) ? byte : At(kHighMacRoman, kFirstHigh, byte);
}

char AsciiLike(std::uint8_t byte) {
    if (IsAscii(byte)) return static_cast<char>(byte);
    return byte < kFirstHigh ? ' ' : kLikeHighMacRoman[std::size_t{byte} - kFirstHigh];
}

}  // namespace Ondrel::QuickDraw
