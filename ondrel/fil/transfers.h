// The transfers of a stream's two buffers, and a buffer with all that belongs to it. Internal to
// fil/.
//
// At most one transfer is under way per buffer, on its own request, at its own position in the
// fork. A buffer is touched only when its transfer has been waited for.
#ifndef ONDREL_FIL_TRANSFERS_H
#define ONDREL_FIL_TRANSFERS_H

#include "ondrel/fil/fil.h"

namespace Ondrel {

// Start a read of `length` bytes to `buffer`. On a buffered stream it may be put off until it is
// waited for, and nothing is issued behind the end of the fork.
void read1(sysinfrec* sys, unsigned char* buffer, int length);
void read2(sysinfrec* sys, unsigned char* buffer, int length);

// Start a write. A length of 0 is issued by the first and not by the second.
void write1(sysinfrec* sys, const unsigned char* buffer, int length);
void write2(sysinfrec* sys, const unsigned char* buffer, int length);

// Wait for the transfer and answer its result; -39 at once for a position known to lie behind the
// end.
short wait1(sysinfrec* sys);
short wait2(sysinfrec* sys);

// One of the two buffers, or the other.
class Side {
 public:
    // The buffer that is being consumed: a cursor between the two stands at the end of buffer 1.
    static Side Reading(const fil* f) { return Side(f->sys, f->cursor > f->sys->buffer2); }

    // The buffer that is being filled: full buffers are left at once, so that a cursor between the
    // two stands at the start of buffer 2.
    static Side Writing(const fil* f) { return Side(f->sys, f->cursor >= f->sys->buffer2); }

    Side Other() const { return Side(sys_, !second_); }

    bool IsSecond() const { return second_; }
    int& Position() const { return second_ ? sys_->position2 : sys_->position1; }
    unsigned char* Start() const { return second_ ? sys_->buffer2 : sys_->buffer1; }
    unsigned char* End() const { return Start() + kFilBufferSize; }

    void StartRead() const;
    void StartWrite(int length) const;

    // Writes bytes of the caller's in place of the buffer's, at its position. They are no longer
    // needed afterwards; the result is met as any write's is.
    void WriteStraight(const unsigned char* bytes, int length) const;

    // Reads at the buffer's position into the caller's memory, if nothing has been read for the
    // buffer yet and the fork has so many bytes. The buffer then stands as one consumed to its end,
    // without a valid byte. False: not possible, or failed, and everything is as it was.
    bool ReadStraight(unsigned char* bytes, int length) const;
    short Wait() const { return second_ ? wait2(sys_) : wait1(sys_); }

    // Waits, and forgets the result, so that a failure is met once.
    short TakeResult() const;

    // Makes sure that no transfer is under way; one that was put off is dropped.
    void Settle() const;

    // The bytes that the last read brought, 0 while it is under way or after it failed.
    int Valid() const {
        const short result = Request().ioResult;
        if (Position() == kFilNoPosition || (result != noErr && result != eofErr)) return 0;
        return static_cast<int>(Request().actualCount);
    }

    // The last transfer failed otherwise than by meeting the end of the fork.
    bool HasFailed() const {
        const short result = Request().ioResult;
        return result != noErr && result != eofErr && result != kRequestInProgress;
    }

 private:
    Side(sysinfrec* sys, bool second) : sys_(sys), second_(second) {}
    FSForkIOParam& Request() const { return second_ ? sys_->request2 : sys_->request1; }

    sysinfrec* sys_;
    bool second_;
};

// The position behind a buffer's worth of bytes at `position`; none when it cannot be expressed.
inline int NextPosition(int position) {
    return position < kFilNoPosition - kFilBufferSize ? position + kFilBufferSize : kFilNoPosition;
}

}  // namespace Ondrel

#endif
