// Clip, origin, pen, patterns, colours and the way texts are drawn. Internal to libOndrel.
#include "ondrel/platform/quickdraw/StateCommands.h"

#include <algorithm>
#include <limits>
#include <string>

namespace Ondrel::QuickDraw {

namespace {

// The colours that pictures without red, green and blue name by number, as screens showed them.
Pixel ColorOfCode(std::uint32_t code) {
    switch (code) {
        case 30:
            return kWhite;
        case 69:
            return 0xFFFCF305;  // yellow
        case 137:
            return 0xFFF20884;  // magenta
        case 205:
            return 0xFFDD0806;  // red
        case 273:
            return 0xFF02ABEA;  // cyan
        case 341:
            return 0xFF008011;  // green
        case 409:
            return 0xFF0000D4;  // blue
        default:
            return kBlack;
    }
}

// Red, green and blue of 16 bits each.
Pixel ReadColor(PictureBytes& bytes) {
    Pixel color = kOpaque;
    for (int shift = 16; shift >= 0; shift -= 8)
        color |= static_cast<Pixel>(bytes.U16() >> 8) << shift;
    return color;
}

Pattern ReadPattern(PictureBytes& bytes) {
    Pattern pattern;
    for (std::uint8_t& row : pattern.bits)
        row = bytes.U8();
    return pattern;
}

// Damaged rows leave the clip at the region's bounds.
void ReadClip(const Rect& canvas, PictureBytes& bytes, State& state) {
    Region clip;
    (void)ReadRegion(bytes, &clip);
    state.clip = clip.Mapped(state.mapping);
    state.clip &= Region(canvas);
}

// Coordinates that run over wrap around, as 16-bit numbers do.
void ReadOrigin(PictureBytes& bytes, State& state) {
    const int right = bytes.S16();
    const int down = bytes.S16();
    Rect& frame = state.mapping.frame;
    const int width = frame.Width();
    const int height = frame.Height();
    frame.left = static_cast<std::int16_t>(frame.left + right);
    frame.top = static_cast<std::int16_t>(frame.top + down);
    frame.right = frame.left + width;
    frame.bottom = frame.top + height;
}

// A length, the number that the picture's commands call the font by, and its name's length and
// name.
void ReadFontName(PictureBytes& bytes, TextState& text) {
    const std::string_view data = bytes.Take(bytes.U16());
    PictureBytes fields(data);
    const int family = fields.S16();
    const std::string_view name = fields.Take(fields.U8());
    if (!fields.HasFailed()) text.fontNames.insert_or_assign(family, std::string(name));
}

// A length, the width added to each character and the width added to the line, both 16.16.
void ReadLineJustify(PictureBytes& bytes, TextState& text) {
    const std::string_view data = bytes.Take(bytes.U16());
    PictureBytes fields(data);
    fields.Skip(4);
    const std::int32_t extra = fields.S32();
    if (!fields.HasFailed()) text.justificationDots = extra / 65536;
}

// Extra width is stored as a part of the size, whichever of the two comes first.
void SetExtraChar(TextState& text) {
    constexpr int kSystemSize = 12;
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::int64_t size = text.size > 0 ? text.size : kSystemSize;
    text.extraChar =
        static_cast<std::int32_t>(std::clamp(size * text.extraOfSize * 16, -kMost, kMost));
}

// The commands about texts; false: the opcode is none of them.
bool ReadTextCommand(std::uint16_t opcode, PictureBytes& bytes, TextState& text) {
    switch (opcode) {
        case 0x0003:
            text.font = bytes.S16();
            return true;
        case 0x0004:
            text.face = bytes.U8();
            return true;
        case 0x0005:
            text.mode = ModeFromStored(bytes.S16());
            return true;
        case 0x0006:
            text.extraSpace = bytes.S32();
            return true;
        case 0x000D:
            text.size = bytes.S16();
            SetExtraChar(text);
            return true;
        case 0x0010:
            text.numerator = bytes.ReadPoint();
            text.denominator = bytes.ReadPoint();
            return true;
        case 0x0016:
            text.extraOfSize = bytes.S16();
            SetExtraChar(text);
            return true;
        case 0x002C:
            ReadFontName(bytes, text);
            return true;
        case 0x002D:
            ReadLineJustify(bytes, text);
            return true;
        default:
            return false;
    }
}

// The commands about colours; false: the opcode is none of them.
bool ReadColorCommand(std::uint16_t opcode, PictureBytes& bytes, State& state) {
    switch (opcode) {
        case 0x000E:
            state.fore = ColorOfCode(bytes.U32());
            return true;
        case 0x000F:
            state.back = ColorOfCode(bytes.U32());
            return true;
        case 0x001A:
            state.fore = ReadColor(bytes);
            return true;
        case 0x001B:
            state.back = ReadColor(bytes);
            return true;
        case 0x001C:
            state.nextIsHilite = true;
            return true;
        case 0x001D:
            state.hilite = ReadColor(bytes);
            return true;
        case 0x001E:
            state.hilite = kDefaultHilite;
            return true;
        case 0x001F:
            state.operand = ReadColor(bytes);
            return true;
        default:
            return false;
    }
}

// The commands about the pen and the patterns; false: the opcode is none of them.
bool ReadPenCommand(std::uint16_t opcode, PictureBytes& bytes, State& state) {
    switch (opcode) {
        case 0x0002:
            state.backPattern = ReadPattern(bytes);
            return true;
        case 0x0007: {
            const Point size = bytes.ReadPoint();
            state.penWidth = std::max(0, size.h);
            state.penHeight = std::max(0, size.v);
            return true;
        }
        case 0x0008:
            state.penMode = ModeFromStored(bytes.S16());
            return true;
        case 0x0009:
            state.penPattern = ReadPattern(bytes);
            return true;
        case 0x000A:
            state.fillPattern = ReadPattern(bytes);
            return true;
        case 0x000B:
            state.ovalSize = bytes.ReadPoint();
            return true;
        default:
            return false;
    }
}

// Where a colour pattern belongs; null: the opcode brings none.
Pattern* PatternOf(std::uint16_t opcode, State& state) {
    switch (opcode) {
        case 0x0012:
            return &state.backPattern;
        case 0x0013:
            return &state.penPattern;
        case 0x0014:
            return &state.fillPattern;
        default:
            return nullptr;
    }
}

}  // namespace

StateResult ReadStateCommand(std::uint16_t opcode, const Rect& canvas, PictureBytes& bytes,
                             State& state) {
    bool isGood = true;
    if (opcode == 0x0001)
        ReadClip(canvas, bytes, state);
    else if (opcode == 0x000C)
        ReadOrigin(bytes, state);
    else if (Pattern* const pattern = PatternOf(opcode, state))
        isGood = ReadColorPattern(bytes, pattern);
    else if (!ReadPenCommand(opcode, bytes, state) && !ReadColorCommand(opcode, bytes, state) &&
             !ReadTextCommand(opcode, bytes, state.text))
        return StateResult::kOther;
    return isGood && !bytes.HasFailed() ? StateResult::kSet : StateResult::kDamaged;
}

}  // namespace Ondrel::QuickDraw
