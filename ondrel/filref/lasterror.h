// The platform error code of the last operation that had no stream to keep it in.
#ifndef ONDREL_FILREF_LASTERROR_H
#define ONDREL_FILREF_LASTERROR_H

#include "ondrel/platform/Export.h"

namespace Ondrel {

// Set by the last open, close, delete or reference operation of the calling thread; each thread has
// its own, as each stream belongs to one thread.
ONDREL_EXPORT extern thread_local constinit short lasterror;

}  // namespace Ondrel

#endif
