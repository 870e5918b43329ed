// The slow paths of the 8-, 16- and 32-bit values: entered once per buffer, with `count` already
// decreased by the width.
#include "ondrel/fil/record.h"
#include "ondrel/fil/transfers.h"

namespace Ondrel {
namespace {

int FailReading(const fil* f) {
    return Fail(f->sys->errorContext, f->sys->error == eofErr ? -3 : -1);
}

// One byte for which `count` has been decreased.
int TakeByte(fil* f) {
    return f->count >= 0 ? *f->cursor++ : filrea8sub(f);
}

int TakeNextByte(fil* f) {
    --f->count;
    return TakeByte(f);
}

int PutByte(fil* f, int value) {
    if (f->count < 1) return filwri8sub(f, value);
    *f->cursor++ = static_cast<unsigned char>(value);
    return 0;
}

int PutNextByte(fil* f, int value) {
    --f->count;
    return PutByte(f, value);
}

// The buffer is full: writes it and goes on in the other one, whose own write it waits for. A
// failure belongs to that write, issued one buffer ago.
int SwitchAfterWriting(fil* f, Side full) {
    const Side fresh = full.Other();
    sysinfrec* const sys = f->sys;
    sys->error = fresh.TakeResult();
    fresh.Position() = NextPosition(full.Position());
    f->cursor = fresh.Start();
    f->count = kFilBufferSize;
    sys->tailLength = 0;
    full.StartWrite(kFilBufferSize);
    if (sys->error == noErr) return 0;
    f->count = 0;
    return Fail(sys->errorContext, -1);
}

}  // namespace

int filrea8sub(fil* f) {
    if (!CheckOpen(f, kFilModeRead)) {
        ++f->count;
        return -1;
    }
    sysinfrec* const sys = f->sys;
    if (sys->error != noErr) {
        ++f->count;
        return FailReading(f);
    }
    const Side used = Side::Reading(f);
    const Side fresh = used.Other();
    sys->error = fresh.Wait();
    const int arrived = fresh.Valid();
    if (arrived < 1) {
        // The cursor stays at the end of what was read, so that the position reported is right.
        if (sys->error == noErr) sys->error = eofErr;
        f->count = 0;
        return FailReading(f);
    }
    used.Position() = NextPosition(fresh.Position());
    used.StartRead();
    f->count = arrived - 1;
    f->cursor = fresh.Start() + 1;
    return *fresh.Start();
}

int filrea16sub(fil* f) {
    f->count += 1;
    const int high = TakeByte(f);
    if (high < 0) return high;
    const int low = TakeNextByte(f);
    return low < 0 ? low : high << 8 | low;
}

int filrea32sub(fil* f) {
    f->count += 3;
    int byte = TakeByte(f);
    if (byte < 0) return byte;
    auto value = static_cast<unsigned int>(byte);
    for (int i = 1; i < 4; ++i) {
        byte = TakeNextByte(f);
        if (byte < 0) return byte;
        value = value << 8 | static_cast<unsigned int>(byte);
    }
    return static_cast<int>(value);
}

int filwri8sub(fil* f, int value) {
    if (!CheckOpen(f, kFilModeWrite)) {
        ++f->count;
        return -1;
    }
    sysinfrec* const sys = f->sys;
    const Side here = Side::Writing(f);
    // The byte that would end at a position that cannot be expressed is refused.
    const bool last = here.End() - f->cursor <= 1;
    if (sys->error == noErr && last && NextPosition(here.Position()) == kFilNoPosition) {
        sys->error = posErr;
        f->count = -1;
    }
    if (sys->error != noErr) {
        ++f->count;
        return Fail(sys->errorContext, -1);
    }
    *f->cursor++ = static_cast<unsigned char>(value);
    if (!last) {  // called with room left: what is not filled must not be written
        f->count = static_cast<int>(here.End() - f->cursor);
        return 0;
    }
    return SwitchAfterWriting(f, here);
}

int filwri16sub(fil* f, int value) {
    f->count += 1;
    const int result = PutByte(f, value >> 8);
    return result < 0 ? result : PutNextByte(f, value);
}

int filwri32sub(fil* f, int value) {
    f->count += 3;
    int result = PutByte(f, value >> 24);
    for (int shift = 16; shift >= 0 && result >= 0; shift -= 8)
        result = PutNextByte(f, value >> shift);
    return result;
}

}  // namespace Ondrel
