#include "tests/platform/quickdraw/Art.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/platform/quickdraw/Player.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {

using QuickDraw::Canvas;
using QuickDraw::PictureHead;
using QuickDraw::Pixel;
using QuickDraw::Rect;

namespace {

constexpr std::uint64_t kMuchWork = 100'000'000;

char LetterOf(Pixel pixel) {
    switch (pixel) {
        case 0:
            return '.';
        case 0xFFFFFFFF:
            return '_';
        case 0xFF000000:
            return '#';
        case 0xFFFF0000:
            return 'R';
        case 0xFF00FF00:
            return 'G';
        case 0xFF0000FF:
            return 'B';
        case 0xFF00FFFF:
            return 'C';
        case 0xFFFF00FF:
            return 'M';
        case 0xFFFFFF00:
            return 'Y';
        case 0xFFB3B3B3:
            return '%';
        default:
            return '?';
    }
}

}  // namespace

std::string PictureOf(int version, const Rect& frame, const std::string& commands) {
    std::string picture = Bytes("0000");
    for (const int side : {frame.top, frame.left, frame.bottom, frame.right}) {
        picture += static_cast<char>((side >> 8) & 0xFF);
        picture += static_cast<char>(side & 0xFF);
    }
    picture += Bytes(version == 1 ? "1101" : "0011 02FF") + Bytes(commands);
    return picture + Bytes(version == 1 ? "FF" : "00FF");
}

std::string ArtOf(const Canvas& canvas) {
    std::string art;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x)
            art += LetterOf(canvas.Row(y)[x]);
        art += '\n';
    }
    return art;
}

std::string Art(const std::string& picture) {
    PictureHead head;
    EXPECT_TRUE(ReadPictureHead(picture, &head));
    Canvas canvas(head.frame.Width(), head.frame.Height(), kMuchWork);
    PlayPicture(picture, head, canvas);
    return ArtOf(canvas);
}

std::string Art(int width, int height, const std::string& commands) {
    return Art(PictureOf(1, {0, 0, height, width}, commands));
}

std::uint64_t WorkOf(const std::string& picture, std::uint64_t allowance) {
    PictureHead head;
    EXPECT_TRUE(ReadPictureHead(picture, &head));
    Canvas canvas(head.frame.Width(), head.frame.Height(), allowance);
    PlayPicture(picture, head, canvas);
    return allowance - canvas.WorkLeft();
}

}  // namespace Ondrel::Testing
