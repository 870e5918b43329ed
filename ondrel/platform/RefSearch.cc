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
constexpr int kMostFolders = 4096;

// --- The chain ----------------------------------------------------------------------------------

constexpr unsigned kTopNames = 8;
constexpr unsigned kTopBits = 16;  // of each of these
constexpr unsigned kMostBits = 32;

// The bits of the name at `level`: all names alike while they have many, else many for the names at
// the top and for the others what is left. Names beyond the room have none.
struct ChainPart {
    unsigned at;
    unsigned bits;
};

ChainPart PartOfChain(unsigned depth, unsigned level) {
    if (depth * kTopBits <= kChainBits) {
        const unsigned bits = std::min(kMostBits, kChainBits / depth);
        return {level * bits, bits};
    }
    if (level < kTopNames) return {level * kTopBits, kTopBits};
    constexpr unsigned kTop = kTopNames * kTopBits;
    const unsigned bits = std::max(1U, (kChainBits - kTop) / (depth - kTopNames));
    const unsigned at = kTop + (level - kTopNames) * bits;
    return {at, at + bits <= kChainBits ? bits : 0};
}

// Whether `hash` may be that of the name at `level`.
bool MatchesChain(const RefFacts& facts, unsigned level, std::uint32_t hash) {
    const ChainPart part = PartOfChain(facts.depth, level);
    for (unsigned i = 0; i < part.bits; ++i) {
        const unsigned at = part.at + i;
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

// The code of a folder that could not be opened: dirNFErr when it is none, or none that we may look
// into, or when the way to it is too long or too crooked to be the one.
OSErr CodeOfFolder() {
    switch (errno) {
        case ENOENT:
        case ENOTDIR:
        case EACCES:
        case EPERM:
        case ELOOP:
        case ENAMETOOLONG:
            return dirNFErr;
        default:
            return LastHostError();
    }
}

// --- The way down -------------------------------------------------------------------------------

struct Search {
    explicit Search(const RefFacts& sought) : facts(sought) {}

    void Note(OSErr code) {
        if (failure == noErr && code != dirNFErr && code != fnfErr) failure = code;
    }

    const RefFacts& facts;
    int foldersLeft = kMostFolders;
    OSErr failure = noErr;  // the first that may have hidden the item
    std::string found;
};

// The names in a folder that the chain allows at `level`.
OSErr Candidates(const std::string& folderPath, const RefFacts& facts, unsigned level,
                 std::vector<std::string>* names) {
    const Descriptor folder = OpenPath(folderPath.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return CodeOfFolder();
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
    search.Note(code);
    return code == noErr;
}

// Tries every way that leads on; true when the item is found.
bool GoOn(Search& search, const std::string& folderPath, unsigned level) {
    std::vector<std::string> names;
    const OSErr code = Candidates(folderPath, search.facts, level, &names);
    search.Note(code);
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
    for (unsigned level = 0; level < facts->depth; ++level) {
        const ChainPart part = PartOfChain(facts->depth, level);
        for (unsigned i = 0; i < part.bits; ++i) {
            const unsigned bit = (hashes[level] >> i) & 1U;
            unsigned char& byte = facts->chain[(part.at + i) / 8];
            byte = static_cast<unsigned char>(byte | bit << ((part.at + i) % 8));
        }
    }
}

OSErr GetIdentity(int folder, const char* path, int flags, Identity* identity) {
    constexpr unsigned kMask = STATX_TYPE | STATX_INO | STATX_BTIME;
    struct statx status;
    if (Retry([&] { return syscalls.statx(folder, path, flags, kMask, &status); }) == -1)
        return LastHostError();
    const bool knowsBirth = (status.stx_mask & STATX_BTIME) != 0;
    identity->inode = status.stx_ino;
    identity->birth = knowsBirth ? status.stx_btime.tv_sec * 1000000000 +
                                       static_cast<std::int64_t>(status.stx_btime.tv_nsec)
                                 : 0;
    identity->device = status.stx_dev_major << 20 | status.stx_dev_minor;
    identity->kind = status.stx_mode & static_cast<unsigned>(S_IFMT);
    return noErr;
}

OSErr FindInFolder(const std::string& folderPath, const RefFacts& facts, std::string* path) {
    const Descriptor folder = OpenPath(folderPath.c_str(), O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return CodeOfFolder();
    Identity seen{};
    if (const OSErr code = GetIdentity(folder.Get(), "", AT_EMPTY_PATH, &seen); code != noErr)
        return code;
    if (!facts.IsFolder(seen)) return dirNFErr;

    // Of several names of the item the one of the reference is meant. The root of a mounted volume
    // has another inode number in the listing than by itself; its name finds it.
    std::string name;
    const OSErr listed =
        List(folder.Get(), [&](std::uint64_t inode, unsigned char, std::string_view entry) {
            if (IsDots(entry)) return false;
            const bool sameName = HashOfName(entry) == facts.nameHash;
            if (inode != facts.item.inode && !sameName) return false;
            const std::string text(entry);
            const OSErr code = GetIdentity(folder.Get(), text.c_str(), AT_SYMLINK_NOFOLLOW, &seen);
            if (code != noErr || seen != facts.item) return false;
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
