// Paths that are longer than the host takes in one call. Internal to platform/.
#ifndef ONDREL_PLATFORM_LONGPATHS_H
#define ONDREL_PLATFORM_LONGPATHS_H

#include <string>

#include "ondrel/platform/HostCalls.h"

namespace Ondrel::Host {

// Makes a full path one that a call takes: `*rest` is a part of it that is short enough, seen from
// `*folder`, which is opened where the path is too long by itself and left alone otherwise.
// bdNamErr: a name in it is too long.
OSErr OpenLongPath(const std::string& path, Descriptor* folder, const char** rest);

}  // namespace Ondrel::Host

#endif
