// Previews: a document shows its picture in the file browser, without being opened.
#ifndef ONDREL_PREVIEW_PICTPREVIEW_H
#define ONDREL_PREVIEW_PICTPREVIEW_H

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"
#include "ondrel/preview/ResourceFork.h"
#include "ondrel/preview/drapix.h"

namespace Ondrel {

// Writes a 32-bit picture of `resolution` dots an inch into the file's resource fork as 'PICT' 256,
// points to it by 'pnot' 0, both named "Preview", and makes the picture the file's icon (see
// customicon.h). The resources that were in the fork are gone. A mask of one bit a pixel, or null,
// stands before the picture and makes it transparent where its bits are 0; one without pixels
// counts as none.
//
// Nothing is reported. A file that cannot be opened, and a picture that is null, has no pixel or is
// not one of 32 bits, change nothing. When the preview cannot be written the fork stays as it was;
// so it does for a picture that takes 16 MiB when packed, which no fork can hold with anything
// behind it. The icon is set all the same. The format has no room for widths of 8192 pixels and
// more: such a picture is stored, but cannot be read. The thread's current resource file stays the
// current one. An allocation that fails throws as the standard library does; the fork stays as it
// was.
ONDREL_EXPORT void filpictpreview(const FileSpec& file, drapix* image, int resolution,
                                  draenv* mask);

}  // namespace Ondrel

#endif
