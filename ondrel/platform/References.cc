// References: made from a path, and led back to a path. The 80 bytes are enough to find an item;
// where it was last is kept beside them in tables of bounded size, so that one status call does in
// nearly every case.
#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <mutex>

#include "ondrel/platform/Alias.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/HoldAcrossFork.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/LongPaths.h"
#include "ondrel/platform/PathCache.h"
#include "ondrel/platform/RefFacts.h"

namespace Ondrel {
namespace Host {
namespace {

constexpr std::size_t kItemsKept = 2048;
constexpr std::size_t kFoldersKept = 512;

constinit std::mutex placesMutex;

struct Places {
    PathCache items{kItemsKept};
    PathCache folders{kFoldersKept};
};

// Never destroyed: threads may use it until the process ends.
Places& ThePlaces() {
    static Places& places = *new Places;
    return places;
}

template <class Value>
std::string_view BytesOf(const Value& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// What is known of the item's folder, as a key.
RefFacts FolderOf(const RefFacts& facts) {
    RefFacts folder = facts;
    folder.item = {};
    folder.nameHash = 0;
    return folder;
}

std::string ParentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Without memory it is not remembered, and found again another time.
void Remember(const RefFacts& facts, const std::string& path) {
    HoldAcrossFork<placesMutex>();
    const std::lock_guard lock(placesMutex);
    (void)OrMemFull([&] {
        ThePlaces().items.Store(BytesOf(facts), path);
        ThePlaces().folders.Store(BytesOf(FolderOf(facts)), ParentOf(path));
        return noErr;
    });
}

bool RecallItem(const RefFacts& facts, std::string* path) {
    const std::lock_guard lock(placesMutex);
    return ThePlaces().items.Find(BytesOf(facts), path);
}

bool RecallFolder(const RefFacts& facts, std::string* path) {
    const std::lock_guard lock(placesMutex);
    return ThePlaces().folders.Find(BytesOf(FolderOf(facts)), path);
}

OSErr GetIdentity(const std::string& path, int flags, Identity* identity) {
    Descriptor folder;
    const char* rest = nullptr;
    if (const OSErr code = OpenLongPath(path, &folder, &rest); code != noErr) return code;
    return GetIdentity(folder.IsOpen() ? folder.Get() : AT_FDCWD, rest, flags, identity);
}

// --- From a path --------------------------------------------------------------------------------

// The path of a folder as the host tells it, for one that leads upwards: what ".." means behind a
// link is not in the text.
OSErr HostPathOfFolder(const std::string& path, std::string* real) {
    const Descriptor folder = OpenPath(path.c_str(), O_PATH | O_DIRECTORY);
    if (!folder.IsOpen()) return LastHostError();
    const std::string link = "/proc/self/fd/" + std::to_string(folder.Get());
    char target[PATH_MAX];
    const ssize_t size =
        Retry([&] { return syscalls.readlinkat(AT_FDCWD, link.c_str(), target, sizeof target); });
    if (size < 0) return LastHostError();
    real->assign(target, static_cast<std::size_t>(size));
    return noErr;
}

// The path without empty and "." names and with ".." followed.
OSErr TidyPath(std::string_view path, std::string* tidy) {
    tidy->clear();
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t end = std::min(path.find('/', at), path.size());
        const std::string_view name = path.substr(at, end - at);
        at = end + 1;
        if (name.empty() || name == ".") continue;
        tidy->append("/").append(name);
        if (name != "..") continue;
        if (const OSErr code = HostPathOfFolder(*tidy, tidy); code != noErr) return code;
        if (*tidy == "/") tidy->clear();
    }
    if (tidy->empty()) *tidy = "/";
    return noErr;
}

OSErr MakeRef(std::string_view givenPath, FSRef* ref) {
    std::string path;
    RefFacts facts{};
    facts.mark = RefFacts::kMark;
    if (const OSErr code = TidyPath(givenPath, &path); code != noErr) return code;
    if (const OSErr code = GetIdentity(path, AT_SYMLINK_NOFOLLOW, &facts.item); code != noErr)
        return code;
    const std::string folder = ParentOf(path);
    Identity folderIdentity{};
    if (const OSErr code = GetIdentity(folder, 0, &folderIdentity); code != noErr) return code;
    facts.folderInode = folderIdentity.inode;
    facts.folderDevice = folderIdentity.device;
    facts.nameHash = HashOfName(std::string_view(path).substr(path.rfind('/') + 1));
    SetChain(folder, &facts);
    Remember(facts, path);
    *ref = std::bit_cast<FSRef>(facts);
    return noErr;
}

// --- To a path ----------------------------------------------------------------------------------

// Whether the item is at that path. Another item, or none, gives fnfErr.
OSErr CheckPath(const RefFacts& facts, const std::string& path) {
    Identity there{};
    const OSErr code = GetIdentity(path, AT_SYMLINK_NOFOLLOW, &there);
    if (code == dirNFErr) return fnfErr;
    if (code != noErr) return code;
    return there == facts.item ? noErr : fnfErr;
}

// Looks where the item can be but was not last seen.
OSErr Search(const RefFacts& facts, std::string* path) {
    if (facts.nameHash == HashOfName("") && facts.IsFolder(facts.item)) {
        *path = "/";
        return CheckPath(facts, *path);
    }
    std::string folder;
    OSErr code = dirNFErr;
    if (RecallFolder(facts, &folder)) code = FindInFolder(folder, facts, path);
    return code == noErr || code == fnfErr ? code : FindFromRoot(facts, path);
}

OSErr Find(const RefFacts& facts, std::string* path) {
    if (facts.mark != RefFacts::kMark) return fnfErr;
    std::string place;
    OSErr code = RecallItem(facts, &place) ? CheckPath(facts, place) : fnfErr;
    if (code == fnfErr) {
        code = Search(facts, &place);
        if (code == noErr) Remember(facts, place);
    }
    if (code == noErr) *path = place;
    return code;
}

}  // namespace

void ForgetPlaces() {
    const std::lock_guard lock(placesMutex);
    ThePlaces().items.Clear();
    ThePlaces().folders.Clear();
}

}  // namespace Host

OSErr FSPathMakeRef(const char* path, FSRef* ref) {
    if (path == nullptr || ref == nullptr) return paramErr;
    if (*path != '/') return fnfErr;
    return OrMemFull([&] { return Host::MakeRef(path, ref); });
}

OSErr FSRefMakePath(const FSRef* ref, std::string* path) {
    if (ref == nullptr || path == nullptr) return paramErr;
    return OrMemFull([&] { return Host::Find(std::bit_cast<Host::RefFacts>(*ref), path); });
}

OSErr FSResolveAliasFile(FSRef* ref, bool resolveChains, bool* targetIsFolder, bool* wasAliased) {
    if (ref == nullptr || targetIsFolder == nullptr || wasAliased == nullptr) return paramErr;
    std::string path;
    if (const OSErr code = FSRefMakePath(ref, &path); code != noErr) return code;
    std::string target;
    bool isFolder = false;
    bool isAlias = false;
    OSErr code = OrMemFull(
        [&] { return Host::ResolveAlias(path, resolveChains, &target, &isFolder, &isAlias); });
    if (code == noErr && isAlias) code = FSPathMakeRef(target.c_str(), ref);
    if (code == noErr) *targetIsFolder = isFolder;
    *wasAliased = isAlias;
    return code;
}

}  // namespace Ondrel
