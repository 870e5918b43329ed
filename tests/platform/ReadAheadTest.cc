// Reads that are put off until somebody wants their bytes.
#include <cerrno>
#include <thread>

#include "tests/platform/ForkHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

TEST(ReadAhead, AReadAheadIsOnlyRecordedUntilItIsAskedFor) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    for (const bool wait : {true, false}) {
        const FaultPlan count(1000, EIO);
        char bytes[] = "####";
        FSForkIOParam request = Request(fork, 3, 4, bytes);
        request.readAhead = true;
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(request.ioResult, 1);
        EXPECT_EQ(count.Calls(), 0);
        EXPECT_STREQ(bytes, "####");
        if (wait) {
            EXPECT_EQ(PBWaitFork(&request), noErr);
        } else {
            while (PBForkResult(&request) == kRequestInProgress)
                std::this_thread::yield();
        }
        EXPECT_EQ(request.ioResult, 0);
        EXPECT_EQ(request.actualCount, 4u);
        EXPECT_STREQ(bytes, "3456");
        EXPECT_EQ(Position(fork), 7);
    }
}

TEST(ReadAhead, AReadAheadThatIsDroppedCostsNothing) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const FaultPlan count(1000, EIO);
    char bytes[] = "####";
    FSForkIOParam request = Request(fork, 3, 4, bytes);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    PBDropFork(&request);
    EXPECT_EQ(request.ioResult, 0);
    EXPECT_EQ(request.actualCount, 0u);
    EXPECT_EQ(PBForkResult(&request), noErr);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_EQ(count.Calls(), 0);
    EXPECT_STREQ(bytes, "####");
    EXPECT_EQ(Position(fork), 0);
}

TEST(ReadAhead, AReadAheadStaysWhereItWasMadeWhateverTheMarkDoes) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    char bytes[2];
    FSForkIOParam request = Request(fork, 3, 2, bytes, fsFromMark);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    EXPECT_EQ(FSSetForkPosition(fork, fsFromStart, 5), noErr);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_EQ(std::string(bytes, 2), "34");
}

TEST(ReadAhead, AReadAheadThatWasPutOffMeetsTheEndAndFailures) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    char bytes[20];
    FSForkIOParam request = Request(fork, 5, 20, bytes);
    request.readAhead = true;
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    EXPECT_EQ(PBWaitFork(&request), -39);
    EXPECT_EQ(request.actualCount, 5u);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    const FaultPlan plan(1, EIO, "preadv2");
    EXPECT_EQ(PBWaitFork(&request), -36);
    EXPECT_EQ(request.actualCount, 0u);
}

TEST(ReadAhead, AReadAheadOfAForkThatWasClosedIsMinus51) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    for (const bool wait : {true, false}) {
        OpenedFork fork(path, fsRdPerm);
        char bytes[2];
        FSForkIOParam request = Request(fork, 0, 2, bytes);
        request.readAhead = true;
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(fork.Close(), noErr);
        EXPECT_EQ(wait ? PBWaitFork(&request) : PBForkResult(&request), -51);
        EXPECT_EQ(request.ioResult, -51);
    }
}

TEST(ReadAhead, TheKernelIsToldOfAReadAheadOnlyAfterTheCacheWasMissed) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", Pattern(65536)), fsRdPerm);
    const TableGuard guard;
    static int hints;
    hints = 0;
    static off_t hintOffset;
    static off_t hintLength;
    syscalls.fadvise = [](int, off_t offset, off_t length, int advice) {
        hintOffset = offset;
        hintLength = length;
        hints += advice == POSIX_FADV_WILLNEED ? 1 : 100;
        return 0;
    };
    const auto Ahead = [&](FSForkIOParam* request) {
        request->readAhead = true;
        EXPECT_EQ(PBReadForkAsync(request), noErr);
    };
    std::string bytes(16384, '#');
    FSForkIOParam request = Request(fork, 0, 16384, bytes.data());
    Ahead(&request);
    EXPECT_EQ(hints, 0) << "nothing is known yet";
    {
        const FaultPlan cold(1, EAGAIN, "preadv2", -1);
        EXPECT_EQ(PBWaitFork(&request), noErr);
        EXPECT_EQ(bytes, Pattern(65536).substr(0, 16384));
    }
    request = Request(fork, 16384, 16384, bytes.data());
    Ahead(&request);
    EXPECT_EQ(hints, 1) << "the last read had to go to the disk";
    EXPECT_EQ(hintOffset, 16384);
    EXPECT_EQ(hintLength, 16384);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    request = Request(fork, 32768, 16384, bytes.data());
    Ahead(&request);
    EXPECT_EQ(hints, 1) << "the last read was served by the cache";
    PBDropFork(&request);
}

}  // namespace
}  // namespace Ondrel::Testing
