// Blocks of bytes, the end-of-file test and the size on disk. A block that is no shorter than a
// buffer passes the buffers by where they are empty: one transfer between the file and the caller's
// memory.
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

// The buffer that is being read is used up. Reads `n` bytes straight into the caller's memory, from
// where the other buffer would have been read, which is as it would be behind them.
bool ReadStraight(fil* f, unsigned char* dst, int n) {
    if (f->sys->error != noErr || f->count != 0) return false;
    const Side used = Side::Reading(f);
    const Side fresh = used.Other();
    if (!fresh.ReadStraight(dst, n)) return false;
    used.Position() = fresh.Position() + kFilBufferSize;
    used.StartRead();
    f->cursor = fresh.End();
    return true;
}

// Whether `n` bytes can be written straight: the buffer is empty, and the position behind them is
// one that can be expressed.
bool TakesStraight(const fil* f, int n) {
    if (n < kFilBufferSize || f->sys->error != noErr) return false;
    const Side here = Side::Writing(f);
    return f->cursor == here.Start() && here.Position() < kFilNoPosition - kFilBufferSize - n;
}

// As full buffers are written, but from the caller's memory: the failure of the last one is met
// when the next one is full, that of an earlier one here.
int WriteStraight(fil* f, const unsigned char* src, int n) {
    sysinfrec* const sys = f->sys;
    const Side full = Side::Writing(f);
    const Side fresh = full.Other();
    sys->error = fresh.TakeResult();
    fresh.Position() = full.Position() + n;
    f->cursor = fresh.Start();
    f->count = kFilBufferSize;
    sys->tailLength = 0;
    full.WriteStraight(src, n);
    if (sys->error == noErr && n >= 2 * kFilBufferSize) sys->error = full.TakeResult();
    if (sys->error == noErr) return 0;
    f->count = 0;
    return Fail(sys->errorContext, -1);
}

// Programs that were built when these were no inline functions find them here: their addresses are
// taken, so that the library has them.
[[gnu::used]] int (*const kRead)(fil*, unsigned char*, int) = filrea;
[[gnu::used]] int (*const kWrite)(fil*, const unsigned char*, int) = filwri;

}  // namespace

int filreasub(fil* f, unsigned char* dst, int n) {
    if (!CheckOpen(f, kFilModeRead) || n < 0) return -1;
    while (n > f->count) {
        const int left = f->count > 0 ? f->count : 0;
        if (left > 0) TakeBytes(f, dst, left);
        dst += left;
        n -= left;
        if (n >= kFilBufferSize && ReadStraight(f, dst, n)) return 0;
        // The slow path switches buffers and consumes a byte, which is given back.
        f->count = -1;
        if (const int byte = filrea8sub(f); byte < 0) return byte;
        ++f->count;
        --f->cursor;
    }
    if (n > 0) TakeBytes(f, dst, n);
    return 0;
}

int filwrisub(fil* f, const unsigned char* src, int n) {
    if (!CheckOpen(f, kFilModeWrite) || n < 0) return -1;
    if (n == 0) return 0;
    if (f->count < 1) return Fail(f->sys->errorContext, -1);  // latched, and nothing free
    while (n >= f->count) {
        if (TakesStraight(f, n)) return WriteStraight(f, src, n);
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
