// Internal to preview/: a pixel map and its mask as the two records of a picture.
//
// All numbers are big-endian, rectangles are top, left, bottom, right.
//
//   mask   0098, a one-bit pixel map with two colours, each row packed; drawn as "clear bits"
//   image  009A, a 32-bit pixel map; rows narrower than 32 pixels are stored as they are, others as
//          three planes (red, green, blue) packed in one go
//
// A packed row is a count of its bytes, in two bytes where rows have more than 250, and the codes.
#ifndef ONDREL_PREVIEW_PICTUREROWS_H
#define ONDREL_PREVIEW_PICTUREROWS_H

#include "ondrel/preview/ResourceFork.h"
#include "ondrel/preview/drapix.h"

namespace Ondrel::Pictures {

// A 32-bit map with at least one pixel, whose rows are as long as it says.
bool IsPicture(const drapix* image);

// The same of a mask; one without pixels counts as none.
bool IsMask(const draenv* mask);

// The two records have room in a fork together; null for no mask. Small pictures are not looked at.
bool FitsFork(const drapix& image, const draenv* mask);

// Append a record to the open resource. The rows keep the place even.
void AppendMask(ResourceFork* fork, const draenv& mask, int resolution);
void AppendImage(ResourceFork* fork, const drapix& image, int resolution, bool isMasked);

}  // namespace Ondrel::Pictures

#endif
