// Memory that runs out: the program's allocation functions are replaced, so that blocks are counted
// and any request of a thread can be refused. Where a sanitizer owns malloc, those of C++ are
// replaced alone, and the libraries' own requests are neither counted nor refused.
#ifndef TESTS_FAULTS_MEMORY_H
#define TESTS_FAULTS_MEMORY_H

namespace Ondrel::Testing {

// Refuses request number `n` (from 1) of the thread that made it, and `times` of them from there
// on; -1 for all. One may be alive at a time.
class MemoryPlan {
 public:
    explicit MemoryPlan(int n, int times = 1);
    ~MemoryPlan();
    MemoryPlan(const MemoryPlan&) = delete;
    MemoryPlan& operator=(const MemoryPlan&) = delete;

    void Lift();  // requests are served again
    bool Fired() const;
};

// The blocks that this thread has been given and that were not given back, less those that it gave
// back for other threads.
long OutstandingBlocks();

// The same in bytes; 0 where a sanitizer owns malloc.
long OutstandingBytes();

}  // namespace Ondrel::Testing

#endif
