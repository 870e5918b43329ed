// Blocks of bytes, the end-of-file test and the size on disk.
#include <cstring>

#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"

namespace Ondrel {
namespace {

void TakeBytes(fil* f, unsigned char* dst, int n) {
    std::memcpy(dst, f->cursor, static_cast<std::size_t>(n));
    f->cursor += n;
    f->count -= n;
}

void PutBytes(fil* f, const unsigned char* src, int n) {
    std::memcpy(f->cursor, src, static_cast<std::size_t>(n));
    f->cursor += n;
    f->count -= n;
}

}  // namespace

int filrea(fil* f, unsigned char* dst, int n) {
    if (!CheckOpen(f, kFilModeRead) || n < 0) return -1;
    while (n > f->count) {
        const int left = f->count > 0 ? f->count : 0;
        if (left > 0) TakeBytes(f, dst, left);
        dst += left;
        n -= left;
        // The slow path switches buffers and consumes a byte, which is given back.
        f->count = -1;
        if (const int byte = filrea8sub(f); byte < 0) return byte;
        ++f->count;
        --f->cursor;
    }
    if (n > 0) TakeBytes(f, dst, n);
    return 0;
}

int filwri(fil* f, const unsigned char* src, int n) {
    if (!CheckOpen(f, kFilModeWrite) || n < 0) return -1;
    if (n == 0) return 0;
    if (f->count < 1) return Fail(f->sys->errorContext, -1);  // latched, and nothing free
    while (n >= f->count) {
        const int room = f->count;
        PutBytes(f, src, room - 1);
        f->count = 0;
        if (const int result = filwri8sub(f, src[room - 1]); result < 0) return result;
        src += room;
        n -= room;
    }
    if (n > 0) PutBytes(f, src, n);
    return 0;
}

bool fileofsub(fil* f) {
    const sysinfrec* const sys = f->sys;
    if (sys == nullptr) return true;
    if ((sys->mode & kFilModeWrite) != 0) return false;
    if (sys->error != noErr || (sys->mode & kFilModeRead) == 0) return true;
    const Side fresh = Side::Reading(f).Other();
    const short result = fresh.Wait();
    return result != noErr && (result != eofErr || fresh.Valid() < 1);
}

int filgeteof(fil* f) {
    std::int64_t size = 0;
    if (f->sys == nullptr || FSGetForkSize(f->sys->forkRef, &size) != noErr) return -1;
    return static_cast<int>(static_cast<std::uint32_t>(size));
}

}  // namespace Ondrel
