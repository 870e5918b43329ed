// Volumes: the first component of a colon path names one. The root file system is "Root"; every
// file system mounted under /media, /run/media, /mnt or /Volumes is a volume named after its label
// or else its mount folder; and any folder can be made one, so that documents that came from a Mac
// resolve. The environment variable ONDREL_VOLUMES ("Macintosh HD=/srv/mac:Data=/data") does the
// same for whole programs; no folder in it can hold a colon. What the host mounts later is seen
// within a second.
#ifndef ONDREL_CORE_VOLUMES_H
#define ONDREL_CORE_VOLUMES_H

#include <string>
#include <vector>

#include "ondrel/platform/Export.h"

namespace Ondrel {

struct Volume {
    std::string name;        // UTF-8
    std::string rootFolder;  // POSIX path, without a slash at its end unless it is "/"
};

// Makes a folder a volume; it wins over discovered volumes and over ONDREL_VOLUMES, and a name
// given before gets the new folder. Of two volumes at one folder the one given last names its
// paths. Where "Root" is given to another folder, the root file system is "Root 1". False, and
// nothing done, when the name is empty, not UTF-8 or holds a colon, or when the folder is not given
// by a full path in UTF-8. The folder need not exist yet.
ONDREL_EXPORT bool MountVolume(const char* name, const char* rootFolder);

// Takes away what MountVolume made; false when there is nothing of that name.
ONDREL_EXPORT bool UnmountVolume(const char* name);

// All volumes; where two have the same name, the first is the one that a path means.
ONDREL_EXPORT std::vector<Volume> MountedVolumes();

}  // namespace Ondrel

#endif
