// Opening: the entry points differ only in how they fill in the path of the file and what may stand
// at it; the tail functions do the rest.
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"

namespace Ondrel {
namespace {

// What filsavtail does with the name before it opens the fork.
enum : int { kCreate = 0, kDeleteAndCreate = 1, kKeep = 2 };

int FailOpening(sysinfrec* sys, short code) {
    sys->error = code;
    return Fail(sys->errorContext, code == opWrErr || code == permErr ? -3 : -1);
}

int OpenResolved(fil* f) {
    // An alias that cannot be resolved is opened itself; without memory nobody knows what it is.
    const bool isKnown = f->sys->resolveAlias() != memFullErr;
    const int result = isKnown ? filopetail(f, 0) : FailOpening(f->sys, memFullErr);
    if (result != 0) ReleaseRecord(f);
    return result;
}

short SetPath(sysinfrec* sys, const FileSpec& spec) {
    return OrMemFull([&] {
        sys->setFileSpec(spec);
        return noErr;
    });
}

// Deletes and creates as `how` says; a platform error code.
short PrepareFile(const sysinfrec* sys, int how, unsigned int typeId, const filref* like) {
    return OrMemFull([&] {
        FileSpec spec;
        FileSpec other;
        sys->getFileSpec(spec);
        if (like != nullptr) (void)like->convertToFileSpec(other);
        FileSpecFunctions functions;
        if (how != kCreate && spec.DoesExist() && !functions.DeleteFile(spec, false))
            return functions.errorCode;
        (void)functions.CreateFileLike(spec, GetFileTypeForIdentifier(typeId), other);
        return functions.errorCode;
    });
}

short OpenDataFork(sysinfrec* sys, const FSRef& ref, signed char permission) {
    HFSUniStr255 name;
    if (const short code = FSGetDataForkName(&name); code != noErr) return code;
    return FSOpenFork(&ref, name.length, name.unicode, permission, &sys->forkRef);
}

int FailSaving(sysinfrec* sys, short code) {
    sys->error = code;
    return Fail(sys->errorContext, -1);
}

// An empty file that nobody could write to does not stay behind.
void TakeBack(const sysinfrec* sys) {
    (void)OrMemFull([&] {
        FileSpec spec;
        FileSpecFunctions functions;
        sys->getFileSpec(spec);
        (void)functions.DeleteFile(spec, false);
        return functions.errorCode;
    });
}

// The fork of the file that stands at the path.
short OpenFork(sysinfrec* sys, signed char permission) {
    FSRef ref;
    const short code = sys->getFSRef(ref);
    return code == noErr ? OpenDataFork(sys, ref, permission) : code;
}

}  // namespace

int filope(fil* f, errtyp* e, const filref& ref) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    const int result = f->sys->setFilref(ref, filRefResolve);
    lasterror = static_cast<short>(result);
    f->sys->error = static_cast<short>(result);
    if (result != 0) return Fail(e, -1);
    return OpenResolved(f);
}

int openFile(fil* f, errtyp* e, const FileSpec& spec) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    const short code = SetPath(f->sys, spec);
    return code == noErr ? OpenResolved(f) : FailSaving(f->sys, code);
}

int filopetail(fil* f, int readWrite) {
    sysinfrec* const sys = f->sys;
    sys->forkSize = -1;
    FSRef ref;
    // A missing file is an everyday answer and not raised.
    short code = sys->getFSRef(ref);
    if (code == fnfErr) return code;
    if (code == noErr) code = OpenDataFork(sys, ref, readWrite != 0 ? fsRdWrPerm : fsRdPerm);
    if (code != noErr) return FailOpening(sys, code);
    sys->resourceRef = 0;
    sys->mode = kFilModeRead;
    sys->error = noErr;
    sys->position1 = 0;
    sys->position2 = kFilNoPosition;
    read1(sys, sys->buffer1, kFilBufferSize);
    // Buffer 2 counts as consumed, so that the first read switches to buffer 1.
    f->cursor = sys->buffer2 + kFilBufferSize;
    return 0;
}

int filsav(fil* f, errtyp* e, const filref* ref, unsigned int typeId) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    const int result = ref == nullptr ? -1 : f->sys->setFilref(*ref, filRefResolve);
    f->sys->error = static_cast<short>(result);
    if (result != 0 && result != fnfErr) return Fail(e, -1);
    return filsavtail(f, result == 0 ? kDeleteAndCreate : kCreate, typeId);
}

int saveFile(fil* f, errtyp* e, const FileSpec& spec, unsigned int typeId) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    if (const short code = SetPath(f->sys, spec); code != noErr) return FailSaving(f->sys, code);
    return filsavtail(f, kDeleteAndCreate, typeId);
}

int filsavmod(fil* f, errtyp* e, const filref& ref) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    const int result = f->sys->setFilref(ref, filRefResolve);
    f->sys->error = static_cast<short>(result);
    if (result != 0) return Fail(e, -1);
    return filsavtail(f, kKeep, 0);
}

int filsavtail(fil* f, int how, unsigned int typeId) {
    return SaveTailLike(f, how, typeId, nullptr);
}

int SaveTailLike(fil* f, int how, unsigned int typeId, const filref* like) {
    sysinfrec* const sys = f->sys;
    if (how != kKeep) {
        const short code = PrepareFile(sys, how, typeId, like);
        if (code != noErr) return FailSaving(sys, code);
    }
    // A link in the place of a file just made was put there by somebody else.
    const signed char permission = how == kKeep ? fsWrPerm : fsWrPerm | fsItselfPerm;
    if (const short code = OpenFork(sys, permission); code != noErr) {
        if (how != kKeep) TakeBack(sys);
        return FailSaving(sys, code);
    }
    sys->resourceRef = 0;
    sys->forkSize = -1;
    sys->mode = kFilModeWrite;
    sys->error = noErr;
    sys->position1 = 0;
    sys->position2 = kFilNoPosition;
    sys->tailLength = 0;
    f->count = kFilBufferSize;
    f->cursor = sys->buffer1;
    return 0;
}

}  // namespace Ondrel
