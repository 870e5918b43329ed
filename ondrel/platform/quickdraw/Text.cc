// A text from its characters to its pixels on the canvas.
#include "ondrel/platform/quickdraw/Text.h"

#include <algorithm>
#include <cmath>

#include "ondrel/platform/quickdraw/Families.h"
#include "ondrel/platform/quickdraw/Fonts.h"
#include "ondrel/platform/quickdraw/TextMask.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr int kSystemSize = 12;
constexpr double kFixedOne = 65536;
constexpr double kMostScale = 4096;
constexpr double kFarAway = 1 << 24;  // pixels; nothing out there is on any canvas

// How much wider than plain ones the characters of a face are.
constexpr int kOutlineWidening = 1;
constexpr int kShadowWidening = 2;
constexpr int kCondensing = 1;
constexpr int kExtending = 1;

// --- Where its glyphs stand ---------------------------------------------------------------------

// From the text's own pixels to those of the canvas.
struct Scales {
    double across = 1;
    double down = 1;
};

double Ratio(int numerator, int denominator) {
    if (numerator <= 0 || denominator <= 0) return 1;
    return std::clamp(double(numerator) / denominator, 1 / kMostScale, kMostScale);
}

Scales ScalesOf(const State& state) {
    const TextState& text = state.text;
    const Mapping& map = state.mapping;
    return {Ratio(text.numerator.h, text.denominator.h) * Ratio(map.width, map.frame.Width()),
            Ratio(text.numerator.v, text.denominator.v) * Ratio(map.height, map.frame.Height())};
}

FontRequest RequestOf(const State& state, const Scales& scales) {
    const TextState& text = state.text;
    FontRequest request;
    request.family = ChooseFamily(text.font, text.fontNames);
    request.isBold = (text.face & kBold) != 0;
    request.isItalic = (text.face & kItalic) != 0;
    request.size = text.size > 0 ? text.size : kSystemSize;
    request.across = scales.across;
    request.down = scales.down;
    return request;
}

// What the state adds to the advance of a character.
double ExtraOf(const TextState& text, char character) {
    double extra = (character == ' ' ? text.extraSpace : text.extraChar) / kFixedOne;
    if ((text.face & kOutline) != 0) extra += kOutlineWidening;
    if ((text.face & kShadow) != 0) extra += kShadowWidening;
    if ((text.face & kCondensed) != 0) extra -= kCondensing;
    if ((text.face & kExtended) != 0) extra += kExtending;
    return extra;
}

int ToPixel(double value) {
    return static_cast<int>(std::lround(std::clamp(value, -kFarAway, kFarAway)));
}

// A text that is set and has its place on the canvas.
struct Line {
    SetText set;
    int baseline = 0;
    std::vector<int> places;  // of each glyph
    Rect box;                 // from where the pen begins to where it ends, from ascent to descent
};

Line Place(std::string_view text, const State& state, SetText set, const Scales& scales) {
    Line line;
    const Point start = state.mapping.Map(state.text.location);
    line.baseline = ToPixel(start.v);
    double pen = 0;
    for (std::size_t i = 0; i < set.glyphs.size(); ++i) {
        line.places.push_back(ToPixel(start.h + (pen + set.glyphs[i].shift) * scales.across));
        pen += set.glyphs[i].advance + ExtraOf(state.text, text[i]);
    }
    line.box = {line.baseline - set.ascent, ToPixel(start.h), line.baseline + set.descent,
                ToPixel(start.h + pen * scales.across)};
    line.set = std::move(set);
    return line;
}

// --- Its pixels ---------------------------------------------------------------------------------

Rect Union(const Rect& a, const Rect& b) {
    if (a.IsEmpty() || b.IsEmpty()) return a.IsEmpty() ? b : a;
    return {std::min(a.top, b.top), std::min(a.left, b.left), std::max(a.bottom, b.bottom),
            std::max(a.right, b.right)};
}

// All pixels that the glyphs and the box cover.
Rect BoundsOf(const Line& line) {
    Rect bounds = line.box;
    for (std::size_t i = 0; i < line.set.glyphs.size(); ++i) {
        const Glyph& glyph = *line.set.glyphs[i].glyph;
        const int top = line.baseline - glyph.top;
        const int left = line.places[i] + glyph.left;
        bounds = Union(bounds, {top, left, top + glyph.height, left + glyph.width});
    }
    return bounds;
}

