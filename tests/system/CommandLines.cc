#include "tests/system/CommandLines.h"

#include <cstdio>
#include <memory>
#include <sstream>

namespace Ondrel::Testing {

std::vector<std::string> LinesOf(const std::string& command) {
    std::vector<std::string> lines;
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    for (int c; pipe != nullptr && (c = std::getc(pipe.get())) != EOF;)
        text += static_cast<char>(c);
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace Ondrel::Testing
