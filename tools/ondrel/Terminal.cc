// Questions to the host about the standard streams.
#include "tools/ondrel/Terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace OndrelTool {

bool IsOutputTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

bool IsErrorTerminal() {
    return isatty(STDERR_FILENO) == 1;
}

TerminalSize GetTerminalSize() {
    winsize size{};
    for (const int fd : {STDOUT_FILENO, STDERR_FILENO})
        if (ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0)
            return {size.ws_col, size.ws_row};
    return {};
}

bool HasColours() {
    const char* const terminal = std::getenv("TERM");
    const char* const refused = std::getenv("NO_COLOR");
    return IsOutputTerminal() && terminal != nullptr && std::string_view(terminal) != "dumb" &&
           (refused == nullptr || *refused == '\0');
}

std::string Styled(Style style, std::string_view text) {
    if (!HasColours()) return std::string(text);
    const char* code = "";
    switch (style) {
        case Style::kHeading:
            code = "\x1B[1m";
            break;
        case Style::kQuiet:
            code = "\x1B[2m";
            break;
        case Style::kWarning:
            code = "\x1B[31m";
            break;
    }
    return code + std::string(text) + "\x1B[0m";
}

// The null device is opened the wrong way round, so that using it fails.
void GuardStandardStreams() {
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(fd, F_GETFD) == -1)
            (void)open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace OndrelTool
