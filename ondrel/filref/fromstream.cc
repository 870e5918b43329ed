// A reference from an open stream: the one operation here that looks into a stream's record.
#include "ondrel/fil/fil.h"
#include "ondrel/filref/operations.h"

namespace Ondrel {

int filrefnew(filref* out, const fil* f) {
    if (f->sys == nullptr) return -1;
    if (out->FromUnicode(f->sys->path, filRefMac) != 0) return -1;
    lasterror = noErr;
    return 0;
}

}  // namespace Ondrel
