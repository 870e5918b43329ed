// Reading until the end.
#include "tools/ondrel/StandardInput.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

constexpr std::size_t kPiece = 1 << 16;
constexpr const char* kName = "standard input";

[[noreturn]] void FailInput() {
    const int error = errno;
    if (error == EISDIR) Fail(kName, "is a folder");
    if (error == EBADF) Fail(kName, "is closed");
    Fail(kName, Explain(Ondrel::ErrorFromErrno(error)));
}

}  // namespace

void ReadStandardInput(const std::function<void(std::string_view)>& take) {
    std::vector<char> piece(kPiece);
    for (;;) {
        WaitForInput(STDIN_FILENO);
        const ssize_t got = read(STDIN_FILENO, piece.data(), piece.size());
        if (got == 0) return;
        if (got == -1 && errno != EINTR && errno != EAGAIN) FailInput();
        if (got > 0) take({piece.data(), static_cast<std::size_t>(got)});
    }
}

std::string ReadStandardInput(std::size_t most) {
    std::string bytes;
    ReadStandardInput([&](std::string_view piece) {
        if (piece.size() > most - bytes.size())
            Fail(kName, fmt::format("is longer than {}", ByteCount(most)));
        bytes += piece;
    });
    return bytes;
}

}  // namespace OndrelTool
