// The converters between local and generic path texts. A converter writes its result beside the
// text and copies it back only when it is complete, so that a refused text is left alone.
#include "ondrel/filref/genericpath.h"

#include <algorithm>
#include <cstring>

#include "ondrel/core/CString.h"
#include "ondrel/filref/workbuffer.h"

namespace Ondrel {
namespace {

constexpr char kParentStep[] = "../";
constexpr char kCurrentFolder[] = "./";
constexpr std::size_t kParentStepLength = sizeof kParentStep - 1;

// The longest path that breakFilePath takes, and the most that its generic form has: every byte
// escaped, a slash before it, the colon of a drive, and the terminator.
constexpr std::size_t kLongestBrokenPath = 1024;
constexpr std::size_t kBrokenPathSize = 2 * kLongestBrokenPath + 3;

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// The bytes that the UTF-8 character with this first byte has.
std::size_t CharacterLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0xC0) return 1;
    if (byte < 0xE0) return 2;
    return byte < 0xF0 ? 3 : 4;
}

// The length of a cut text without the half of a character at its end.
std::size_t LengthInCharacters(const char* text, std::size_t length) {
    std::size_t start = length;
    while (start > 0 && length - start < 3 && IsContinuation(text[start - 1]))
        --start;
    if (start == 0) return length;
    --start;
    return start + CharacterLength(text[start]) > length ? start : length;
}

// A text that is written into a buffer with room for `limit` bytes and the terminator.
class Output {
 public:
    Output(char* text, std::size_t limit) : text_(text), limit_(limit) {}

    // False when the bytes do not fit, and nothing is written then.
    bool Add(const char* bytes, std::size_t count) {
        if (count > limit_ - length_) return false;
        std::memcpy(text_ + length_, bytes, count);
        length_ += count;
        return true;
    }
    bool Add(char byte) { return Add(&byte, 1); }

    std::size_t Length() const { return length_; }

 private:
    char* text_;
    std::size_t limit_;
    std::size_t length_ = 0;
};

// --- Local to generic ---------------------------------------------------------------------------

// What stands at the start of a Mac path, and how to write it.
struct MacStart {
    std::size_t colons = 0;  // that lead the path
    bool absolute = false;
};

MacStart StartOfMacPath(const char* path, std::size_t length) {
    MacStart start;
    while (start.colons < length && path[start.colons] == ':')
        ++start.colons;
    start.absolute = start.colons == 0 && std::memchr(path, ':', length) != nullptr;
    return start;
}

// Writes the generic form of a Mac path; false when it had to be cut.
bool WriteGenericFromMac(const char* path, std::size_t length, const MacStart& start, Output& out) {
    if (start.absolute && !out.Add('/')) return false;
    // A single colon only says that the path is relative; pairs are parent steps.
    for (std::size_t step = 0; step < start.colons / 2; ++step) {
        if (!out.Add(kParentStep, kParentStepLength)) return false;
    }
    for (std::size_t i = start.colons; i < length; ++i) {
        const char c = path[i];
        const char escaped[] = {'\\', c};
        const bool isSlash = c == '/' || c == '\\';
        if (isSlash ? !out.Add(escaped, sizeof escaped) : !out.Add(c == ':' ? '/' : c))
            return false;
    }
    return true;
}

// A volume of one letter is a drive, and has a colon in the generic form: "/C/" becomes "/C:/", and
// "/C//rest" becomes "/C:/rest". `text` is an absolute path; `size` counts the whole buffer.
void RepairDriveRoot(char* text, std::size_t size) {
    if (text[1] == '\\' || text[1] == 0 || text[2] != '/') return;
    if (text[3] == '/')
        text[2] = ':';
    else if (text[3] == 0)
        strmovlen(":/", text + 2, static_cast<int>(std::min<std::size_t>(size - 2, 3)));
}

// `result` has room for `size` bytes.
bool GenericFromMac(char* path, std::size_t size, char* result) {
    const std::size_t length = strnlen(path, size);
    const MacStart start = StartOfMacPath(path, length);
    if (start.colons > 1 && start.colons % 2 != 0) return false;
    Output out(result, size - 1);
    const bool whole = WriteGenericFromMac(path, length, start, out) && length < size;
    if (whole) {
        result[out.Length()] = 0;
        if (start.absolute) RepairDriveRoot(result, size);
    } else {
        result[LengthInCharacters(result, out.Length())] = 0;
    }
    std::memcpy(path, result, std::strlen(result) + 1);
    return true;
}

// In place: the text only grows by the slash before a drive.
bool GenericFromWindows(char* path, std::size_t size) {
    const std::size_t length = strnlen(path, size);
    const bool drive = length >= 2 && path[1] == ':';
    if (length + (drive ? 1 : 0) >= size) return false;
    std::replace(path, path + length, '\\', '/');
    if (drive) {
        std::memmove(path + 1, path, length + 1);
        path[0] = '/';
    }
    return true;
}

