// Watches and refuses allocations of this program: the plain forms of operator new are replaced.
#ifndef TESTS_RECORDS_ALLOCATIONS_H
#define TESTS_RECORDS_ALLOCATIONS_H

#include <cstddef>

namespace Ondrel::Testing {

// While it lives, requests of this thread for `from` to `to` bytes fail: all of them, or the n-th
// alone, counted from 1.
class RefuseAllocations {
 public:
    RefuseAllocations(std::size_t from, std::size_t to, int nth = 0);
    ~RefuseAllocations();
    RefuseAllocations(const RefuseAllocations&) = delete;
    RefuseAllocations& operator=(const RefuseAllocations&) = delete;
};

// While it lives, what this thread is given is filled with that byte.
class MarkAllocations {
 public:
    explicit MarkAllocations(unsigned char byte);
    ~MarkAllocations();
    MarkAllocations(const MarkAllocations&) = delete;
    MarkAllocations& operator=(const MarkAllocations&) = delete;
};

// The largest request of this thread since the last call.
std::size_t TakeLargestAllocation();

}  // namespace Ondrel::Testing

#endif
