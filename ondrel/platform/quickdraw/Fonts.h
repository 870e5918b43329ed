// Setting texts in the fonts that are installed. Internal to libOndrel.
//
// A process-wide cache holds the faces and their glyphs behind a mutex; any thread may set texts.
// The fonts are looked for when the first text is set.
#ifndef ONDREL_PLATFORM_QUICKDRAW_FONTS_H
#define ONDREL_PLATFORM_QUICKDRAW_FONTS_H

#include <memory>
#include <string_view>
#include <vector>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Families.h"
#include "ondrel/platform/quickdraw/Glyph.h"

namespace Ondrel::QuickDraw {

struct FontRequest {
    FamilyChoice family;
    bool isBold = false;
    bool isItalic = false;
    double size = 12;   // pixels an em, in the picture; the advances are whole pixels of it
    double across = 1;  // what the glyphs' size is scaled by, on the canvas
    double down = 1;
};

struct SetGlyph {
    double advance = 0;                  // not scaled
    double shift = 0;                    // from the pen to where the glyph is drawn, not scaled
    std::shared_ptr<const Glyph> glyph;  // scaled; never null
};

struct SetText {
    std::vector<SetGlyph> glyphs;  // one for each character
    int ascent = 0;                // on the canvas, above the baseline
    int descent = 0;
    int boldness = 0;        // pixels by which the glyphs are still to be made bolder
    bool isUpright = false;  // the face asked for is italic, the glyphs are not
    int lineThickness = 1;   // of an underline
};

// Throws std::bad_alloc. The work is taken off the canvas's allowance; when that is used up the
// text ends early.
SetText SetInFont(std::string_view text, const FontRequest& request, Canvas& canvas);

// Forgets the faces and glyphs, so that the fonts are looked for anew. For tests.
void ForgetFonts();

}  // namespace Ondrel::QuickDraw

#endif
