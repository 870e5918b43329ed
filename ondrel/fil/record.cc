// The stream's record: making and freeing it, its path and the file that the path names.
#include "ondrel/fil/record.h"

#include <cstddef>
#include <new>
#include <type_traits>

#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Process.h"

namespace Ondrel {

// A record is one block of bytes, which a direct-access stream gets without its end.
static_assert(std::is_trivially_destructible_v<sysinfrec>);
static_assert(offsetof(sysinfrec, buffer2) == offsetof(sysinfrec, buffer1) + kFilBufferSize);

bool AttachRecord(fil* f, errtyp* e, WithBuffers buffers) {
    if (f->sys != nullptr) {
        f->sys->errorContext = nullptr;
        (void)f->Close();
    }
    f->count = 0;
    constexpr std::size_t kHead = offsetof(sysinfrec, buffer1);
    const std::size_t size = buffers == WithBuffers::kYes ? sizeof(sysinfrec) : kHead;
    auto* const block = new (std::nothrow) unsigned char[size];
    if (block == nullptr) {
        lasterror = memFullErr;
        return false;
    }
    for (std::size_t i = 0; i < kHead; ++i)
        block[i] = 0;
    f->sys = reinterpret_cast<sysinfrec*>(block);
    f->sys->forkSize = -1;
    f->sys->errorContext = e;
    return true;
}

void ReleaseRecord(fil* f) {
    delete[] reinterpret_cast<unsigned char*>(f->sys);
    f->sys = nullptr;
}

int Fail(errtyp* context, int value) {
    if (context != nullptr) errgoto(context, value);
    return value;
}

bool CheckOpen(const fil* f, unsigned short mode) {
    if (mode == kFilModeDirect) {
        if (f->sys != nullptr && (f->sys->mode & mode) != 0) return true;
        debug("File not open for direct access.");
        return false;
    }
    if (f->sys == nullptr) {
        debug("File not open.");
        return false;
    }
    if ((f->sys->mode & mode) != 0) return true;
    debug(mode == kFilModeRead ? "File not open for read." : "File not open for write.");
    return false;
}

void sysinfrec::getFileSpec(FileSpec& out) const {
    out = MacPaths::HFSToPOSIX(Uni16String(path)).c_str();
}

short sysinfrec::getFSRef(FSRef& out) const {
    return OrMemFull([&] {
        FileSpec spec;
        getFileSpec(spec);
        const FSRef* const ref = spec;
        if (ref == nullptr) return fnfErr;
        out = *ref;
        return noErr;
    });
}

short sysinfrec::resolveAlias() {
    FSRef ref;
    if (const short code = getFSRef(ref); code != noErr) return code;
    bool isFolder = false;
    bool wasAliased = false;
    const short code = FSResolveAliasFile(&ref, true, &isFolder, &wasAliased);
    if (!wasAliased) return code;
    return OrMemFull([&] {
        const FileSpec target(ref);
        if (!target.DoesExist()) return fnfErr;
        setFileSpec(target);
        return code;
    });
}

void sysinfrec::setFileSpec(const FileSpec& spec) {
    Uni16CharCopy(path, GetFilePath(spec).c_str(), kFilrefSize);
    Uni16CharMakePreComposed(path, kFilrefSize);
}

int sysinfrec::setFilref(const filref& ref, int flags) {
    int result = -1;
    const short code = OrMemFull([&] {
        result = ref.ToUnicode(path, flags, filRefMac);
        return noErr;
    });
    return code == noErr ? result : code;
}

void fil::GetFileSpec(FileSpec& out) const {
    if (sys == nullptr)
        out = FileSpec();
    else
        sys->getFileSpec(out);
}

}  // namespace Ondrel
