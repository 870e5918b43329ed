// The life of a stream's record, and the one way in which a stream fails. Internal to fil/.
#ifndef ONDREL_FIL_RECORD_H
#define ONDREL_FIL_RECORD_H

#include "ondrel/fil/fil.h"

namespace Ondrel {

enum class WithBuffers { kYes, kNo };

// Gives the stream a new record: nothing latched, no transfer, size unknown, mode 0, `e` as its
// error context. One that is still attached is closed first, quietly. False, with lasterror -108
// and no record, when there is no memory; without buffers the record ends before them.
bool AttachRecord(fil* f, errtyp* e, WithBuffers buffers = WithBuffers::kYes);

// Takes the record away and frees it, whatever is in it.
void ReleaseRecord(fil* f);

// Reports a failure: resumes the caller at its error context where there is one, else answers
// `value`. No frame up to the caller's may hold an object that must be destroyed.
int Fail(errtyp* context, int value);

// A failure is latched in a stream that is being written. A move would clear it: those that the
// caller has not asked for must not be made then.
inline bool HasFailedWriting(const fil* f) {
    return f->sys != nullptr && (f->sys->mode & kFilModeWrite) != 0 && f->sys->error != noErr;
}

// filsavtail; where `like` names a file, nobody may use the file that is created who may not use
// that one.
int SaveTailLike(fil* f, int how, unsigned int typeId, const filref* like);

// True when the stream is open in the given mode; otherwise says so through `debug`.
bool CheckOpen(const fil* f, unsigned short mode);

}  // namespace Ondrel

#endif
