// The table of lengths, from "Inside Macintosh: Imaging With QuickDraw", appendix A, table A-2.
// Internal to libOndrel.
#include "ondrel/platform/quickdraw/OpcodeLengths.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace Ondrel::QuickDraw {

namespace {

enum class LengthKind : std::uint8_t {
    kFixed,       // `size` bytes
    kWord,        // a 2-byte length, and as many bytes behind it
    kLong,        // a 4-byte length, and as many bytes behind it
    kOwnWord,     // a 2-byte length that counts itself
    kComment,     // a 2-byte kind, then as kWord
    kByHighByte,  // twice the opcode's high byte
};

struct OpcodeRange {
    std::uint16_t last;  // from behind the range before
    LengthKind kind;
    std::uint8_t size;
};

// By ranges, without gaps. The lengths of commands that are drawn are here too, as far as a
// reserved neighbour has the same.
constexpr OpcodeRange kRanges[] = {
    {0x0000, LengthKind::kFixed, 0},       // nothing at all
    {0x0014, LengthKind::kFixed, 0},       // drawn or set
    {0x0016, LengthKind::kFixed, 2},       // fraction of the pen's place, extra width
    {0x0019, LengthKind::kFixed, 0},       // reserved
    {0x0023, LengthKind::kFixed, 0},       // drawn or set
    {0x0027, LengthKind::kWord, 0},        // reserved
    {0x002B, LengthKind::kFixed, 0},       // texts
    {0x002F, LengthKind::kWord, 0},        // font names, glyph states, reserved
    {0x0037, LengthKind::kFixed, 8},       // rectangles
    {0x003F, LengthKind::kFixed, 0},       // the same rectangle
    {0x0047, LengthKind::kFixed, 8},       // round rectangles
    {0x004F, LengthKind::kFixed, 0},       // the same round rectangle
    {0x0057, LengthKind::kFixed, 8},       // ovals
    {0x005F, LengthKind::kFixed, 0},       // the same oval
    {0x0067, LengthKind::kFixed, 12},      // arcs
    {0x006F, LengthKind::kFixed, 4},       // arcs of the same oval
    {0x0077, LengthKind::kOwnWord, 0},     // polygons
    {0x007F, LengthKind::kFixed, 0},       // the same polygon
    {0x0087, LengthKind::kOwnWord, 0},     // regions
    {0x008F, LengthKind::kFixed, 0},       // the same region
    {0x009F, LengthKind::kWord, 0},        // images, and reserved ones
    {0x00A0, LengthKind::kFixed, 2},       // short comments
    {0x00A1, LengthKind::kComment, 0},     // long comments
    {0x00AF, LengthKind::kWord, 0},        // reserved
    {0x00CF, LengthKind::kFixed, 0},       // reserved
    {0x00FE, LengthKind::kLong, 0},        // reserved
    {0x00FF, LengthKind::kFixed, 0},       // the end
    {0x7FFF, LengthKind::kByHighByte, 0},  // the header and reserved
    {0x80FF, LengthKind::kFixed, 0},       // reserved
    {0xFFFF, LengthKind::kLong, 0},        // QuickTime and reserved
};

void SkipOwnWord(PictureBytes& bytes) {
    const std::size_t length = bytes.U16();
    if (length > 2) bytes.Skip(length - 2);
}

}  // namespace

bool SkipCommand(std::uint16_t opcode, PictureBytes& bytes) {
    const auto* const range =
        std::find_if(std::begin(kRanges), std::end(kRanges),
                     [opcode](const OpcodeRange& candidate) { return opcode <= candidate.last; });
    switch (range->kind) {
        case LengthKind::kFixed:
            bytes.Skip(range->size);
            break;
        case LengthKind::kComment:
            bytes.Skip(2);
            [[fallthrough]];
        case LengthKind::kWord:
            bytes.Skip(bytes.U16());
            break;
        case LengthKind::kLong:
            bytes.Skip(bytes.U32());
            break;
        case LengthKind::kOwnWord:
            SkipOwnWord(bytes);
            break;
        case LengthKind::kByHighByte:
            bytes.Skip(std::size_t{2} * (opcode >> 8));
            break;
    }
    return !bytes.HasFailed();
}

}  // namespace Ondrel::QuickDraw
