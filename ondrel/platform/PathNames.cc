// Path texts.
#include "ondrel/platform/PathNames.h"

#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdio>

namespace Ondrel::Host {
namespace {

// Mixes the bits of a number (a finaliser of the splitmix kind), so that neighbours in time and
// process number get names far apart.
std::uint64_t Mix(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

std::uint64_t UniqueNumber() {
    static std::atomic<std::uint64_t> counter{0};
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto time = static_cast<std::uint64_t>(now.tv_sec) * 1000000000U +
                      static_cast<std::uint64_t>(now.tv_nsec);
    const auto process = static_cast<std::uint64_t>(getpid());
    return Mix(Mix(Mix(time) ^ process) + counter.fetch_add(1));
}

}  // namespace

PathParts SplitPath(std::string_view path) {
    while (!path.empty() && path.back() == '/')
        path.remove_suffix(1);
    const std::size_t slash = path.rfind('/');
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    return {path.substr(0, start), path.substr(start)};
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    std::string path(folder);
    if (!path.empty() && path.back() != '/') path += '/';
    while (!path.empty() && !name.empty() && name.front() == '/')
        name.remove_prefix(1);
    return path.append(name);
}

std::string TemporaryBeside(std::string_view path) {
    char name[32];
    std::snprintf(name, sizeof name, "._.tmp%016llx",
                  static_cast<unsigned long long>(UniqueNumber()));
    return std::string(SplitPath(path).folder) + name;
}

}  // namespace Ondrel::Host
