// Status results and the sentences for the user.
#include <cstdio>

#include "ondrel/fil/fil.h"

namespace Ondrel {
namespace {

struct Wording {
    short code;
    const char* format;
};

// "File already open" is the wording for a busy file (-47), on purpose not for -49.
constexpr Wording kWordings[] = {
    {dskFulErr, "Disk full error (#%d)"},       {eofErr, "Unexpected end of file error (#%d)"},
    {fBsyErr, "File already open error (#%d)"}, {fLckdErr, "File locked error (#%d)"},
    {fnfErr, "File not found error (#%d)"},     {ioErr, "I/O error (#%d)"},
    {memFullErr, "Memory full error (#%d)"},    {posErr, "Position error (#%d: file too large?)"},
};

std::string ErrorText(short code) {
    const char* format = "Error #%d";
    for (const Wording& wording : kWordings) {
        if (wording.code == code) {
            format = wording.format;
            break;
        }
    }
    char text[256];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(text, sizeof text, format, static_cast<int>(code));
#pragma GCC diagnostic pop
    return text;
}

const char* OperationWord(const sysinfrec* sys) {
    if ((sys->mode & kFilModeRead) != 0) return "reading";
    return (sys->mode & kFilModeWrite) != 0 ? "writing" : "opening";
}

// The error text comes in the platform's encoding, as texts of the system do.
std::string MessageWithoutStream() {
    const std::string text = ErrorText(lasterror) + " while handling a file.";
    unsigned short units[512];
    (void)PlatformCStringToUni16Char(text.c_str(), units, 512);
    return Uni16StringToUTF8(units);
}

}  // namespace

int filerr(const fil* f) {
    const sysinfrec* const sys = f->sys;
    if (sys == nullptr) return -2;
    if ((sys->mode & (kFilModeRead | kFilModeWrite)) == 0) return -1;
    if (f->count > 0 || sys->error == noErr) return 0;
    return sys->error == eofErr ? -3 : -1;
}

std::string GetFileErrorMessage(const fil* f) {
    if (f == nullptr) return MessageWithoutStream();
    if (f->sys == nullptr) return "Unknown error while handling a file.";
    filref ref;
    (void)ref.FromUnicode(f->sys->path, filRefMac);
    lasterror = noErr;
    std::string path;
    ref.getFullPathAsUtf8(path, filRefMac);
    return ErrorText(f->sys->error) + " while " + OperationWord(f->sys) + " file " + path + ".";
}

}  // namespace Ondrel
