// The clock and the pause.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

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

volatile sig_atomic_t signalsSeen = 0;

TEST(Timing, ASignalDoesNotEndTheSleep) {
    struct sigaction action {};
    struct sigaction old {};
    action.sa_handler = [](int) { signalsSeen = signalsSeen + 1; };
    ASSERT_EQ(sigaction(SIGALRM, &action, &old), 0);
    const itimerval often = {{0, 5000}, {0, 5000}};
    const itimerval never = {};
    ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
    const auto start = SteadyClock::now();
    SleepMilliseconds(60);
    const auto end = SteadyClock::now();
    ASSERT_EQ(setitimer(ITIMER_REAL, &never, nullptr), 0);
    ASSERT_EQ(sigaction(SIGALRM, &old, nullptr), 0);
    EXPECT_GE(end - start, std::chrono::milliseconds(60));
    EXPECT_GT(signalsSeen, 0);
}

}  // namespace
}  // namespace Ondrel::Host
