// UTF-8 and UTF-16, each way in one pass: ASCII in blocks, everything else a character at a time,
// checked as it is read. What makes one byte or two is encoded without a branch: letters with and
// without accents follow each other as no processor foresees. Well-formed sequences are those of
// the Unicode Standard, table 3-7.
//
// Each loop exists twice: one for outputs that hold any input of its length, which is nearly every
// call, and one that looks before it stores.
#include "ondrel/core/Utf8.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "ondrel/core/AsciiBlocks.h"
#include "ondrel/core/Unicode.h"

namespace Ondrel {
namespace Core {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::size_t kReplacementSize = 3;

bool IsContinuation(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

bool IsHighSurrogate(unsigned unit) {
    return (unit & 0xFC00U) == 0xD800;
}

bool IsLowSurrogate(unsigned unit) {
    return (unit & 0xFC00U) == 0xDC00;
}

// A character beyond ASCII at `in`: its code point and its bytes, 0 when there is none. It reads no
// byte behind the first that does not fit, so that the NUL at the end stops it.
std::size_t ReadMultiByte(const unsigned char* in, char32_t* point) {
    const unsigned first = in[0];
    if (first < 0xE0) {
        if (first < 0xC2 || !IsContinuation(in[1])) return 0;
        *point = ((first & 0x1FU) << 6) | (in[1] & 0x3FU);
        return 2;
    }
    if (!IsContinuation(in[1]) || !IsContinuation(in[2])) return 0;
    const unsigned middle = ((in[1] & 0x3FU) << 6) | (in[2] & 0x3FU);
    if (first < 0xF0) {
        *point = ((first & 0x0FU) << 12) | middle;
        return *point < 0x800 || (*point & 0xF800U) == 0xD800 ? 0 : 3;
    }
    if (first > 0xF4 || !IsContinuation(in[3])) return 0;
    *point = ((first & 0x07U) << 18) | (middle << 6) | (in[3] & 0x3FU);
    return *point < 0x10000 || *point > 0x10FFFF ? 0 : 4;
}

void StorePair(char32_t point, unsigned short* out) {
    out[0] = static_cast<unsigned short>(0xD7C0U + (point >> 10));
    out[1] = static_cast<unsigned short>(0xDC00U | (point & 0x3FFU));
}

// Where a conversion stands. `Fits` looks at the output only in the loops that are bounded.
template <bool kBounded, class From, class To>
struct Cursor {
    static constexpr bool kIsBounded = kBounded;

    const From* from;
    const From* const end;
    To* to;
    To* const limit;
    const From* const in;
    To* const out;

    Cursor(const From* input, std::size_t size, To* output, std::size_t room)
        : from(input),
          end(input + size),
          to(output),
          limit(output + room),
          in(input),
          out(output) {}

    bool Fits(std::ptrdiff_t count) const { return !kBounded || limit - to >= count; }
    bool HasBlock(std::ptrdiff_t size) const { return end - from >= size && Fits(size); }

    void MoveTo(const Cursor& other) {
        from = other.from;
        to = other.to;
    }

    Transcoded Stopped(TranscodeStop stop) const {
        return {static_cast<std::size_t>(from - in), static_cast<std::size_t>(to - out), stop};
    }
};

// Takes ASCII in blocks as far as it goes. What is left behind the last whole block is taken with a
// block that ends with the input and begins in the one before.
template <std::size_t kBlock, auto kTakeBlock, class Cursor>
void TakeAsciiBlocks(Cursor* at) {
    do {
        const std::size_t count = kTakeBlock(at->from, at->to);
        at->from += count;
        at->to += count;
        if (count < kBlock) return;
    } while (at->HasBlock(kBlock));
    const std::ptrdiff_t rest = at->end - at->from;
    if (rest >= static_cast<std::ptrdiff_t>(kBlock) || !at->Fits(rest)) return;
    const std::ptrdiff_t back = static_cast<std::ptrdiff_t>(kBlock) - rest;
    const auto count = static_cast<std::ptrdiff_t>(kTakeBlock(at->from - back, at->to - back));
    at->from += count - back;
    at->to += count - back;
}

// Takes ASCII in blocks where at least eight characters of it are there.
template <auto kTake16, auto kTake8, class Cursor>
void TakeAscii(Cursor* at) {
    if (at->HasBlock(16))
        TakeAsciiBlocks<16, kTake16>(at);
    else
        TakeAsciiBlocks<8, kTake8>(at);
}

// Takes characters one by one, and stops with kEnd before a run of ASCII that blocks are for. The
// cursor is kept in registers: what is stored could be the cursor itself, for all that the compiler
// knows. The NUL at the end stops whatever goes on as long as bytes are of one kind.
template <class Cursor>
TranscodeStop DecodeCharacters(Cursor* cursor) {
    Cursor at = *cursor;
    const auto stopped = [&](TranscodeStop stop) {
        cursor->MoveTo(at);
        return stop;
    };
    while (at.from < at.end) {
        if (at.HasBlock(8)) {
            if (StartsWithAscii8(at.from)) break;
            while (at.from[0] < 0x80)
                *at.to++ = *at.from++;
        }
        while (at.from[0] < 0x80 && at.from < at.end) {
            if (!at.Fits(1)) return stopped(TranscodeStop::kFull);
            *at.to++ = *at.from++;
        }
        for (unsigned first = at.from[0]; first >= 0x80; first = at.from[0]) {
            if (!at.Fits(1)) return stopped(TranscodeStop::kFull);
            const unsigned second = at.from[1] ^ 0x80U;
            if (second > 0x3F) return stopped(TranscodeStop::kFault);
            if (first < 0xE0) {
                if (first < 0xC2) return stopped(TranscodeStop::kFault);
                *at.to++ = static_cast<unsigned short>(((first & 0x1FU) << 6) | second);
                at.from += 2;
            } else if (first < 0xF0) {
                const unsigned third = at.from[2] ^ 0x80U;
                const unsigned point = ((first & 0x0FU) << 12) | (second << 6) | third;
                if (third > 0x3F || point < 0x800 || (point & 0xF800U) == 0xD800)
                    return stopped(TranscodeStop::kFault);
                *at.to++ = static_cast<unsigned short>(point);
                at.from += 3;
            } else {
                char32_t point = 0;
                if (ReadMultiByte(at.from, &point) == 0) return stopped(TranscodeStop::kFault);
                if (!at.Fits(2)) return stopped(TranscodeStop::kFull);
                StorePair(point, at.to);
                at.from += 4;
                at.to += 2;
            }
        }
    }
    return stopped(TranscodeStop::kEnd);
}

template <bool kBounded>
Transcoded Decode(const unsigned char* in, std::size_t size, unsigned short* out,
                  std::size_t room) {
    Cursor<kBounded, unsigned char, unsigned short> at(in, size, out, room);
    for (;;) {
        const TranscodeStop stop = DecodeCharacters(&at);
        if (stop != TranscodeStop::kEnd || at.from == at.end) return at.Stopped(stop);
        TakeAscii<WidenAscii16, WidenAscii8>(&at);
    }
}

// The last byte of a character's form but `shift` / 6.
unsigned char TailByte(char32_t point, int shift) {
    return static_cast<unsigned char>(0x80U | ((point >> shift) & 0x3FU));
}

// The form of a unit below 0x800: its first byte, for which a second one follows where it is not
// ASCII. Two bytes are stored in any case. The answer is the form's length.
std::size_t StoreNarrow(unsigned unit, unsigned char* out) {
    const unsigned isPair = unit > 0x7F;
    const unsigned lead = 0xC0U | (unit >> 6);
    out[0] = static_cast<unsigned char>(unit ^ ((unit ^ lead) & (0U - isPair)));
    out[1] = TailByte(unit, 0);
    return 1 + isPair;
}

void StoreTriple(char32_t point, unsigned char* out) {
    out[0] = static_cast<unsigned char>(0xE0U | (point >> 12));
    out[1] = TailByte(point, 6);
    out[2] = TailByte(point, 0);
}

void StoreQuadruple(char32_t point, unsigned char* out) {
    out[0] = static_cast<unsigned char>(0xF0U | (point >> 18));
    out[1] = TailByte(point, 12);
    out[2] = TailByte(point, 6);
    out[3] = TailByte(point, 0);
}

// Eight units at a time as long as all are below 0x800. False: the ninth to come begin with ASCII.
template <class Cursor>
bool EncodeNarrowBlocks(Cursor* at) {
    while (at->end - at->from >= 8 && at->Fits(16)) {
        if (StartsWithAscii8(at->from)) return false;
        if (!StartsWithNarrow8(at->from)) return true;
        for (int i = 0; i < 8; ++i)
            at->to += StoreNarrow(at->from[i], at->to);
        at->from += 8;
    }
    return true;
}

// As DecodeCharacters, but there need not be a NUL at the end.
template <class Cursor>
TranscodeStop EncodeCharacters(Cursor* cursor) {
    Cursor at = *cursor;
    const auto stopped = [&](TranscodeStop stop) {
        cursor->MoveTo(at);
        return stop;
    };
    while (EncodeNarrowBlocks(&at) && at.from < at.end) {
        for (; at.from < at.end && at.from[0] < 0x800; ++at.from) {
            if (!at.Fits(at.from[0] < 0x80 ? 1 : 2)) return stopped(TranscodeStop::kFull);
            if (Cursor::kIsBounded && at.from[0] < 0x80)
                *at.to++ = static_cast<unsigned char>(at.from[0]);
            else
                at.to += StoreNarrow(at.from[0], at.to);
        }
        for (; at.from < at.end && at.from[0] >= 0x800; ++at.from) {
            const char32_t unit = at.from[0];
            if ((unit & 0xF800U) != 0xD800) {
                if (!at.Fits(3)) return stopped(TranscodeStop::kFull);
                StoreTriple(unit, at.to);
                at.to += 3;
                continue;
            }
            std::size_t used = 0;
            const char32_t point =
                CodePointAt(at.from, static_cast<std::size_t>(at.end - at.from), &used);
            if (used == 1) return stopped(TranscodeStop::kFault);
            if (!at.Fits(4)) return stopped(TranscodeStop::kFull);
            StoreQuadruple(point, at.to);
            at.to += 4;
            ++at.from;
        }
    }
    return stopped(TranscodeStop::kEnd);
}

template <bool kBounded>
Transcoded Encode(const unsigned short* in, std::size_t units, unsigned char* out,
                  std::size_t room) {
    Cursor<kBounded, unsigned short, unsigned char> at(in, units, out, room);
    for (;;) {
        if (at.HasBlock(8) && StartsWithAscii8(at.from))
            TakeAscii<NarrowAscii16, NarrowAscii8>(&at);
        const TranscodeStop stop = EncodeCharacters(&at);
        if (stop != TranscodeStop::kEnd || at.from == at.end) return at.Stopped(stop);
    }
}

}  // namespace

Transcoded DecodeUtf8(const char* in, std::size_t size, unsigned short* out, std::size_t room) {
    // No byte makes more than one unit.
    const auto* bytes = reinterpret_cast<const unsigned char*>(in);
    return size <= room ? Decode<false>(bytes, size, out, room)
                        : Decode<true>(bytes, size, out, room);
}

Transcoded EncodeUtf8(const unsigned short* in, std::size_t units, char* out, std::size_t room) {
    // No unit makes more than three bytes.
    auto* bytes = reinterpret_cast<unsigned char*>(out);
    return units <= room / 3 ? Encode<false>(in, units, bytes, room)
                             : Encode<true>(in, units, bytes, room);
}

std::size_t ReadCharacter(const char* in, char32_t* point) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(in);
    *point = bytes[0];
    return bytes[0] < 0x80 ? 1 : ReadMultiByte(bytes, point);
}

std::size_t FaultLength(const char* in) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(in);
    const unsigned first = bytes[0];
    if (first < 0xE0 || first > 0xF4) return 1;
    // The lead bytes whose second byte has a narrower range than usual.
    const unsigned low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (bytes[1] < low || bytes[1] > high) return 1;
    return first >= 0xF0 && IsContinuation(bytes[2]) ? 3 : 2;
}

