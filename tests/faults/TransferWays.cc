// The calls that take the place of the host's.
#include "tests/faults/TransferWays.h"

#include <liburing.h>
#include <sys/uio.h>

#include <algorithm>
#include <atomic>
#include <cerrno>

#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Testing {
namespace {

std::atomic<int> ringReads = 0;

int CountedSubmit(io_uring* ring) {
    const int submitted = kHostSyscalls.ring_submit(ring);
    if (submitted > 0) ringReads += submitted;
    return submitted;
}

// A read that would have to wait is never served at once, so that all go to the kernel's ring.
ssize_t NothingIsCached(int fd, const iovec* parts, int count, off_t offset, int flags) {
    if ((flags & RWF_NOWAIT) == 0) return kHostSyscalls.preadv2(fd, parts, count, offset, flags);
    errno = EAGAIN;
    return -1;
}

// Also where the process has a ring already.
void RefuseRing() {
    syscalls.preadv2 = NothingIsCached;
    syscalls.ring_init = [](unsigned, io_uring*, unsigned) { return -EPERM; };
    syscalls.ring_submit = [](io_uring*) { return -EPERM; };
}

void RefuseFlags() {
    syscalls.preadv2 = [](int fd, const iovec* parts, int count, off_t offset, int flags) {
        if (flags == 0) return kHostSyscalls.preadv2(fd, parts, count, offset, 0);
        errno = EOPNOTSUPP;
        return ssize_t{-1};
    };
    syscalls.pwritev2 = [](int fd, const iovec* parts, int count, off_t offset, int flags) {
        if (flags == 0) return kHostSyscalls.pwritev2(fd, parts, count, offset, 0);
        errno = EOPNOTSUPP;
        return ssize_t{-1};
    };
}

iovec FirstPart(const iovec* parts) {
    return {parts->iov_base, std::min<std::size_t>(parts->iov_len, 1000)};
}

ssize_t ShortRead(int fd, const iovec* parts, int count, off_t offset, int flags) {
    if (count < 1) return kHostSyscalls.preadv2(fd, parts, count, offset, flags);
    const iovec part = FirstPart(parts);
    return kHostSyscalls.preadv2(fd, &part, 1, offset, flags);
}

ssize_t ShortWrite(int fd, const iovec* parts, int count, off_t offset, int flags) {
    if (count < 1) return kHostSyscalls.pwritev2(fd, parts, count, offset, flags);
    const iovec part = FirstPart(parts);
    return kHostSyscalls.pwritev2(fd, &part, 1, offset, flags);
}

void CutTransfers() {
    syscalls.preadv2 = ShortRead;
    syscalls.pwritev2 = ShortWrite;
    syscalls.pread = [](int fd, void* bytes, size_t size, off_t offset) {
        return kHostSyscalls.pread(fd, bytes, std::min<size_t>(size, 700), offset);
    };
    syscalls.pwrite = [](int fd, const void* bytes, size_t size, off_t offset) {
        return kHostSyscalls.pwrite(fd, bytes, std::min<size_t>(size, 700), offset);
    };
}

}  // namespace

const std::vector<TransferWay>& TransferWays() {
    static const std::vector<TransferWay> ways = {
        {"as the host transfers", [] {}},
        {"through the kernel's ring", [] { syscalls.preadv2 = NothingIsCached; }},
        {"with the ring refused", RefuseRing},
        {"without flags", RefuseFlags},
        {"in short pieces", CutTransfers},
    };
    return ways;
}

OnTransferWay::OnTransferWay(const TransferWay& way) {
    ringReads = 0;
    syscalls.ring_submit = CountedSubmit;
    syscalls.fsync = [](int) { return 0; };
    syscalls.fdatasync = [](int) { return 0; };
    way.install();
}

OnTransferWay::~OnTransferWay() {
    syscalls = kHostSyscalls;
}

int OnTransferWay::RingReads() {
    return ringReads;
}

}  // namespace Ondrel::Testing
