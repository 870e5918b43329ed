// Direct access: reads and writes at explicit positions, straight between the caller's memory and
// the fork, one transfer under way per stream; and one process-wide cache that gathers small
// contiguous writes of one stream.
//
//   fil f;
//   if (filasyope(&f, reference, true) == 0) {
//       filasycacbeg(&f, 65536);
//       for (...) filasywri(&f, position, piece, length);
//       filasycacend();                  // before the stream is closed, or the cached bytes are
//       lost
//   }
//   filclo(&f);
//
// Nothing here raises; there is no error context. A transfer's failure is latched, and shows in
// filasydon and in the next call. Misuse is reported through `debug` and gives -1.
//
// Threads. A stream belongs to one thread at a time; the cache belongs to all of the process, and
// only one thread may use it at a time.
#ifndef ONDREL_FIL_DIRECT_H
#define ONDREL_FIL_DIRECT_H

#include "ondrel/fil/fil.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// Opens an existing file, for writing too when `readWrite` is set. 0; -43 when it does not exist;
// -3 when it is open for writing elsewhere or must not be opened; else -1. After a failure the
// record stays attached until filclo.
ONDREL_EXPORT int filasyope(fil* f, const filref& ref, bool readWrite);

// The state of the last transfer: 1 finished, or none started; 0 under way; -1 failed.
ONDREL_EXPORT int filasydon(fil* f);

// Start a transfer: 0, or -1 when an earlier one has failed. The memory is used in place, and must
// stay as it is until filasydon answers other than 0 or the next transfer of the stream has been
// started. A length below 1 writes nothing. The stream that owns the cache cannot be read.
ONDREL_EXPORT int filasyrea(fil* f, int position, unsigned char* buffer, int length);
ONDREL_EXPORT int filasywri(fil* f, int position, const unsigned char* data, int length);

// Gives the stream a cache of `size` bytes. Nothing happens when there is one already, when `size`
// is below 1, or without memory. Cached writes answer 0 always, and copy what they are given.
ONDREL_EXPORT void filasycacbeg(fil* f, int size);

// Writes what is cached and takes the cache away.
ONDREL_EXPORT void filasycacend();

}  // namespace Ondrel

#endif
