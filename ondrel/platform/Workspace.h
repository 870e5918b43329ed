// The workspace: what the desktop shows of a file.
#ifndef ONDREL_PLATFORM_WORKSPACE_H
#define ONDREL_PLATFORM_WORKSPACE_H

#include <cstddef>
#include <string>

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

// The bytes of such an icon, for SetIconInFork. paramErr, memFullErr.
ONDREL_EXPORT OSErr ComposeIcon(const Image& image, std::string* icon);

// So many bytes hold the icon of any picture whose longer side is that long: for who wants the
// icon's memory before the picture's.
ONDREL_EXPORT std::size_t RoomForIcon(int longerSide);

// Gives the file of a resource fork that is open for writing an icon: it goes to the disk with what
// else was written, when the fork is closed, in that one step. rfNumErr: the fork is not open.
// permErr: not for writing. paramErr: it is a data fork. mapReadErr: what was written so far is no
// resource fork. Otherwise as above; what was written to the fork stays after a failure.
ONDREL_EXPORT OSErr SetIconInFork(short forkRefNum, const std::string& icon);

}  // namespace Ondrel

#endif
