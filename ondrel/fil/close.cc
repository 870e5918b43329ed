// Closing: always releases the record, and raises only after that.
#include <algorithm>
#include <cstdint>

#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"
#include "ondrel/platform/ResourceManager.h"

namespace Ondrel {
namespace {

// Writes what is left in the current buffer. After a failed transfer the stream's bytes are lost
// already and nothing more is written; a refused position is no failed transfer.
void WriteTail(const fil* f) {
    sysinfrec* const sys = f->sys;
    if (sys->error != noErr && sys->error != posErr) return;
    const Side here = Side::Writing(f);
    const int tail = std::max(sys->tailLength, static_cast<int>(f->cursor - here.Start()));
    (void)here.Other().Wait();
    here.StartWrite(tail);
    (void)here.Wait();
}

// A direct-access stream has requests but no buffers; the requests are all that is touched here.
void SettleRequests(sysinfrec* sys) {
    PBDropFork(&sys->request1);
    PBDropFork(&sys->request2);
}

// The result of closing the fork is all that is reported: that of the last write is dropped on
// purpose.
short CloseForks(const fil* f) {
    sysinfrec* const sys = f->sys;
    if ((sys->mode & (kFilModeRead | kFilModeWrite | kFilModeDirect)) == 0) return noErr;
    if (sys->resourceRef != 0) CloseResFile(sys->resourceRef);
    if ((sys->mode & kFilModeWrite) != 0) WriteTail(f);
    SettleRequests(sys);
    return FSCloseFork(sys->forkRef);
}

}  // namespace

int fil::Close() {
    if (sys == nullptr) return -1;
    const short code = CloseForks(this);
    lasterror = code;
    errtyp* const context = sys->errorContext;
    ReleaseRecord(this);
    count = 0;
    return code == noErr ? 0 : Fail(context, -1);
}

fil::~fil() {
    (void)Close();
    cursor = nullptr;
}

int filclo(fil* f) {
    return f->Close();
}

errtyp* filerr(fil* f, errtyp* e) {
    if (f->sys == nullptr) return reinterpret_cast<errtyp*>(~std::uintptr_t{0});
    errtyp* const before = f->sys->errorContext;
    f->sys->errorContext = e;
    return before;
}

}  // namespace Ondrel
