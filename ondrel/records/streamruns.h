// Runs of bytes moved directly over a stream's buffer, for the records. Internal to this folder.
//
// Every step has the effect of taking or giving the same bytes one at a time; the byte that empties
// or fills a buffer goes through the stream's own slow path, which reports and raises failures.
// What is held across such a step must be trivially destructible, because a raise skips it.
#ifndef ONDREL_RECORDS_STREAMRUNS_H
#define ONDREL_RECORDS_STREAMRUNS_H

#include <cstddef>
#include <cstring>

#include "ondrel/fil/fil.h"

namespace Ondrel::Records {

// The longest text that a stream can hold, and that a length of 4 bytes can tell.
inline constexpr std::size_t kLongestText = 2147483647;

// Passes `n` bytes that are in the buffer.
inline void Consume(fil* f, int n) {
    f->cursor += n;
    f->count -= n;
}

// Makes sure that a byte is in the buffer: 0, or the negative code of the read. At least one byte
// must be consumed before anything else is done with the stream, because a cursor at the start of a
// buffer stands for the end of the buffer before it.
inline int Refill(fil* f) {
    if (f->count > 0) return 0;
    const int byte = filrea8(f);
    if (byte < 0) return byte;
    Consume(f, -1);
    return 0;
}

// Copies bytes of which a bound is known, by the C library: of memcpy compilers then make a string
// instruction, which costs more than a text is worth. Both may be the same memory.
inline void CopyBounded(char* to, const void* from, std::size_t n) {
    std::memmove(to, from, n);
}

// `n` is at most kLongestText. A run that fills the buffer is left to the stream.
inline int WriteRun(fil* f, const void* bytes, std::size_t n) {
    const int length = static_cast<int>(n);
    if (length >= f->count) [[unlikely]]
        return filwri(f, static_cast<const unsigned char*>(bytes), length);
    std::memcpy(f->cursor, bytes, n);
    Consume(f, length);
    return 0;
}

// Reads up to a byte that ends a text. `find(bytes, n)` answers where it stands among `n` bytes, or
// `n`; `add(bytes, n)` takes the bytes before it, and is called before each read that may raise.
// The result is the ending byte, which is consumed, or the negative code of the read.
template <typename Find, typename Add>
int ReadUntil(fil* f, const Find& find, const Add& add) {
    for (;;) {
        if (const int failure = Refill(f); failure < 0) return failure;
        const unsigned char* const bytes = f->cursor;
        const int left = f->count;
        const int run = find(bytes, left);
        add(bytes, run);
        if (run < left) {
            Consume(f, run + 1);
            return bytes[run];
        }
        Consume(f, left);
    }
}

// Where `byte` stands among `n` bytes, or `n`.
inline int FindByte(const unsigned char* bytes, int n, int byte) {
    const void* const found = std::memchr(bytes, byte, static_cast<std::size_t>(n));
    return found == nullptr ? n
                            : static_cast<int>(static_cast<const unsigned char*>(found) - bytes);
}

// For ReadUntil: the terminator of a text.
inline int FindNul(const unsigned char* bytes, int n) {
    return FindByte(bytes, n, 0);
}

// Fails as the stream's own failures do: raised where a context is armed, else -1.
inline int Fail(fil* f) {
    if (f->sys != nullptr && f->sys->errorContext != nullptr) errgoto(f->sys->errorContext, -1);
    return -1;
}

// Latches a code: -1.
inline int Latch(fil* f, OSErr code) {
    if (f->sys != nullptr) f->sys->error = code;
    return -1;
}

// A write that cannot be made: latched, and the stream takes nothing more until it is moved.
// On a stream that is not open for writing it is misuse, which the slow path reports.
inline int RefuseWrite(fil* f, OSErr code) {
    if (f->sys == nullptr || (f->sys->mode & kFilModeWrite) == 0) {
        --f->count;
        return filwri8sub(f, 0);
    }
    Latch(f, code);
    f->count = 0;
    return Fail(f);
}

}  // namespace Ondrel::Records

#endif
