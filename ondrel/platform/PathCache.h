// Where items were seen last: a bounded table from an identity (any bytes) to a path, which forgets
// what was not asked for the longest. It may be wrong at any time; who asks checks the path.
// Internal to platform/.
#ifndef ONDREL_PLATFORM_PATHCACHE_H
#define ONDREL_PLATFORM_PATHCACHE_H

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Ondrel::Host {

// For one thread at a time.
class PathCache {
 public:
    explicit PathCache(std::size_t capacity) : capacity_(capacity) {}

    bool Find(std::string_view key, std::string* path);
    void Store(std::string_view key, std::string_view path);
    void Clear();

 private:
    struct Entry {
        std::string key;
        std::string path;
    };
    using Entries = std::list<Entry>;  // the latest first

    std::size_t capacity_;
    Entries entries_;
    std::unordered_map<std::string_view, Entries::iterator> index_;  // keys are those in the list
};

}  // namespace Ondrel::Host

#endif
