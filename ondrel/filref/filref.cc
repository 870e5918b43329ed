// The value: its storage, its comparisons, its names, and its ways to specifications and to 16-bit
// text. The syntaxes themselves stand in windowsspec.cc, macspec.cc and macwalk.cc.
#include "ondrel/filref/filref.h"

#include <cstring>
#include <functional>
#include <new>
#include <utility>

#include "ondrel/core/CString.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/macspec.h"
#include "ondrel/filref/macwalk.h"
#include "ondrel/filref/windowsspec.h"
#include "ondrel/platform/Errors.h"

namespace Ondrel {
namespace {

// Makes sure that a reference can take a text.
bool HasStorage(filref& ref) {
    ref.allocate();
    if (ref.path != nullptr) return true;
    lasterror = memFullErr;
    return false;
}

// What stands behind the last separator of a reference's text; empty without storage.
const char* NameOf(const filref& ref, filRefFormat format) {
    if (ref.path == nullptr) return "";
    const char* name = ref.path;
    for (const char* c = ref.path; *c != 0; ++c) {
        if (format == filRefMac ? *c == ':' : *c == '/' || *c == '\\') name = c + 1;
    }
    return name;
}

}  // namespace

// --- Storage ------------------------------------------------------------------------------------

filref::filref(const filref& other) {
    *this = other;
}

filref::filref(filref&& other) noexcept : path(std::exchange(other.path, nullptr)) {}

filref::~filref() {
    clear();
}

filref& filref::operator=(const filref& other) {
    if (this == &other) return *this;
    if (other.path == nullptr) {
        clear();
        return *this;
    }
    allocate();
    if (path != nullptr) strmovlen(other.path, path, kFilrefSize);
    return *this;
}

filref& filref::operator=(filref&& other) noexcept {
    if (this == &other) return *this;
    clear();
    path = std::exchange(other.path, nullptr);
    return *this;
}

void filref::allocate() {
    if (path != nullptr) return;
    path = new (std::nothrow) char[kFilrefSize];
    if (path != nullptr) path[0] = 0;
}

void filref::clear() {
    delete[] path;
    path = nullptr;
}

// --- Comparisons --------------------------------------------------------------------------------

bool filref::operator==(const filref& other) const {
    if (path == nullptr || other.path == nullptr) return false;
    return strcom(path, other.path) == 0;
}

bool filref::operator<(const filref& other) const {
    if (path == nullptr || other.path == nullptr) return path == nullptr && other.path != nullptr;
    return std::strcmp(path, other.path) < 0;
}

bool FilrefCompare::operator()(const filref& a, const filref& b) const {
    if (strcom(a.path, b.path) == 0) return false;
    return std::less<const char*>()(a.path, b.path);
}

// --- Specifications -----------------------------------------------------------------------------

int filref::convertFromFileSpec(const FileSpec& spec) {
    Uni16String colonPath;
    spec.GetHFSPath(colonPath);
    std::uint16_t text[kFilrefSize];
    Uni16CharCopy(text, colonPath.c_str(), kFilrefSize);
    Uni16CharMakePreComposed(text, kFilrefSize);
    if (!HasStorage(*this)) return -1;
    Uni16CharToUTF8(text, path, kFilrefSize);
    return 0;
}

int filref::convertToFileSpec(FileSpec& spec) const {
    if (path == nullptr) return -1;
    std::uint16_t text[kFilrefSize];
    if (UTF8ToUni16Char(path, text, kFilrefSize) <= 0) return -1;
    std::uint16_t full[kFilrefSize];
    MakeFullMacText(text, full);
    // What the walk reaches is taken as it is: writing it as a colon path and reading that back
    // would cost two look-ups of the volume, and could meet another volume of the same name.
    if (!WalkMacPath(full, spec)) spec = MacPaths::HFSToPOSIX(full).c_str();
    return 0;
}

// --- 16-bit text --------------------------------------------------------------------------------

int filref::FromUnicode(const std::uint16_t* text, filRefFormat format) {
    if (!HasStorage(*this)) return -1;
    std::uint16_t rewritten[kFilrefSize];
    if (format == filRefWindows) {
        winSpecToRef(text, rewritten);
        text = rewritten;
    } else if (format != filRefMac) {
        rewritten[0] = 0;
        text = rewritten;
    }
    Uni16CharToUTF8(text, path, kFilrefSize);
    return 0;
}

int filref::ToUnicode(std::uint16_t* out, int flags, filRefFormat format) const {
    out[0] = 0;
    if (path == nullptr) return -1;
    std::uint16_t text[kFilrefSize];
    const int units = UTF8ToUni16Char(path, text, kFilrefSize);
    if (units == 0) return -1;
    // Of a text that is not UTF-8 nothing is handed out: the part before the fault is the path of
    // another file, which a caller might then delete.
    if (units < 0) return 0;
    if (format == filRefMac) refToMacSpec(text, out, flags);
    if (format == filRefWindows) refToWinSpec(text, out, flags);
    return 0;
}

void filref::getFullPathAsUtf8(char* out, std::size_t size, filRefFormat format) const {
    std::uint16_t text[kFilrefSize];
    ToUnicode(text, 0, format);
    Uni16CharToUTF8(text, out, size);
    lasterror = noErr;
}

void filref::getFullPathAsUtf8(std::string& out, filRefFormat format) const {
    char text[kFilrefSize];
    getFullPathAsUtf8(text, kFilrefSize, format);
    out.assign(text);
}

// --- Names --------------------------------------------------------------------------------------

int filref::getName(std::uint16_t* out, filRefFormat format) const {
    return UTF8ToUni16Char(NameOf(*this, format), out, kFilrefSize);
}

void filref::getNameAsUtf8(char* out, filRefFormat format) const {
    const char* name = NameOf(*this, format);
    std::memcpy(out, name, std::strlen(name) + 1);
}

void filref::getNameAsUtf8(std::string& out, filRefFormat format) const {
    out.assign(NameOf(*this, format));
}

std::string filref::getNameAsUtf8(filRefFormat format) const {
    return NameOf(*this, format);
}

// --- Others -------------------------------------------------------------------------------------

int filref::ConvertFromMacPath(const char* macPath) {
    if (!HasStorage(*this)) return -1;
    strmovlen(macPath, path, kFilrefSize);
    lasterror = noErr;
    return 0;
}

void filref::ResolveNetworkDriveLetter() {}

}  // namespace Ondrel
