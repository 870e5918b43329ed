// A list in the order of use, and an index into it.
#include "ondrel/platform/PathCache.h"

namespace Ondrel::Host {

bool PathCache::Find(std::string_view key, std::string* path) {
    const auto found = index_.find(key);
    if (found == index_.end()) return false;
    entries_.splice(entries_.begin(), entries_, found->second);
    *path = found->second->path;
    return true;
}

void PathCache::Store(std::string_view key, std::string_view path) {
    if (const auto found = index_.find(key); found != index_.end()) {
        found->second->path = path;
        entries_.splice(entries_.begin(), entries_, found->second);
        return;
    }
    // Nothing has changed until there is memory for all of it.
    std::list<Entry> entry;
    entry.push_front({std::string(key), std::string(path)});
    index_.emplace(entry.front().key, entry.begin());
    entries_.splice(entries_.begin(), entry);
    if (entries_.size() <= capacity_) return;
    index_.erase(entries_.back().key);
    entries_.pop_back();
}

void PathCache::Clear() {
    index_.clear();
    entries_.clear();
}

}  // namespace Ondrel::Host
