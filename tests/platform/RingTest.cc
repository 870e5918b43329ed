// One read at a time that goes to the kernel's queue: what its requests show while it is under way,
// and what a host does that refuses.
#include <memory>

#include "tests/platform/RingHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// --- One read -----------------------------------------------------------------------------------

TEST(Ring, AReadThatWouldBlockIsDoneByTheKernel) {
    NEEDS_RING();
    const Scratch scratch;
    const std::string bytes = Pattern(40000);
    const OpenedFork fork(scratch.Write("a", bytes), fsRdPerm);
    const ColdCache cold;
    for (const bool wait : {true, false}) {
        std::string buffer(16384, '#');
        FSForkIOParam request = Request(fork, 16384, 16384, buffer.data());
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(request.ioResult, 1);
        EXPECT_EQ(wait ? PBWaitFork(&request) : Poll(&request), noErr);
        EXPECT_EQ(request.ioResult, 0);
        EXPECT_EQ(request.actualCount, 16384u);
        EXPECT_EQ(buffer, bytes.substr(16384, 16384));
        std::int64_t position = 0;
        EXPECT_EQ(FSGetForkPosition(fork, &position), noErr);
        EXPECT_EQ(position, 32768);
    }
    EXPECT_EQ(submissions, 2);
}

TEST(Ring, AColdFileIsReadWhole) {
    const Scratch scratch;
    const std::string bytes = Pattern(3000000);
    const std::string path = scratch.Write("a", bytes);
    const OpenedFork fork(path, fsRdPerm);
    MakeCold(path);
    std::string all;
    for (std::int64_t at = 0;; at += 16384) {
        std::string buffer(16384, '#');
        FSForkIOParam request = Request(fork, at, buffer.size(), buffer.data());
        (void)PBReadForkAsync(&request);
        const short code = PBWaitFork(&request);
        all.append(buffer, 0, request.actualCount);
        if (code == eofErr) break;
        ASSERT_EQ(code, noErr);
    }
    EXPECT_TRUE(all == bytes);
}

TEST(Ring, TheEndOfTheForkIsMetThere) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const ColdCache cold;
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 4, 100, &code), "456789");
    EXPECT_EQ(code, -39);
    EXPECT_EQ(Read(fork, 10, 100, &code), "");
    EXPECT_EQ(code, -39);
    EXPECT_GE(submissions, 2);
}

TEST(Ring, ARequestUnderWayIsInProgressUntilTheKernelAnswers) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 0, 4, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(PBForkResult(&request), kRequestInProgress);
    EXPECT_EQ(request.ioResult, 1);
    EXPECT_STREQ(buffer, "####");
    disk.Answer("abcd");
    EXPECT_EQ(Poll(&request), noErr);
    EXPECT_STREQ(buffer, "abcd");
}

TEST(Ring, AWaitSleepsUntilTheKernelAnswers) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 0, 4, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    timespec before{};
    timespec after{};
    std::thread answers([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        disk.Answer("abcd");
    });
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    answers.join();
    EXPECT_STREQ(buffer, "abcd");
    const double used = static_cast<double>(after.tv_sec - before.tv_sec) * 1e3 +
                        static_cast<double>(after.tv_nsec - before.tv_nsec) / 1e6;
    EXPECT_LT(used, 50.0) << "milliseconds of the processor in a wait of 100";
}

TEST(Ring, AShortAnswerIsContinued) {
    NEEDS_RING();
    const Scratch scratch;
    const std::string bytes = Pattern(1000);
    const OpenedFork fork(scratch.Write("a", bytes), fsRdPerm);
    for (const bool wait : {true, false}) {
        const ColdCache cold;
        syscalls.ring_submit = [](io_uring* ring) {
            ++submissions;
            LastEntry(ring).len = std::min(LastEntry(ring).len, 300U);
            return kHostSyscalls.ring_submit(ring);
        };
        std::string buffer(900, '#');
        FSForkIOParam request = Request(fork, 50, 900, buffer.data());
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(wait ? PBWaitFork(&request) : Poll(&request), noErr);
        EXPECT_EQ(buffer, bytes.substr(50, 900));
        EXPECT_EQ(submissions, wait ? 1 : 3) << "a wait reads the rest itself";
    }
}

TEST(Ring, AReadThatWasPutOffIsStartedByLookingAtIt) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 0, 4, buffer);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    EXPECT_EQ(submissions, 0);
    EXPECT_EQ(PBForkResult(&request), kRequestInProgress);
    EXPECT_EQ(submissions, 1);
    EXPECT_EQ(PBForkResult(&request), kRequestInProgress);
    EXPECT_EQ(submissions, 1);
    disk.Answer("abcd");
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_STREQ(buffer, "abcd");
}

TEST(Ring, WaitingForAReadThatWasPutOffReadsInTheCall) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const ColdCache cold;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 2, 4, buffer);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_STREQ(buffer, "2345");
    EXPECT_EQ(submissions, 0);
}

TEST(Ring, DroppingAReadUnderWayWaitsForIt) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 0, 4, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    std::atomic<bool> answered = false;
    std::thread answers([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        answered = true;
        disk.Answer("abcd");
    });
    PBDropFork(&request);
    EXPECT_TRUE(answered);
    answers.join();
    EXPECT_NE(request.ioResult, 1);
}

