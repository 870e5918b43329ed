// Reading a picture's bytes from front to back. Internal to libOndrel.
//
// A read past the end gives zeros and sets a flag that stays; the position then is the end. So a
// command reads all of its fields and asks once whether they were there. Every count that was read
// is compared with Left() before it is used.
#ifndef ONDREL_PLATFORM_QUICKDRAW_PICTUREBYTES_H
#define ONDREL_PLATFORM_QUICKDRAW_PICTUREBYTES_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/quickdraw/Geometry.h"

namespace Ondrel::QuickDraw {

class PictureBytes {
 public:
    explicit PictureBytes(std::string_view bytes) : bytes_(bytes) {}

    std::size_t Position() const { return position_; }
    std::size_t Left() const { return bytes_.size() - position_; }
    bool HasFailed() const { return failed_; }

    std::uint8_t U8() { return static_cast<std::uint8_t>(Unsigned(1)); }
    std::uint16_t U16() { return static_cast<std::uint16_t>(Unsigned(2)); }
    std::uint32_t U32() { return Unsigned(4); }
    std::int8_t S8() { return static_cast<std::int8_t>(U8()); }
    std::int16_t S16() { return static_cast<std::int16_t>(U16()); }
    std::int32_t S32() { return static_cast<std::int32_t>(U32()); }

    // Vertical first, as they are stored.
    Point ReadPoint() {
        const int v = S16();
        return {v, S16()};
    }
    // Top, left, bottom, right, as they are stored.
    Rect ReadRect() {
        Rect rect;
        rect.top = S16();
        rect.left = S16();
        rect.bottom = S16();
        rect.right = S16();
        return rect;
    }

    // The next `count` bytes; empty, with the flag set, when fewer are left.
    std::string_view Take(std::size_t count) {
        if (count > Left()) return Fail();
        position_ += count;
        return bytes_.substr(position_ - count, count);
    }
    void Skip(std::size_t count) { (void)Take(count); }

    // To the next even place, counted from the first byte.
    void Align() {
        if (position_ % 2 != 0 && Left() > 0) ++position_;
    }

 private:
    std::uint32_t Unsigned(std::size_t size) {
        if (size > Left()) {
            Fail();
            return 0;
        }
        position_ += size;
        return GetBigEndian(bytes_, position_ - size, size);
    }
    std::string_view Fail() {
        failed_ = true;
        position_ = bytes_.size();
        return {};
    }

    std::string_view bytes_;
    std::size_t position_ = 0;
    bool failed_ = false;
};

}  // namespace Ondrel::QuickDraw

#endif
