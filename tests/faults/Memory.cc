// The replaced functions stand on glibc's own, which have a second name; under a sanitizer on
// malloc, so that it sees each block.
#include "tests/faults/Memory.h"

#include <malloc.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ONDREL_MALLOC_IS_TAKEN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ONDREL_MALLOC_IS_TAKEN 1
#endif
#endif

namespace Ondrel::Testing {
namespace {

constexpr int kNever = std::numeric_limits<int>::max();

struct State {
    int first = kNever;
    int times = 0;
    int requests = 0;
    int refused = 0;
    long blocks = 0;
    long bytes = 0;
};
thread_local constinit State state;

bool IsRefused() {
    if (state.first == kNever) return false;
    ++state.requests;
    if (state.requests < state.first) return false;
    if (state.times >= 0 && state.refused >= state.times) return false;
    ++state.refused;
    return true;
}

}  // namespace

MemoryPlan::MemoryPlan(int n, int times) {
    state.requests = 0;
    state.refused = 0;
    state.times = times;
    state.first = n;
}

MemoryPlan::~MemoryPlan() {
    Lift();
}

void MemoryPlan::Lift() {
    state.first = kNever;
}

bool MemoryPlan::Fired() const {
    return state.refused > 0;
}

long OutstandingBlocks() {
    return state.blocks;
}

long OutstandingBytes() {
    return state.bytes;
}

}  // namespace Ondrel::Testing

#ifdef ONDREL_MALLOC_IS_TAKEN

namespace {

void* Allocate(std::size_t size) noexcept {
    if (Ondrel::Testing::IsRefused()) return nullptr;
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) ++Ondrel::Testing::state.blocks;
    return block;
}

void* AllocateOrThrow(std::size_t size) {
    void* const block = Allocate(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void Release(void* block) noexcept {
    if (block != nullptr) --Ondrel::Testing::state.blocks;
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return AllocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    Release(block);
}
void operator delete[](void* block) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Release(block);
}

#else

extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* block) noexcept;

}  // extern "C"

namespace {

void* Counted(void* block) noexcept {
    if (block != nullptr) {
        ++Ondrel::Testing::state.blocks;
        Ondrel::Testing::state.bytes += static_cast<long>(malloc_usable_size(block));
    }
    return block;
}

void Uncount(void* block) noexcept {
    if (block == nullptr) return;
    --Ondrel::Testing::state.blocks;
    Ondrel::Testing::state.bytes -= static_cast<long>(malloc_usable_size(block));
}

void* Refuse() noexcept {
    errno = ENOMEM;
    return nullptr;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return Ondrel::Testing::IsRefused() ? Refuse() : Counted(__libc_malloc(size));
}

void* calloc(std::size_t count, std::size_t size) {
    return Ondrel::Testing::IsRefused() ? Refuse() : Counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
    if (Ondrel::Testing::IsRefused()) return Refuse();
    Uncount(block);
    void* const grown = __libc_realloc(block, size);
    // The old block is still there where there was no memory for the new one.
    return grown != nullptr || size == 0 ? Counted(grown) : (Counted(block), nullptr);
}

void* memalign(std::size_t alignment, std::size_t size) {
    return Ondrel::Testing::IsRefused() ? Refuse() : Counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
    *block = memalign(alignment, size);
    return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
    Uncount(block);
    __libc_free(block);
}

}  // extern "C"

#endif
