// The kernel's queue for reads that would block: one io_uring of the process, made when it is first
// needed. Internal to platform/; Transfers.cc is the only caller.
//
// Invariants: a request is in the list of the ring from RingRead until its answer is taken, and the
// kernel writes to its buffer for no longer than that; the ring touches `progress.next`,
// `progress.answer` and `progress.answered` of such a request and nothing else of it; a child made
// by fork() never touches the ring, and its copies of requests count as answered with -ECANCELED.
#ifndef ONDREL_PLATFORM_RING_H
#define ONDREL_PLATFORM_RING_H

#include "ondrel/platform/FileManager.h"

namespace Ondrel::Host {

// Hands the rest of a request to the kernel. False: not taken, because the host has no ring or
// there is no room in it; the read is the caller's then.
bool RingRead(int fd, FSForkIOParam* request);

// Takes the kernel's answer, a count or a negative error number, if it has come. A request that is
// not in the ring has the answer -ECANCELED.
bool RingTake(FSForkIOParam* request, int* answer);

// The same, and sleeps until it has come.
int RingWait(FSForkIOParam* request);

// A request of that fork that is in the ring, or null.
FSForkIOParam* RingRequestOf(short forkRefNum);

}  // namespace Ondrel::Host

#endif
