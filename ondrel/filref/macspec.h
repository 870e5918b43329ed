// The way from a colon path to a full Mac path that names an existing place.
#ifndef ONDREL_FILREF_MACSPEC_H
#define ONDREL_FILREF_MACSPEC_H

#include <cstdint>

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Without filRefResolve in `flags`: copies `ref` to `out`, which holds kFilrefSize units, and cuts
// ":x" at its end to ":" (on a text of at least 3 units). With it: takes a relative text against
// the application folder, walks its components from the volume on, following aliases, and answers
// the path reached, precomposed. 0; -1 when the text leads nowhere, `out` then holds the unresolved
// full text; 1 when `ref` is null, `out` untouched. A path leads nowhere when its volume is not
// mounted or when one of its components but the last is no folder, nor an alias of one.
ONDREL_EXPORT int refToMacSpec(const std::uint16_t* ref, std::uint16_t* out, int flags);

}  // namespace Ondrel

#endif
