// The table of open forks. Entries live in blocks that are made as the table grows: it doubles its
// room once half of it is taken, and numbers are given out in a circle, so that a number stays
// unused for long after it was closed.
#include "ondrel/platform/ForkTable.h"

#include <array>
#include <mutex>
#include <new>

#include "ondrel/platform/HoldAcrossFork.h"

namespace Ondrel::Host {
namespace {

constexpr int kBlockSize = 256;
constexpr int kMaxBlocks = 128;
static_assert(kBlockSize * kMaxBlocks == 32768, "numbers are the positive shorts");

constinit std::array<std::atomic<Fork*>, kMaxBlocks> blocks{};

// The fields below, and which numbers are open, change under this mutex only.
constinit std::mutex tableMutex;
int blockCount = 0;
int openCount = 0;
int nextNumber = 1;

int Capacity() {
    return blockCount * kBlockSize;
}

Fork& Entry(int number) {
    Fork* const block =
        blocks[static_cast<std::size_t>(number / kBlockSize)].load(std::memory_order_acquire);
    return block[number % kBlockSize];
}

// Adds blocks until half the numbers are free, as far as that is possible.
void MakeRoom() {
    const int wanted = blockCount == 0 ? 1 : 2 * blockCount;
    if (openCount < Capacity() / 2) return;
    while (blockCount < wanted && blockCount < kMaxBlocks) {
        Fork* const block = new (std::nothrow) Fork[kBlockSize];
        if (block == nullptr) return;
        blocks[static_cast<std::size_t>(blockCount)].store(block, std::memory_order_release);
        ++blockCount;
    }
}

// The next free number in the circle; 0, which is never a fork, when all are taken.
int FreeNumber() {
    if (openCount >= Capacity() - 1) return 0;
    for (int number = nextNumber;; ++number) {
        if (number >= Capacity()) number = 1;
        if (Entry(number).Fd() < 0) return number;
    }
}

// Whether a fork is open that the test says yes to.
template <class Test>
bool IsAnyOpen(Test test) {
    for (int number = 1; number < Capacity(); ++number) {
        const Fork& fork = Entry(number);
        if (fork.Fd() >= 0 && test(fork.facts)) return true;
    }
    return false;
}

bool HasWriter(const ForkFacts& facts) {
    return IsAnyOpen([&](const ForkFacts& other) {
        return other.mayWrite && other.kind == facts.kind && other.device == facts.device &&
               other.inode == facts.inode;
    });
}

}  // namespace

Fork* FindFork(short number) {
    if (number <= 0) return nullptr;
    Fork* const block =
        blocks[static_cast<std::size_t>(number / kBlockSize)].load(std::memory_order_acquire);
    if (block == nullptr) return nullptr;
    Fork* const fork = block + number % kBlockSize;
    return fork->Fd() < 0 ? nullptr : fork;
}

OSErr AddFork(Descriptor* file, const ForkFacts& facts, short* number) {
    HoldAcrossFork<tableMutex>();
    const std::lock_guard lock(tableMutex);
    if (facts.mayWrite && HasWriter(facts)) return opWrErr;
    MakeRoom();
    const int free = FreeNumber();
    if (free == 0) return tmfoErr;
    Fork& fork = Entry(free);
    fork.facts = facts;
    ++fork.serial;
    fork.inKernel = 0;
    fork.position = 0;
    fork.plainReads = false;
    fork.plainWrites = false;
    fork.missedCache = false;
    fork.unflushed = false;
    fork.temporary = false;
    fork.content = nullptr;
    fork.fd.store(file->Release(), std::memory_order_relaxed);
    ++openCount;
    nextNumber = free + 1;
    *number = static_cast<short>(free);
    return noErr;
}

Descriptor RemoveFork(short number) {
    const std::lock_guard lock(tableMutex);
    --openCount;
    return Descriptor(Entry(number).fd.exchange(-1, std::memory_order_relaxed));
}

bool NoteFlush(std::uint64_t device, std::uint64_t inode) {
    HoldAcrossFork<tableMutex>();
    const std::lock_guard lock(tableMutex);
    bool temporary = false;
    for (int number = 1; number < Capacity(); ++number) {
        Fork& fork = Entry(number);
        if (fork.Fd() < 0 || fork.facts.device != device || fork.facts.inode != inode) continue;
        fork.unflushed = false;
        temporary = temporary || fork.temporary;
    }
    return temporary;
}

bool HasOpenFork(std::uint64_t device, std::uint64_t inode) {
    HoldAcrossFork<tableMutex>();
    const std::lock_guard lock(tableMutex);
    return IsAnyOpen(
        [=](const ForkFacts& facts) { return facts.device == device && facts.inode == inode; });
}

}  // namespace Ondrel::Host
