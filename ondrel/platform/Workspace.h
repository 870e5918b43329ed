// The workspace: what the desktop shows of a file.
#ifndef ONDREL_PLATFORM_WORKSPACE_H
#define ONDREL_PLATFORM_WORKSPACE_H

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Images.h"

namespace Ondrel {

// Gives the file at a full POSIX path (through a symbolic link its target) a picture as its icon:
// stores resource 'icns' -16455 in its resource fork beside what is there, and sets the custom-icon
// flag in its Finder Info, both in one step. The icon holds the picture in 16, 32 and 128 pixels,
// until the first size that holds it whole, and in 256 and 512 where the picture fills them; one
// that is not square is centred. Every other resource, its name, its attributes and the order stay;
// space that no resource uses is given back. After a failure the fork and the flag are as they
// were. paramErr: the image is not valid. fnfErr: no such file. opWrErr: somebody writes its
// resource fork. mapReadErr: its fork, its map or its sidecar is damaged, and is left alone.
// dskFulErr: the fork would be longer than its map can tell (16 MiB of data). Otherwise the host's
// failure.
ONDREL_EXPORT OSErr SetIconForFile(const char* path, const Image& image);

}  // namespace Ondrel

#endif
