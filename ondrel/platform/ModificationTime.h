// When an item was changed last.
#ifndef ONDREL_PLATFORM_MODIFICATIONTIME_H
#define ONDREL_PLATFORM_MODIFICATIONTIME_H

#include <cstdint>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// The modification time of the item at a full POSIX path in seconds since 1970-01-01, links
// followed. The result is 0 or, unlike that of other platform calls, the host's own error number,
// for callers that hand it on; `*seconds` is unchanged then.
ONDREL_EXPORT int GetModificationTime(const char* path, std::int64_t* seconds);

}  // namespace Ondrel

#endif
