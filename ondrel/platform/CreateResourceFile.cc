// Making the resource fork of a file that has none, and the file where there is none.
#include <algorithm>
#include <string>
#include <string_view>

#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/Composition.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"

namespace Ondrel {
namespace Host {
namespace {

constexpr UniCharCount kLongestName = 255;

// The host's name for a Mac's: ':' and '/' change places. False when no file can have it.
bool HostName(const UniChar* units, UniCharCount length, std::string* name) {
    if (length == 0 || length > kLongestName || units == nullptr) return false;
    if (!EncodeUtf8(std::u16string(units, units + length), name)) return false;
    if (name->find(':') != name->npos || name->find('\0') != name->npos) return false;
    std::replace(name->begin(), name->end(), '/', ':');
    return *name != "." && *name != "..";
}

// Whether another text may be canonically equivalent to this one; of the ASCII characters only
// three are what others decompose to.
bool MayHaveEquivalent(std::string_view name) {
    return std::any_of(name.begin(), name.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 || c == 'K' || c == ';' || c == '`';
    });
}

// The name under which an equivalent of a composed name is stored in a folder. fnfErr: none is.
OSErr FindEquivalent(const std::string& folder, const std::string& composed, std::string* found) {
    if (!MayHaveEquivalent(composed)) return fnfErr;
    FolderReader reader;
    const OSErr error = reader.Open(folder.c_str());
    if (error != noErr) return error == permErr ? fnfErr : error;
    std::string entry;
    while (reader.Next()) {
        if (!ComposeUtf8(reader.Name(), &entry) || entry != composed) continue;
        *found = reader.Name();
        return noErr;
    }
    return reader.Error() == noErr ? fnfErr : reader.Error();
}

// The path of the file of that name, in the composition in which it is stored; a new one's is
// composed, and gives fnfErr.
OSErr FindFile(const std::string& folder, const std::string& name, std::string* path) {
    ItemStatus status;
    *path = JoinPath(folder, name);
    OSErr error = GetItemStatus(path->c_str(), &status);
    if (error != fnfErr) return error;
    std::string composed;
    std::string stored;
    if (!ComposeUtf8(name, &composed)) return bdNamErr;
    error = FindEquivalent(folder, composed, &stored);
    *path = JoinPath(folder, error == noErr ? stored : composed);
    return error;
}

OSErr CheckFolder(const std::string& folder) {
    ItemStatus status;
    const OSErr error = GetTargetStatus(folder.c_str(), &status);
    if (error != noErr) return error;
    return status.kind == ItemKind::kFolder ? noErr : dirNFErr;
}

// Gives a file that is there an empty fork. Every item but a file has its name taken.
OSErr MakeFork(const std::string& path) {
    ItemStatus status;
    if (const OSErr error = GetTargetStatus(path.c_str(), &status); error != noErr) return error;
    if (status.kind != ItemKind::kFile) return dupFNErr;
    const std::string empty = EmptyFork();
    short fork = 0;
    OSErr error = OpenFork(path, ForkKind::kResource, fsRdWrPerm, &fork);
    if (error != noErr) return error;
    std::int64_t size = 0;
    error = FSGetForkSize(fork, &size);
    if (error == noErr && size != 0) error = dupFNErr;
    if (error == noErr)
        (void)FSWriteFork(fork, fsFromStart, 0, empty.size(), empty.data(), nullptr);
    const OSErr closed = FSCloseFork(fork);  // tells of a failed write too
    return error != noErr ? error : closed;
}

OSErr CreateResourceFile(const std::string& folder, const std::string& name, FSRef* ref) {
    if (const OSErr error = CheckFolder(folder); error != noErr) return error;
    std::string path;
    OSErr error = FindFile(folder, name, &path);
    const bool isNew = error == fnfErr;
    if (isNew) error = CreateFile(path.c_str(), 0, 0);
    if (error != noErr) return error;
    error = OrMemFull([&] { return MakeFork(path); });
    if (error == noErr && ref != nullptr) error = FSPathMakeRef(path.c_str(), ref);
    if (error != noErr && isNew) (void)DeleteFile(path.c_str());
    return error;
}

}  // namespace
}  // namespace Host

OSErr FSCreateResourceFile(const FSRef* parent, UniCharCount nameLength, const UniChar* name,
                           FSCatalogInfoBitmap whichInfo, const void* catalogInfo,
                           UniCharCount forkNameLength, const UniChar* forkName, FSRef* newRef,
                           void* newSpec) {
    if (parent == nullptr || whichInfo != kFSCatInfoNone || catalogInfo != nullptr ||
        newSpec != nullptr || !Host::IsResourceForkName(forkNameLength, forkName))
        return paramErr;
    return OrMemFull([&] {
        std::string folder;
        std::string hostName;
        const OSErr error = FSRefMakePath(parent, &folder);
        if (error != noErr) return error;
        if (!Host::HostName(name, nameLength, &hostName)) return bdNamErr;
        return Host::CreateResourceFile(folder, hostName, newRef);
    });
}

}  // namespace Ondrel
