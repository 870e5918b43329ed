// The transfers of a stream's two buffers.
#include "ondrel/fil/transfers.h"

#include <algorithm>

namespace Ondrel {
namespace {

// The fork's size, asked for once; a size that cannot be had stays unknown.
void LearnForkSize(sysinfrec* sys) {
    std::int64_t size = 0;
    if (FSGetForkSize(sys->forkRef, &size) == noErr)
        sys->forkSize = static_cast<int>(std::min<std::int64_t>(size, kFilNoPosition));
}

bool LiesBehindEnd(const sysinfrec* sys, int position) {
    return sys->forkSize >= 0 && position > sys->forkSize;
}

void Prepare(sysinfrec* sys, FSForkIOParam* request, unsigned short mode, int position,
             const unsigned char* buffer, int length) {
    request->ioCompletion = nullptr;
    request->forkRefNum = sys->forkRef;
    request->positionMode = mode;
    request->positionOffset = position;
    request->requestCount = static_cast<std::size_t>(std::max(length, 0));
    request->actualCount = 0;
    request->buffer = const_cast<unsigned char*>(buffer);  // a write only reads it
}

void Read(sysinfrec* sys, FSForkIOParam* request, int position, unsigned char* buffer, int length) {
    const bool buffered = (sys->mode & kFilModeRead) != 0;
    if (buffered && sys->forkSize < 0) LearnForkSize(sys);
    if (buffered && LiesBehindEnd(sys, position)) {
        request->actualCount = 0;
        request->ioResult = eofErr;
        return;
    }
    Prepare(sys, request, fsFromStart, position, buffer, length);
    request->readAhead = buffered;
    (void)PBReadForkAsync(request);
}

void Write(sysinfrec* sys, FSForkIOParam* request, int position, const unsigned char* buffer,
           int length) {
    Prepare(sys, request, fsFromStart | pleaseSpareCacheMask, position, buffer, length);
    (void)PBWriteForkAsync(request);
}

short Wait(const sysinfrec* sys, FSForkIOParam* request, int position) {
    if (LiesBehindEnd(sys, position)) return eofErr;
    return PBWaitFork(request);
}

}  // namespace

void read1(sysinfrec* sys, unsigned char* buffer, int length) {
    Read(sys, &sys->request1, sys->position1, buffer, length);
}

void read2(sysinfrec* sys, unsigned char* buffer, int length) {
    Read(sys, &sys->request2, sys->position2, buffer, length);
}

void write1(sysinfrec* sys, const unsigned char* buffer, int length) {
    Write(sys, &sys->request1, sys->position1, buffer, length);
}

void write2(sysinfrec* sys, const unsigned char* buffer, int length) {
    if (length < 1)
        sys->request2.ioResult = noErr;
    else
        Write(sys, &sys->request2, sys->position2, buffer, length);
}

short wait1(sysinfrec* sys) {
    return Wait(sys, &sys->request1, sys->position1);
}

short wait2(sysinfrec* sys) {
    return Wait(sys, &sys->request2, sys->position2);
}

void Side::StartRead() const {
    if (second_)
        read2(sys_, sys_->buffer2, kFilBufferSize);
    else
        read1(sys_, sys_->buffer1, kFilBufferSize);
}

void Side::StartWrite(int length) const {
    if (second_)
        write2(sys_, sys_->buffer2, length);
    else
        write1(sys_, sys_->buffer1, length);
}

void Side::WriteStraight(const unsigned char* bytes, int length) const {
    Write(sys_, &Request(), Position(), bytes, length);
    (void)PBWaitFork(&Request());
}

bool Side::ReadStraight(unsigned char* bytes, int length) const {
    FSForkIOParam& request = Request();
    const int position = Position();
    if (request.ioResult != kRequestInProgress || sys_->forkSize < 0 || position > sys_->forkSize ||
        length > sys_->forkSize - position)
        return false;
    Settle();
    Prepare(sys_, &request, fsFromStart, position, bytes, length);
    request.readAhead = false;
    (void)PBReadForkAsync(&request);
    if (PBWaitFork(&request) != noErr) {
        StartRead();
        return false;
    }
    request.actualCount = 0;
    Position() = position + length - kFilBufferSize;
    return true;
}

short Side::TakeResult() const {
    const short result = Wait();
    Request().ioResult = noErr;
    return result;
}

void Side::Settle() const {
    PBDropFork(&Request());
}

}  // namespace Ondrel
