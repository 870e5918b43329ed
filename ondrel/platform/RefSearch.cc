// Finding the item of a reference by its identity and the hashes of its path. Folders are listed
// with their inode numbers, so that no item is looked at but those that can be meant.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/RefFacts.h"

namespace Ondrel::Host {
namespace {

constexpr unsigned kChainBits = 8 * sizeof(RefFacts::chain);

// A search opens no more folders than this: with links in circles and few bits a level, the ways
// down could be without end.
constexpr int kMostFolders = 10000;

// --- The chain ----------------------------------------------------------------------------------

// Bits that each of `depth` names has in the chain.
unsigned BitsPerName(unsigned depth) {
    return depth == 0 ? 0 : std::clamp(kChainBits / depth, 1U, 32U);
}

// Whether `hash` may be that of the name at `level`. Names beyond the room of the chain match all.
bool MatchesChain(const RefFacts& facts, unsigned level, std::uint32_t hash) {
    const unsigned bits = BitsPerName(facts.depth);
    for (unsigned i = 0, at = level * bits; i < bits && at < kChainBits; ++i, ++at) {
        const unsigned stored = (facts.chain[at / 8] >> (at % 8)) & 1U;
        if (stored != ((hash >> i) & 1U)) return false;
    }
    return true;
}

// --- Listing ------------------------------------------------------------------------------------

// Calls use(inode, type, name) for the entries of a folder until it answers true.
template <class Use>
OSErr List(int folder, Use use) {
    alignas(struct dirent64) char buffer[32768];
    for (;;) {
        const ssize_t size =
            Retry([&] { return syscalls.getdents64(folder, buffer, sizeof buffer); });
        if (size <= 0) return CodeOf(size);
        for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
            struct dirent64 head;
            std::memcpy(&head, buffer + at, offsetof(struct dirent64, d_name));
            const char* const name = buffer + at + offsetof(struct dirent64, d_name);
            if (use(head.d_ino, head.d_type, std::string_view(name))) return noErr;
            at += head.d_reclen;
        }
    }
}

bool IsDots(std::string_view name) {
    return name == "." || name == "..";
}

std::string Join(const std::string& folder, std::string_view name) {
    std::string path = folder;
    if (path.back() != '/') path += '/';
    return path.append(name);
}

// A folder that is not there, or not for us, is not the one we look for; other failures count.
bool IsElsewhere(OSErr code) {
    return code == fnfErr || code == dirNFErr || code == permErr;
}

// --- The way down -------------------------------------------------------------------------------

struct Search {
    explicit Search(const RefFacts& sought) : facts(sought) {}

    const RefFacts& facts;
    int foldersLeft = kMostFolders;
    OSErr failure = noErr;  // the first that may have hidden the item
    std::string found;
};

// The names in a folder that the chain allows at `level`.
OSErr Candidates(const std::string& folderPath, const RefFacts& facts, unsigned level,
                 std::vector<std::string>* names) {
    const Descriptor folder = OpenPath(folderPath.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return LastHostError();
    return List(folder.Get(), [&](std::uint64_t, unsigned char type, std::string_view name) {
        const bool mayLead = type == DT_DIR || type == DT_LNK || type == DT_UNKNOWN;
        if (mayLead && !IsDots(name) && MatchesChain(facts, level, HashOfName(name)))
            names->emplace_back(name);
        return false;
    });
}

bool Descend(Search& search, const std::string& folderPath, unsigned level);

// The end of a way down: true when the item is there. Its folder without it ends the search.
bool Arrive(Search& search, const std::string& folderPath) {
    const OSErr code = FindInFolder(folderPath, search.facts, &search.found);
    if (code == fnfErr) search.foldersLeft = 0;
    if (search.failure == noErr && !IsElsewhere(code)) search.failure = code;
    return code == noErr;
}

// Tries every way that leads on; true when the item is found.
bool GoOn(Search& search, const std::string& folderPath, unsigned level) {
    std::vector<std::string> names;
    const OSErr code = Candidates(folderPath, search.facts, level, &names);
    if (search.failure == noErr && !IsElsewhere(code)) search.failure = code;
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return Descend(search, Join(folderPath, name), level + 1);
    });
}

// Looks in and below `folderPath`, which stands `level` folders below the root.
bool Descend(Search& search, const std::string& folderPath, unsigned level) {
    if (search.foldersLeft <= 0) return false;
    --search.foldersLeft;
    return level == search.facts.depth ? Arrive(search, folderPath)
                                       : GoOn(search, folderPath, level);
}

}  // namespace

std::uint32_t HashOfName(std::string_view name) {
    std::uint64_t hash = 0x9E3779B97F4A7C15;
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0xD6E8FEB86659FD93;
        hash ^= hash >> 32;
    }
    return static_cast<std::uint32_t>(hash);
}

void SetChain(std::string_view folderPath, RefFacts* facts) {
    std::vector<std::uint32_t> hashes;
    for (std::size_t at = 1; at < folderPath.size();) {
        const std::size_t end = std::min(folderPath.find('/', at), folderPath.size());
        hashes.push_back(HashOfName(folderPath.substr(at, end - at)));
        at = end + 1;
    }
    facts->depth = static_cast<std::uint16_t>(hashes.size());
    const unsigned bits = BitsPerName(facts->depth);
    unsigned at = 0;
    for (const std::uint32_t hash : hashes) {
        for (unsigned i = 0; i < bits && at < kChainBits; ++i, ++at) {
            const unsigned bit = (hash >> i) & 1U;
            facts->chain[at / 8] =
                static_cast<unsigned char>(facts->chain[at / 8] | bit << (at % 8));
        }
    }
}

OSErr FindInFolder(const std::string& folderPath, const RefFacts& facts, std::string* path) {
    const Descriptor folder = OpenPath(folderPath.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return errno == ENOENT ? dirNFErr : LastHostError();
    struct stat status;
    if (Retry([&] { return syscalls.fstat(folder.Get(), &status); }) == -1) return LastHostError();
    if (facts.folder != FileIdentity{status.st_dev, status.st_ino}) return dirNFErr;

    // Of several names of the item the one of the reference is meant. The root of a mounted volume
    // has another inode number in the listing than by itself; its name finds it.
    std::string name;
    const OSErr listed =
        List(folder.Get(), [&](std::uint64_t inode, unsigned char, std::string_view entry) {
            if (IsDots(entry)) return false;
            const bool sameName = HashOfName(entry) == facts.nameHash;
            if (inode != facts.item.inode && !sameName) return false;
            const std::string text(entry);
            const int result = Retry([&] {
                return syscalls.fstatat(folder.Get(), text.c_str(), &status, AT_SYMLINK_NOFOLLOW);
            });
            if (result == -1 || facts.item != FileIdentity{status.st_dev, status.st_ino})
                return false;
            if (name.empty() || sameName) name = text;
            return sameName;
        });
    if (listed != noErr) return listed;
    if (name.empty()) return fnfErr;
    *path = Join(folderPath, name);
    return noErr;
}

OSErr FindFromRoot(const RefFacts& facts, std::string* path) {
    Search search{facts};
    if (!Descend(search, "/", 0)) return search.failure == noErr ? fnfErr : search.failure;
    *path = search.found;
    return noErr;
}

}  // namespace Ondrel::Host
