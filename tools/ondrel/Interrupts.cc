// Signals are blocked while they are held off; nothing ever runs in a handler.
#include "tools/ondrel/Interrupts.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "ondrel/core/Process.h"

namespace OndrelTool {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Those of the three that are not ignored: an ignored one that is blocked would seem to have come.
sigset_t HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int number : kSignals) {
        struct sigaction action {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&held, number);
    }
    return held;
}

// Owns the descriptor that can be read when a held signal has come.
class SignalDescriptor {
 public:
    SignalDescriptor() {
        const sigset_t held = HeldSignals();
        fd_ = signalfd(-1, &held, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    ~SignalDescriptor() {
        if (fd_ >= 0) close(fd_);
    }
    SignalDescriptor(const SignalDescriptor&) = delete;
    SignalDescriptor& operator=(const SignalDescriptor&) = delete;

    int Get() const { return fd_; }

 private:
    int fd_;
};

}  // namespace

HoldInterrupts::HoldInterrupts() {
    const sigset_t held = HeldSignals();
    sigprocmask(SIG_BLOCK, &held, &before_);
}

HoldInterrupts::~HoldInterrupts() {
    sigprocmask(SIG_SETMASK, &before_, nullptr);
}

bool IsInterrupted() {
    sigset_t pending;
    if (sigpending(&pending) != 0) return false;
    const sigset_t held = HeldSignals();
    for (const int number : kSignals)
        if (sigismember(&held, number) == 1 && sigismember(&pending, number) == 1) return true;
    return false;
}

void CheckInterrupt() {
    if (IsInterrupted()) throw Interrupted{};
}

// Looking at the signal's descriptor takes nothing from it: the signal stays pending.
void WaitForInput(int fd) {
    const SignalDescriptor signals;
    pollfd watched[] = {{fd, POLLIN, 0}, {signals.Get(), POLLIN, 0}};
    (void)poll(watched, 2, -1);
    CheckInterrupt();
}

void PrepareSignals() {
    (void)std::signal(SIGPIPE, SIG_IGN);
    (void)std::signal(SIGXFSZ, SIG_IGN);
    Ondrel::SetCancelHandler([](int, int) { return IsInterrupted() ? 1 : 0; });
}

}  // namespace OndrelTool
