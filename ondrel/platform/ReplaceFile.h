// The swap at the end of a safe save: a finished file takes the place of a document. Internal to
// libOndrel; FileSpecFunctions::ReplaceFile is the public call.
#ifndef ONDREL_PLATFORM_REPLACEFILE_H
#define ONDREL_PLATFORM_REPLACEFILE_H

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// See FileSpecFunctions::ReplaceFile, whose codes these are. Paths are absolute.
OSErr ReplaceFile(const char* finished, const char* document);

}  // namespace Ondrel::Host

#endif
