// What stays between the commands of a picture: the drawing environment. Internal to libOndrel.
//
// Everything here is in the picture's coordinates; `mapping` leads to the canvas. The clip is kept
// in canvas coordinates, so that a clip set before the origin moves stays where it was.
#ifndef ONDREL_PLATFORM_QUICKDRAW_STATE_H
#define ONDREL_PLATFORM_QUICKDRAW_STATE_H

#include <cstdint>
#include <map>
#include <string>

#include "ondrel/platform/quickdraw/Canvas.h"
#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/Pattern.h"
#include "ondrel/platform/quickdraw/Region.h"
#include "ondrel/platform/quickdraw/TransferMode.h"

namespace Ondrel::QuickDraw {

// The bits of a text face.
enum Face : std::uint8_t {
    kBold = 1,
    kItalic = 2,
    kUnderline = 4,
    kOutline = 8,
    kShadow = 16,
    kCondensed = 32,
    kExtended = 64,
};

struct TextState {
    int font = 0;  // family number
    std::uint8_t face = 0;
    TransferMode mode = TransferMode::kOr;
    int size = 0;                 // points; 0: the system's own size, 12
    std::int32_t extraSpace = 0;  // added to blanks, 16.16 pixels
    std::int32_t extraChar = 0;   // added to every other character, 16.16 pixels
    int extraOfSize = 0;          // what that is of the size, 1/4096
    Point numerator{1, 1};        // the text's scale
    Point denominator{1, 1};
    Point location;             // of the last text drawn; offsets count from it
    int justificationDots = 0;  // from LineJustify, recorded but not drawn
    std::map<int, std::string>
        fontNames;  // by family number, in MacRoman, as the picture names them
};

struct State {
    int version = 1;
    int nesting = 0;  // how many pictures this one is in, one in the other
    Mapping mapping;
    Region clip;  // on the canvas

    Point penLocation;
    int penWidth = 1;
    int penHeight = 1;
    TransferMode penMode = TransferMode::kCopy;
    Point ovalSize;  // of the corners of round rectangles
    Pattern penPattern;
    Pattern fillPattern;
    Pattern backPattern{kWhiteBits, nullptr};

    Pixel fore = kBlack;
    Pixel back = kWhite;
    Pixel operand = kBlack;
    Pixel hilite = kDefaultHilite;
    bool nextIsHilite = false;  // the command before the next drawing asked for the hilite mode

    TextState text;

    // Inverting highlights where that was asked for.
    Ink InkFor(TransferMode mode) const {
        const bool isHilite = nextIsHilite && mode == TransferMode::kXor;
        return {isHilite ? TransferMode::kHilite : mode, fore, back, operand, hilite};
    }
};

}  // namespace Ondrel::QuickDraw

#endif
