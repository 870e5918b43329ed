// Pictures as the Mac recorded them: a list of drawing commands, in memory as a 'PICT' resource or
// a file of that type holds it. Version 1, version 2 and version 2 with an extended header, with or
// without the 512 bytes of a file's own in front.
//
//   Picture picture;
//   if (picture.Read(bytes) == noErr) picture.Render(context);
//
// The format is described in "Inside Macintosh: Imaging With QuickDraw", chapter 7 and appendix A;
// the compressed images within pictures in "Inside Macintosh: QuickTime" and the QuickTime file
// format.
#ifndef ONDREL_PLATFORM_PICTURES_H
#define ONDREL_PLATFORM_PICTURES_H

#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Images.h"

namespace Ondrel {

class Picture {
 public:
    // Takes the bytes over. paramErr: they do not begin as a picture does, or its frame is empty;
    // the picture then has no size. memFullErr.
    ONDREL_EXPORT OSErr Read(std::string_view bytes);

    // The size of its frame in pixels; 0 before a Read that succeeded, never above 65535.
    int Width() const { return width_; }
    int Height() const { return height_; }

    // Draws the picture over what is in the context, scaled from its frame to fill the context.
    // Where it draws nothing the context stays as it is. Damage ends a picture early: what came
    // before stays drawn. So does a picture that asks for more work than a picture of its length
    // may: time and memory are bounded by its length and the context's size. paramErr: no picture
    // was read, or the context is not valid. memFullErr; the context is then as it was.
    ONDREL_EXPORT OSErr Render(const BitmapContext& context) const;

 private:
    std::string bytes_;
    int width_ = 0;
    int height_ = 0;
};

}  // namespace Ondrel

#endif
