// Diagnostics, cancelling, the clock.
#include "ondrel/core/Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace Ondrel {
namespace {

std::string lastMessage;

void Remember(const char* message) {
    lastMessage = message;
}

class Handled {
 public:
    Handled() : before_(SetDebugHandler(Remember)) { lastMessage = "none yet"; }
    ~Handled() { SetDebugHandler(before_); }

 private:
    DebugHandler before_;
};

TEST(Debug, AMessageIsFormattedAndGivenToTheHandlerWithoutALineEnd) {
    const Handled handled;
    debug("File not open.");
    EXPECT_EQ(lastMessage, "File not open.");
    debug("%s: %d of %u%%", "name", -3, 7U);
    EXPECT_EQ(lastMessage, "name: -3 of 7%");
    debug("%s", "");
    EXPECT_EQ(lastMessage, "");
}

TEST(Debug, AMessageIsCutAt1023BytesAndNeverWithinACharacter) {
    const Handled handled;
    debug("%s", std::string(1023, 'a').c_str());
    EXPECT_EQ(lastMessage, std::string(1023, 'a'));
    debug("%s", std::string(5000, 'a').c_str());
    EXPECT_EQ(lastMessage, std::string(1023, 'a'));
    debug("%s", (std::string(1021, 'a') + "\xC3\xA9"
                                          "b")
                    .c_str());
    EXPECT_EQ(lastMessage, std::string(1021, 'a') + "\xC3\xA9");
    debug("%s", (std::string(1022, 'a') + "\xC3\xA9").c_str());
    EXPECT_EQ(lastMessage, std::string(1022, 'a'));
    debug("%s", (std::string(1021, 'a') + "\xE3\x81\x82").c_str());
    EXPECT_EQ(lastMessage, std::string(1021, 'a'));
    debug("%s", (std::string(1020, 'a') + "\xF0\x9F\x98\x80").c_str());
    EXPECT_EQ(lastMessage, std::string(1020, 'a'));
    debug("%s", std::string(2000, '\x80').c_str());
    EXPECT_EQ(lastMessage, std::string(1023, '\x80')) << "bytes of no character are left alone";
}

TEST(Debug, SettingAHandlerAnswersTheOneBefore) {
    const DebugHandler before = SetDebugHandler(Remember);
    EXPECT_EQ(SetDebugHandler(nullptr), &Remember);
    EXPECT_EQ(SetDebugHandler(before), nullptr);
}

// Standard error is put on a pipe that keeps each write apart from the next.
std::string FirstWriteToStandardError(void (*call)()) {
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_DIRECT | O_NONBLOCK), 0);
    const int saved = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    call();
    dup2(saved, STDERR_FILENO);
    char bytes[4096];
    const ssize_t count = read(ends[0], bytes, sizeof bytes);
    char more;
    EXPECT_EQ(read(ends[0], &more, 1), -1) << "there was a second write";
    for (const int fd : {ends[0], ends[1], saved})
        close(fd);
    return std::string(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
}

TEST(Debug, WithoutAHandlerAMessageIsOneLineOnStandardErrorInOneWrite) {
    const DebugHandler before = SetDebugHandler(nullptr);
    EXPECT_EQ(FirstWriteToStandardError([] { debug("Duplicate %s", "Resource"); }),
              "Duplicate Resource\n");
    EXPECT_EQ(FirstWriteToStandardError([] { debug("%01500d", 0); }),
              std::string(1023, '0') + "\n");
    SetDebugHandler(before);
}

TEST(Cancel, WithoutAHandlerNobodyEverCancels) {
    EXPECT_EQ(cancel(0, 0), 0);
}

TEST(Cancel, AHandlerDecidesAndGetsTheArguments) {
    const CancelHandler before = SetCancelHandler([](int a, int b) { return 10 * a + b; });
    EXPECT_EQ(cancel(0, 0), 0);
    EXPECT_EQ(cancel(4, 2), 42);
    EXPECT_NE(SetCancelHandler(before), nullptr);
    EXPECT_EQ(cancel(4, 2), 0);
}

TEST(ClockAndSleep, TicksGoOnWhileTheThreadSleeps) {
    const auto start = std::chrono::steady_clock::now();
    const unsigned int before = Clock::Ticks();
    SleepMillis(100);
    const unsigned int ticks = Clock::Ticks() - before;
    const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(passed.count(), 0.1);
    EXPECT_GE(ticks, 5U);
    EXPECT_LE(ticks, passed.count() * 60 + 1);
    SleepMillis(0);
    SleepMillis(-1);
}

}  // namespace
}  // namespace Ondrel
