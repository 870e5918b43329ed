// What pictures draw in place of a QuickTime image, for readers that know no QuickTime. Internal to
// libOndrel.
//
// Behind the image stands either a text ("QuickTime and a ... decompressor are needed to see this
// picture."), announced by a pen size of 174 by the number of bytes that the substitute takes; or a
// bit map, drawn over all of the image's rectangle. Where the image was drawn, both are left out.
#ifndef ONDREL_PLATFORM_QUICKDRAW_SUBSTITUTE_H
#define ONDREL_PLATFORM_QUICKDRAW_SUBSTITUTE_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "ondrel/platform/quickdraw/Geometry.h"
#include "ondrel/platform/quickdraw/PictureBytes.h"

namespace Ondrel::QuickDraw {

class Substitute {
 public:
    // A QuickTime image was drawn; `command` is what stands behind its opcode.
    void Expect(std::uint16_t opcode, PictureBytes command);

    // A command that is about to be carried out; `command` is what stands behind its opcode. Leaves
    // out the announced bytes behind a pen size. True: this one is to be carried out without
    // drawing.
    bool LeavesOut(std::uint16_t opcode, PictureBytes& command);

 private:
    bool LeavesOutText(std::uint16_t opcode, PictureBytes command);

    bool isExpected_ = false;
    bool isInText_ = false;
    std::optional<Rect> image_;
};

}  // namespace Ondrel::QuickDraw

#endif
