// Finds items on disk whose names may be stored in another composition.
#include "ondrel/core/DiskNames.h"

#include <algorithm>

#include "ondrel/core/PosixPaths.h"
#include "ondrel/core/Unicode.h"

namespace Ondrel::Core {
namespace {

// No path of the host is longer in any composition, which triples a text at most. It bounds what
// the search for a path that leads nowhere costs.
constexpr std::size_t kLongestPath = std::size_t{4} * 4096;

// Whether another text can be canonically equivalent to this one: outside of ASCII many can, inside
// only where a character beyond ASCII decomposes to a single ASCII one, as U+212A (K), U+037E (;)
// and U+1FEF (`) do.
bool MayHaveEquivalent(std::string_view text) {
    return text.find_first_of("K;`") != std::string_view::npos || !IsAscii(text);
}

// A folder that is missing, not ours to list or no folder holds no name that we could find. Other
// failures must not pass for a missing name, or a second item would be made under it.
OSErr OpenForNames(const std::string& folder, Host::FolderReader* reader) {
    const OSErr code = reader->Open(folder.c_str());
    return code == permErr || code == dirNFErr ? fnfErr : code;
}

// The longest part of a missing path, up to a '/', that is there byte for byte; noErr when what is
// behind it may be there under an equivalent name.
OSErr LongestKnownPart(const std::string& path, OSErr missing, std::size_t* length) {
    std::size_t end = path.size();
    OSErr code = missing;
    while (IsMissing(code)) {
        const std::string_view absent(path.data(), end);
        if (!MayHaveEquivalent(absent)) return code;
        end = path.rfind('/', end - 1);
        if (end == 0) break;
        Host::ItemStatus status;
        code = Host::GetItemStatus(path.substr(0, end).c_str(), &status);
        if (code != noErr && !IsMissing(code)) return code;
    }
    *length = end;
    return noErr;
}

// The name under which a component of a path is stored in a folder.
OSErr FindComponent(const std::string& folder, std::string_view name, bool knownToBeMissing,
                    std::string* found) {
    if (!knownToBeMissing) {
        Host::ItemStatus status;
        const OSErr code = Host::GetItemStatus(JoinPath(folder, name).c_str(), &status);
        if (code == noErr) *found = name;
        if (!IsMissing(code)) return code;
    }
    if (!MayHaveEquivalent(name)) return fnfErr;
    return FindNameInFolder(folder, name, kCompareCanonical, found);
}

OSErr FindByEquivalence(const std::string& path, OSErr missing, DiskItem* item) {
    std::size_t known = 0;
    const OSErr part = LongestKnownPart(path, missing, &known);
    if (part != noErr) return IsMissing(part) ? missing : part;

    std::string folder = known == 0 ? "/" : path.substr(0, known);
    for (bool first = true; known < path.size(); first = false) {
        const std::size_t end = std::min(path.find('/', known + 1), path.size());
        const std::string_view name(path.data() + known + 1, end - known - 1);
        std::string found;
        const OSErr code = FindComponent(folder, name, first, &found);
        if (IsMissing(code) && end == path.size()) item->path = JoinPath(folder, PreComposed(name));
        if (code != noErr) return IsMissing(code) ? missing : code;
        folder = JoinPath(folder, found);
        known = end;
    }
    const OSErr code = Host::GetItemStatus(folder.c_str(), &item->status);
    if (code == noErr) item->path = folder;
    return code;
}

// A folder's parent as the host sees it: that of the target where the folder is a link.
void StepToParent(std::string* path) {
    DiskItem item;
    std::string target;
    if (FindOnDisk(*path, &item) == noErr && item.status.kind == Host::ItemKind::kLink &&
        Host::RealPath(item.path.c_str(), &target) == noErr)
        *path = target;
    path->resize(ParentOf(*path).size());
}

}  // namespace

bool IsMissing(OSErr code) {
    // A name that is too long in one composition may fit in another.
    return code == fnfErr || code == bdNamErr;
}

OSErr FindNameInFolder(const std::string& folder, std::string_view name, int options,
                       std::string* found) {
    Host::FolderReader reader;
    const OSErr code = OpenForNames(folder, &reader);
    if (code != noErr) return code;

    const bool ignoringCase = (options & kCompareIgnoreCase) != 0;
    const Uni16String sought = UTF8ToUni16String(std::string(name));
    const std::string best = PreComposed(name);
    bool any = false;
    while (reader.Next()) {
        const std::string_view entry = reader.Name();
        if (!ignoringCase && !MayHaveEquivalent(entry)) continue;
        if (!IsUtf8(entry)) continue;
        const Uni16String text = UTF8ToUni16String(std::string(entry));
        if (Uni16CharCompareWithOptions(text.c_str(), sought.c_str(), options) != 0) continue;
        if (!any || entry == best) *found = entry;
        if (entry == best) return noErr;
        any = true;
    }
    if (reader.Error() != noErr) return reader.Error();
    return any ? noErr : fnfErr;
}

OSErr FindOnDisk(const std::string& path, DiskItem* item) {
    item->path = path;
    item->status = {};
    const OSErr code = Host::GetItemStatus(path.c_str(), &item->status);
    const bool mayBeThere = IsMissing(code) && path.size() <= kLongestPath;
    return mayBeThere ? FindByEquivalence(path, code, item) : code;
}

std::string CleanPath(std::string_view path) {
    if (path.empty() || path.front() != '/') return {};
    if (path.find('\0') != std::string_view::npos || !IsUtf8(path)) return {};
    std::string clean = "/";
    for (std::size_t start = 1; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view name = path.substr(start, end - start);
        if (name == "..")
            StepToParent(&clean);
        else if (!name.empty() && name != ".")
            clean.append(clean.size() > 1 ? "/" : "").append(name);
        start = end + 1;
    }
    return IsUtf8(clean) ? clean : std::string();
}

}  // namespace Ondrel::Core
