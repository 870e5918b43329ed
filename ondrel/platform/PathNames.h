// POSIX paths as texts: the folder and the name in one, and names that nobody else uses. Internal
// to platform/; no call here looks at the disk.
#ifndef ONDREL_PLATFORM_PATHNAMES_H
#define ONDREL_PLATFORM_PATHNAMES_H

#include <string>
#include <string_view>

namespace Ondrel::Host {

struct PathParts {
    std::string_view folder;  // with the slash at its end; empty when the path has none
    std::string_view name;    // without slashes; empty for the root
};

// Slashes behind the name are passed over. The parts are views into the path.
PathParts SplitPath(std::string_view path);

// "/a" and "b" give "/a/b"; slashes at the seam count as one.
std::string JoinPath(std::string_view folder, std::string_view name);

// A path in the folder of `path`, of a name that no other call, process or host gets.
std::string TemporaryBeside(std::string_view path);

}  // namespace Ondrel::Host

#endif
