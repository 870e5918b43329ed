// One io_uring for all threads. Its queues change under one mutex. The thread that waits first
// sleeps in the kernel without the mutex and alone takes in what has finished; others wait for it,
// and one of them goes on when it has what it wanted.
#include "ondrel/platform/Ring.h"

#include <liburing.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "ondrel/platform/Syscalls.h"

namespace Ondrel::Host {
namespace {

constexpr unsigned kEntries = 64;            // reads under way at once; twice as many answers fit
constexpr std::size_t kMostBytes = 1 << 30;  // of one read; a longer one is continued

constinit std::mutex ringMutex;

struct Ring {
    io_uring queues{};
    bool ready = false;
    bool sleeping = false;           // a thread waits in the kernel and owns the completion queue
    unsigned count = 0;              // requests in the list
    FSForkIOParam* first = nullptr;  // of the list
    std::condition_variable changed;
};

bool inChild = false;
bool watchesForks = false;

// Never destroyed: threads may still wait when the process ends.
Ring& TheRing() {
    static Ring& ring = *new Ring;
    return ring;
}

// In a child the ring is the parent's, and what the kernel was to read arrives there.
void AbandonInChild() {
    inChild = true;
    for (FSForkIOParam* request = TheRing().first; request != nullptr;
         request = request->progress.next) {
        request->progress.answer = -ECANCELED;
        request->progress.answered = true;
    }
    ringMutex.unlock();
}

// A ring that can be used now. A refusal is not remembered: it costs little beside a read from the
// disk, and the next time there may be memory for it.
bool MakeReady(Ring& ring) {
    if (inChild) return false;
    if (ring.ready) return true;
    if (!watchesForks) {
        watchesForks = pthread_atfork([] { ringMutex.lock(); }, [] { ringMutex.unlock(); },
                                      AbandonInChild) == 0;
        if (!watchesForks) return false;
    }
    ring.ready = syscalls.ring_init(kEntries, &ring.queues, 0) == 0;
    return ring.ready;
}

io_uring_sqe* FreeEntry(Ring& ring) {
    io_uring_sqe* entry = io_uring_get_sqe(&ring.queues);
    if (entry != nullptr) return entry;
    (void)syscalls.ring_submit(&ring.queues);  // entries of refused submissions are in the way
    return io_uring_get_sqe(&ring.queues);
}

// Submits the entry made last. One that the kernel did not take becomes one without effect, because
// it goes along with the next submission.
bool Submit(Ring& ring, io_uring_sqe* entry) {
    const int submitted = syscalls.ring_submit(&ring.queues);
    if (submitted >= 0 && io_uring_sq_ready(&ring.queues) == 0) return true;
    io_uring_prep_nop(entry);
    io_uring_sqe_set_data(entry, nullptr);
    return false;
}

bool IsListed(const Ring& ring, const FSForkIOParam* request) {
    const FSForkIOParam* listed = ring.first;
    while (listed != nullptr && listed != request)
        listed = listed->progress.next;
    return listed != nullptr;
}

void Unlist(Ring& ring, FSForkIOParam* request) {
    FSForkIOParam** link = &ring.first;
    while (*link != request)
        link = &(*link)->progress.next;
    *link = request->progress.next;
    --ring.count;
}

// Takes in what has finished; for the one who owns the completion queue.
void Reap(Ring& ring) {
    io_uring_cqe* entry = nullptr;
    unsigned head = 0;
    unsigned taken = 0;
    io_uring_for_each_cqe(&ring.queues, head, entry) {
        ++taken;
        auto* const request = static_cast<FSForkIOParam*>(io_uring_cqe_get_data(entry));
        if (request == nullptr) continue;
        request->progress.answer = entry->res;
        request->progress.answered = true;
    }
    io_uring_cq_advance(&ring.queues, taken);
}

// The answer of a request, when it has come; the request leaves the list.
bool TakeAnswer(Ring& ring, FSForkIOParam* request, int* answer) {
    if (!IsListed(ring, request)) {
        *answer = -ECANCELED;
        return true;
    }
    if (!request->progress.answered) return false;
    Unlist(ring, request);
    *answer = request->progress.answer;
    return true;
}

// Sleeps until something has finished, without the mutex.
void SleepInKernel(Ring& ring, std::unique_lock<std::mutex>& lock) {
    ring.sleeping = true;
    lock.unlock();
    io_uring_cqe* entry = nullptr;
    const int result = syscalls.ring_wait(&ring.queues, &entry);
    // A buffer must not be given back while the kernel may write to it, whatever the wait says.
    if (result < 0 && result != -EINTR) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    lock.lock();
    ring.sleeping = false;
    Reap(ring);
    ring.changed.notify_all();
}

}  // namespace

bool RingRead(int fd, FSForkIOParam* request) {
    Ring& ring = TheRing();
    const std::lock_guard lock(ringMutex);
    if (!MakeReady(ring) || ring.count >= kEntries) return false;
    io_uring_sqe* const entry = FreeEntry(ring);
    if (entry == nullptr) return false;

    const std::size_t done = request->actualCount;
    const std::size_t size = std::min(request->requestCount - done, kMostBytes);
    io_uring_prep_read(entry, fd, static_cast<char*>(request->buffer) + done,
                       static_cast<unsigned>(size),
                       static_cast<std::uint64_t>(request->progress.start) + done);
    io_uring_sqe_set_data(entry, request);
    if (!Submit(ring, entry)) return false;
    request->progress.answered = false;
    request->progress.next = ring.first;
    ring.first = request;
    ++ring.count;
    return true;
}

bool RingTake(FSForkIOParam* request, int* answer) {
    Ring& ring = TheRing();
    const std::lock_guard lock(ringMutex);
    if (!inChild && !ring.sleeping && ring.ready) Reap(ring);
    return TakeAnswer(ring, request, answer);
}

int RingWait(FSForkIOParam* request) {
    Ring& ring = TheRing();
    std::unique_lock lock(ringMutex);
    if (!inChild && !ring.sleeping && ring.ready) Reap(ring);
    int answer = 0;
    while (!TakeAnswer(ring, request, &answer)) {
        if (ring.sleeping)
            ring.changed.wait(lock);
        else
            SleepInKernel(ring, lock);
    }
    return answer;
}

FSForkIOParam* RingRequestOf(short forkRefNum) {
    const std::lock_guard lock(ringMutex);
    FSForkIOParam* request = TheRing().first;
    while (request != nullptr && request->forkRefNum != forkRefNum)
        request = request->progress.next;
    return request;
}

}  // namespace Ondrel::Host
