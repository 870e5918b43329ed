// The write cache of direct access: one in the process, for one stream at a time. What it holds are
// bytes that follow each other in the fork, and a write that does not follow sends them out first.
#include "ondrel/fil/directcache.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "ondrel/fil/direct.h"

namespace Ondrel {
namespace {

// The kernel copies from memory that begins where one of the processor's lines does by a twentieth
// faster.
constexpr std::size_t kLine = 64;

fil* sFilCache = nullptr;             // the owner
unsigned char* sFilMemory = nullptr;  // what was allocated
unsigned char* sFilBuffer = nullptr;  // the line in it that the cache begins at
int sFilLength = 0;                   // capacity in bytes
int sFilCachePos = 0;                 // bytes held
int sFilCachePosAdd = 0;              // position in the fork of the first of them

int PositionBehind(int position, int length) {
    const std::int64_t behind = std::int64_t{position} + length;
    return behind < kFilNoPosition ? static_cast<int>(behind) : kFilNoPosition;
}

// Synchronous, for the memory is used again at once.
[[gnu::noinline]] void FlushCache() {
    (void)filasywri2(sFilCache, sFilCachePosAdd, sFilBuffer, sFilCachePos);
    WaitForDirect(sFilCache);
    sFilCachePosAdd = PositionBehind(sFilCachePosAdd, sFilCachePos);
    sFilCachePos = 0;
}

void Hold(const unsigned char* data, int length) {
    std::memcpy(sFilBuffer + sFilCachePos, data, static_cast<std::size_t>(length));
    sFilCachePos += length;
}

}  // namespace

bool OwnsDirectCache(const fil* f) {
    return sFilCache != nullptr && f == sFilCache;
}

void filasycacbeg(fil* f, int size) {
    if (sFilBuffer != nullptr || size < 1) return;
    std::size_t room = static_cast<std::size_t>(size) + kLine - 1;
    sFilMemory = new (std::nothrow) unsigned char[room];
    if (sFilMemory == nullptr) return;
    void* start = sFilMemory;
    sFilBuffer =
        static_cast<unsigned char*>(std::align(kLine, static_cast<std::size_t>(size), start, room));
    sFilLength = size;
    sFilCachePos = 0;
    sFilCachePosAdd = 0;
    sFilCache = f;
}

int filasywri(fil* f, int position, const unsigned char* data, int length) {
    if (!OwnsDirectCache(f)) return filasywri2(f, position, data, length);
    if (length < 0) length = 0;
    const bool follows = std::int64_t{sFilCachePosAdd} + sFilCachePos == position;
    if (sFilCachePos > 0 && !follows) FlushCache();
    if (sFilCachePos == 0) sFilCachePosAdd = position;
    if (length > sFilLength - sFilCachePos) {
        if (sFilCachePos > 0) FlushCache();
        if (length > sFilLength) {
            (void)filasywri2(f, position, data, length);
            WaitForDirect(f);
            sFilCachePosAdd = PositionBehind(position, length);
            return 0;
        }
        sFilCachePosAdd = position;
    }
    if (length > 0) Hold(data, length);
    return 0;
}

void filasycacend() {
    if (sFilBuffer == nullptr) return;
    if (sFilCachePos > 0) FlushCache();
    delete[] sFilMemory;
    sFilMemory = nullptr;
    sFilBuffer = nullptr;
    sFilCache = nullptr;
    sFilLength = 0;
    sFilCachePos = 0;
    sFilCachePosAdd = 0;
}

}  // namespace Ondrel
