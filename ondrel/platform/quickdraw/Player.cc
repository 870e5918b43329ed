// The loop over a picture's commands. Internal to libOndrel.
//
// An opcode is one byte in version 1; in version 2 it is two, at an even place. What is neither
// drawn nor set is left out by its length.
#include "ondrel/platform/quickdraw/Player.h"

#include <cstdint>

#include "ondrel/platform/quickdraw/Bits.h"
#include "ondrel/platform/quickdraw/OpcodeLengths.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/QuickTime.h"
#include "ondrel/platform/quickdraw/ShapeCommands.h"
#include "ondrel/platform/quickdraw/State.h"
#include "ondrel/platform/quickdraw/StateCommands.h"
#include "ondrel/platform/quickdraw/Substitute.h"
#include "ondrel/platform/quickdraw/Text.h"
#include "ondrel/platform/quickdraw/TextCommands.h"

namespace Ondrel::QuickDraw {

namespace {

constexpr std::uint16_t kVersion = 0x0011;
constexpr std::uint16_t kEnd = 0x00FF;

bool IsBits(std::uint16_t opcode) {
    return opcode == 0x90 || opcode == 0x91 || (opcode >= 0x98 && opcode <= 0x9B);
}

bool IsQuickTime(std::uint16_t opcode) {
    return opcode == 0x8200 || opcode == 0x8201;
}

class Player {
 public:
    Player(std::string_view picture, const PictureHead& head, Canvas& canvas, int nesting)
        : bytes_(picture), canvas_(canvas) {
        bytes_.Skip(head.commands);
        state_.version = head.version;
        state_.nesting = nesting;
        state_.mapping = {head.source, canvas.Width(), canvas.Height()};
        state_.clip = Region(canvas.Bounds());
    }

    void Play() {
        while (bytes_.Left() > 0 && canvas_.Spend(1)) {
            const std::uint16_t opcode = ReadOpcode();
            if (opcode == kEnd || bytes_.HasFailed() || !CarryOut(opcode)) return;
        }
    }

 private:
    std::uint16_t ReadOpcode() {
        if (state_.version == 1) return bytes_.U8();
        bytes_.Align();
        return bytes_.U16();
    }

    // False when the picture is over.
    bool CarryOut(std::uint16_t opcode) {
        const std::size_t start = bytes_.Position();
        if (substitute_.LeavesOut(opcode, bytes_))
            return bytes_.Position() != start || CarryOutUnseen(opcode);
        switch (ReadStateCommand(opcode, canvas_.Bounds(), bytes_, state_)) {
            case StateResult::kSet:
                return true;
            case StateResult::kDamaged:
                return false;
            case StateResult::kOther:
                break;
        }
        return IsDrawing(opcode) ? Draw(opcode) : Skip(opcode);
    }

    // As far as it goes, for what moves the places of later commands.
    bool CarryOutUnseen(std::uint16_t opcode) {
        const Region clip = state_.clip;
        state_.clip = Region();
        const bool isGood = Draw(opcode);
        state_.clip = clip;
        return isGood;
    }

    static bool IsDrawing(std::uint16_t opcode) {
        return IsTextCommand(opcode) || ShapeCommands::IsShape(opcode) || IsBits(opcode) ||
               IsQuickTime(opcode);
    }

    bool Draw(std::uint16_t opcode) {
        bool isGood = true;
        if (IsTextCommand(opcode))
            isGood = DrawPlacedText(opcode);
        else if (IsBits(opcode))
            isGood = DrawBits(opcode, bytes_, state_, canvas_);
        else if (IsQuickTime(opcode))
            isGood = DrawQuickTimeImage(opcode);
        else
            isGood = shapes_.Draw(opcode, bytes_, state_, canvas_);
        state_.nextIsHilite = false;
        return isGood;
    }

    bool DrawPlacedText(std::uint16_t opcode) {
        const PlacedText placed = ReadTextCommand(opcode, state_.text.location, bytes_);
        if (bytes_.HasFailed()) return false;
        state_.text.location = placed.location;
        if (!state_.clip.IsEmpty()) DrawText(placed.text, state_, canvas_);
        return true;
    }

    bool DrawQuickTimeImage(std::uint16_t opcode) {
        const PictureBytes command = bytes_;
        const QuickTimeResult result = DrawQuickTime(opcode, bytes_, state_, canvas_);
        if (result == QuickTimeResult::kDrawn) substitute_.Expect(opcode, command);
        return result != QuickTimeResult::kDamaged;
    }

    bool Skip(std::uint16_t opcode) {
        if (opcode != kVersion) return SkipCommand(opcode, bytes_);
        bytes_.Skip(state_.version == 1 ? 1 : 2);
        return !bytes_.HasFailed();
    }

    PictureBytes bytes_;
    Canvas& canvas_;
    State state_;
    ShapeCommands shapes_;
    Substitute substitute_;
};

}  // namespace

void PlayPicture(std::string_view picture, const PictureHead& head, Canvas& canvas, int nesting) {
    Player(picture, head, canvas, nesting).Play();
}

}  // namespace Ondrel::QuickDraw
