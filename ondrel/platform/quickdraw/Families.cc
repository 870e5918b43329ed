// One table of families, and the widths of the two most common ones.
#include "ondrel/platform/quickdraw/Families.h"

#include <algorithm>
#include <string_view>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint16_t kHelveticaWidths[95] = {
    278, 278, 355, 556, 556,  889, 667, 191, 333, 333, 389, 584, 278, 333,  //  !"#$%&'()*+,-
    278, 278, 556, 556, 556,  556, 556, 556, 556, 556, 556, 556, 278, 278,  // ./0123456789:;
    584, 584, 584, 556, 1015, 667, 667, 722, 722, 667, 611, 778, 722, 278,  // <=>?@ABCDEFGHI
    500, 667, 556, 833, 722,  778, 667, 778, 722, 667, 611, 722, 667, 944,  // JKLMNOPQRSTUVW
    667, 667, 611, 278, 278,  278, 469, 556, 333, 556, 556, 500, 556, 556,  // XYZ[\]^_`abcde
    278, 556, 556, 222, 222,  500, 222, 833, 556, 556, 556, 556, 333, 500,  // fghijklmnopqrs
    278, 556, 500, 722, 500,  500, 500, 334, 260, 334, 584};                // tuvwxyz{|}~

constexpr std::uint16_t kTimesWidths[95] = {
    250, 333, 408, 500, 500, 833, 778, 180, 333, 333, 500, 564, 250, 333,  //  !"#$%&'()*+,-
    250, 278, 500, 500, 500, 500, 500, 500, 500, 500, 500, 500, 278, 278,  // ./0123456789:;
    564, 564, 564, 444, 921, 722, 667, 667, 722, 611, 556, 722, 722, 333,  // <=>?@ABCDEFGHI
    389, 722, 611, 889, 722, 722, 556, 722, 667, 556, 611, 722, 722, 944,  // JKLMNOPQRSTUVW
    722, 722, 611, 333, 278, 333, 469, 500, 333, 444, 500, 444, 500, 444,  // XYZ[\]^_`abcde
    333, 500, 500, 278, 278, 500, 278, 778, 500, 500, 500, 500, 333, 389,  // fghijklmnopqrs
    278, 500, 500, 722, 500, 500, 444, 480, 200, 480, 541};                // tuvwxyz{|}~

constexpr std::uint16_t kHelveticaBoldWidths[95] = {
    278, 333, 474, 556, 556, 889, 722, 238, 333, 333, 389, 584, 278, 333, 278, 278, 556, 556, 556,
    556, 556, 556, 556, 556, 556, 556, 333, 333, 584, 584, 584, 611, 975, 722, 722, 722, 722, 667,
    611, 778, 722, 278, 556, 722, 611, 833, 722, 778, 667, 778, 722, 667, 611, 722, 667, 944, 667,
    667, 611, 333, 278, 333, 584, 556, 333, 556, 611, 556, 611, 556, 333, 611, 611, 278, 278, 556,
    278, 889, 611, 611, 611, 611, 389, 556, 333, 611, 556, 778, 556, 556, 500, 389, 280, 389, 584};

constexpr std::uint16_t kTimesBoldWidths[95] = {
    250, 333, 555, 500, 500, 1000, 833, 278,  333, 333, 500, 570, 250, 333, 250, 278,
    500, 500, 500, 500, 500, 500,  500, 500,  500, 500, 333, 333, 570, 570, 570, 500,
    930, 722, 667, 722, 722, 667,  611, 778,  778, 389, 500, 778, 667, 944, 722, 778,
    611, 778, 722, 556, 667, 722,  722, 1000, 722, 722, 667, 333, 278, 333, 581, 500,
    333, 500, 556, 444, 556, 444,  333, 500,  556, 278, 333, 556, 278, 833, 556, 500,
    556, 556, 444, 389, 333, 556,  500, 722,  500, 500, 444, 394, 220, 394, 520};

constexpr int kCourierWidth = 600;
constexpr int kMonacoWidth = 615;  // six pixels in its smallest size, seven in the next

// Measured where pictures tell how long their texts are.
constexpr int kChicagoMean = 555;
constexpr int kGenevaMean = 500;

enum class Widths { kOwn, kChicago, kGeneva, kHelvetica, kTimes, kCourier, kMonaco };

struct KnownFamily {
    int number;
    std::string_view name;
    std::string_view standIns;  // between commas, after the name itself
    Widths widths = Widths::kOwn;
    bool isHeavy = false;
    CharacterSet characters = CharacterSet::kMacRoman;
};

constexpr std::string_view kSans = "Verdana,DejaVu Sans,sans-serif";
constexpr std::string_view kSerif = "DejaVu Serif,Georgia,serif";
constexpr std::string_view kScript = "URW Chancery L,Z003,cursive";

constexpr int kNoNumber = 0x10000;  // family numbers are of 16 bits

