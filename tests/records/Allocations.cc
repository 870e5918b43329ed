// The replaced allocation functions; they stand on malloc, so that the sanitizers see each block.
#include "tests/records/Allocations.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace Ondrel::Testing {
namespace {

constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

thread_local constinit std::size_t refusedFrom = kNever;
thread_local constinit std::size_t refusedTo = 0;
thread_local constinit int refusedCount = 0;  // of the one request to be refused; 0: all are
thread_local constinit int seenCount = 0;
thread_local constinit std::size_t largest = 0;
thread_local constinit int mark = -1;

bool IsRefused(std::size_t size) noexcept {
    if (size < refusedFrom || size > refusedTo) return false;
    ++seenCount;
    return refusedCount == 0 || refusedCount == seenCount;
}

}  // namespace

void* AllocateOrNull(std::size_t size) noexcept {
    largest = std::max(largest, size);
    if (IsRefused(size)) return nullptr;
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr && mark >= 0) std::memset(block, mark, size);
    return block;
}

void* Allocate(std::size_t size) {
    void* const block = AllocateOrNull(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

RefuseAllocations::RefuseAllocations(std::size_t from, std::size_t to, int nth) {
    refusedCount = nth;
    seenCount = 0;
    refusedFrom = from;
    refusedTo = to;
}

RefuseAllocations::~RefuseAllocations() {
    refusedFrom = kNever;
    refusedTo = 0;
}

MarkAllocations::MarkAllocations(unsigned char byte) {
    mark = byte;
}

MarkAllocations::~MarkAllocations() {
    mark = -1;
}

std::size_t TakeLargestAllocation() {
    return std::exchange(largest, 0);
}

}  // namespace Ondrel::Testing

using Ondrel::Testing::Allocate;
using Ondrel::Testing::AllocateOrNull;

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
