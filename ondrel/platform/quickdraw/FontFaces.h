// The fonts that the system has, found through fontconfig and drawn by FreeType. Internal to
// libOndrel.
//
// Neither library may be used by two threads at once on the same objects: an object of this class
// belongs to one thread at a time.
#ifndef ONDREL_PLATFORM_QUICKDRAW_FONTFACES_H
#define ONDREL_PLATFORM_QUICKDRAW_FONTFACES_H

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ondrel/platform/quickdraw/Glyph.h"

namespace Ondrel::QuickDraw {

// One file's face. Sizes are in 26.6 fixed point pixels an em.
class FontFace {
 public:
    // Of the last SetSize: false when the face cannot have it.
    bool SetSize(int across, int down);
    int Ascent() const;
    int Descent() const;

    bool Has(char32_t character) const;

    // How far the pen moves on, hinted, in pixels.
    double Advance(char32_t character) const;

    // The character's pixels; empty where it has none or more than `mostPixels`.
    Glyph Draw(char32_t character, bool isSlanted, std::size_t mostPixels) const;

    // The mean width of the letters of kSampleLetters: in ems, and hinted, in pixels.
    double SampleWidth() const { return sampleWidth_; }
    double HintedSampleWidth() const;

 private:
    friend class FontFaces;
    struct Release {
        void operator()(FT_Face face) const { FT_Done_Face(face); }
    };
    explicit FontFace(FT_Face face);

    std::unique_ptr<FT_FaceRec_, Release> face_;
    std::pair<int, int> size_;
    double sampleWidth_ = 0;
};

struct FaceRequest {
    const std::vector<std::string>* names = nullptr;
    bool isBold = false;
    bool isItalic = false;
};

struct FoundFace {
    FontFace* face = nullptr;  // null where no font is installed; valid as long as the FontFaces
    bool isBold = false;
    bool isItalic = false;
};

class FontFaces {
 public:
    FontFaces();
    FontFaces(const FontFaces&) = delete;
    FontFaces& operator=(const FontFaces&) = delete;

    // The installed face that comes nearest. Throws std::bad_alloc.
    FoundFace Find(const FaceRequest& request);

 private:
    struct DestroyConfig {
        void operator()(FcConfig* config) const { FcConfigDestroy(config); }
    };
    struct DestroyLibrary {
        void operator()(FT_Library library) const { FT_Done_FreeType(library); }
    };
    FontFace* Open(const std::string& path, int index);

    std::unique_ptr<FcConfig, DestroyConfig> config_;
    std::unique_ptr<FT_LibraryRec_, DestroyLibrary> library_;
    std::map<std::pair<std::string, int>, std::unique_ptr<FontFace>> opened_;
};

}  // namespace Ondrel::QuickDraw

#endif
