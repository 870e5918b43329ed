// Transfers between memory and forks. What the page cache can serve is done inside the call, by one
// system call where the host gives all at once; a read that would have to wait for the disk goes to
// the ring. Resource forks are in memory. Requests move only when their owner calls: no thread of
// the library's works on them.
#include <sys/uio.h>

#include <algorithm>
#include <limits>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/ResourceContent.h"
#include "ondrel/platform/ResourceFile.h"
#include "ondrel/platform/Ring.h"

namespace Ondrel {
namespace Host {
namespace {

// Stages of a request. kFinished is 0, so that a zero-filled request has finished.
constexpr unsigned char kFinished = 0;
constexpr unsigned char kPutOff = 1;    // recorded only
constexpr unsigned char kInKernel = 2;  // in the ring

// One system call moves no more than this; longer transfers are continued.
constexpr std::size_t kMostBytes = 1 << 30;

constexpr std::int64_t kLastPosition = std::numeric_limits<std::int64_t>::max();

// Writes from here on may pass the page cache by. What lies below is read back soon, and giving it
// up costs up to twice the time of the write (docs/performance.md).
constexpr std::int64_t kSpareCacheFrom = 1 << 30;

#ifdef RWF_DONTCACHE
constexpr int kDontCache = RWF_DONTCACHE;
#else
constexpr int kDontCache = 0x80;  // newer than the host's headers
#endif

enum class Patience { kMayLeave, kMustFinish };

bool IsUnsupported(int error) {
    return error == EOPNOTSUPP || error == EINVAL || error == ENOSYS;
}

// --- Finishing ----------------------------------------------------------------------------------

OSErr FinishWithout(FSForkIOParam* request, OSErr code) {
    request->actualCount = 0;
    request->progress.stage = kFinished;
    request->ioResult = code;
    return code;
}

// The end of a read that was under way.
OSErr FinishRead(Fork& fork, FSForkIOParam* request, OSErr code) {
    if (code != noErr && code != eofErr) return FinishWithout(request, code);
    fork.position = request->progress.start + static_cast<std::int64_t>(request->actualCount);
    request->progress.stage = kFinished;
    request->ioResult = code;
    return code;
}

// --- Reading ------------------------------------------------------------------------------------

std::int64_t NextPosition(const FSForkIOParam* request) {
    return request->progress.start + static_cast<std::int64_t>(request->actualCount);
}

// What the next system call shall bring; empty, which meets the end, where positions end.
struct iovec NextPart(const FSForkIOParam* request) {
    const auto room = static_cast<std::size_t>(kLastPosition - NextPosition(request));
    return {static_cast<char*>(request->buffer) + request->actualCount,
            std::min({request->requestCount - request->actualCount, room, kMostBytes})};
}

// Reads the rest, however long that takes.
OSErr ReadPlainly(const Fork& fork, FSForkIOParam* request) {
    while (request->actualCount < request->requestCount) {
        const struct iovec part = NextPart(request);
        const ssize_t size = Retry([&] {
            return syscalls.pread(fork.Fd(), part.iov_base, part.iov_len, NextPosition(request));
        });
        if (size < 0) return LastHostError();
        if (size == 0) return eofErr;
        request->actualCount += static_cast<std::size_t>(size);
    }
    return noErr;
}

// Reads the rest as far as the page cache has it. False: more would have to come from the disk, or
// the file system cannot tell.
bool ReadCached(Fork& fork, FSForkIOParam* request, OSErr* code) {
    while (request->actualCount < request->requestCount) {
        const struct iovec part = NextPart(request);
        const ssize_t size = Retry([&] {
            return syscalls.preadv2(fork.Fd(), &part, 1, NextPosition(request), RWF_NOWAIT);
        });
        if (size > 0) {
            request->actualCount += static_cast<std::size_t>(size);
        } else if (size == 0) {
            // Some kernels give 0 for bytes that are only not cached: the plain call decides.
            *code = ReadPlainly(fork, request);
            return true;
        } else if (errno == EAGAIN) {
            fork.missedCache = true;
            return false;
        } else if (IsUnsupported(errno)) {
            fork.plainReads = true;
            return false;
        } else {
            *code = LastHostError();
            return true;
        }
    }
    fork.missedCache = false;
    *code = noErr;
    return true;
}

OSErr ReadContent(const Fork& fork, FSForkIOParam* request) {
    if (request->requestCount == 0) return noErr;
    const OSErr code = fork.content->Read(request->progress.start, request->buffer,
                                          request->requestCount, &request->actualCount);
    if (code != noErr) return code;
    return request->actualCount < request->requestCount ? eofErr : noErr;
}

// Reads what a request still lacks, or leaves it to the kernel.
OSErr ReadOn(Fork& fork, FSForkIOParam* request, Patience patience) {
    if (fork.content != nullptr) return FinishRead(fork, request, ReadContent(fork, request));
    OSErr code = noErr;
    if (!fork.plainReads && ReadCached(fork, request, &code))
        return FinishRead(fork, request, code);
    if (patience == Patience::kMayLeave && !fork.plainReads && RingRead(fork.Fd(), request)) {
        ++fork.inKernel;
        request->progress.stage = kInKernel;
        request->ioResult = kRequestInProgress;
        return noErr;
    }
    return FinishRead(fork, request, ReadPlainly(fork, request));
}

// Goes on with the kernel's answer. What the ring could not do, and the end of the fork, is for the
// plain call to say.
OSErr TakeIn(Fork& fork, FSForkIOParam* request, int answer, Patience patience) {
    --fork.inKernel;
    if (answer <= 0) return FinishRead(fork, request, ReadPlainly(fork, request));
    request->actualCount += static_cast<std::size_t>(answer);
    if (request->actualCount >= request->requestCount) return FinishRead(fork, request, noErr);
    return ReadOn(fork, request, patience);
}

// --- Checking requests --------------------------------------------------------------------------

enum class Direction { kRead, kWrite };

// Whether a transfer can begin, and where.
OSErr Check(const Fork* fork, Direction direction, unsigned short mode, std::int64_t offset,
            std::size_t count, const void* buffer, std::int64_t* start) {
    if (fork == nullptr) return rfNumErr;
    if (!(direction == Direction::kRead ? fork->facts.mayRead : fork->facts.mayWrite))
        return permErr;
    if (buffer == nullptr && count != 0) return paramErr;
    return ForkPosition(*fork, mode, offset, start);
}

OSErr Begin(Fork* fork, Direction direction, FSForkIOParam* request) {
    if (request->progress.stage == kInKernel) PBDropFork(request);
    if (request->ioCompletion != nullptr) return paramErr;
    std::int64_t start = 0;
    const OSErr code = Check(fork, direction, request->positionMode, request->positionOffset,
                             request->requestCount, request->buffer, &start);
    if (code != noErr) return code;
    request->actualCount = 0;
    request->progress.start = start;
    request->progress.serial = fork->serial;
    return noErr;
}

// The fork of a request that was begun, or null when it was closed since.
Fork* ForkOf(const FSForkIOParam* request) {
    Fork* const fork = FindFork(request->forkRefNum);
    return fork != nullptr && fork->serial == request->progress.serial ? fork : nullptr;
}

// A read that was put off.
OSErr ReadNow(FSForkIOParam* request, Patience patience) {
    Fork* const fork = ForkOf(request);
    if (fork == nullptr) return FinishWithout(request, rfNumErr);
    return ReadOn(*fork, request, patience);
}

// --- Writing ------------------------------------------------------------------------------------

ssize_t WriteSome(Fork& fork, const char* bytes, std::size_t size, std::int64_t position,
                  bool spareCache) {
    if (spareCache && position >= kSpareCacheFrom && !fork.plainWrites) {
        const struct iovec part { const_cast<char*>(bytes), size };
        const ssize_t written =
            Retry([&] { return syscalls.pwritev2(fork.Fd(), &part, 1, position, kDontCache); });
        if (written >= 0 || !IsUnsupported(errno)) return written;
        fork.plainWrites = true;
    }
    return Retry([&] { return syscalls.pwrite(fork.Fd(), bytes, size, position); });
}

OSErr WriteContent(Fork& fork, const char* bytes, std::size_t size, std::int64_t start,
                   std::size_t* done) {
    const OSErr code = fork.content->Write(start, bytes, size);
    if (code != noErr) return code;
    *done = size;
    fork.position = start + static_cast<std::int64_t>(size);
    return noErr;
}

// Writes until all has arrived or a call fails; `*done` is what arrived.
OSErr WriteOn(Fork& fork, const char* bytes, std::size_t size, std::int64_t start, bool spareCache,
              std::size_t* done) {
    if (fork.content != nullptr) return WriteContent(fork, bytes, size, start, done);
    if (size > static_cast<std::size_t>(kLastPosition - start)) return dskFulErr;
    OSErr code = noErr;
    while (*done < size && code == noErr) {
        const ssize_t written = WriteSome(fork, bytes + *done, std::min(size - *done, kMostBytes),
                                          start + static_cast<std::int64_t>(*done), spareCache);
        fork.unflushed = true;
        if (written > 0)
            *done += static_cast<std::size_t>(written);
        else
            code = written < 0 ? LastHostError() : ioErr;
    }
    if (*done > 0 || code == noErr) fork.position = start + static_cast<std::int64_t>(*done);
    return code;
}

}  // namespace

void FinishReads(short number) {
    const Fork* const fork = FindFork(number);
    while (fork != nullptr && fork->inKernel > 0) {
        FSForkIOParam* const request = RingRequestOf(number);
        if (request == nullptr) return;
        (void)PBWaitFork(request);
    }
}

}  // namespace Host

using namespace Host;

OSErr FSWriteFork(short forkRefNum, unsigned short positionMode, std::int64_t positionOffset,
                  std::size_t requestCount, const void* buffer, std::size_t* actualCount) {
    Fork* const fork = FindFork(forkRefNum);
    std::int64_t start = 0;
    OSErr code =
        Check(fork, Direction::kWrite, positionMode, positionOffset, requestCount, buffer, &start);
    std::size_t done = 0;
    if (code == noErr)
        code = WriteOn(*fork, static_cast<const char*>(buffer), requestCount, start,
                       (positionMode & pleaseSpareCacheMask) != 0, &done);
    if (actualCount != nullptr) *actualCount = done;
    return code;
}

OSErr PBReadForkAsync(FSForkIOParam* request) {
    if (request == nullptr) return paramErr;
    Fork* const fork = FindFork(request->forkRefNum);
    if (const OSErr code = Begin(fork, Direction::kRead, request); code != noErr)
        return FinishWithout(request, code);
    if (!request->readAhead || fork->content != nullptr)
        return ReadOn(*fork, request, Patience::kMayLeave);

    request->progress.stage = kPutOff;
    request->ioResult = kRequestInProgress;
    if (fork->missedCache && !fork->plainReads)
        (void)syscalls.fadvise(fork->Fd(), request->progress.start,
                               static_cast<off_t>(request->requestCount), POSIX_FADV_WILLNEED);
    return noErr;
}

OSErr PBWriteForkAsync(FSForkIOParam* request) {
    if (request == nullptr) return paramErr;
    Fork* const fork = FindFork(request->forkRefNum);
    if (const OSErr code = Begin(fork, Direction::kWrite, request); code != noErr)
        return FinishWithout(request, code);
    request->progress.stage = kFinished;
    const OSErr code =
        WriteOn(*fork, static_cast<const char*>(request->buffer), request->requestCount,
                request->progress.start, (request->positionMode & pleaseSpareCacheMask) != 0,
                &request->actualCount);
    request->ioResult = code;
    return code;
}

short PBForkResult(FSForkIOParam* request) {
    if (request->progress.stage == kPutOff) (void)ReadNow(request, Patience::kMayLeave);
    if (request->progress.stage == kInKernel) {
        int answer = 0;
        if (!RingTake(request, &answer)) return kRequestInProgress;
        // A read under way keeps its fork open: closing waits for it.
        Fork* const fork = ForkOf(request);
        if (fork == nullptr) return FinishWithout(request, rfNumErr);
        (void)TakeIn(*fork, request, answer, Patience::kMayLeave);
    }
    return request->ioResult;
}

short PBWaitFork(FSForkIOParam* request) {
    if (request->progress.stage == kPutOff) return ReadNow(request, Patience::kMustFinish);
    if (request->progress.stage == kInKernel) {
        const int answer = RingWait(request);
        Fork* const fork = ForkOf(request);
        if (fork == nullptr) return FinishWithout(request, rfNumErr);
        return TakeIn(*fork, request, answer, Patience::kMustFinish);
    }
    return request->ioResult;
}

void PBDropFork(FSForkIOParam* request) {
    if (request->progress.stage == kPutOff)
        (void)FinishWithout(request, noErr);
    else
        (void)PBWaitFork(request);
}

}  // namespace Ondrel
