// What a shell command prints, line by line.
#ifndef TESTS_SYSTEM_COMMANDLINES_H
#define TESTS_SYSTEM_COMMANDLINES_H

#include <string>
#include <vector>

namespace Ondrel::Testing {

std::vector<std::string> LinesOf(const std::string& command);

}  // namespace Ondrel::Testing

#endif
