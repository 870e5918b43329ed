// Telling a substitute from what the picture draws besides. Internal to libOndrel.
#include "ondrel/platform/quickdraw/Substitute.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "ondrel/platform/quickdraw/TextCommands.h"

namespace Ondrel::QuickDraw {

namespace {

constexpr std::uint16_t kCompressed = 0x8200;

// The rectangle that an image is drawn to: its own, at (0, 0), through the command's matrix. Known
// for matrices that scale and move.
//
//   0  4  length    4  2  version    6 36  matrix: 3 rows of 16.16, 16.16, 2.30
//  42  4  matte's length   46  8  matte's rectangle
//  54  2  mode   56  8  source: top, left, bottom, right
std::optional<Rect> DestinationOf(PictureBytes command) {
    command.Skip(6);
    double matrix[9];
    for (double& number : matrix)
        number = command.S32() / 65536.0;
    command.Skip(14);
    const Rect source = command.ReadRect();
    if (command.HasFailed() || matrix[1] != 0 || matrix[3] != 0) return std::nullopt;
    const auto place = [](double at, double scale, double move) {
        return static_cast<int>(std::lround(at * scale + move));
    };
    const double right = source.Width();
    const double down = source.Height();
    return Rect{place(0, matrix[4], matrix[7]), place(0, matrix[0], matrix[6]),
                place(down, matrix[4], matrix[7]), place(right, matrix[0], matrix[6])};
}

// Where a bit map is drawn to; nothing for other images.
//
//   0  2  bytes of a row, below 32768    2  8  bounds   10  8  source   18  8  destination
std::optional<Rect> DestinationOfBits(std::uint16_t opcode, PictureBytes command) {
    if (opcode != 0x90 && opcode != 0x98) return std::nullopt;
    const int rowBytes = command.S16();
    command.Skip(16);
    const Rect destination = command.ReadRect();
    if (rowBytes < 0 || command.HasFailed()) return std::nullopt;
    return destination;
}

// The bytes that a pen size announces; 0: it announces none.
std::size_t AnnouncedBy(std::uint16_t opcode, PictureBytes command) {
    constexpr int kMark = 174;
    if (opcode != 0x0007) return 0;
    const Point size = command.ReadPoint();
    return size.v == kMark && size.h > 0 ? static_cast<std::size_t>(size.h) : 0;
}

bool DrawsNothing(std::uint16_t opcode) {
    return opcode < 0x20 || (opcode >= 0x2C && opcode <= 0x2F) || opcode == 0xA0 || opcode == 0xA1;
}

}  // namespace

void Substitute::Expect(std::uint16_t opcode, PictureBytes command) {
    isExpected_ = true;
    isInText_ = false;
    image_ = opcode == kCompressed ? DestinationOf(command) : std::nullopt;
}

// Texts from one that begins with "QuickTime" to one that says what is needed.
bool Substitute::LeavesOutText(std::uint16_t opcode, PictureBytes command) {
    const std::string_view text = ReadTextCommand(opcode, Point{}, command).text;
    if (!isInText_ && !text.starts_with("QuickTime")) return false;
    isInText_ = true;
    isExpected_ = text.find("needed") == std::string_view::npos;
    return true;
}

bool Substitute::LeavesOut(std::uint16_t opcode, PictureBytes& command) {
    if (!isExpected_) return false;
    if (const std::size_t length = AnnouncedBy(opcode, command)) {
        isExpected_ = false;
        command.Skip(4);
        command.Skip(std::min(length, command.Left()));
        return true;
    }
    if (DrawsNothing(opcode)) return false;
    if (IsTextCommand(opcode) && LeavesOutText(opcode, command)) return true;
    isExpected_ = false;
    return image_ && DestinationOfBits(opcode, command) == image_;
}

}  // namespace Ondrel::QuickDraw