constexpr KnownFamily kFamilies[] = {
    {0, "Chicago", "Charcoal,DejaVu Sans,sans-serif", Widths::kChicago, true},
    {1, "Geneva", kSans, Widths::kGeneva},
    {2, "New York", kSerif},
    {3, "Geneva", kSans, Widths::kGeneva},
    {4, "Monaco", "DejaVu Sans Mono,monospace", Widths::kMonaco},
    {5, "Venice", kScript},
    {6, "London", "Old London,UnifrakturMaguntia,DejaVu Serif,serif"},
    {7, "Athens", "Roboto Slab,DejaVu Serif,serif", Widths::kOwn, true},
    {8, "San Francisco", kSans},
    {9, "Toronto", kSerif},
    {11, "Cairo", kSans},
    {12, "Los Angeles", kScript},
    {13, "Zapf Dingbats", "D050000L,Dingbats,DejaVu Sans", Widths::kOwn, false,
     CharacterSet::kDingbats},
    {14, "Bookman", "Bookman URW,URW Bookman,Bookman Old Style,serif"},
    {15, "Helvetica Narrow", "Nimbus Sans Narrow,Liberation Sans Narrow,sans-serif"},
    {16, "Palatino", "P052,Palladio URW,TeX Gyre Pagella,serif"},
    {18, "Zapf Chancery", "Z003,URW Chancery L,cursive"},
    {20, "Times", "Nimbus Roman,Liberation Serif,Times New Roman,serif", Widths::kTimes},
    {21, "Helvetica", "Nimbus Sans,Liberation Sans,Arial,sans-serif", Widths::kHelvetica},
    {22, "Courier", "Nimbus Mono PS,Liberation Mono,Courier New,monospace", Widths::kCourier},
    {23, "Symbol", "Standard Symbols PS,DejaVu Sans,sans-serif", Widths::kOwn, false,
     CharacterSet::kSymbol},
    {24, "Mobile", "DejaVu Sans,sans-serif"},
    {33, "Avant Garde", "URW Gothic,TeX Gyre Adventor,sans-serif"},
    {34, "New Century Schlbk", "C059,Century Schoolbook,TeX Gyre Schola,serif"},
    // Families that have no number of their own but are often named.
    {kNoNumber, "Palatino Linotype", "P052,TeX Gyre Pagella,serif"},
    {kNoNumber, "Arial", "Liberation Sans,sans-serif", Widths::kHelvetica},
    {kNoNumber, "Times New Roman", "Liberation Serif,serif", Widths::kTimes},
    {kNoNumber, "Courier New", "Liberation Mono,monospace", Widths::kCourier},
    {kNoNumber, "Charcoal", "DejaVu Sans,sans-serif", Widths::kOwn, true},
};
constexpr int kApplicationFamily = 1;

void SetWidths(Widths kind, FamilyChoice* choice) {
    switch (kind) {
        case Widths::kOwn:
            return;
        case Widths::kChicago:
            choice->widths.mean = kChicagoMean;
            break;
        case Widths::kGeneva:
            choice->widths.mean = kGenevaMean;
            break;
        case Widths::kMonaco:
            choice->widths.fixed = kMonacoWidth;
            break;
        case Widths::kCourier:
            choice->widths.fixed = kCourierWidth;
            choice->boldWidths = {nullptr, kCourierWidth, 0, true};
            return;
        case Widths::kHelvetica:
            choice->widths.ascii = kHelveticaWidths;
            choice->boldWidths = {kHelveticaBoldWidths, 0, 0, true};
            return;
        case Widths::kTimes:
            choice->widths.ascii = kTimesWidths;
            choice->boldWidths = {kTimesBoldWidths, 0, 0, true};
            return;
    }
    choice->boldWidths = choice->widths;
}

void AppendNames(std::string_view list, std::vector<std::string>* names) {
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        names->emplace_back(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
}

FamilyChoice ChoiceOf(const KnownFamily& family) {
    FamilyChoice choice;
    choice.names.emplace_back(family.name);
    AppendNames(family.standIns, &choice.names);
    choice.isHeavy = family.isHeavy;
    SetWidths(family.widths, &choice);
    choice.characters = family.characters;
    return choice;
}

char LowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool IsSameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerCase(x) == LowerCase(y); });
}

void AppendUtf8(char32_t character, std::string* text) {
    const auto append = [&](char32_t byte) { text->push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | character >> 6);
        append(0x80 | (character & 0x3F));
    } else {
        append(0xE0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3F));
        append(0x80 | (character & 0x3F));
    }
}

std::string Utf8Of(std::string_view macRoman) {
    std::string text;
    for (const char character : macRoman)
        if (const char32_t code =
                UnicodeOf(static_cast<std::uint8_t>(character), CharacterSet::kMacRoman))
            AppendUtf8(code, &text);
    return text;
}

template <class Predicate>
const KnownFamily* FindFamily(Predicate isIt) {
    const auto* const found = std::find_if(std::begin(kFamilies), std::end(kFamilies), isIt);
    return found == std::end(kFamilies) ? nullptr : found;
}

FamilyChoice ChooseByName(std::string_view name) {
    const KnownFamily* const known =
        FindFamily([&](const KnownFamily& family) { return IsSameName(family.name, name); });
    if (known != nullptr) return ChoiceOf(*known);
    FamilyChoice choice;
    choice.names.push_back(Utf8Of(name));
    return choice;
}

}  // namespace

double FamilyWidths::Mean() const {
    if (ascii == nullptr) return fixed > 0 ? fixed : mean;
    double sum = 0;
    for (const char letter : kSampleLetters)
        sum += ascii[letter - ' '];
    return sum / static_cast<double>(kSampleLetters.size());
}

FamilyChoice ChooseFamily(int number, const std::map<int, std::string>& fontNames) {
    if (const auto named = fontNames.find(number); named != fontNames.end())
        return ChooseByName(named->second);
    const KnownFamily* const known =
        FindFamily([&](const KnownFamily& family) { return family.number == number; });
    return ChoiceOf(known != nullptr ? *known : kFamilies[kApplicationFamily]);
}

}  // namespace Ondrel::QuickDraw
