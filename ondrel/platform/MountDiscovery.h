// Finding the host's mounted file systems, and their labels. Internal to
// platform/: the mount table alone calls it.
#ifndef ONDREL_PLATFORM_MOUNTDISCOVERY_H
#define ONDREL_PLATFORM_MOUNTDISCOVERY_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/MountTable.h"

namespace Ondrel::Host {

// True for a path below a folder that file systems are mounted under as volumes: /media,
// /run/media, /mnt and /Volumes, not these themselves.
bool IsBelowVolumeFolders(std::string_view path);

// Answers the label of the file system on a device ("/dev/sdb1"), UTF-8, or an empty text.
using LabelLookup = std::function<std::string(const std::string& device)>;

// The volumes that a text in the form of /proc/self/mountinfo tells of, in its order; lines that
// are not in this form are passed over. Of several mounts on one folder the last hides the others.
// A name is the label where a whole file system is mounted, else the name of the folder. No two
// have the same name, and none is called `reserved`. Folders that are not valid UTF-8 are left out.
std::vector<Mount> VolumesFromMountInfo(std::string_view mountInfo, const LabelLookup& labelOf,
                                        std::string_view reserved);

// "USB\x20Disk", as the links in /dev/disk/by-label are named, is the label "USB Disk".
std::string LabelFromLinkName(std::string_view linkName);

// Reads the host's tables. False, and nothing changed, when it does not show them.
bool DiscoverVolumes(std::string_view reserved, std::vector<Mount>* volumes);

}  // namespace Ondrel::Host

#endif
