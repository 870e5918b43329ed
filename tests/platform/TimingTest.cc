// The clock and the pause.
#include <gtest/gtest.h>

#include <chrono>

#include "ondrel/platform/HostFiles.h"

namespace Ondrel::Host {
namespace {

using SteadyClock = std::chrono::steady_clock;

TEST(Timing, TicksAreSixtiethsOfASecond) {
    const auto start = SteadyClock::now();
    const std::uint32_t before = MonotonicTicks();
    SleepMilliseconds(250);
    const std::uint32_t ticks = MonotonicTicks() - before;
    const std::chrono::duration<double> passed = SteadyClock::now() - start;
    EXPECT_GE(ticks, 14U);  // a quarter of a second is 15, less the one that had begun
    EXPECT_LE(ticks, passed.count() * 60 + 1);
}

TEST(Timing, ASleepLastsAtLeastAsLongAsItIsTold) {
    const auto start = SteadyClock::now();
    SleepMilliseconds(30);
    EXPECT_GE(SteadyClock::now() - start, std::chrono::milliseconds(30));
}

TEST(Timing, NoTimeOrLessIsNoSleep) {
    const auto start = SteadyClock::now();
    SleepMilliseconds(0);
    SleepMilliseconds(-100000);
    EXPECT_LT(SteadyClock::now() - start, std::chrono::seconds(50));
}

}  // namespace
}  // namespace Ondrel::Host
