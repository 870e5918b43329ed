// Finding the target of an alias record on the mounted volumes. Internal to platform/.
#ifndef ONDREL_PLATFORM_ALIASTARGET_H
#define ONDREL_PLATFORM_ALIASTARGET_H

#include <string>

#include "ondrel/platform/AliasRecord.h"
#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// The path of the record's target. In this order: its POSIX path on the volume of its name, its
// colon path, and its name in the root of the volume. A name may stand on the disk composed or
// decomposed. fnfErr: none of them leads to an item, or the volume is not mounted. `*path` is
// stored on success only.
OSErr FindAliasTarget(const AliasRecord& record, std::string* path);

}  // namespace Ondrel::Host

#endif
