// The table of open forks: what stands behind each reference number. Internal to libOndrel.
//
// Invariants: a number is open while its entry has a descriptor, which is the file's, also for a
// resource fork; at most one entry of a fork may write; a number that was closed comes back as late
// as the table allows; entries never move and are never released, so that a number is looked up
// without a lock. An entry belongs to the thread that uses the fork; what other threads look at is
// written under the table's mutex alone.
#ifndef ONDREL_PLATFORM_FORKTABLE_H
#define ONDREL_PLATFORM_FORKTABLE_H

#include <atomic>
#include <cstdint>
#include <string>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/Types.h"

namespace Ondrel::Host {

class ResourceContent;

enum class ForkKind : unsigned char { kData, kResource };

// What is known of a fork when it is opened. A resource fork has the identity of its file.
struct ForkFacts {
    ForkKind kind = ForkKind::kData;
    bool mayRead = false;
    bool mayWrite = false;
    bool itself = false;  // links were not followed
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
};

struct Fork {
    std::atomic<int> fd{-1};  // -1: the number is free
    ForkFacts facts;
    std::uint32_t serial = 0;            // counts the openings of this number
    std::uint32_t inKernel = 0;          // reads that the kernel has not answered yet
    std::int64_t position = 0;           // the fork's own position
    bool plainReads = false;             // the file system cannot read without waiting
    bool plainWrites = false;            // the file system cannot spare the page cache
    bool missedCache = false;            // the last read had to go to the disk
    bool unflushed = false;              // written to since the file was last flushed
    bool temporary = false;              // its folder entry need not be flushed
    ResourceContent* content = nullptr;  // of a resource fork, owned; null for a data fork

    int Fd() const { return fd.load(std::memory_order_relaxed); }
};

// The open fork of that number, or null.
Fork* FindFork(short number);

// Enters an open file and takes its descriptor over. opWrErr: it may write, and so may another
// entry of the same fork. tmfoErr: no number is free. After a failure the caller has the descriptor
// still.
OSErr AddFork(Descriptor* file, const ForkFacts& facts, short* number);

// Frees an open number, whose content the caller has taken out before; the descriptor is the
// caller's then.
Descriptor RemoveFork(short number);

// The size of a fork in bytes.
OSErr SizeOfFork(const Fork& fork, std::int64_t* size);

// The absolute position that a mode (fsAtMark to fsFromMark, pleaseSpareCacheMask ignored) and an
// offset mean now. paramErr: no such mode. posErr: before the start, or beyond 63 bits.
OSErr ForkPosition(const Fork& fork, unsigned short mode, std::int64_t offset,
                   std::int64_t* position);

// Finishes the reads of a fork that the kernel has still to answer.
void FinishReads(short number);

// Whether a fork's name is that of the resource fork.
bool IsResourceForkName(UniCharCount length, const UniChar* name);

// Opens a fork of the file at a path, through a link its target; see FSOpenFork.
OSErr OpenFork(const std::string& path, ForkKind kind, signed char permissions, short* number);

// This process has a fork of the file open, for reading or writing.
bool HasOpenFork(std::uint64_t device, std::uint64_t inode);

// The file was flushed: no fork of it in this process has anything unflushed. Answers whether one
// of them is marked as that of a temporary file.
bool NoteFlush(std::uint64_t device, std::uint64_t inode);

// Another process that uses this library, or this one, has a fork of the file open for writing.
// Looking keeps nobody from opening it. False where the host cannot tell.
bool IsWrittenElsewhere(const char* path);

}  // namespace Ondrel::Host

#endif
