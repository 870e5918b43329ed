// The stream's position: where it is, and the slow path of moves, within and between the buffers.
#include <algorithm>

#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"

namespace Ondrel {
namespace {

// How far before its target a jump begins to load, so that short moves back stay in the buffer, and
// the multiple that it begins at.
constexpr int kLoadBefore = 2048;
constexpr int kLoadAlignment = 512;

int FailMove(fil* f, short code, int value) {
    f->sys->error = code;
    f->count = 0;
    return Fail(f->sys->errorContext, value);
}

void Place(fil* f, Side side, int offset, int count) {
    f->cursor = side.Start() + offset;
    f->count = count;
}

// To the start of the file: the buffer that holds it, or will, becomes the next one.
int Rewind(fil* f, Side here) {
    const Side other = here.Other();
    const bool pristine = here.Position() == kFilNoPosition;
    if (pristine && other.Position() == 0 && !other.HasFailed()) return 0;
    other.Settle();
    if (here.Position() != 0 || here.HasFailed() || here.Valid() < 1) {
        here.Position() = 0;
        here.StartRead();
    }
    other.Position() = kFilNoPosition;
    f->count = 0;
    f->cursor = other.IsSecond() ? other.End() : other.Start();
    return 0;
}

// Loads the target's surroundings into the current buffer. The read-ahead of the other is useless
// now.
int Jump(fil* f, Side here, int position) {
    const Side other = here.Other();
    other.Settle();
    const int from = position < kLoadBefore ? 0 : (position - kLoadBefore) & -kLoadAlignment;
    here.Position() = from;
    here.StartRead();
    const short result = here.Wait();
    other.Position() = NextPosition(from);
    other.StartRead();
    Place(f, here, position - from, here.Valid() - (position - from));
    f->sys->error = result;
    if (result == noErr || (result == eofErr && f->count >= 0)) return 0;
    return FailMove(f, result, result == eofErr ? -3 : -1);
}

// Out of the buffer, or to where nothing is.
[[gnu::noinline]] int MoveReadingFar(fil* f, int position) {
    const Side here = Side::Reading(f);
    if (position < 0) return FailMove(f, posErr, -1);
    return position == 0 ? Rewind(f, here) : Jump(f, here, position);
}

// After a failed read-ahead a move starts it again.
[[gnu::noinline]] int ReadOtherAgain(const fil* f) {
    Side::Reading(f).Other().StartRead();
    return 0;
}

// Within one of the buffers. A move to the buffer's own start would leave the
// cursor where the other buffer ends, and one that has no position has none before `position`.
inline int MoveReading(fil* f, int position, int start, unsigned char* buffer,
                       const FSForkIOParam& request, const FSForkIOParam& other) {
    if (request.ioResult != noErr && request.ioResult != eofErr) return MoveReadingFar(f, position);
    const int valid = static_cast<int>(request.actualCount);
    if (position <= start || position - start > valid) return MoveReadingFar(f, position);
    f->cursor = buffer + (position - start);
    f->count = valid - (position - start);
    if (other.ioResult < 0 && other.ioResult != eofErr) [[unlikely]]
        return ReadOtherAgain(f);
    return 0;
}

int MoveReading(fil* f, int position) {
    sysinfrec* const sys = f->sys;
    return f->cursor > sys->buffer2 ? MoveReading(f, position, sys->position2, sys->buffer2,
                                                  sys->request2, sys->request1)
                                    : MoveReading(f, position, sys->position1, sys->buffer1,
                                                  sys->request1, sys->request2);
}

bool HasPosition(const fil* f) {
    return f->sys != nullptr && (f->sys->mode & (kFilModeRead | kFilModeWrite)) != 0;
}

// Also for who reads and writes neither.
[[gnu::noinline]] int MoveWriting(fil* f, int position) {
    if (!HasPosition(f)) return -1;
    sysinfrec* const sys = f->sys;
    sys->error = noErr;
    const Side here = Side::Writing(f);
    sys->tailLength = std::max(sys->tailLength, static_cast<int>(f->cursor - here.Start()));
    if (position < 0 || position == kFilNoPosition) return FailMove(f, posErr, -1);
    if (here.Position() <= position && position - here.Position() <= sys->tailLength) {
        const int offset = position - here.Position();
        Place(f, here, offset, kFilBufferSize - offset);
        return 0;
    }
    const Side other = here.Other();
    const short result = other.TakeResult();
    here.StartWrite(sys->tailLength);
    other.Position() = position;
    Place(f, other, 0, kFilBufferSize);
    sys->tailLength = 0;
    return result == noErr ? 0 : FailMove(f, result, -1);
}

// As in blocks.cc.
[[gnu::used]] int (*const kMove)(fil*, int) = filpos;

}  // namespace

int filpos(fil* f) {
    if (!HasPosition(f)) return -1;
    const bool writing = (f->sys->mode & kFilModeWrite) != 0;
    const Side here = writing ? Side::Writing(f) : Side::Reading(f);
    if (here.Position() == kFilNoPosition) return 0;
    return here.Position() + static_cast<int>(f->cursor - here.Start());
}

int filpossub(fil* f, int position) {
    sysinfrec* const sys = f->sys;
    if (sys != nullptr && (sys->mode & kFilModeRead) != 0) [[likely]] {
        sys->error = noErr;
        return MoveReading(f, position);
    }
    return MoveWriting(f, position);
}

int filgetsiz(fil* f) {
    if (HasFailedWriting(f)) return Fail(f->sys->errorContext, -1);
    const int remembered = filpos(f);
    (void)filpos(f, 0);
    if (HasFailedWriting(f)) return -1;
    const int size = filgeteof(f);
    (void)filpos(f, remembered);
    return size;
}

}  // namespace Ondrel
