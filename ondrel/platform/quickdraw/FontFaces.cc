// Asks fontconfig for files and FreeType for pixels. A face whose file cannot be opened is kept as
// null, so that it is not tried again for every text.
#include "ondrel/platform/quickdraw/FontFaces.h"

#include FT_OUTLINE_H

#include "ondrel/platform/quickdraw/Families.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr double kFixedOne = 64;      // in 26.6
constexpr FT_Fixed kSlant = 0x03A5E;  // 13 degrees, in 16.16
constexpr FT_Fixed kUnit = 0x10000;

struct DestroyPattern {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using OwnedPattern = std::unique_ptr<FcPattern, DestroyPattern>;

const FcChar8* FcText(const char* text) {
    return reinterpret_cast<const FcChar8*>(text);
}

OwnedPattern PatternOf(const FaceRequest& request) {
    OwnedPattern pattern(FcPatternCreate());
    if (pattern == nullptr) return pattern;
    for (const std::string& name : *request.names)
        FcPatternAddString(pattern.get(), FC_FAMILY, FcText(name.c_str()));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT,
                        request.isBold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern.get(), FC_SLANT,
                        request.isItalic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
    return pattern;
}

// The entry of the installed font that comes nearest; null where there is none.
OwnedPattern Match(FcConfig* config, const FaceRequest& request) {
    const OwnedPattern pattern = PatternOf(request);
    if (config == nullptr || pattern == nullptr) return nullptr;
    FcConfigSubstitute(config, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultNoMatch;
    return OwnedPattern(FcFontMatch(config, pattern.get(), &result));
}

int IntegerOf(const FcPattern* pattern, const char* property, int otherwise) {
    int value = otherwise;
    return FcPatternGetInteger(pattern, property, 0, &value) == FcResultMatch ? value : otherwise;
}

double SampleWidthOf(FT_Face face) {
    double sum = 0;
    for (const char letter : kSampleLetters) {
        if (FT_Load_Char(face, static_cast<FT_ULong>(letter), FT_LOAD_NO_SCALE) != 0) return 0;
        sum += static_cast<double>(face->glyph->advance.x);
    }
    return face->units_per_EM == 0 ? 0 : sum / kSampleLetters.size() / face->units_per_EM;
}

bool Load(FT_Face face, char32_t character) {
    const FT_UInt index = FT_Get_Char_Index(face, character);
    return FT_Load_Glyph(face, index, FT_LOAD_TARGET_MONO | FT_LOAD_NO_BITMAP) == 0;
}

// The pixels that the loaded outline may cover.
double BoxArea(FT_GlyphSlot slot) {
    FT_BBox box;
    FT_Outline_Get_CBox(&slot->outline, &box);
    return static_cast<double>(box.xMax - box.xMin) / kFixedOne *
           (static_cast<double>(box.yMax - box.yMin) / kFixedOne);
}

Glyph GlyphOf(FT_GlyphSlot slot) {
    const FT_Bitmap& bitmap = slot->bitmap;
    Glyph glyph{slot->bitmap_left,
                slot->bitmap_top,
                static_cast<int>(bitmap.width),
                static_cast<int>(bitmap.rows),
                {}};
    glyph.pixels.reserve(std::size_t{bitmap.width} * bitmap.rows);
    for (unsigned y = 0; y < bitmap.rows; ++y) {
        const unsigned char* const row =
            bitmap.buffer + static_cast<std::ptrdiff_t>(y) * bitmap.pitch;
        for (unsigned x = 0; x < bitmap.width; ++x)
            glyph.pixels.push_back(row[x / 8] >> (7 - x % 8) & 1);
    }
    return glyph;
}

}  // namespace

// --- One face -----------------------------------------------------------------------------------

FontFace::FontFace(FT_Face face) : face_(face), sampleWidth_(SampleWidthOf(face)) {}

bool FontFace::SetSize(int across, int down) {
    if (size_ == std::pair(across, down)) return true;
    size_ = {across, down};
    if (FT_Set_Char_Size(face_.get(), across, down, 0, 0) == 0) return true;
    size_ = {};
    return false;
}

int FontFace::Ascent() const {
    return static_cast<int>(face_->size->metrics.ascender >> 6);
}

int FontFace::Descent() const {
    return static_cast<int>(-face_->size->metrics.descender >> 6);
}

bool FontFace::Has(char32_t character) const {
    return character != 0 && FT_Get_Char_Index(face_.get(), character) != 0;
}

double FontFace::Advance(char32_t character) const {
    if (!Load(face_.get(), character)) return 0;
    return static_cast<double>(face_->glyph->advance.x) / kFixedOne;
}

double FontFace::HintedSampleWidth() const {
    double sum = 0;
    for (const char letter : kSampleLetters)
        sum += Advance(static_cast<char32_t>(letter));
    return sum / kSampleLetters.size();
}

Glyph FontFace::Draw(char32_t character, bool isSlanted, std::size_t mostPixels) const {
    if (!Load(face_.get(), character)) return {};
    const FT_GlyphSlot slot = face_->glyph;
    if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return {};
    if (isSlanted) {
        const FT_Matrix slant = {kUnit, kSlant, 0, kUnit};
        FT_Outline_Transform(&slot->outline, &slant);
    }
    if (BoxArea(slot) > static_cast<double>(mostPixels)) return {};
    return FT_Render_Glyph(slot, FT_RENDER_MODE_MONO) == 0 ? GlyphOf(slot) : Glyph{};
}

// --- All of them --------------------------------------------------------------------------------

FontFaces::FontFaces() : config_(FcInitLoadConfigAndFonts()) {
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) == 0) library_.reset(library);
}

FontFace* FontFaces::Open(const std::string& path, int index) {
    auto& opened = opened_[{path, index}];
    if (opened != nullptr) return opened.get();
    FT_Face face = nullptr;
    if (library_ == nullptr || FT_New_Face(library_.get(), path.c_str(), index, &face) != 0)
        return nullptr;
    opened.reset(new FontFace(face));
    return opened.get();
}

FoundFace FontFaces::Find(const FaceRequest& request) {
    const OwnedPattern match = Match(config_.get(), request);
    FcChar8* path = nullptr;
    if (match == nullptr || FcPatternGetString(match.get(), FC_FILE, 0, &path) != FcResultMatch)
        return {};
    FoundFace found;
    found.face = Open(reinterpret_cast<const char*>(path), IntegerOf(match.get(), FC_INDEX, 0));
    found.isBold = IntegerOf(match.get(), FC_WEIGHT, FC_WEIGHT_REGULAR) >= FC_WEIGHT_DEMIBOLD;
    found.isItalic = IntegerOf(match.get(), FC_SLANT, FC_SLANT_ROMAN) != FC_SLANT_ROMAN;
    return found;
}

}  // namespace Ondrel::QuickDraw