char32_t CodePointAt(const unsigned short* in, std::size_t units, std::size_t* used) {
    *used = 1;
    if (units < 2 || !IsHighSurrogate(in[0]) || !IsLowSurrogate(in[1])) return in[0];
    *used = 2;
    return 0x10000U + ((in[0] & 0x3FFU) << 10) + (in[1] & 0x3FFU);
}

namespace {

// EncodeUtf8, with U+FFFD for every surrogate without its partner, until the end or a cut.
std::size_t EncodeReplacingFaults(const unsigned short* in, std::size_t units, char* out,
                                  std::size_t room) {
    std::size_t read = 0;
    std::size_t written = 0;
    for (;;) {
        const Transcoded part = EncodeUtf8(in + read, units - read, out + written, room - written);
        read += part.read;
        written += part.written;
        if (part.stop != TranscodeStop::kFault || room - written < kReplacementSize) return written;
        std::memcpy(out + written, kReplacement, kReplacementSize);
        read += 1;
        written += kReplacementSize;
    }
}

// The room for text in a buffer that is not empty, as far as an int can count it.
std::size_t RoomIn(unsigned long capacity) {
    return std::min<std::size_t>(capacity - 1, INT_MAX);
}

}  // namespace
}  // namespace Core

int UTF8ToUni16Char(const char* text, unsigned short* out, unsigned long outUnits) {
    if (outUnits == 0) return 0;
    const Core::Transcoded result =
        Core::DecodeUtf8(text, std::strlen(text), out, Core::RoomIn(outUnits));
    out[result.written] = 0;
    return result.stop == Core::TranscodeStop::kFault ? -1 : static_cast<int>(result.written);
}

