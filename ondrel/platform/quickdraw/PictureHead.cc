// The heads of pictures, big-endian. Internal to libOndrel.
//
//   0  2  length, of use to nobody since pictures outgrew 32767 bytes
//   2  8  frame: top, left, bottom, right
//
// of version 1
//  10  2  11 01
//
// of version 2
//  10  4  00 11 02 FF
//  14  2  0C 00, the header command
//  16 24  FF FF, and what is of no use; or, extended:
//           0  2  FF FE
//           2  2  reserved
//           4  8  pixels per inch, horizontal and vertical, 16.16
//          12  8  what the commands' coordinates count in: the rectangle that the frame shows
//          20  4  reserved
#include "ondrel/platform/quickdraw/PictureHead.h"

#include <cstdint>

#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

namespace {

constexpr std::size_t kFrameAt = 2;
constexpr std::size_t kVersionAt = 10;
constexpr std::string_view kVersion1("\x11\x01", 2);
constexpr std::string_view kVersion2("\x00\x11\x02\xFF", 4);
constexpr std::uint16_t kHeaderCommand = 0x0C00;
constexpr int kExtended = -2;

bool IsPicture(std::string_view bytes) {
    if (bytes.size() < kVersionAt) return false;
    const std::string_view version = bytes.substr(kVersionAt);
    return version.starts_with(kVersion1) || version.starts_with(kVersion2);
}

// The extended header's rectangle, where there is one.
void ReadSource(PictureBytes bytes, PictureHead* head) {
    if (bytes.U16() != kHeaderCommand || bytes.S16() != kExtended) return;
    bytes.Skip(10);
    const Rect source = bytes.ReadRect();
    if (!bytes.HasFailed() && !source.IsEmpty()) head->source = source;
}

}  // namespace

std::size_t FindPicture(std::string_view bytes) {
    constexpr std::size_t kFileHeader = 512;
    if (IsPicture(bytes)) return 0;
    if (bytes.size() > kFileHeader && IsPicture(bytes.substr(kFileHeader))) return kFileHeader;
    return std::string_view::npos;
}

bool ReadPictureHead(std::string_view picture, PictureHead* head) {
    if (!IsPicture(picture)) return false;
    PictureBytes bytes(picture);
    bytes.Skip(kFrameAt);
    head->frame = bytes.ReadRect();
    head->source = head->frame;
    head->version = picture.substr(kVersionAt).starts_with(kVersion1) ? 1 : 2;
    bytes.Skip(head->version == 1 ? kVersion1.size() : kVersion2.size());
    head->commands = bytes.Position();
    if (head->version == 2) ReadSource(bytes, head);
    return !head->frame.IsEmpty();
}

}  // namespace Ondrel::QuickDraw
