// The volumes: names for folders of the host, and the way from a path to its volume. Internal to
// libOndrel; the public calls are core/Volumes.h.
//
// In order of precedence: the volumes given by AddMount, those of ONDREL_VOLUMES ("Macintosh
// HD=/srv/mac:Data=/data"), every file system mounted under /media, /run/media, /mnt and /Volumes
// (named by its label, else by its mount folder), and "Root" for the root file system. Of two
// discovered volumes of one name the later is called "name 1", "name 2" and so on.
#ifndef ONDREL_PLATFORM_MOUNTTABLE_H
#define ONDREL_PLATFORM_MOUNTTABLE_H

#include <string>
#include <string_view>
#include <vector>

namespace Ondrel::Host {

struct Mount {
    std::string name;  // UTF-8, as a Mac shows it: a '/' in it is a ':' of the mount folder
    std::string root;  // an absolute POSIX path without a slash at its end; "/" for the root
};

// False when the name is empty or holds ':', or the root is not an absolute path. A name given
// before gets the new root.
bool AddMount(std::string_view name, std::string_view root);

// Takes away a volume given by AddMount; false when there is none of that name.
bool RemoveMount(std::string_view name);

// All volumes, in order of precedence.
std::vector<Mount> Mounts();

// The root of the volume of that name, composed or decomposed; false when none is mounted.
bool FindMount(std::string_view name, std::string* root);

// The volume with the longest root that holds the path, and the length of that root in the path.
Mount MountOfPath(std::string_view path);

}  // namespace Ondrel::Host

#endif
