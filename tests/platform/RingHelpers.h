// Reads that would have to wait for the disk, for tests. Files of a test are in the page cache, so
// the tests say otherwise: the entry that reads without waiting refuses. And where a read has to
// stay under way for as long as a test likes, its submission is turned to a pipe that the test
// fills.
#ifndef TESTS_PLATFORM_RINGHELPERS_H
#define TESTS_PLATFORM_RINGHELPERS_H

#include <liburing.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>

#include "tests/platform/ForkHelpers.h"

namespace Ondrel::Testing {

inline bool HostHasRing() {
    io_uring ring{};
    if (io_uring_queue_init(2, &ring, 0) != 0) return false;
    io_uring_queue_exit(&ring);
    return true;
}

// The number of reads that the kernel was handed.
inline std::atomic<int> submissions{0};

// Nothing is in the page cache, as far as the library can see.
class ColdCache {
 public:
    ColdCache() {
        submissions = 0;
        syscalls.preadv2 = [](int, const iovec*, int, off_t, int) {
            errno = EAGAIN;
            return ssize_t{-1};
        };
        syscalls.ring_submit = [](io_uring* ring) {
            ++submissions;
            return kHostSyscalls.ring_submit(ring);
        };
    }

 private:
    TableGuard guard_;
};

// The entry that is about to be submitted.
inline io_uring_sqe& LastEntry(io_uring* ring) {
    return ring->sq.sqes[(ring->sq.sqe_tail - 1) & *ring->sq.kring_mask];
}

inline int slowPipe = -1;

// A cold cache, and a disk that answers what the test gives it, when it does.
class SlowDisk {
 public:
    SlowDisk() {
        EXPECT_EQ(pipe2(ends_, O_CLOEXEC), 0);
        slowPipe = ends_[0];
        syscalls.ring_submit = [](io_uring* ring) {
            ++submissions;
            LastEntry(ring).fd = slowPipe;
            LastEntry(ring).off = static_cast<std::uint64_t>(-1);
            return kHostSyscalls.ring_submit(ring);
        };
    }
    ~SlowDisk() {
        close(ends_[0]);
        close(ends_[1]);
    }
    SlowDisk(const SlowDisk&) = delete;
    SlowDisk& operator=(const SlowDisk&) = delete;

    void Answer(const std::string& bytes) const {
        EXPECT_EQ(write(ends_[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

 private:
    ColdCache cold_;
    int ends_[2] = {-1, -1};
};

#define NEEDS_RING() \
    if (!HostHasRing()) GTEST_SKIP() << "io_uring is missing or forbidden here"

// Looks until the request has finished; the result.
inline short Poll(FSForkIOParam* request) {
    for (;;) {
        const short result = PBForkResult(request);
        if (result != kRequestInProgress) return result;
        std::this_thread::yield();
    }
}

}  // namespace Ondrel::Testing

#endif
