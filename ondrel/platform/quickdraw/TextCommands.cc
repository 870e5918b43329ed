// Texts and their places. Internal to libOndrel.
#include "ondrel/platform/quickdraw/TextCommands.h"

namespace Ondrel::QuickDraw {

namespace {

constexpr std::uint16_t kLongText = 0x28;
constexpr std::uint16_t kFromLast = 0x28;  // of these, bit 0: to the right, bit 1: down
constexpr int kRight = 1;
constexpr int kDown = 2;

}  // namespace

bool IsTextCommand(std::uint16_t opcode) {
    return opcode >= kLongText && opcode <= 0x2B;
}

PlacedText ReadTextCommand(std::uint16_t opcode, const Point& last, PictureBytes& bytes) {
    PlacedText placed{last, {}};
    if (opcode == kLongText) placed.location = bytes.ReadPoint();
    const int offsets = opcode - kFromLast;
    if ((offsets & kRight) != 0) placed.location.h += bytes.U8();
    if ((offsets & kDown) != 0) placed.location.v += bytes.U8();
    placed.location.h = static_cast<std::int16_t>(placed.location.h);
    placed.location.v = static_cast<std::int16_t>(placed.location.v);
    placed.text = bytes.Take(bytes.U8());
    return placed;
}

}  // namespace Ondrel::QuickDraw
