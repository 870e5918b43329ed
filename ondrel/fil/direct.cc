// Direct access. A stream has two requests that take turns; its cursor serves as the toggle, and
// points to where buffer 2 would be while request 1 was the last to be issued, otherwise to where
// buffer 1 would be. The record ends before the buffers, which are never touched.
#include "ondrel/fil/direct.h"

#include "ondrel/fil/directcache.h"
#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"

namespace Ondrel {
namespace {

bool FirstWasLast(const fil* f) {
    return f->cursor == f->sys->buffer2;
}

FSForkIOParam* LastRequest(const fil* f) {
    return FirstWasLast(f) ? &f->sys->request1 : &f->sys->request2;
}

// Whether a transfer may be issued: the stream is open for it and nothing has failed.
bool IsReady(const fil* f) {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): what is open has a record
    return CheckOpen(f, kFilModeDirect) && f->sys->error == noErr;
}

// Waits for the last transfer, latches its result and makes the other request the last one.
void TakeTurn(fil* f, int position) {
    sysinfrec* const sys = f->sys;
    if (FirstWasLast(f)) {
        sys->error = wait1(sys);
        f->cursor = sys->buffer1;
        sys->position2 = position;
    } else {
        sys->error = wait2(sys);
        f->cursor = sys->buffer2;
        sys->position1 = position;
    }
}

int Outcome(const fil* f) {
    return f->sys->error == noErr ? 0 : -1;
}

short OpenDirect(sysinfrec* sys, const FSRef& ref, bool readWrite) {
    HFSUniStr255 name;
    if (const short code = FSGetDataForkName(&name); code != noErr) return code;
    const signed char permission = readWrite ? fsRdWrPerm : fsRdPerm;
    return FSOpenFork(&ref, name.length, name.unicode, permission, &sys->forkRef);
}

}  // namespace

int filasyope(fil* f, const filref& ref, bool readWrite) {
    if (!AttachRecord(f, nullptr, WithBuffers::kNo)) return -1;
    sysinfrec* const sys = f->sys;
    sys->error = static_cast<short>(sys->setFilref(ref, 0));
    if (sys->error != noErr) return -1;
    FSRef file;
    if (const short code = sys->getFSRef(file); code != noErr) return code;
    if (const short code = OpenDirect(sys, file, readWrite); code != noErr) {
        sys->error = code;
        return code == opWrErr || code == permErr ? -3 : -1;
    }
    sys->mode = kFilModeDirect;
    sys->position1 = 0;
    sys->position2 = kFilNoPosition;
    f->cursor = sys->buffer1;
    return 0;
}

int filasydon(fil* f) {
    if (!IsReady(f)) return -1;
    const short result = PBForkResult(LastRequest(f));
    if (result == kRequestInProgress) return 0;
    f->sys->error = result;
    return result == noErr ? 1 : -1;
}

int filasyrea(fil* f, int position, unsigned char* buffer, int length) {
    if (OwnsDirectCache(f) || !IsReady(f)) return -1;
    TakeTurn(f, position);
    if (FirstWasLast(f))
        read1(f->sys, buffer, length);
    else
        read2(f->sys, buffer, length);
    return Outcome(f);
}

int filasywri2(fil* f, int position, const unsigned char* data, int length) {
    if (!IsReady(f)) return -1;
    TakeTurn(f, position);
    if (length < 1)
        LastRequest(f)->ioResult = noErr;
    else if (FirstWasLast(f))
        write1(f->sys, data, length);
    else
        write2(f->sys, data, length);
    return Outcome(f);
}

void WaitForDirect(fil* f) {
    if (f->sys != nullptr && (f->sys->mode & kFilModeDirect) != 0) (void)PBWaitFork(LastRequest(f));
    (void)filasydon(f);
}

}  // namespace Ondrel