int Uni16CharToUTF8(const unsigned short* text, char* out, unsigned long outBytes) {
    if (outBytes == 0) return 0;
    const std::size_t written =
        Core::EncodeReplacingFaults(text, Uni16CharGetLength(text), out, Core::RoomIn(outBytes));
    out[written] = 0;
    return static_cast<int>(written);
}

// Names and paths are short: they are converted on the stack and stored once.
constexpr std::size_t kShortText = 512;

Uni16String UTF8ToUni16String(const std::string& text) {
    if (text.size() <= kShortText) {
        std::array<unsigned short, kShortText> units;
        const auto result = Core::DecodeUtf8(text.c_str(), text.size(), units.data(), units.size());
        return Uni16String(units.data(), result.written);
    }
    Uni16String units(text.size(), 0);
    units.resize(Core::DecodeUtf8(text.c_str(), text.size(), units.data(), units.size()).written);
    return units;
}

std::string Uni16StringToUTF8(const Uni16String& text) {
    if (text.size() <= kShortText) {
        std::array<char, kShortText * 3> bytes;
        const std::size_t written =
            Core::EncodeReplacingFaults(text.data(), text.size(), bytes.data(), bytes.size());
        return std::string(bytes.data(), written);
    }
    std::string bytes(text.size() * 3, '\0');
    bytes.resize(Core::EncodeReplacingFaults(text.data(), text.size(), bytes.data(), bytes.size()));
    return bytes;
}

}  // namespace Ondrel
