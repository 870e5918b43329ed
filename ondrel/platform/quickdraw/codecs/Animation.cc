// The run length compressor of animations.
//
//   4  length      2  flags; with 8:  2  first row   2  unused   2  number of rows   2  unused
//
// Then the rows. Units are pixels; of small pixels as many as fill 4 bytes. Each row has
//
//   1  units to leave out, and one; 0 ends the image
//   codes:  1 to 127   as many units follow
//           -128 to -2 the unit that follows, that often
//           0          1  units to leave out, and one
//           -1         the row is over
//
// Images of one bit differ: a unit is 16 pixels in 2 bytes, and pairs of bytes follow each other,
//
//   1  units to leave out; with 128 in a new row      1  code as above, where 0 ends the image
#include <algorithm>

#include "ondrel/platform/quickdraw/PictureBytes.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"
#include "ondrel/platform/quickdraw/codecs/PixelFormat.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint16_t kHasRows = 8;
constexpr std::uint8_t kNewRow = 0x80;
constexpr int kRowIsOver = -1;
constexpr std::size_t kMostUnitPixels = 16;

class Rows {
 public:
    Rows(const RowFormat& format, std::string_view data, Frame* frame)
        : format_(format), bytes_(data), frame_(*frame) {
        if (format.bits == 1)
            unitBytes_ = 2;
        else if (format.bits <= 8)
            unitBytes_ = 4;
        else
            unitBytes_ = static_cast<std::size_t>(format.bits) / 8;
        unitPixels_ = unitBytes_ * 8 / static_cast<std::size_t>(format.bits);
    }

    bool Decode() {
        bytes_.Skip(4);
        int rows = frame_.Height();
        if ((bytes_.U16() & kHasRows) != 0) {
            y_ = bytes_.U16();
            bytes_.Skip(2);
            rows = std::min(rows, static_cast<int>(bytes_.U16()));
            bytes_.Skip(2);
        }
        if (bytes_.HasFailed()) return false;
        end_ = std::min(y_ + rows, frame_.Height());
        if (format_.bits == 1)
            DecodeBits();
        else
            DecodeUnits();
        return true;
    }

 private:
    void DecodeUnits() {
        for (; y_ < end_; ++y_) {
            const std::uint8_t left = bytes_.U8();
            if (left == 0) return;
            x_ = (left - std::size_t{1}) * unitPixels_;
            for (int code = ReadCode(); code != kRowIsOver; code = ReadCode()) {
                if (bytes_.HasFailed()) return;
                if (code == 0)
                    x_ += static_cast<std::size_t>(std::max(bytes_.U8() - 1, 0)) * unitPixels_;
                else
                    Draw(code);
            }
        }
    }

    void DecodeBits() {
        --y_;  // the first pair begins a row
        for (;;) {
            const std::uint8_t left = bytes_.U8();
            const int code = ReadCode();
            if (code == 0 || bytes_.HasFailed()) return;
            if ((left & kNewRow) != 0) {
                ++y_;
                x_ = 0;
            }
            x_ += (left & ~kNewRow) * unitPixels_;
            if (y_ >= end_) return;
            if (y_ >= 0 && code != kRowIsOver) Draw(code);
        }
    }

    int ReadCode() {
        const int byte = bytes_.U8();
        return byte < 128 ? byte : byte - 256;
    }

    // Draws units as they follow, or one repeated.
    void Draw(int code) {
        const auto count = static_cast<std::size_t>(code > 0 ? code : -code);
        const std::string_view units = bytes_.Take(code > 0 ? count * unitBytes_ : unitBytes_);
        if (bytes_.HasFailed()) return;
        const auto* const stored = reinterpret_cast<const std::uint8_t*>(units.data());
        const auto width = static_cast<std::size_t>(frame_.Width());
        const std::size_t room = width - std::min(width, x_);
        const std::size_t pixels = std::min(count * unitPixels_, room);
        Pixel* const to = frame_.Row(y_) + std::min(width, x_);
        x_ += count * unitPixels_;
        if (code > 0) {
            ToPixels(format_, stored, 0, pixels, to);
            return;
        }
        Pixel unit[kMostUnitPixels];
        ToPixels(format_, stored, 0, unitPixels_, unit);
        for (std::size_t i = 0; i < pixels; ++i)
            to[i] = unit[i % unitPixels_];
    }

    RowFormat format_;
    PictureBytes bytes_;
    Frame& frame_;
    std::size_t unitBytes_;
    std::size_t unitPixels_;
    int y_ = 0;
    int end_ = 0;  // behind the last row
    std::size_t x_ = 0;
};

}  // namespace

bool DecodeAnimation(const CompressedImage& image, Frame* frame) {
    const RowFormat format = FormatOf(image);
    return format.bits != 0 && Rows(format, image.data, frame).Decode();
}

}  // namespace Ondrel::QuickDraw
