// The clock and the sleep of the host. Neither can fail for the arguments used here.
#include <errno.h>
#include <time.h>

#include "ondrel/platform/HostFiles.h"

namespace Ondrel::Host {
namespace {

constexpr long kNanosecondsPerSecond = 1000000000;
constexpr long kTicksPerSecond = 60;

}  // namespace

std::uint32_t MonotonicTicks() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    // A tick is no whole number of nanoseconds: the product fits, the sum wraps as it should.
    const std::int64_t part = now.tv_nsec * kTicksPerSecond / kNanosecondsPerSecond;
    return static_cast<std::uint32_t>(now.tv_sec * kTicksPerSecond + part);
}

void SleepMilliseconds(int milliseconds) {
    if (milliseconds <= 0) return;
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += (milliseconds % 1000) * 1000000L;
    if (end.tv_nsec >= kNanosecondsPerSecond) {
        end.tv_nsec -= kNanosecondsPerSecond;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

}  // namespace Ondrel::Host
