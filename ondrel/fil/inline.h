// The fast paths of the streams: a decrement, a test and a byte access on `cursor` and `count`, and
// nothing else. The slow paths depend on `count` having been decreased first. The last part of fil.h,
// which includes it at its end: include that.
//
// Each works on a local copy of the cursor and stores it back once: a store through the cursor may
// alias the handle itself, so that the compiler would otherwise load both fields again.
#ifndef ONDREL_FIL_INLINE_H
#define ONDREL_FIL_INLINE_H

namespace Ondrel {

inline int filrea8(fil* f) {
    const int left = f->count;
    f->count = left - 1;
    if (left <= 0) [[unlikely]]
        return filrea8sub(f);
    const unsigned char* const p = f->cursor;
    f->cursor += 1;
    return *p;
}

inline int filrea16(fil* f) {
    const int left = f->count;
    f->count = left - 2;
    if (left < 2) [[unlikely]]
        return filrea16sub(f);
    const unsigned char* const p = f->cursor;
    f->cursor += 2;
    return p[0] << 8 | p[1];
}

inline int filrea32(fil* f) {
    const int left = f->count;
    f->count = left - 4;
    if (left < 4) [[unlikely]]
        return filrea32sub(f);
    const unsigned char* const p = f->cursor;
    f->cursor += 4;
    return static_cast<int>(static_cast<unsigned int>(p[0]) << 24 |
                            static_cast<unsigned int>(p[1]) << 16 |
                            static_cast<unsigned int>(p[2]) << 8 | p[3]);
}

// The byte that fills a buffer always takes the slow path, which writes the buffer at once.

inline int filwri8(fil* f, int value) {
    const int left = f->count;
    f->count = left - 1;
    if (left < 2) [[unlikely]]
        return filwri8sub(f, value);
    unsigned char* const p = f->cursor;
    f->cursor = p + 1;
    p[0] = static_cast<unsigned char>(value);
    return 0;
}

inline int filwri16(fil* f, int value) {
    const int left = f->count;
    f->count = left - 2;
    if (left <= 2) [[unlikely]]
        return filwri16sub(f, value);
    unsigned char* const p = f->cursor;
    f->cursor = p + 2;
    p[0] = static_cast<unsigned char>(value >> 8);
    p[1] = static_cast<unsigned char>(value);
    return 0;
}

inline int filwri32(fil* f, int value) {
    const int left = f->count;
    f->count = left - 4;
    if (left <= 4) [[unlikely]]
        return filwri32sub(f, value);
    unsigned char* const p = f->cursor;
    f->cursor = p + 4;
    p[0] = static_cast<unsigned char>(value >> 24);
    p[1] = static_cast<unsigned char>(value >> 16);
    p[2] = static_cast<unsigned char>(value >> 8);
    p[3] = static_cast<unsigned char>(value);
    return 0;
}

inline bool fileof(fil* f) {
    return f->count > 0 ? false : fileofsub(f);
}

}  // namespace Ondrel

#endif
