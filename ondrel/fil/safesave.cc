// Safe save: temporary files under names of their own, and the flush.
#include "ondrel/fil/safesave.h"

#include <algorithm>
#include <cstdio>

#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Process.h"
#include "ondrel/fil/record.h"
#include "ondrel/fil/temporaryname.h"
#include "ondrel/fil/transfers.h"
#include "ondrel/filref/operations.h"
#include "ondrel/platform/Bundle.h"

namespace Ondrel {
namespace {

FourCC ApplicationCreator() {
    FourCC type = 0;
    FourCC creator = 0;
    GetMainBundlePackageInfo(&type, &creator);
    return creator;
}

// The folder to save to; a platform error code.
short FindFolder(const filref* given, filref& folder) {
    if (given != nullptr && given->path != nullptr && given->path[0] != '\0') {
        folder = *given;
        return folder.path == nullptr ? memFullErr : noErr;
    }
    FileSpec spec;
    const OSErr code = FileSupport::GetPredefinedFolder(spec, FileSupport::kTemporaryItems, true);
    if (code != noErr) return code;
    return folder.convertFromFileSpec(spec) == 0 ? noErr : memFullErr;
}

// Makes `name` in the folder the record's path; a platform error code.
short SetName(sysinfrec* sys, const filref& folder, const char* name) {
    filref target;
    if (filrefnew(&target, &folder, name, true) != 0) return memFullErr;
    return sys->setFilref(target, 0) == 0 ? noErr : fnfErr;
}

bool IsTaken(const sysinfrec* sys) {
    FileSpec spec;
    sys->getFileSpec(spec);
    return spec.DoesExist();
}

// Makes a name that is not taken the record's path; the clock brings the next one.
short SetFreeName(sysinfrec* sys, const filref& folder) {
    static const FourCC signature = ApplicationCreator();
    for (;;) {
        char name[kTemporaryNameSize];
        FormatTemporaryName(signature, Clock::Ticks(), name);
        if (const short code = SetName(sys, folder, name); code != noErr) return code;
        if (!IsTaken(sys)) return noErr;
    }
}

short PlaceRecord(sysinfrec* sys, const filref* given, const char* name) {
    filref folder;
    if (const short code = FindFolder(given, folder); code != noErr) return code;
    return name != nullptr ? SetName(sys, folder, name) : SetFreeName(sys, folder);
}

short FlushToDisk(const fil* f) {
    return OrMemFull([&] {
        FileSpec spec;
        f->GetFileSpec(spec);
        return FSFlushFile(spec);
    });
}

int FailFlush(fil* f) {
    f->count = 0;
    return Fail(f->sys->errorContext, -1);
}

}  // namespace

void FormatTemporaryName(FourCC signature, unsigned int ticks, char* name) {
    char prefix[5];
    for (int i = 0; i < 4; ++i) {
        const auto byte = static_cast<unsigned char>(signature >> (24 - 8 * i));
        const bool keep = byte >= 33 && byte <= 126 && byte != ':';
        prefix[i] = keep ? static_cast<char>(byte) : '?';
    }
    prefix[4] = '\0';
    std::snprintf(name, kTemporaryNameSize, "%s%u Temp", prefix, ticks);
}

int filsavtem(fil* f, errtyp* e, const filref* folder, unsigned int typeId, const char* name) {
    if (!AttachRecord(f, e)) return Fail(e, -1);
    f->sys->error = OrMemFull([&] { return PlaceRecord(f->sys, folder, name); });
    if (f->sys->error != noErr) return Fail(e, -1);
    // Nobody sees a new version who may not see the document.
    if (name != nullptr) return SaveTailLike(f, 1, typeId, folder);
    const int result = SaveTailLike(f, 0, typeId, folder);
    // Nobody will look for a made-up name: the folder is flushed when the file gets a lasting one.
    if (result == 0) (void)FSMarkForkTemporary(f->sys->forkRef);
    return result;
}

int filflu(fil* f) {
    if (!CheckOpen(f, kFilModeWrite)) return -1;
    sysinfrec* const sys = f->sys;
    if (sys->error != noErr) return Fail(sys->errorContext, -1);
    const Side here = Side::Writing(f);
    const Side other = here.Other();
    const int filled = static_cast<int>(f->cursor - here.Start());
    sys->tailLength = std::max(sys->tailLength, filled);
    const bool untouched = sys->tailLength < 1 && other.Position() == kFilNoPosition;
    sys->error = other.TakeResult();
    if (sys->tailLength > 0) {
        other.Position() = here.Position() + filled;
        here.StartWrite(sys->tailLength);
        if (sys->error == noErr) sys->error = here.TakeResult();
        f->count = kFilBufferSize;
        f->cursor = other.Start();
        sys->tailLength = 0;
    }
    if (!untouched) {
        const short code = FlushToDisk(f);
        if (sys->error == noErr) sys->error = code;
    }
    return sys->error == noErr ? 0 : FailFlush(f);
}

}  // namespace Ondrel
