// References from folders and names, and the operations on files and texts that need no stream.
// Every text is built beside the output, so that one object may be input and output at once.
#include "ondrel/filref/operations.h"

#include <algorithm>
#include <cstring>

#include "ondrel/core/CString.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/Process.h"
#include "ondrel/filref/folderpart.h"
#include "ondrel/filref/textencoding.h"
#include "ondrel/filref/workbuffer.h"
#include "ondrel/platform/Errors.h"
#include "ondrel/platform/ModificationTime.h"

namespace Ondrel {
namespace {

// From 1970-01-01 back to 1904-01-01.
constexpr std::int64_t kSecondsFrom1904To1970 = 2082844800;

// How a name is to be read, as its first special byte tells.
enum class NameKind { kRelativeMac, kAbsoluteMac, kWindows, kPosix };

NameKind KindOfName(const char* name, bool macSyntaxOnly) {
    const char* special = name + std::strcspn(name, macSyntaxOnly ? ":" : "/:\\");
    if (*special == 0) return NameKind::kRelativeMac;
    if (!macSyntaxOnly) {
        if (special[0] == '\\' || special[1] == '\\') return NameKind::kWindows;
        if (special[0] == '/') return NameKind::kPosix;
    }
    return special == name ? NameKind::kRelativeMac : NameKind::kAbsoluteMac;
}

// The functions below add to the end of a text with room for all that they are given, and answer
// the new end.

char* AppendReplacing(char* end, const char* name, char separator) {
    for (; *name != 0; ++name)
        *end++ = *name == separator ? ':' : *name;
    return end;
}

char* AppendFolderPart(char* end, const char* folderText) {
    const std::size_t length = FolderPartLength(folderText);
    std::memcpy(end, folderText, length);
    return end + length;
}

// Takes the last component, with its colon, off a text.
char* RemoveComponent(const char* start, char* end) {
    if (end > start) --end;
    while (end > start && end[-1] != ':')
        --end;
    return end;
}

// Component by component; a colon where one should begin goes up to the parent folder.
char* AppendComponents(const char* start, char* end, const char* name) {
    while (*name != 0) {
        if (*name == ':') {
            end = RemoveComponent(start, end);
            ++name;
            continue;
        }
        const std::size_t run = std::strcspn(name, ":");
        const std::size_t length = name[run] == ':' ? run + 1 : run;
        std::memcpy(end, name, length);
        end += length;
        name += length;
    }
    return end;
}

// `folderText` may be null for the kinds that do without.
char* AppendName(char* start, const char* folderText, const char* name, NameKind kind) {
    char* end = start;
    switch (kind) {
        case NameKind::kWindows:
            return AppendReplacing(end, name, '\\');
        case NameKind::kPosix:
            if (*name == '/') return AppendReplacing(end, name + 1, '/');
            if (folderText != nullptr) end = AppendFolderPart(end, folderText);
            return AppendReplacing(end, name, '/');
        case NameKind::kRelativeMac:
            end = AppendFolderPart(end, folderText);
            return AppendComponents(start, end, *name == ':' ? name + 1 : name);
        case NameKind::kAbsoluteMac:
            return AppendComponents(start, end, name);
    }
    return end;
}

// Moves a text into a reference that has storage; what does not fit is cut, and reported.
void StoreText(filref& out, const char* text, std::size_t length) {
    if (length >= kFilrefSize) {
        debug("filref buffer overflow Quit!");
        length = kFilrefSize - 1;
    }
    std::memcpy(out.path, text, length);
    out.path[length] = 0;
}

int FailWithoutMemory(int result) {
    lasterror = memFullErr;
    return result;
}

}  // namespace

// --- Making references --------------------------------------------------------------------------

int filrefnew(filref* out, const char* macPath) {
    return out->ConvertFromMacPath(macPath);
}

int filrefnew(filref* out, const filref* folder, const char* name, bool macSyntaxOnly) {
    if (name == nullptr) return 1;
    const char* folderText = folder != nullptr ? folder->path : nullptr;
    out->allocate();
    if (out->path == nullptr) return FailWithoutMemory(1);
    const NameKind kind = KindOfName(name, macSyntaxOnly);
    if (kind == NameKind::kRelativeMac && folderText == nullptr) {
        out->clear();
        return 1;
    }
    const std::size_t folderLength = folderText != nullptr ? FolderPartLength(folderText) : 0;
    WorkBuffer work(folderLength + std::strlen(name));
    char* text = work.Text();
    if (text == nullptr) return FailWithoutMemory(1);
    const char* end = AppendName(text, folderText, name, kind);
    StoreText(*out, text, static_cast<std::size_t>(end - text));
    lasterror = noErr;
    return 0;
}

int folderfromfilref(const filref* ref, filref* out) {
    filrefnew(out, ref, ":x", false);
    return 0;
}

// --- Files --------------------------------------------------------------------------------------

int filmoddat(const filref& ref, unsigned int* date) {
    FileSpec spec;
    ref.convertToFileSpec(spec);
    return fileModificationDate(spec, *date);
}

int fileModificationDate(const FileSpec& spec, unsigned int& date) {
    date = 0;
    if (!spec.IsPresent()) {
        lasterror = -1;
        return -1;
    }
    const char* path = spec;
    std::int64_t seconds = 0;
    const int hostError = GetModificationTime(path, &seconds);
    if (hostError != 0) {
        lasterror = static_cast<short>(hostError);
        return -1;
    }
    // Unsigned, so that a date beyond the 32 bits wraps instead of overflowing.
    date = static_cast<unsigned int>(static_cast<std::uint64_t>(seconds) +
                                     static_cast<std::uint64_t>(kSecondsFrom1904To1970));
    return 0;
}

int filrename(const filref& from, const filref& to) {
    FileSpec fromSpec;
    FileSpec toSpec;
    from.convertToFileSpec(fromSpec);
    to.convertToFileSpec(toSpec);
    FileSpecFunctions functions;
    functions.RenameFile(fromSpec, toSpec, FileSpecFunctions::kRefuse);
    return functions.errorCode;
}

// --- Re-encoding --------------------------------------------------------------------------------

int platformFilRefToUTF8(const filref* in, filref* out) {
    if (in->path == nullptr || in->path[0] == 0) return -1;
    const std::string utf8 = platformCStringToUtf8(std::string(in->path));
    out->clear();
    out->ConvertFromMacPath(utf8.c_str());
    return 0;
}

int utf8FilRefToPlatform(const filref* in, filref* out) {
    if (in->path == nullptr || in->path[0] == 0) return -1;
    const std::string platform = utf8ToPlatformCString(std::string(in->path), false);
    out->clear();
    out->allocate();
    if (out->path == nullptr) return FailWithoutMemory(-1);
    strmovlen(platform.c_str(), out->path, kFilrefSize);
    return 0;
}

}  // namespace Ondrel
