// The volumes: names for folders of the host, and the way from a path to its volume. Internal to
// libOndrel; the public calls are core/Volumes.h.
//
// In order of precedence: the volumes given by AddMount, the latest first; those of ONDREL_VOLUMES
// ("Macintosh HD=/srv/mac:Data=/data"); every file system mounted under /media, /run/media, /mnt
// and /Volumes (named by its label, else by its mount folder); and "Root" for the root file system.
// Of two discovered volumes of one name the later is called "name 1", "name 2" and so on, and
// "Root" is a discovered volume's name never. Where somebody gives the name "Root" to another
// folder, the root file system is "Root 1".
//
// A volume whose name another one before it has cannot be reached: its paths belong to the volume
// around it. A volume that is not mounted lies at /Volumes/<its name>.
//
// The host's mounts are read when a call needs them: at most once a second while names are found,
// and at most twenty times a second for names that are not. Volumes given and "Root" never wait for
// that. All calls may be made from several threads at once.
#ifndef ONDREL_PLATFORM_MOUNTTABLE_H
#define ONDREL_PLATFORM_MOUNTTABLE_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Ondrel::Host {

struct Mount {
    std::string name;  // UTF-8, precomposed, as a Mac shows it: a '/' in it is a ':' of the folder
    std::string root;  // an absolute POSIX path without a slash at its end; "/" for the root

    bool operator==(const Mount&) const = default;
};

// Where volumes that are not mounted lie, with a slash at the end.
inline constexpr std::string_view kUnmountedVolumesFolder = "/Volumes/";

// False when the name is empty, not UTF-8 or holds ':', or the root is not an absolute path in
// UTF-8. A name given before gets the new root.
bool AddMount(std::string_view name, std::string_view root);

// Takes away a volume given by AddMount; false when there is none of that name.
bool RemoveMount(std::string_view name);

// All volumes, in order of precedence.
std::vector<Mount> Mounts();

// The root of the volume of that name, composed or decomposed; false when none is mounted.
bool FindMount(std::string_view name, std::string* root);

// The same without a copy: the volume, or null.
std::shared_ptr<const Mount> FindMount(std::string_view name);

// The volume with the longest root that holds the path, the first in precedence of several. A path
// below /Volumes that leads to no volume and to nothing on disk is one of a volume that is not
// mounted. The path is absolute, without doubled slashes.
Mount MountOfPath(std::string_view path);

}  // namespace Ondrel::Host

#endif
