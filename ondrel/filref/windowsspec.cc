// Both directions of the Windows syntax. No unit is ever written behind kFilrefSize, and no
// surrogate pair is cut.
#include "ondrel/filref/windowsspec.h"

#include <iterator>

#include "ondrel/core/Process.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"

namespace Ondrel {
namespace {

// A Windows path is not continued once it has this many units: an escape that begins one below ends
// with the buffer's last unit but the terminator.
constexpr int kWindowsLimit = 1021;

// The stream under which Windows file servers keep a Mac file's resource fork.
constexpr std::uint16_t kResourceForkSuffix[] = {':', 'A', 'F', 'P', '_', 'r', 'e',
                                                 's', 'o', 'u', 'r', 'c', 'e', 0};
constexpr int kResourceForkSuffixLength = static_cast<int>(std::size(kResourceForkSuffix)) - 1;

bool IsSlash(std::uint16_t unit) {
    return unit == '/' || unit == '\\';
}

bool IsLeadSurrogate(std::uint16_t unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

// Ends a text that was cut behind `length` units, without half a character at the end.
int EndCutText(std::uint16_t* text, int length) {
    if (length > 0 && IsLeadSurrogate(text[length - 1])) --length;
    text[length] = 0;
    return length;
}

void ReportIllegalPath(const std::uint16_t* text) {
    char rest[512];
    Uni16CharToUTF8(text, rest, sizeof rest);
    debug("winSpecToRef: illegal path name: %s", rest);
}

// Writes what stands in a colon path for the start of a Windows path, and answers how many units
// of `text` that start has.
int ConvertStart(const std::uint16_t* text, std::uint16_t* out, int& length) {
    if (text[0] == 0) return 0;
    if (IsSlash(text[0])) return text[1] == text[0] ? 2 : 0;
    if (text[1] != ':') {
        out[length++] = ':';
        return 0;
    }
    out[length++] = text[0];
    out[length++] = ':';
    if (IsSlash(text[2])) return 3;
    ReportIllegalPath(text);
    return 1;
}

// Writes what stands in a Windows path for the start of a colon path, and answers how many units
// of `ref` that start has.
int WindowsStart(const std::uint16_t* ref, std::uint16_t* out, int& length) {
    if (ref[1] == ':') {
        out[length++] = ref[0];
        out[length++] = ':';
        out[length++] = '\\';
        return 2;
    }
    if (ref[0] == ':') return 1;
    out[length++] = '\\';
    out[length++] = '\\';
    if (!IsSlash(ref[0])) return 0;
    return IsSlash(ref[1]) ? 2 : 1;
}

void AppendEscape(std::uint16_t unit, std::uint16_t* out, int& length) {
    static constexpr std::uint16_t kSlash[] = {':', '2', 'f'};
    static constexpr std::uint16_t kBackslash[] = {':', '5', 'c'};
    for (const std::uint16_t escape : unit == '/' ? kSlash : kBackslash)
        out[length++] = escape;
}

}  // namespace

void winSpecToRef(const std::uint16_t* text, std::uint16_t* out) {
    int length = 0;
    const std::uint16_t* rest = text + ConvertStart(text, out, length);
    for (; *rest != 0; ++rest) {
        if (length == kFilrefSize - 1) {
            EndCutText(out, length);
            return;
        }
        out[length++] = IsSlash(*rest) ? std::uint16_t{':'} : *rest;
    }
    out[length] = 0;
}

void refToWinSpec(const std::uint16_t* ref, std::uint16_t* out, int flags) {
    int length = 0;
    const std::uint16_t* rest = ref + WindowsStart(ref, out, length);
    for (; *rest != 0 && length < kWindowsLimit; ++rest) {
        if (IsSlash(*rest))
            AppendEscape(*rest, out, length);
        else
            out[length++] = *rest == ':' ? std::uint16_t{'\\'} : *rest;
    }
    if (*rest != 0) length = EndCutText(out, length);
    if (length >= 2 && out[length - 2] == '\\' && out[length - 1] == 'x') --length;
    out[length] = 0;
    if ((flags & filRefResourceFork) == 0) return;
    if (length + kResourceForkSuffixLength >= kFilrefSize)
        out[0] = 0;
    else
        Uni16CharCopy(out + length, kResourceForkSuffix);
}

}  // namespace Ondrel