// With room for what a face sets around the glyphs; as far as that do glyphs outside of the clip
// matter to it.
Rect Widened(const Rect& rect, const SetText& set) {
    constexpr int kAround = 4;
    const int slant = set.isUpright ? (set.ascent + set.descent) / 2 : 0;
    const int sideways = kAround + set.boldness + slant;
    const int upright = kAround + 3 * set.lineThickness;
    return {rect.top - upright, rect.left - sideways, rect.bottom + upright, rect.right + sideways};
}

TextMask MaskOf(const Line& line, std::uint8_t face, const Rect& box) {
    TextMask mask(box);
    for (std::size_t i = 0; i < line.set.glyphs.size(); ++i)
        mask.Put(*line.set.glyphs[i].glyph, line.baseline, line.places[i]);
    if (line.set.isUpright) mask.Slant(line.baseline);
    mask.Smear(line.set.boldness);
    if ((face & kUnderline) != 0)
        mask.Underline(line.baseline, line.box.left, line.box.right, line.set.lineThickness);
    if ((face & (kOutline | kShadow)) != 0) {
        const int outline = (face & kOutline) != 0 ? 1 : 0;
        const int shadow = (face & kShadow) != 0 ? 2 : 0;
        mask.Hollow(outline + shadow);
    }
    return mask;
}

// What becomes of a pixel of the text's box. Letters that are hollow are filled with the background
// colour in the mode that otherwise brings none along: so they can be read on black as well.
Pixel Combine(const Ink& ink, TextMask::State state, Pixel destination) {
    if (state != TextMask::State::kInside || ink.mode != TransferMode::kOr)
        return CombineBit(ink, state == TextMask::State::kSet, destination);
    Ink fill = ink;
    fill.mode = TransferMode::kBic;
    return CombineBit(fill, true, destination);
}

// Pixels outside of the text's box are the text's only where they are set: a glyph that hangs over
// brings no background along.
void Paint(const TextMask& mask, const Rect& textBox, const Rect& area, const Ink& ink,
           Canvas& canvas) {
    const Rect part = Intersection(area, mask.Box());
    for (int y = part.top; y < part.bottom; ++y) {
        Pixel* const row = canvas.Row(y);
        const bool isBesideText = y >= textBox.top && y < textBox.bottom;
        for (int x = part.left; x < part.right; ++x) {
            const TextMask::State state = mask.At(y, x);
            const bool isText = isBesideText && x >= textBox.left && x < textBox.right;
            if (state != TextMask::State::kClear || isText) row[x] = Combine(ink, state, row[x]);
        }
    }
}

std::uint64_t AreaOf(const Rect& rect) {
    return static_cast<std::uint64_t>(rect.Width()) * static_cast<std::uint64_t>(rect.Height());
}

void PaintLine(const Line& line, const State& state, Canvas& canvas) {
    const Rect visible = Intersection(state.clip.Bounds(), canvas.Bounds());
    const Rect bounds = Widened(BoundsOf(line), line.set);
    if (visible.IsEmpty() || Intersection(bounds, visible).IsEmpty()) return;
    const Rect box = Intersection(bounds, Widened(visible, line.set));
    if (!canvas.Spend(AreaOf(box) + state.clip.Boxes().size())) return;
    const TextMask mask = MaskOf(line, state.text.face, box);
    const Ink ink = state.InkFor(state.text.mode);
    for (const pixman_box32_t& part : state.clip.Boxes()) {
        const Rect rect{part.y1, part.x1, part.y2, part.x2};
        Paint(mask, line.box, Intersection(rect, visible), ink, canvas);
    }
}

}  // namespace

void DrawText(std::string_view text, const State& state, Canvas& canvas) {
    if (text.empty() || state.clip.IsEmpty() || canvas.IsExhausted()) return;
    const Scales scales = ScalesOf(state);
    SetText set = SetInFont(text, RequestOf(state, scales), canvas);
    PaintLine(Place(text, state, std::move(set), scales), state, canvas);
}

}  // namespace Ondrel::QuickDraw
