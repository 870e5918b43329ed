// Diagnostics, cancelling and the clock. The handlers may be called from any thread.
#include "ondrel/core/Process.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ondrel/platform/HostFiles.h"

namespace Ondrel {
namespace {

constexpr std::size_t kMessageSize = 1024;  // bytes, with the terminator

std::atomic<DebugHandler> debugHandler = nullptr;
std::atomic<CancelHandler> cancelHandler = nullptr;

// Takes away the first bytes of a character whose last ones a cut has taken.
std::size_t WithoutSplitCharacter(char* text, std::size_t length) {
    std::size_t start = length;
    while (start > 0 && length - start < 4 && (text[start - 1] & 0xC0) == 0x80)
        --start;
    if (start == 0) return length;
    --start;
    const std::size_t present = length - start;
    const auto lead = static_cast<unsigned char>(text[start]);
    const std::size_t wanted = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (present >= wanted) return length;
    text[start] = 0;
    return start;
}

// The message with a line end behind it, in one piece, so that lines of several threads or programs
// do not mix.
void WriteLine(char* message, std::size_t length) {
    message[length] = '\n';
    std::fwrite(message, 1, length + 1, stderr);
}

}  // namespace

void debug(const char* format, ...) {
    std::array<char, kMessageSize + 1> message;
    std::va_list arguments;
    va_start(arguments, format);
    const int formatted = std::vsnprintf(message.data(), kMessageSize, format, arguments);
    va_end(arguments);
    if (formatted < 0) message[0] = 0;
    std::size_t length = std::strlen(message.data());
    if (formatted >= static_cast<int>(kMessageSize))
        length = WithoutSplitCharacter(message.data(), length);

    const DebugHandler handler = debugHandler.load();
    if (handler != nullptr)
        handler(message.data());
    else
        WriteLine(message.data(), length);
}

DebugHandler SetDebugHandler(DebugHandler handler) {
    return debugHandler.exchange(handler);
}

int cancel(int first, int second) {
    const CancelHandler handler = cancelHandler.load();
    return handler == nullptr ? 0 : handler(first, second);
}

CancelHandler SetCancelHandler(CancelHandler handler) {
    return cancelHandler.exchange(handler);
}

unsigned int Clock::Ticks() {
    return Host::MonotonicTicks();
}

void SleepMillis(int ms) {
    Host::SleepMilliseconds(ms);
}

}  // namespace Ondrel
