// The buffer before standard output.
#include "tools/ondrel/StandardOutput.h"

#include <unistd.h>

#include <cerrno>
#include <nlohmann/json.hpp>
#include <string>

#include "ondrel/platform/Errors.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Terminal.h"

namespace OndrelTool {
namespace {

constexpr std::size_t kMostBuffered = 1 << 16;

std::string buffered;

[[noreturn]] void FailOutput() {
    const int error = errno;
    buffered.clear();
    const std::string message = error == EPIPE   ? "its reader has gone"
                                : error == EBADF ? "is closed"
                                                 : Explain(Ondrel::ErrorFromErrno(error));
    throw OutputFailure(Status::kFailed, "standard output", message);
}

}  // namespace

void Print(std::string_view text) {
    buffered += text;
    if (buffered.size() >= kMostBuffered) FlushOutput();
}

void PrintLine(std::string_view text) {
    Print(text);
    Print("\n");
    if (IsOutputTerminal()) FlushOutput();
}

void PrintJson(const Json& value) {
    PrintLine(value.dump(2, ' ', false, Json::error_handler_t::replace));
}

void FlushOutput() {
    std::string_view rest = buffered;
    while (!rest.empty()) {
        const ssize_t put = write(STDOUT_FILENO, rest.data(), rest.size());
        if (put == -1 && errno != EINTR) FailOutput();
        if (put > 0) rest.remove_prefix(static_cast<std::size_t>(put));
    }
    buffered.clear();
}

void FinishOutput() {
    FlushOutput();
    if (close(STDOUT_FILENO) == -1 && errno != EINTR && errno != EBADF) FailOutput();
}

}  // namespace OndrelTool
