// A chain of folders, each in the one before, as deep as it is wanted: no call here uses a path
// that the host could find too long.
#ifndef TESTS_SUPPORT_DEEPCHAIN_H
#define TESTS_SUPPORT_DEEPCHAIN_H

#include <string>
#include <vector>

namespace Ondrel::Testing {

// Makes the chain below a folder, and an empty file in the last one; answers the file's path.
std::string MakeDeepChain(const std::string& folder, const std::vector<std::string>& names,
                          const std::string& file);

}  // namespace Ondrel::Testing

#endif
