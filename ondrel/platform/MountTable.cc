// The mount table: an immutable state of it in a shared pointer, replaced as a whole.
//
// Readers keep the state they saw last, one per thread, and look at a counter to see whether it is
// still the present one, so that a look-up takes no lock. A change is made under the lock and then
// counted.
#include "ondrel/platform/MountTable.h"

#include <time.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <utility>

#include "ondrel/platform/Composition.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/MountDiscovery.h"

namespace Ondrel::Host {
namespace {

constexpr std::string_view kRootName = "Root";
constexpr const char* kVolumesVariable = "ONDREL_VOLUMES";
constexpr std::int64_t kKnownNameMillis = 1000;  // how old what is known of the host may be
constexpr std::int64_t kUnknownNameMillis = 50;  // before a name is called unknown

// One state of the table. The volumes stand in order of precedence.
struct Table {
    std::vector<Mount> mounts;
    std::size_t firstDiscovered = 0;
    std::size_t endOfDiscovered = 0;
};

using TablePointer = std::shared_ptr<const Table>;

// What the table is made of, and the table itself.
// What a table is made of.
struct Sources {
    std::vector<Mount> given;
    std::vector<Mount> fromEnvironment;
    std::vector<Mount> discovered;
};

struct State {
    std::mutex lock;
    Sources sources;
    TablePointer table;                          // made of them; null before the first
    std::atomic<std::uint64_t> changes{0};       // 0: no table has been made yet
    std::atomic<std::int64_t> discoveryTime{0};  // milliseconds; 0: never
};

// Made on first use and never destroyed, for callers that run while the program ends.
State& TheState() {
    static State& state = *new State;
    return state;
}

// --- Making tables ------------------------------------------------------------------------------

template <class Mounts>
auto FindByName(Mounts& mounts, std::string_view name) {
    return std::find_if(mounts.begin(), mounts.end(),
                        [&](const Mount& mount) { return mount.name == name; });
}

// The root folder's own volume, unless somebody has given it its usual name.
std::optional<Mount> RootMount(const std::vector<Mount>& others) {
    std::string name(kRootName);
    for (int number = 1;; ++number) {
        const auto other = FindByName(others, name);
        if (other == others.end()) return Mount{std::move(name), "/"};
        if (other->root == "/") return std::nullopt;
        name = std::string(kRootName) + " " + std::to_string(number);
    }
}

TablePointer TableOf(const Sources& sources) {
    auto table = std::make_shared<Table>();
    std::vector<Mount>& mounts = table->mounts;
    mounts = sources.given;
    mounts.insert(mounts.end(), sources.fromEnvironment.begin(), sources.fromEnvironment.end());
    table->firstDiscovered = mounts.size();
    mounts.insert(mounts.end(), sources.discovered.begin(), sources.discovered.end());
    table->endOfDiscovered = mounts.size();
    if (auto root = RootMount(mounts)) mounts.push_back(std::move(*root));
    return table;
}

// Makes `sources` the state's, and the table that belongs to them; neither where there is no memory
// for both. To be called with the lock held.
void Adopt(State& state, Sources sources) {
    TablePointer table = TableOf(sources);
    state.sources = std::move(sources);
    state.table = std::move(table);
    state.changes.fetch_add(1, std::memory_order_release);
}

// A path without doubled, single-dot and final slashes; empty when it is not absolute.
std::string CleanRoot(std::string_view path) {
    if (!path.starts_with('/') || path.find('\0') != path.npos) return {};
    std::string root;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view part = path.substr(0, end);
        if (!part.empty() && part != ".") root.append("/").append(part);
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return root.empty() ? "/" : root;
}

// A volume of that name and root; nothing when they cannot be one's.
std::optional<Mount> MakeMount(std::string_view name, std::string_view root) {
    Mount mount;
    if (name.empty() || name.find(':') != name.npos || name.find('\0') != name.npos)
        return std::nullopt;
    if (!ComposeUtf8(name, &mount.name)) return std::nullopt;
    mount.root = CleanRoot(root);
    std::string composed;
    if (mount.root.empty() || !ComposeUtf8(mount.root, &composed)) return std::nullopt;
    return mount;
}

// "name=folder" parts between colons; those that are in another form are passed over.
std::vector<Mount> ReadEnvironment() {
    std::vector<Mount> mounts;
    const char* text = std::getenv(kVolumesVariable);
    std::string_view rest = text == nullptr ? "" : text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        const std::string_view part = rest.substr(0, end);
        const std::size_t equals = std::min(part.find('='), part.size());
        auto mount =
            MakeMount(part.substr(0, equals), part.substr(std::min(equals + 1, part.size())));
        if (mount) mounts.push_back(std::move(*mount));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return mounts;
}

// To be called with the lock held.
void EnsureTable(State& state) {
    if (state.table) return;
    Adopt(state, {{}, ReadEnvironment(), {}});
}

// --- The table as a thread sees it --------------------------------------------------------------

thread_local bool threadIsEnding = false;

struct SeenTable {
    ~SeenTable() { threadIsEnding = true; }
    TablePointer table;
    std::uint64_t changes = 0;
};

thread_local SeenTable seenTable;

TablePointer TableUnderLock(State& state, std::uint64_t* changes) {
    const std::lock_guard<std::mutex> guard(state.lock);
    EnsureTable(state);
    *changes = state.changes.load(std::memory_order_relaxed);
    return state.table;
}

TablePointer PresentTable() {
    State& state = TheState();
    std::uint64_t changes = state.changes.load(std::memory_order_acquire);
    if (threadIsEnding) return TableUnderLock(state, &changes);
    SeenTable& seen = seenTable;
    if (changes == 0 || seen.changes != changes) {
        seen.table = TableUnderLock(state, &changes);
        seen.changes = changes;
    }
    return seen.table;
}

// --- Discovery ----------------------------------------------------------------------------------

// Milliseconds of a clock that is cheap to read and never goes back; never 0.
std::int64_t CoarseMillis() {
    struct timespec now {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000 + 1;
}

// Looks at the host's mounts again when that was more than `maxAge` milliseconds ago; true when the
// table has changed. A host that does not show its mounts leaves what was known of them.
bool RefreshDiscovered(std::int64_t maxAge) {
    State& state = TheState();
    const std::int64_t now = CoarseMillis();
    const auto isFresh = [&] {
        const std::int64_t last = state.discoveryTime.load(std::memory_order_relaxed);
        return last != 0 && now - last < maxAge;
    };
    if (isFresh()) return false;
    const std::lock_guard<std::mutex> guard(state.lock);
    if (isFresh()) return false;
    EnsureTable(state);
    Sources sources = state.sources;
    (void)DiscoverVolumes(kRootName, &sources.discovered);
    sources.fromEnvironment = ReadEnvironment();
    state.discoveryTime.store(now, std::memory_order_relaxed);
    if (sources.discovered == state.sources.discovered &&
        sources.fromEnvironment == state.sources.fromEnvironment)
        return false;
    Adopt(state, std::move(sources));
    return true;
}

// --- Look-ups -----------------------------------------------------------------------------------

// The first volume of that composed name, or null.
const Mount* FindInTable(const Table& table, std::string_view name) {
    const auto found = FindByName(table.mounts, name);
    return found == table.mounts.end() ? nullptr : &*found;
}

bool IsDiscovered(const Table& table, const Mount* mount) {
    const auto index = static_cast<std::size_t>(mount - table.mounts.data());
    return index >= table.firstDiscovered && index < table.endOfDiscovered;
}

std::shared_ptr<const Mount> FindComposed(std::string_view name) {
    TablePointer table = PresentTable();
    const Mount* mount = FindInTable(*table, name);
    if (mount == nullptr || IsDiscovered(*table, mount)) {
        const std::int64_t maxAge = mount == nullptr ? kUnknownNameMillis : kKnownNameMillis;
        if (RefreshDiscovered(maxAge)) {
            table = PresentTable();
            mount = FindInTable(*table, name);
        }
    }
    if (mount == nullptr) return nullptr;
    return {std::move(table), mount};
}

// Whether the path is the root folder, or lies in it.
bool Holds(std::string_view root, std::string_view path) {
    if (root == "/") return true;
    return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
}

const Mount& LongestMount(const Table& table, std::string_view path) {
    const Mount* best = nullptr;
    for (const Mount& mount : table.mounts) {
        if (!Holds(mount.root, path)) continue;
        if (best != nullptr && mount.root.size() <= best->root.size()) continue;
        if (FindInTable(table, mount.name) == &mount) best = &mount;
    }
    return *best;
}

// The volume that is not mounted and that a path below /Volumes names; nothing when there is an
// item at the place of its root, or a volume of its name elsewhere.
std::optional<Mount> UnmountedVolume(std::string_view path) {
    if (!path.starts_with(kUnmountedVolumesFolder)) return std::nullopt;
    const std::size_t start = kUnmountedVolumesFolder.size();
    const std::size_t end = std::min(path.find('/', start), path.size());
    Mount mount{std::string(path.substr(start, end - start)), std::string(path.substr(0, end))};
    if (mount.name.empty() || mount.name == "." || mount.name == "..") return std::nullopt;
    std::replace(mount.name.begin(), mount.name.end(), ':', '/');
    struct stat status {};
    const int result = Retry([&] {
        return syscalls.fstatat(AT_FDCWD, mount.root.c_str(), &status, AT_SYMLINK_NOFOLLOW);
    });
    const bool isAbsent = result == -1 && (errno == ENOENT || errno == ENOTDIR);
    if (!isAbsent || FindMount(mount.name)) return std::nullopt;
    return mount;
}

}  // namespace

bool AddMount(std::string_view name, std::string_view root) {
    auto mount = MakeMount(name, root);
    if (!mount) return false;
    State& state = TheState();
    const std::lock_guard<std::mutex> guard(state.lock);
    EnsureTable(state);
    Sources sources = state.sources;
    const auto before = FindByName(sources.given, mount->name);
    if (before != sources.given.end()) sources.given.erase(before);
    sources.given.insert(sources.given.begin(), std::move(*mount));
    Adopt(state, std::move(sources));
    return true;
}

bool RemoveMount(std::string_view name) {
    std::string composed;
    if (!ComposeUtf8(name, &composed)) return false;
    State& state = TheState();
    const std::lock_guard<std::mutex> guard(state.lock);
    Sources sources = state.sources;
    const auto found = FindByName(sources.given, composed);
    if (found == sources.given.end()) return false;
    sources.given.erase(found);
    Adopt(state, std::move(sources));
    return true;
}

std::vector<Mount> Mounts() {
    (void)RefreshDiscovered(0);
    return PresentTable()->mounts;
}

bool FindMount(std::string_view name, std::string* root) {
    const auto mount = FindMount(name);
    if (mount) *root = mount->root;
    return mount != nullptr;
}

std::shared_ptr<const Mount> FindMount(std::string_view name) {
    if (FindInTable(*PresentTable(), name) != nullptr) return FindComposed(name);
    std::string composed;
    return ComposeUtf8(name, &composed) ? FindComposed(composed) : nullptr;
}

Mount MountOfPath(std::string_view path) {
    if (IsBelowVolumeFolders(path)) {
        (void)RefreshDiscovered(kKnownNameMillis);
        if (LongestMount(*PresentTable(), path).root == "/") {
            if (auto mount = UnmountedVolume(path)) return std::move(*mount);
        }
    }
    return LongestMount(*PresentTable(), path);
}

}  // namespace Ondrel::Host
