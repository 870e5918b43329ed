// Internal to preview/: the picture of a document's icon.
#ifndef ONDREL_PREVIEW_ICONSQUARE_H
#define ONDREL_PREVIEW_ICONSQUARE_H

#include "ondrel/preview/drapix.h"

namespace Ondrel::Pictures {

// A 32-bit picture scaled to half its size (rounded down), opaque, at the top left of a square that
// is transparent elsewhere, with alpha in the first byte of each pixel. The caller releases it with
// drapixdea. Null when the half has no pixel or there is no memory.
drapix* MakeIconSquare(const drapix& image);

}  // namespace Ondrel::Pictures

#endif
