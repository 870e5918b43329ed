// The two commands of QuickTime. Behind the opcode stand
//
//   4  length of what follows      2  version      36  matrix, nine numbers of 4 bytes
//   4  length of the matte         8  the matte's rectangle
//
// and then, not compressed: the matte with its description in front, and one of the commands that
// draw images; compressed:
//
//   2  mode      8  source rectangle      4  accuracy      4  length of the mask
//
// the matte with its description, the mask's region, the image's description and its data.
#include "ondrel/platform/quickdraw/QuickTime.h"

#include <algorithm>

#include "ondrel/platform/quickdraw/Bits.h"
#include "ondrel/platform/quickdraw/FramePainter.h"
#include "ondrel/platform/quickdraw/ImageDescription.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint16_t kNotCompressed = 0x8201;

// Modes of QuickTime's own: the fourth channel of the image counts.
constexpr int kFirstAlphaMode = 256;
constexpr int kLastAlphaMode = 260;

struct Command {
    Matrix matrix;
    std::size_t matteSize = 0;
    Rect matteRect;
    int mode = 0;
    Rect source;
    ImageDescription matte;
    Region mask;
    bool hasMask = false;
    ImageDescription image;
};

Matrix ReadMatrix(PictureBytes& bytes) {
    Matrix matrix;
    matrix.a = bytes.S32();
    matrix.b = bytes.S32();
    bytes.Skip(4);
    matrix.c = bytes.S32();
    matrix.d = bytes.S32();
    bytes.Skip(4);
    matrix.x = bytes.S32();
    matrix.y = bytes.S32();
    bytes.Skip(4);
    return matrix;
}

void ReadHead(PictureBytes& bytes, Command* command) {
    bytes.Skip(2);  // version
    command->matrix = ReadMatrix(bytes);
    command->matteSize = bytes.U32();
    command->matteRect = bytes.ReadRect();
}

// False when there should be one and is not.
bool ReadMatte(PictureBytes& bytes, Command* command) {
    if (command->matteSize == 0) return true;
    if (!ReadImageDescription(bytes, &command->matte)) return false;
    command->matte.image.data = bytes.Take(command->matteSize);
    return !bytes.HasFailed();
}

bool ReadMask(PictureBytes& bytes, std::size_t size, Command* command) {
    if (size == 0) return true;
    PictureBytes region(bytes.Take(size));
    command->hasMask = !bytes.HasFailed();
    (void)ReadRegion(region, &command->mask);  // its bounds if damaged
    return command->hasMask;
}

bool ReadCommand(PictureBytes& bytes, Command* command) {
    ReadHead(bytes, command);
    command->mode = bytes.U16();
    command->source = bytes.ReadRect();
    bytes.Skip(4);  // accuracy
    const std::size_t maskSize = bytes.U32();
    if (!ReadMatte(bytes, command) || !ReadMask(bytes, maskSize, command)) return false;
    if (!ReadImageDescription(bytes, &command->image)) return false;
    const std::size_t told = command->image.dataSize;
    command->image.image.data = bytes.Take(told == 0 ? bytes.Left() : std::min(told, bytes.Left()));
    return true;
}

// How far a pixel of a matte lets the image through: black all, white nothing.
unsigned Weight(Pixel matte) {
    const unsigned light = (matte >> 16 & 255) * 77 + (matte >> 8 & 255) * 150 + (matte & 255) * 29;
    return 255 - (light >> 8);
}

// Takes the matte's weights into the alpha of the frame. The matte covers the source.
void ApplyMatte(const Frame& matte, const Command& command, Frame* frame) {
    const Rect source = Intersection(command.source, {0, 0, frame->Height(), frame->Width()});
    const Rect from = Intersection(command.matteRect, {0, 0, matte.Height(), matte.Width()});
    if (from.IsEmpty()) return;
    const auto place = [](int at, int start, int length, int to) {
        return static_cast<int>(std::int64_t{at - start} * to / length);
    };
    for (int y = source.top; y < source.bottom; ++y) {
        const Pixel* const row = matte.Row(
            from.top + place(y, command.source.top, command.source.Height(), from.Height()));
        for (int x = source.left; x < source.right; ++x) {
            const int column = place(x, command.source.left, command.source.Width(), from.Width());
            Pixel& pixel = frame->Row(y)[x];
            const unsigned alpha = (pixel >> 24) * Weight(row[from.left + column]) / 255;
            pixel = (pixel & ~kOpaque) | alpha << 24;
        }
    }
}

bool DrawCompressed(PictureBytes& bytes, const State& state, Canvas& canvas) {
    Command command;
    if (!ReadCommand(bytes, &command)) return false;
    command.image.image.hasAlpha =
        command.mode >= kFirstAlphaMode && command.mode <= kLastAlphaMode;
    command.image.image.nesting = command.matte.image.nesting = state.nesting;
    const std::unique_ptr<Frame> frame = DecodeImage(command.image, canvas);
    if (frame == nullptr) return false;
    if (command.matteSize > 0) {
        const std::unique_ptr<Frame> matte = DecodeImage(command.matte, canvas);
        if (matte != nullptr) ApplyMatte(*matte, command, frame.get());
    }
    const FramePlace place = {command.source, command.matrix,
                              command.hasMask ? &command.mask : nullptr};
    DrawFrame(*frame, place, state.InkFor(ModeFromStored(command.mode)), state, canvas);
    return true;
}

// The image has its own source, destination and mode.
bool DrawNotCompressed(PictureBytes& bytes, const State& state, Canvas& canvas) {
    Command command;
    ReadHead(bytes, &command);
    if (!ReadMatte(bytes, &command)) return false;
    const std::uint16_t opcode = bytes.U16();
    const bool isBits = opcode == 0x90 || opcode == 0x91 || (opcode >= 0x98 && opcode <= 0x9B);
    return isBits && DrawBits(opcode, bytes, state, canvas);
}

}  // namespace

QuickTimeResult DrawQuickTime(std::uint16_t opcode, PictureBytes& bytes, const State& state,
                              Canvas& canvas) {
    const std::size_t size = bytes.U32();
    const bool isCut = bytes.HasFailed() || size > bytes.Left();
    PictureBytes command(bytes.Take(std::min(size, bytes.Left())));
    const bool isDrawn = opcode == kNotCompressed ? DrawNotCompressed(command, state, canvas)
                                                  : DrawCompressed(command, state, canvas);
    if (isCut) return QuickTimeResult::kDamaged;
    return isDrawn ? QuickTimeResult::kDrawn : QuickTimeResult::kSkipped;
}

}  // namespace Ondrel::QuickDraw
