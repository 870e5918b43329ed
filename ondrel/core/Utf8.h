// The two conversions between UTF-8 and UTF-16 that every other text function of core stands on:
// they go on until the input ends, the output is full, or a fault is met, and tell which. What
// becomes of a fault is the caller's business. Internal to core.
#ifndef ONDREL_CORE_UTF8_H
#define ONDREL_CORE_UTF8_H

#include <cstddef>

namespace Ondrel::Core {

enum class TranscodeStop : unsigned char {
    kEnd,    // the whole input is converted
    kFull,   // the next character does not fit whole
    kFault,  // the next character is none: ill-formed bytes, a surrogate without its partner
};

struct Transcoded {
    std::size_t read;     // bytes or units consumed, whole characters
    std::size_t written;  // units or bytes stored
    TranscodeStop stop;
};

// `in` must have a NUL behind its `size` bytes; NULs inside are characters like others. No
// terminator is written; all of the `room` units may be written to.
Transcoded DecodeUtf8(const char* in, std::size_t size, unsigned short* out, std::size_t room);

Transcoded EncodeUtf8(const unsigned short* in, std::size_t units, char* out, std::size_t room);

// The character at the start of a text that has a NUL at its end: its bytes, 0 for a fault, and its
// code point.
std::size_t ReadCharacter(const char* in, char32_t* point);

// The bytes that one fault at `in` takes up: the longest start of a character there, at least one.
// The text has a NUL at its end.
std::size_t FaultLength(const char* in);

// One code point at the start of a text that is not empty; a lone surrogate is one by itself.
// `*used` gets the units that it takes, 1 or 2.
char32_t CodePointAt(const unsigned short* in, std::size_t units, std::size_t* used);

}  // namespace Ondrel::Core

#endif
