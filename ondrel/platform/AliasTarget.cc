// The ways from an alias record to an item.
#include "ondrel/platform/AliasTarget.h"

#include <algorithm>
#include <vector>

#include "ondrel/platform/Composition.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/MountTable.h"
#include "ondrel/platform/PathNames.h"

namespace Ondrel::Host {
namespace {

// The parts between the separators; one at the start or the end makes no empty part there.
std::vector<std::string> Split(std::string_view text, char separator) {
    if (text.starts_with(separator)) text.remove_prefix(1);
    if (text.ends_with(separator)) text.remove_suffix(1);
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

// A Mac's name as the host has it, and the reverse.
std::string SwapSeparators(std::string name) {
    for (char& c : name) {
        if (c == '/')
            c = ':';
        else if (c == ':')
            c = '/';
    }
    return name;
}

bool IsName(const std::string& part) {
    return !part.empty() && part != "." && part != ".." && part.find('/') == std::string::npos &&
           part.find('\0') == std::string::npos;
}

// The item of the folder whose name is canonically equal.
OSErr FindByComposition(const std::string& folder, const std::string& name, std::string* path) {
    std::string wanted;
    if (!ComposeUtf8(name, &wanted)) return fnfErr;
    FolderReader reader;
    if (const OSErr error = reader.Open(folder.c_str()); error != noErr) return error;
    std::string composed;
    while (reader.Next()) {
        if (!ComposeUtf8(reader.Name(), &composed) || composed != wanted) continue;
        *path = JoinPath(folder, reader.Name());
        return noErr;
    }
    return reader.Error() == noErr ? fnfErr : reader.Error();
}

// The item that the names lead to from a volume's root.
OSErr Locate(const std::string& root, const std::vector<std::string>& names, std::string* path) {
    if (!std::all_of(names.begin(), names.end(), IsName)) return fnfErr;
    std::string found = root;
    ItemStatus status;
    for (const std::string& name : names) {
        const std::string folder = found;
        found = JoinPath(folder, name);
        OSErr error = GetItemStatus(found.c_str(), &status);
        if (error == fnfErr) error = FindByComposition(folder, name, &found);
        if (error != noErr) return error;
    }
    *path = std::move(found);
    return noErr;
}

// The volume's name; a record of the later version may have it in the mount point alone.
std::string VolumeName(const AliasRecord& record) {
    if (!record.volumeName.empty()) return record.volumeName;
    return SwapSeparators(std::string(SplitPath(record.mountPoint).name));
}

OSErr FindByPosixPath(const AliasRecord& record, std::string* path) {
    std::string root;
    if (record.posixPath.empty() || !FindMount(VolumeName(record), &root)) return fnfErr;
    return Locate(root, Split(record.posixPath, '/'), path);
}

OSErr FindByColonPath(const AliasRecord& record, std::string* path) {
    std::vector<std::string> names = Split(record.colonPath, ':');
    std::string root;
    if (names.empty() || !FindMount(names.front(), &root)) return fnfErr;
    names.erase(names.begin());
    std::transform(names.begin(), names.end(), names.begin(), SwapSeparators);
    return Locate(root, names, path);
}

OSErr FindInVolumeRoot(const AliasRecord& record, std::string* path) {
    std::string root;
    if (!record.isInVolumeRoot || !FindMount(VolumeName(record), &root)) return fnfErr;
    return Locate(root, {SwapSeparators(record.targetName)}, path);
}

}  // namespace

OSErr FindAliasTarget(const AliasRecord& record, std::string* path) {
    OSErr failure = fnfErr;
    for (const auto find : {FindByPosixPath, FindByColonPath, FindInVolumeRoot}) {
        const OSErr error = find(record, path);
        if (error == noErr) return noErr;
        // What the host could not tell outweighs what is not there.
        if (failure == fnfErr && error != dirNFErr) failure = error;
    }
    return failure;
}

}  // namespace Ondrel::Host
