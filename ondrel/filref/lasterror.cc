// The one variable of lasterror.h.
#include "ondrel/filref/lasterror.h"

namespace Ondrel {

thread_local constinit short lasterror = 0;

}  // namespace Ondrel
