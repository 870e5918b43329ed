// UTF-8 and UTF-16, each way in one pass: ASCII in blocks, everything else a character at a time,
// checked as it is read. Well-formed sequences are those of the Unicode Standard, table 3-7.
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

void StoreUnits(char32_t point, unsigned short* out) {
    if (point < 0x10000) {
        out[0] = static_cast<unsigned short>(point);
        return;
    }
    out[0] = static_cast<unsigned short>(0xD7C0U + (point >> 10));
    out[1] = static_cast<unsigned short>(0xDC00U | (point & 0x3FFU));
}

template <bool kBounded>
Transcoded Decode(const unsigned char* const in, std::size_t size, unsigned short* const out,
                  std::size_t room) {
    const unsigned char* from = in;
    const unsigned char* const end = in + size;
    unsigned short* to = out;
    unsigned short* const limit = out + room;
    const auto fits = [&](std::ptrdiff_t units) { return !kBounded || limit - to >= units; };
    const auto stopped = [&](TranscodeStop stop) {
        return Transcoded{static_cast<std::size_t>(from - in), static_cast<std::size_t>(to - out),
                          stop};
    };

    while (from < end) {
        std::size_t count = 16;
        while (count == 16 && end - from >= 16 && fits(16)) {
            count = WidenAscii16(from, to);
            from += count;
            to += count;
        }
        if (count == 16 && end - from >= 8 && fits(8)) {
            count = WidenAscii8(from, to);
            from += count;
            to += count;
        }
        for (; from < end && *from < 0x80; ++from, ++to) {
            if (!fits(1)) return stopped(TranscodeStop::kFull);
            *to = *from;
        }
        while (from < end && *from >= 0x80) {
            if (!fits(1)) return stopped(TranscodeStop::kFull);
            char32_t point = 0;
            const std::size_t length = ReadMultiByte(from, &point);
            if (length == 0) return stopped(TranscodeStop::kFault);
            const std::ptrdiff_t units = length == 4 ? 2 : 1;
            if (!fits(units)) return stopped(TranscodeStop::kFull);
            StoreUnits(point, to);
            from += length;
            to += units;
        }
    }
    return stopped(TranscodeStop::kEnd);
}

// Stores a character beyond ASCII; answers its bytes.
std::size_t StoreBytes(char32_t point, unsigned char* out) {
    const auto tail = [&](int shift) {
        return static_cast<unsigned char>(0x80U | ((point >> shift) & 0x3FU));
    };
    if (point < 0x800) {
        out[0] = static_cast<unsigned char>(0xC0U | (point >> 6));
        out[1] = tail(0);
        return 2;
    }
    if (point < 0x10000) {
        out[0] = static_cast<unsigned char>(0xE0U | (point >> 12));
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<unsigned char>(0xF0U | (point >> 18));
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

std::ptrdiff_t BytesOf(char32_t point) {
    return point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
}

template <bool kBounded>
Transcoded Encode(const unsigned short* const in, std::size_t units, unsigned char* const out,
                  std::size_t room) {
    const unsigned short* from = in;
    const unsigned short* const end = in + units;
    unsigned char* to = out;
    unsigned char* const limit = out + room;
    const auto fits = [&](std::ptrdiff_t bytes) { return !kBounded || limit - to >= bytes; };
    const auto stopped = [&](TranscodeStop stop) {
        return Transcoded{static_cast<std::size_t>(from - in), static_cast<std::size_t>(to - out),
                          stop};
    };

    while (from < end) {
        std::size_t count = 16;
        while (count == 16 && end - from >= 16 && fits(16)) {
            count = NarrowAscii16(from, to);
            from += count;
            to += count;
        }
        if (count == 16 && end - from >= 8 && fits(8)) {
            count = NarrowAscii8(from, to);
            from += count;
            to += count;
        }
        for (; from < end && *from < 0x80; ++from, ++to) {
            if (!fits(1)) return stopped(TranscodeStop::kFull);
            *to = static_cast<unsigned char>(*from);
        }
        while (from < end && *from >= 0x80) {
            std::size_t used = 1;
            char32_t point = *from;
            if ((point & 0xF800U) == 0xD800) {
                point = CodePointAt(from, static_cast<std::size_t>(end - from), &used);
                if (used == 1) return stopped(TranscodeStop::kFault);
            }
            if (!fits(BytesOf(point))) return stopped(TranscodeStop::kFull);
            to += StoreBytes(point, to);
            from += used;
        }
    }
    return stopped(TranscodeStop::kEnd);
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
