// What direct access and its write cache know of each other. Internal to fil/.
#ifndef ONDREL_FIL_DIRECTCACHE_H
#define ONDREL_FIL_DIRECTCACHE_H

#include "ondrel/fil/fil.h"

namespace Ondrel {

// The stream has the write cache; what it wrote may not have reached its fork.
bool OwnsDirectCache(const fil* f);

// A write that passes the cache by.
int filasywri2(fil* f, int position, const unsigned char* data, int length);

// Waits until the stream's last transfer has finished, and latches its result.
void WaitForDirect(fil* f);

}  // namespace Ondrel

#endif
