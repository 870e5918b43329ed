// Images that are pictures themselves, drawn at the size of the frame. Pictures in them again are
// drawn, those in these are not.
#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/platform/quickdraw/Player.h"
#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr int kMostNesting = 2;

}  // namespace

bool DecodeDrawing(const CompressedImage& image, Frame* frame) {
    const std::size_t start = FindPicture(image.data);
    PictureHead head;
    if (image.nesting >= kMostNesting || start == std::string_view::npos || image.work == nullptr ||
        !ReadPictureHead(image.data.substr(start), &head))
        return false;
    Canvas canvas(frame->Width(), frame->Height(), *image.work);
    PlayPicture(image.data.substr(start), head, canvas, image.nesting + 1);
    *image.work = canvas.WorkLeft();
    for (int y = 0; y < frame->Height(); ++y)
        std::copy_n(canvas.Row(y), frame->Width(), frame->Row(y));
    return true;
}

}  // namespace Ondrel::QuickDraw
