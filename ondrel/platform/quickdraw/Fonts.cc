// The cache of faces and glyphs, and setting a text glyph by glyph. Where no font is installed, or
// the one found lacks a character, the built-in font stands in.
#include "ondrel/platform/quickdraw/Fonts.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <optional>
#include <tuple>

#include "ondrel/platform/quickdraw/BuiltinFont.h"
#include "ondrel/platform/quickdraw/FontFaces.h"

namespace Ondrel::QuickDraw {
namespace {

// What making something for the first time costs, as so many pixels touched.
constexpr std::uint64_t kMatchWork = 300'000;
constexpr std::uint64_t kSizeWork = 200'000;
constexpr std::uint64_t kGlyphWork = 8'000;
constexpr std::uint64_t kCachedWork = 40;

constexpr double kFixedOne = 64;  // sizes are in 26.6 pixels
constexpr double kMostPixelsAnEm = 2048;
constexpr std::size_t kMostGlyphPixels = std::size_t{1} << 23;
constexpr std::size_t kMostCachedBytes = std::size_t{1} << 23;
constexpr std::size_t kMostCachedFaces = 256;
constexpr double kMostStretch = 1.6;
constexpr int kThinLines = 24;  // pixels an em for each pixel of an underline's or bold's thickness

struct CachedGlyph {
    std::optional<double> advance;
    std::shared_ptr<const Glyph> glyph;
};

// All of one face in one size. For the built-in font `face` is null.
struct Strike {
    FoundFace found;
    int across = 0;  // 26.6
    int down = 0;
    std::map<std::uint32_t, CachedGlyph> glyphs;  // by byte, set and slant
};

struct Fonts {
    FontFaces faces;
    std::map<std::string, FoundFace> found;
    std::map<std::tuple<const FontFace*, int, int>, Strike> strikes;
    std::map<std::tuple<const FontFace*, int, int>, double> stretches;  // by face, size and mean
    std::size_t cachedBytes = 0;
};

std::mutex mutex;
std::unique_ptr<Fonts>& Shared() {
    static std::unique_ptr<Fonts> shared;
    if (shared == nullptr) shared = std::make_unique<Fonts>();
    return shared;
}

int Fixed(double pixels) {
    return static_cast<int>(std::lround(std::clamp(pixels, 1.0, kMostPixelsAnEm) * kFixedOne));
}

int Thickness(double pixels) {
    return std::max(1, static_cast<int>(std::lround(pixels / kThinLines)));
}

// --- Faces and sizes ----------------------------------------------------------------------------

const FamilyWidths& WidthsOf(const FontRequest& request) {
    return request.isBold ? request.family.boldWidths : request.family.widths;
}

bool WantsBold(const FontRequest& request) {
    return request.isBold || request.family.isHeavy;
}

FoundFace FaceFor(Fonts* fonts, const FontRequest& request, Canvas* canvas) {
    std::string key{WantsBold(request) ? 'b' : '-', request.isItalic ? 'i' : '-'};
    for (const std::string& name : request.family.names)
        key += name + ',';
    if (const auto known = fonts->found.find(key); known != fonts->found.end())
        return known->second;
    (void)canvas->Spend(kMatchWork);
    if (fonts->found.size() >= kMostCachedFaces) fonts->found.clear();
    const FoundFace found =
        fonts->faces.Find({&request.family.names, WantsBold(request), request.isItalic});
    return fonts->found[key] = found;
}

Strike* StrikeOf(Fonts* fonts, const FoundFace& found, double across, double down, Canvas* canvas) {
    const auto key = std::tuple(found.face, Fixed(across), Fixed(down));
    const auto [place, isNew] = fonts->strikes.try_emplace(key);
    if (isNew) {
        place->second = {found, std::get<1>(key), std::get<2>(key), {}};
        fonts->cachedBytes += sizeof(Strike);
        (void)canvas->Spend(kSizeWork);
    }
    return &place->second;
}

// Called between texts, for a text keeps its strikes in hand.
void DropOldGlyphs(Fonts* fonts) {
    if (fonts->cachedBytes < kMostCachedBytes) return;
    fonts->strikes.clear();
    fonts->stretches.clear();
    fonts->cachedBytes = 0;
}

// The stretch whose hinted letters come nearest to the mean width wanted, in ems. In small sizes
// hinting makes most letters wider, and texts with them.
double BestStretch(FontFace* face, double size, double wanted) {
    constexpr double kLargeSize = 30;
    constexpr double kFactors[] = {1, 0.95, 0.9, 0.85, 0.8, 1.05};
    const double plain = std::clamp(wanted / face->SampleWidth(), 1 / kMostStretch, kMostStretch);
    if (size > kLargeSize) return plain;
    double best = plain;
    double least = size;
    for (const double factor : kFactors) {
        if (!face->SetSize(Fixed(size * plain * factor), Fixed(size))) continue;
        const double apart = std::abs(face->HintedSampleWidth() - wanted * size);
        if (apart >= least) continue;
        least = apart;
        best = plain * factor;
    }
    return best;
}

// By how much wider or narrower the face is to be drawn, for texts of their old length.
double StretchOf(Fonts* fonts, const FontRequest& request, FontFace* face, Canvas* canvas) {
    if (face == nullptr || face->SampleWidth() <= 0) return 1;
    const double known = WidthsOf(request).Mean() / 1000;
    const double wanted = known > 0 ? known : face->SampleWidth();
    const auto key = std::tuple(face, Fixed(request.size), static_cast<int>(wanted * 1000));
    if (const auto found = fonts->stretches.find(key); found != fonts->stretches.end())
        return found->second;
    (void)canvas->Spend(kSizeWork);
    fonts->cachedBytes += sizeof(Strike);
    return fonts->stretches[key] = BestStretch(face, request.size, wanted);
}

// --- Glyphs -------------------------------------------------------------------------------------

// One text being set.
struct Setting {
    const FontRequest* request;
    Fonts* fonts;
    Canvas* canvas;
    Strike* measure;  // in the size of the picture
    Strike* draw;     // in the size of the canvas
    bool isSlanted = false;
};

CachedGlyph* CacheEntry(Strike* strike, const Setting& setting, std::uint8_t byte) {
    const auto set = static_cast<std::uint32_t>(setting.request->family.characters);
    const std::uint32_t slant = setting.isSlanted ? 1 : 0;
    return &strike->glyphs[byte | set << 8 | slant << 16];
}

// The character in the installed face; 0 where that has none, or cannot have the size.
char32_t Installed(const Setting& setting, const Strike& strike, std::uint8_t byte) {
    FontFace* const face = strike.found.face;
    const char32_t character = UnicodeOf(byte, setting.request->family.characters);
    if (face == nullptr || !face->Has(character)) return 0;
    return face->SetSize(strike.across, strike.down) ? character : 0;
}

char Builtin(const Setting& setting, std::uint8_t byte) {
    return setting.request->family.characters == CharacterSet::kMacRoman ? AsciiLike(byte) : ' ';
}

// Kept for the family's characters of known width; the accented letters are as wide as the others.
std::optional<double> KnownAdvance(const FontRequest& request, std::uint8_t byte) {
    const FamilyWidths& widths = WidthsOf(request);
    if (widths.fixed > 0) return std::round(widths.fixed * request.size / 1000);
    const char like = AsciiLike(byte);
    const bool isLetter = (like >= 'A' && like <= 'Z') || (like >= 'a' && like <= 'z');
    if (widths.ascii == nullptr || (byte >= 0x7F && !isLetter)) return std::nullopt;
    return std::round(widths.ascii[like - ' '] * request.size / 1000);
}

double FontAdvance(const Setting& setting, std::uint8_t byte) {
    CachedGlyph* const cached = CacheEntry(setting.measure, setting, byte);
    if (!cached->advance) {
        (void)setting.canvas->Spend(kGlyphWork);
        if (const char32_t character = Installed(setting, *setting.measure, byte); character != 0)
            cached->advance = std::round(setting.measure->found.face->Advance(character));
        else
            cached->advance =
                BuiltinAdvance(Builtin(setting, byte)) * BuiltinMultiple(setting.request->size);
    }
    return *cached->advance;
}

// A glyph that is narrower than the room it has stands in the middle of it.
SetGlyph MeasureGlyph(const Setting& setting, std::uint8_t byte) {
    // A text in the built-in font keeps that font's widths: narrower ones would run its letters
    // into each other.
    const FoundFace& found = setting.measure->found;
    const auto known = found.face == nullptr ? std::nullopt : KnownAdvance(*setting.request, byte);
    const double own = FontAdvance(setting, byte);
    const double advance = known ? *known : own;
    const bool lacksBold = !found.isBold || setting.request->family.isHeavy;
    const bool isWidened =
        setting.request->isBold && !WidthsOf(*setting.request).isOfBold && (known || lacksBold);
    return {advance + (isWidened ? 1 : 0), std::trunc((advance - own) / 2), nullptr};
}

std::shared_ptr<const Glyph> DrawGlyph(const Setting& setting, std::uint8_t byte) {
    const Strike& strike = *setting.draw;
    if (const char32_t character = Installed(setting, strike, byte); character != 0)
        return std::make_shared<const Glyph>(
            strike.found.face->Draw(character, setting.isSlanted, kMostGlyphPixels));
    return std::make_shared<const Glyph>(BuiltinGlyph(Builtin(setting, byte),
                                                      BuiltinMultiple(strike.across / kFixedOne),
                                                      BuiltinMultiple(strike.down / kFixedOne)));
}

// What drawing a glyph of that size costs, hinting and all.
std::uint64_t WorkOf(const Strike& strike) {
    const auto area =
        std::uint64_t{static_cast<unsigned>(strike.across)} * static_cast<unsigned>(strike.down);
    return kGlyphWork + area / (64 * 64);
}

std::shared_ptr<const Glyph> GlyphOf(const Setting& setting, std::uint8_t byte) {
    CachedGlyph* const cached = CacheEntry(setting.draw, setting, byte);
    if (cached->glyph == nullptr) {
        (void)setting.canvas->Spend(WorkOf(*setting.draw));
        cached->glyph = DrawGlyph(setting, byte);
        setting.fonts->cachedBytes += sizeof(Glyph) + cached->glyph->pixels.size();
    }
    return cached->glyph;
}

// --- Texts --------------------------------------------------------------------------------------

void MeasureLines(const Setting& setting, SetText* text) {
    const Strike& strike = *setting.draw;
    FontFace* const face = strike.found.face;
    const double pixels = strike.down / kFixedOne;
    const bool isInstalled = face != nullptr && face->SetSize(strike.across, strike.down);
    const int multiple = BuiltinMultiple(pixels);
    text->ascent = isInstalled ? face->Ascent() : kBuiltinAscent * multiple;
    text->descent = isInstalled ? face->Descent() : kBuiltinDescent * multiple;
    text->lineThickness = Thickness(pixels);
    // A family that is heavy when it is plain has no bolder face to be drawn in.
    const FoundFace& found = strike.found;
    const bool lacksBold =
        setting.request->isBold && (!found.isBold || setting.request->family.isHeavy);
    text->boldness = lacksBold ? text->lineThickness : 0;
    text->isUpright = setting.request->isItalic && face == nullptr;
}

Setting Prepare(const FontRequest& request, Fonts* fonts, Canvas* canvas) {
    const FoundFace found = FaceFor(fonts, request, canvas);
    const double across = request.size * StretchOf(fonts, request, found.face, canvas);
    Setting setting{&request, fonts, canvas, nullptr, nullptr, false};
    setting.measure = StrikeOf(fonts, found, across, request.size, canvas);
    setting.draw =
        StrikeOf(fonts, found, across * request.across, request.size * request.down, canvas);
    setting.isSlanted = request.isItalic && !found.isItalic;
    return setting;
}

SetText Set(std::string_view text, const Setting& setting) {
    SetText result;
    MeasureLines(setting, &result);
    result.glyphs.reserve(text.size());
    for (const char character : text) {
        if (!setting.canvas->Spend(kCachedWork)) break;
        const auto byte = static_cast<std::uint8_t>(character);
        result.glyphs.push_back(MeasureGlyph(setting, byte));
        result.glyphs.back().glyph = GlyphOf(setting, byte);
    }
    return result;
}

}  // namespace

SetText SetInFont(std::string_view text, const FontRequest& request, Canvas& canvas) {
    const std::lock_guard lock(mutex);
    Fonts* const fonts = Shared().get();
    DropOldGlyphs(fonts);
    return Set(text, Prepare(request, fonts, &canvas));
}

void ForgetFonts() {
    const std::lock_guard lock(mutex);
    Shared().reset();
}

}  // namespace Ondrel::QuickDraw