TEST(Ring, ClosingAForkWaitsForItsReadsAlone) {
    NEEDS_RING();
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    OpenedFork fork(path, fsRdPerm);
    OpenedFork other(path, fsRdPerm);
    const SlowDisk disk;
    char buffers[3][5] = {"####", "####", "####"};
    FSForkIOParam first = Request(fork, 0, 4, buffers[0]);
    FSForkIOParam second = Request(fork, 4, 4, buffers[1]);
    FSForkIOParam third = Request(other, 0, 4, buffers[2]);
    EXPECT_EQ(PBReadForkAsync(&first), noErr);
    EXPECT_EQ(PBReadForkAsync(&second), noErr);
    std::thread answers([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        disk.Answer("abcdefgh");
    });
    EXPECT_EQ(fork.Close(), noErr);
    EXPECT_EQ(first.ioResult, 0);
    EXPECT_EQ(second.ioResult, 0);
    EXPECT_TRUE(std::string(buffers[0]) == "abcd" || std::string(buffers[1]) == "abcd");
    EXPECT_TRUE(std::string(buffers[0]) == "efgh" || std::string(buffers[1]) == "efgh");
    answers.join();
    EXPECT_EQ(PBReadForkAsync(&third), noErr);
    EXPECT_EQ(PBForkResult(&third), kRequestInProgress);
    disk.Answer("ijkl");
    EXPECT_EQ(PBWaitFork(&third), noErr);
}

TEST(Ring, ARequestThatIsIssuedAgainWaitsForItsFirstRead) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdWrPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 0, 4, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    std::thread answers([&] { disk.Answer("abcd"); });
    EXPECT_EQ(PBWriteForkAsync(&request), noErr);
    answers.join();
    EXPECT_EQ(ReadAll(scratch.Path("a")), "abcd456789");
}

// --- A host that refuses ------------------------------------------------------------------------

TEST(Ring, WithoutARingTheReadIsDoneInTheCall) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    for (const char* const entry : {"ring_init", "ring_submit"}) {
        for (const int error : {ENOSYS, EPERM, ENOMEM, EAGAIN}) {
            // Another process, where no ring has been made yet.
            EXPECT_EQ(InAnotherProcess([&] {
                          const ColdCache cold;
                          const FaultPlan plan(1, error, entry, -1);
                          char buffer[] = "####";
                          FSForkIOParam request = Request(fork, 2, 4, buffer);
                          if (PBReadForkAsync(&request) != noErr) return 1;
                          if (request.ioResult != noErr) return 2;
                          return std::string(buffer) == "2345" ? 0 : 3;
                      }),
                      0)
                << entry << " " << error;
        }
    }
}

TEST(Ring, ASubmissionThatWasRefusedNeverWritesToItsBuffer) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const ColdCache cold;
    OSErr code = 1;
    auto refused = std::make_unique<std::string>(4, '#');
    {
        // More than the queue holds, so that it is full of them.
        const FaultPlan plan(1, EAGAIN, "ring_submit", -1);
        for (int i = 0; i < 100; ++i) {
            FSForkIOParam request = Request(fork, 2, 4, refused->data());
            EXPECT_EQ(PBReadForkAsync(&request), noErr);
            EXPECT_EQ(request.ioResult, noErr);
            EXPECT_EQ(*refused, "2345");
        }
    }
    *refused = "####";
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(Read(fork, 5, 3, &code), "567");
        EXPECT_EQ(code, noErr);
    }
    EXPECT_GE(submissions, 200) << "the ring came back into use";
    EXPECT_EQ(*refused, "####");
}

TEST(Ring, AWaitThatFailsGivesNoBufferBackEarly) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    for (const int error : {EINTR, EIO, EBADF}) {
        const SlowDisk disk;
        const FaultPlan plan(1, error, "ring_wait", -1);
        char buffer[] = "####";
        FSForkIOParam request = Request(fork, 0, 4, buffer);
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        std::thread answers([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            disk.Answer("abcd");
        });
        EXPECT_EQ(PBWaitFork(&request), noErr);
        answers.join();
        EXPECT_STREQ(buffer, "abcd");
        EXPECT_GT(plan.Calls(), 1);
    }
}

TEST(Ring, WhatTheRingCannotReadAPlainCallDoes) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const ColdCache cold;
    syscalls.ring_submit = [](io_uring* ring) {
        ++submissions;
        LastEntry(ring).fd = -1;
        return kHostSyscalls.ring_submit(ring);
    };
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 2, 4, &code), "2345");
    EXPECT_EQ(code, noErr);
    EXPECT_EQ(submissions, 1);
    const FaultPlan plan(1, EIO, "pread");
    EXPECT_EQ(Read(fork, 2, 4, &code), "");
    EXPECT_EQ(code, -36);
}

TEST(Ring, EachSystemCallOfAColdReadCanFailOnce) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const int status = InAnotherProcess([&] {
        for (int n = 1;; ++n) {
            const ColdCache cold;
            const FaultPlan plan(n, EIO);
            OSErr code = 1;
            const std::string bytes = Read(fork, 2, 4, &code);
            const bool lost = plan.Where() == "pread" || plan.Where() == "preadv2";
            if (code != (lost ? -36 : 0)) return n;
            if (bytes != (lost ? "" : "2345")) return 100 + n;
            if (!plan.Fired()) return 0;
        }
    });
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace Ondrel::Testing