// --- Generic to local ---------------------------------------------------------------------------

bool BeginsWith(const char* text, const char* prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// Writes a text with another separator and without its escapes; false when it does not fit, or
// ends in the middle of an escape.
bool WriteWithoutEscapes(const char* generic, char separator, Output& out) {
    for (; *generic != 0; ++generic) {
        char c = *generic;
        if (c == '/') {
            c = separator;
        } else if (c == '\\') {
            c = *++generic;
            if (c == 0) return false;
        }
        if (!out.Add(c)) return false;
    }
    return true;
}

bool WriteMacFromGeneric(const char* generic, Output& out) {
    if (*generic == '/') {
        ++generic;
    } else if (BeginsWith(generic, kParentStep)) {
        for (; BeginsWith(generic, kParentStep); generic += kParentStepLength) {
            if (!out.Add("::", 2)) return false;
        }
    } else if (*generic != 0) {
        if (!out.Add(':')) return false;
        if (BeginsWith(generic, kCurrentFolder)) generic += sizeof kCurrentFolder - 1;
    }
    return WriteWithoutEscapes(generic, ':', out);
}

bool WriteWindowsFromGeneric(const char* generic, Output& out) {
    if (generic[0] == '/' && generic[1] != 0 && generic[2] == ':') ++generic;
    if (generic[0] != 0 && generic[1] == ':') {
        if (!out.Add(generic, 2)) return false;
        generic += 2;
    }
    return WriteWithoutEscapes(generic, '\\', out);
}

// --- Splitting ----------------------------------------------------------------------------------

void SplitGeneric(const char* generic, std::vector<std::string>& parts) {
    const char* c = generic;
    if (*c != '/') parts.emplace_back();
    for (;;) {
        c += std::strspn(c, "/");
        if (*c == 0) break;
        const std::size_t length = std::strcspn(c, "/");
        parts.emplace_back(c, length);
        c += length;
    }
    if (c > generic && c[-1] == '/') parts.emplace_back();
}

}  // namespace

bool localPathToGeneric(char* path, std::size_t size, filRefFormat format) {
    if (path == nullptr || size == 0) return false;
    switch (format) {
        case filRefMac: {
            WorkBuffer work(size);
            return work.Text() != nullptr && GenericFromMac(path, size, work.Text());
        }
        case filRefWindows:
            return GenericFromWindows(path, size);
        case filRefGenericA:
        case filRefGenericB:
            return true;
    }
    path[0] = 0;
    return false;
}

bool genericPathToLocal(char* path, std::size_t size, filRefFormat format) {
    if (path == nullptr || size == 0) return false;
    if (format != filRefMac && format != filRefWindows) {
        path[0] = 0;
        return false;
    }
    if (strnlen(path, size) == size) return false;
    WorkBuffer work(size);
    char* result = work.Text();
    if (result == nullptr) return false;
    Output out(result, size - 1);
    const bool whole =
        format == filRefMac ? WriteMacFromGeneric(path, out) : WriteWindowsFromGeneric(path, out);
    if (!whole) return false;
    std::memcpy(path, result, out.Length());
    path[out.Length()] = 0;
    return true;
}

bool GenericPathToMacPath(const char* generic, char* out, std::size_t size) {
    if (generic == nullptr || out == nullptr) return false;
    const std::size_t used = std::min<std::size_t>(size, kFilrefSize);
    if (generic != out) strmovlen(generic, out, static_cast<int>(used));
    return genericPathToLocal(out, used, filRefMac);
}

bool filrefToGeneric(const filref& ref, std::string& out) {
    char text[kFilrefSize];
    ref.getFullPathAsUtf8(text, sizeof text, filRefMac);
    const bool converted = localPathToGeneric(text, sizeof text, filRefMac);
    out.assign(text);
    return converted;
}

bool GenericPathToFilref(const std::string& generic, filref& ref) {
    char text[kFilrefSize];
    strmovlen(generic.c_str(), text, kFilrefSize);
    return genericPathToLocal(text, sizeof text, filRefMac) && ref.ConvertFromMacPath(text) == 0;
}

int breakFilePath(const std::string& path, std::vector<std::string>& parts, filRefFormat format) {
    if (path.empty() || path.size() > kLongestBrokenPath) return -1;
    parts.clear();
    char generic[kBrokenPathSize];
    strmovlen(path.c_str(), generic, sizeof generic);
    if (!localPathToGeneric(generic, sizeof generic, format)) return -1;
    SplitGeneric(generic, parts);
    return static_cast<int>(parts.size());
}

}  // namespace Ondrel
