// Icons of documents.
#ifndef ONDREL_PREVIEW_CUSTOMICON_H
#define ONDREL_PREVIEW_CUSTOMICON_H

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"
#include "ondrel/preview/drapix.h"

namespace Ondrel {

// Makes a 32-bit picture the file's icon: scaled to half its size, opaque, at the top left of a
// square that is transparent elsewhere. Nothing is reported. A picture that is null, not one of 32
// bits, or narrower or lower than two pixels changes nothing, and neither does a failure. What else
// is in the file's resource fork stays.
ONDREL_EXPORT void AddCustomIcon(const FileSpec& file, drapix* image);

}  // namespace Ondrel

#endif
