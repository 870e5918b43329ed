// The fast paths of the streams: a decrement, a test and a byte access on `cursor` and `count`, and
// nothing else; the slow paths depend on `count` having been decreased first. Beside them stand
// blocks and moves within the buffer, which look at the stream's mode as well; bytes that are left
// in a buffer tell that there is a record. The last part of fil.h, which includes it at its end:
// include that.
//
// How they are written decides their speed. Both fields are worked on as local copies and stored
// last, on both paths: a loop of calls then keeps them in registers and only stores them. Were the
// slow path to return by itself, or a byte to be stored behind them (it may alias the handle), each
// call would begin by loading what the one before has just stored.
#ifndef ONDREL_FIL_INLINE_H
#define ONDREL_FIL_INLINE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Ondrel {
namespace FilInline {

// A value as it is stored, and back.
template <class Value>
inline Value BigEndian(Value value) {
    if constexpr (sizeof(Value) == 1 || std::endian::native == std::endian::big)
        return value;
    else if constexpr (sizeof(Value) == 2)
        return __builtin_bswap16(value);
    else
        return __builtin_bswap32(value);
}

// Reads a value while the buffer holds all of it, else through the slow path.
template <class Value>
inline int Read(fil* f, int (*slow)(fil*)) {
    constexpr int kWidth = sizeof(Value);
    unsigned char* cursor = f->cursor;
    int count = f->count - kWidth;
    int result;
    if (count >= 0) [[likely]] {
        Value stored;
        std::memcpy(&stored, cursor, kWidth);
        result = static_cast<int>(BigEndian(stored));
        cursor += kWidth;
    } else {
        f->count = count;
        result = slow(f);
        cursor = f->cursor;
        count = f->count;
    }
    f->cursor = cursor;
    f->count = count;
    return result;
}

// Writes a value while it does not fill the buffer: the byte that does always takes the slow path,
// which writes the buffer at once.
template <class Value>
inline int Write(fil* f, int value, int (*slow)(fil*, int)) {
    constexpr int kWidth = sizeof(Value);
    unsigned char* cursor = f->cursor;
    int count = f->count - kWidth;
    int result = 0;
    if (count > 0) [[likely]] {
        const Value stored = BigEndian(static_cast<Value>(value));
        std::memcpy(cursor, &stored, kWidth);
        cursor += kWidth;
    } else {
        f->count = count;
        result = slow(f, value);
        cursor = f->cursor;
        count = f->count;
    }
    f->cursor = cursor;
    f->count = count;
    return result;
}

// Copies a short block: in place where its length is known, else by the C library. memcpy would not
// get there: where compilers know no more than a bound of the length, they make it a loop or a
// string instruction, which cost more.
inline void Copy(unsigned char* to, const unsigned char* from, int n) {
    if (__builtin_constant_p(n))
        std::memcpy(to, from, static_cast<std::size_t>(n));
    else
        std::memmove(to, from, static_cast<std::size_t>(n));
}

}  // namespace FilInline

inline int filrea8(fil* f) {
    return FilInline::Read<std::uint8_t>(f, filrea8sub);
}

inline int filrea16(fil* f) {
    return FilInline::Read<std::uint16_t>(f, filrea16sub);
}

inline int filrea32(fil* f) {
    return FilInline::Read<std::uint32_t>(f, filrea32sub);
}

inline int filwri8(fil* f, int value) {
    return FilInline::Write<std::uint8_t>(f, value, filwri8sub);
}

inline int filwri16(fil* f, int value) {
    return FilInline::Write<std::uint16_t>(f, value, filwri16sub);
}

inline int filwri32(fil* f, int value) {
    return FilInline::Write<std::uint32_t>(f, value, filwri32sub);
}

inline bool fileof(fil* f) {
    return f->count > 0 ? false : fileofsub(f);
}

// Longer ones are left to the C library's copying, which knows the processor.
inline constexpr int kFilInlineBlock = 64;

inline int filrea(fil* f, unsigned char* dst, int n) {
    if (n > 0 && n <= kFilInlineBlock && n <= f->count && f->sys->mode == kFilModeRead) [[likely]] {
        FilInline::Copy(dst, f->cursor, n);
        f->cursor += n;
        f->count -= n;
        return 0;
    }
    return filreasub(f, dst, n);
}

inline int filwri(fil* f, const unsigned char* src, int n) {
    if (n > 0 && n <= kFilInlineBlock && n < f->count && f->sys->mode == kFilModeWrite) [[likely]] {
        FilInline::Copy(f->cursor, src, n);
        f->cursor += n;
        f->count -= n;
        return 0;
    }
    return filwrisub(f, src, n);
}

// While bytes are left to read and nothing is latched, the buffer's valid bytes end where they end.
// The buffer's own start is left to the slow path: a cursor there would stand for the end of the
// buffer before it.
inline int filpos(fil* f, int position) {
    sysinfrec* const sys = f->sys;
    unsigned char* const cursor = f->cursor;
    const int count = f->count;
    if (count > 0 && sys->mode == kFilModeRead && sys->error == noErr) [[likely]] {
        const bool second = cursor > sys->buffer2;
        unsigned char* const buffer = second ? sys->buffer2 : sys->buffer1;
        const int start = second ? sys->position2 : sys->position1;
        const int valid = static_cast<int>(cursor - buffer) + count;
        if (position > start && position - start <= valid) [[likely]] {
            f->cursor = buffer + (position - start);
            f->count = valid - (position - start);
            return 0;
        }
    }
    return filpossub(f, position);
}

}  // namespace Ondrel

#endif
