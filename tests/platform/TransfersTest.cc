// Reading and writing forks: counts and codes, positions, short and interrupted calls, and how many
// system calls all that costs.
#include <cerrno>
#include <vector>

#include "tests/platform/ForkHelpers.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

constexpr std::int64_t kMiB = 1 << 20;
constexpr int kWarmReads = 16384;
constexpr unsigned short kSparing = fsFromStart | pleaseSpareCacheMask;

// --- Reading ------------------------------------------------------------------------------------

TEST(Transfers, AReadBringsTheBytesAtItsPosition) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    struct Case {
        std::int64_t offset;
        std::size_t count;
        const char* bytes;
        OSErr code;
    };
    constexpr Case kCases[] = {
        {0, 10, "0123456789", 0}, {0, 4, "0123", 0},
        {3, 3, "345", 0},         {0, 0, "", 0},
        {10, 0, "", 0},           {0, 11, "0123456789", -39},
        {8, 5, "89", -39},        {10, 1, "", -39},
        {1000, 1, "", -39},       {0x7FFFFFFFFFFFFFFF, 1, "", -39},
    };
    for (const Case& c : kCases) {
        OSErr code = 1;
        EXPECT_EQ(Read(fork, c.offset, c.count, &code), c.bytes) << c.offset << " " << c.count;
        EXPECT_EQ(code, c.code) << c.offset << " " << c.count;
    }
}

TEST(Transfers, AnEmptyFileIsAtItsEnd) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", ""), fsRdPerm);
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 0, 16384, &code), "");
    EXPECT_EQ(code, -39);
}

TEST(Transfers, ARequestThatFinishesInTheCallGivesItsResultThere) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    char bytes[16];
    FSForkIOParam request = Request(fork, 0, 10, bytes);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    EXPECT_EQ(request.ioResult, 0);
    EXPECT_EQ(request.actualCount, 10u);
    request.requestCount = 16;
    EXPECT_EQ(PBReadForkAsync(&request), -39);
    EXPECT_EQ(request.ioResult, -39);
    EXPECT_EQ(request.actualCount, 10u);
}

TEST(Transfers, AZeroFilledRequestHasFinished) {
    FSForkIOParam request{};
    EXPECT_EQ(PBForkResult(&request), noErr);
    EXPECT_EQ(PBWaitFork(&request), noErr);
    PBDropFork(&request);
    EXPECT_EQ(request.ioResult, 0);
}

TEST(Transfers, PositionsCountFromTheStartTheEndOrTheMark) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    struct Step {
        unsigned short mode;
        std::int64_t offset;
        const char* bytes;
        std::int64_t mark;  // afterwards
    };
    constexpr Step kSteps[] = {
        {fsAtMark, 7, "01", 2},    {fsAtMark, 0, "23", 4},    {fsFromMark, 1, "56", 7},
        {fsFromMark, -6, "12", 3}, {fsFromLEOF, -4, "67", 8}, {fsFromStart, 1, "12", 3},
        {32, 0, "34", 5},          {33, 0, "01", 2},
    };
    for (const Step& step : kSteps) {
        char bytes[2];
        FSForkIOParam request = Request(fork, step.offset, 2, bytes, step.mode);
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(PBWaitFork(&request), noErr);
        EXPECT_EQ(std::string(bytes, 2), step.bytes) << step.mode;
        EXPECT_EQ(Position(fork), step.mark) << step.mode;
    }
}

TEST(Transfers, ARequestThatMakesNoSenseIsRefusedAndMovesNothing) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    const OpenedFork reader(path, fsRdPerm);
    const OpenedFork writer(path, fsWrPerm);
    char bytes[4] = {};
    using Change = void (*)(FSForkIOParam&);
    struct Case {
        const char* reason;
        Change change;
        OSErr code;
    };
    const Case kCases[] = {
        {"before the start", [](FSForkIOParam& r) { r.positionOffset = -1; }, -40},
        {"before the start, from the mark",
         [](FSForkIOParam& r) {
             r.positionMode = fsFromMark;
             r.positionOffset = -1;
         },
         -40},
        {"no such mode", [](FSForkIOParam& r) { r.positionMode = 4; }, -50},
        {"no such mode beside the cache bit", [](FSForkIOParam& r) { r.positionMode = 48; }, -50},
        {"a completion routine", [](FSForkIOParam& r) { r.ioCompletion = [](FSForkIOParam*) {}; },
         -50},
        {"no memory", [](FSForkIOParam& r) { r.buffer = nullptr; }, -50},
        {"no fork", [](FSForkIOParam& r) { r.forkRefNum = 0; }, -51},
    };
    for (const Case& c : kCases) {
        for (const bool ahead : {false, true}) {
            FSForkIOParam request = Request(reader, 0, 4, bytes);
            request.readAhead = ahead;
            request.actualCount = 99;
            c.change(request);
            EXPECT_EQ(PBReadForkAsync(&request), c.code) << c.reason;
            EXPECT_EQ(request.ioResult, c.code) << c.reason;
            EXPECT_EQ(request.actualCount, 0u) << c.reason;
            EXPECT_EQ(PBForkResult(&request), c.code) << c.reason;
        }
        FSForkIOParam request = Request(writer, 0, 4, bytes);
        c.change(request);
        EXPECT_EQ(PBWriteForkAsync(&request), c.code) << c.reason;
        EXPECT_EQ(PBWaitFork(&request), c.code) << c.reason;
    }
    EXPECT_EQ(Position(reader), 0);
    EXPECT_EQ(Position(writer), 0);
    EXPECT_EQ(ReadAll(path), "0123456789");
    EXPECT_EQ(PBReadForkAsync(nullptr), -50);
    EXPECT_EQ(PBWriteForkAsync(nullptr), -50);
}

TEST(Transfers, ThePermissionOfTheForkCounts) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    char bytes[4] = {};
    std::size_t count = 9;
    const OpenedFork reader(path, fsRdPerm);
    FSForkIOParam request = Request(reader, 0, 4, bytes);
    EXPECT_EQ(PBWriteForkAsync(&request), -54);
    EXPECT_EQ(FSWriteFork(reader, fsFromStart, 0, 4, bytes, &count), -54);
    EXPECT_EQ(count, 0u);
    const OpenedFork writer(path, fsWrPerm);
    request = Request(writer, 0, 4, bytes);
    EXPECT_EQ(PBReadForkAsync(&request), -54);
    EXPECT_EQ(PBWaitFork(&request), -54);
    EXPECT_EQ(ReadAll(path), "0123456789");
}

TEST(Transfers, AFailedReadHasNoBytes) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const ShortTransfers three(3);
    const FaultPlan plan(2, EIO, "preadv2");
    char bytes[10];
    FSForkIOParam request = Request(fork, 0, 10, bytes);
    EXPECT_EQ(PBReadForkAsync(&request), -36);
    EXPECT_EQ(request.actualCount, 0u);
    EXPECT_EQ(Position(fork), 0);
}

// --- Writing ------------------------------------------------------------------------------------

TEST(Transfers, AWriteReplacesBytesInPlaceAndExtendsTheFile) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    const OpenedFork fork(path, fsWrPerm);
    char bytes[] = "abcd";
    FSForkIOParam request = Request(fork, 2, 3, bytes, 33);
    EXPECT_EQ(PBWriteForkAsync(&request), noErr);
    EXPECT_EQ(request.actualCount, 3u);
    EXPECT_EQ(Position(fork), 5);
    EXPECT_EQ(ReadAll(path), "01abc56789");
    request = Request(fork, 12, 2, bytes);
    EXPECT_EQ(PBWriteForkAsync(&request), noErr);
    EXPECT_EQ(Hex(ReadAll(path).substr(10)), "00 00 61 62");
    request = Request(fork, 0, 0, bytes);
    EXPECT_EQ(PBWriteForkAsync(&request), noErr);
    EXPECT_EQ(request.actualCount, 0u);
    EXPECT_EQ(ReadAll(path).size(), 14u);
}

TEST(Transfers, FSWriteForkGoesOnWhereItWas) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const OpenedFork fork(path, fsWrPerm);
    std::size_t count = 0;
    EXPECT_EQ(FSWriteFork(fork, fsAtMark, 0, 3, "abc", &count), noErr);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(FSWriteFork(fork, fsAtMark, 0, 2, "de", nullptr), noErr);
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 1, 1, "B", nullptr), noErr);
    EXPECT_EQ(FSWriteFork(fork, fsFromMark, 1, 1, "D", nullptr), noErr);
    EXPECT_EQ(FSWriteFork(fork, fsFromLEOF, 0, 1, "f", nullptr), noErr);
    EXPECT_EQ(ReadAll(path), "aBcDef");
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, -1, 1, "x", &count), -40);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Position(fork), 6);
}

TEST(Transfers, AFailedWriteTellsWhatArrived) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const OpenedFork fork(path, fsWrPerm);
    const ShortTransfers four(4);
    const FaultPlan plan(3, ENOSPC, "pwrite");
    char bytes[] = "0123456789";
    FSForkIOParam request = Request(fork, 0, 10, bytes);
    EXPECT_EQ(PBWriteForkAsync(&request), -34);
    EXPECT_EQ(request.ioResult, -34);
    EXPECT_EQ(request.actualCount, 8u);
    EXPECT_EQ(Position(fork), 8);
    EXPECT_EQ(ReadAll(path), "01234567");
}

TEST(Transfers, AFileTooBigIsMinus34) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const OpenedFork fork(path, fsWrPerm);
    std::size_t count = 9;
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0x7FFFFFFFFFFFFFFF, 2, "ab", &count), -34);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(ReadAll(path), "");
}

TEST(Transfers, AWriteThatMovesNothingFailsInsteadOfTryingForEver) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", ""), fsWrPerm);
    const TableGuard guard;
    syscalls.pwrite = [](int, const void*, size_t, off_t) -> ssize_t { return 0; };
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0, 2, "ab", nullptr), -36);
}

// --- Short and interrupted calls ----------------------------------------------------------------

TEST(Transfers, ShortTransfersAreContinued) {
    const Scratch scratch;
    const std::string bytes = Pattern(5000);
    const std::string path = scratch.Write("a", "");
    const OpenedFork fork(path, fsRdWrPerm);
    const ShortTransfers seven(7);
    std::size_t count = 0;
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0, bytes.size(), bytes.data(), &count), noErr);
    EXPECT_EQ(count, 5000u);
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 0, 5000, &code), bytes);
    EXPECT_EQ(code, noErr);
    EXPECT_EQ(Read(fork, 4000, 5000, &code), bytes.substr(4000));
    EXPECT_EQ(code, -39);
}

int interruptions = 0;

// Every entry that a transfer uses is interrupted 40 times before it does its work.
void InterruptEverything() {
    syscalls.preadv2 = [](int fd, const iovec* parts, int count, off_t offset, int flags) {
        if (++interruptions % 41 == 0)
            return kHostSyscalls.preadv2(fd, parts, count, offset, flags);
        errno = EINTR;
        return ssize_t{-1};
    };
    syscalls.pread = [](int fd, void* buffer, size_t size, off_t offset) {
        if (++interruptions % 41 == 0) return kHostSyscalls.pread(fd, buffer, size, offset);
        errno = EINTR;
        return ssize_t{-1};
    };
    syscalls.pwrite = [](int fd, const void* buffer, size_t size, off_t offset) {
        if (++interruptions % 41 == 0) return kHostSyscalls.pwrite(fd, buffer, size, offset);
        errno = EINTR;
        return ssize_t{-1};
    };
    syscalls.pwritev2 = [](int fd, const iovec* parts, int count, off_t offset, int flags) {
        if (++interruptions % 41 == 0)
            return kHostSyscalls.pwritev2(fd, parts, count, offset, flags);
        errno = EINTR;
        return ssize_t{-1};
    };
    syscalls.openat = [](int folder, const char* path, int flags, mode_t mode) {
        if (++interruptions % 41 == 0) return kHostSyscalls.openat(folder, path, flags, mode);
        errno = EINTR;
        return -1;
    };
    syscalls.fdatasync = [](int fd) {
        if (++interruptions % 41 == 0) return kHostSyscalls.fdatasync(fd);
        errno = EINTR;
        return -1;
    };
}

TEST(Transfers, InterruptedCallsAreNeverSeen) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const TableGuard guard;
    InterruptEverything();
    const OpenedFork fork(path, fsRdWrPerm);
    EXPECT_EQ(FSWriteFork(fork, fsFromStart, 0, 5, "hello", nullptr), noErr);
    EXPECT_EQ(FSWriteFork(fork, kSparing, 1024 * kMiB, 5, "world", nullptr), noErr);
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 0, 5, &code), "hello");
    EXPECT_EQ(Read(fork, 1024 * kMiB, 9, &code), "world");
    EXPECT_EQ(code, -39);
    EXPECT_EQ(FSFlushFile(path.c_str()), noErr);
}

TEST(Transfers, ACloseThatIsInterruptedHasClosed) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const int descriptors = OpenDescriptors();
    OpenedFork fork(path, fsRdPerm);
    const FaultPlan plan(1, EINTR, "close");
    EXPECT_EQ(fork.Close(), noErr);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

// --- What the host cannot do --------------------------------------------------------------------

TEST(Transfers, AFileSystemThatCannotReadWithoutWaitingIsAskedOnce) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    for (const int error : {EOPNOTSUPP, EINVAL, ENOSYS}) {
        const OpenedFork other(path, fsRdPerm);
        const FaultPlan plan(1, error, "preadv2", -1);
        OSErr code = 1;
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Read(other, 2, 3, &code), "234");
            EXPECT_EQ(code, noErr);
        }
        EXPECT_EQ(plan.Calls(), 1);
    }
}

TEST(Transfers, AnEndThatIsNoneIsNotBelieved) {
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const TableGuard guard;
    syscalls.preadv2 = [](int, const iovec*, int, off_t, int) -> ssize_t { return 0; };
    OSErr code = 1;
    EXPECT_EQ(Read(fork, 0, 10, &code), "0123456789");
    EXPECT_EQ(code, noErr);
}

std::vector<off_t> sparedAt;
int sparedFlags = 0;

TEST(Transfers, TheCacheIsSparedFromTheFirstGibibyteOn) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "");
    const OpenedFork fork(path, fsWrPerm);
    const TableGuard guard;
    sparedAt.clear();
    syscalls.pwritev2 = [](int fd, const iovec* parts, int, off_t offset, int flags) {
        sparedAt.push_back(offset);
        sparedFlags = flags;
        return kHostSyscalls.pwrite(fd, parts->iov_base, parts->iov_len, offset);
    };
    char byte = 'x';
    for (const std::int64_t offset : {std::int64_t{0}, 1024 * kMiB - 1, 1024 * kMiB, 1040 * kMiB}) {
        for (const unsigned short mode : {fsFromStart, kSparing}) {
            FSForkIOParam request = Request(fork, offset, 1, &byte, mode);
            EXPECT_EQ(PBWriteForkAsync(&request), noErr);
        }
    }
    EXPECT_EQ(sparedAt, (std::vector<off_t>{1024 * kMiB, 1040 * kMiB}));
    EXPECT_EQ(sparedFlags, 0x80);
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
}

TEST(Transfers, AFileSystemThatCannotSpareTheCacheIsAskedOnce) {
    const Scratch scratch;
    for (const int error : {EOPNOTSUPP, EINVAL}) {
        const OpenedFork fork(scratch.Write("a", ""), fsWrPerm);
        const FaultPlan plan(1, error, "pwritev2", -1);
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(FSWriteFork(fork, 33, 1024 * kMiB + i, 1, "x", nullptr), noErr);
        EXPECT_EQ(plan.Calls(), 1);
        std::int64_t size = 0;
        EXPECT_EQ(FSGetForkSize(fork, &size), noErr);
        EXPECT_EQ(size, 1024 * kMiB + 3);
    }
}

// --- Cost ---------------------------------------------------------------------------------------

TEST(Transfers, AWarmTransferIsOneSystemCall) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", Pattern(4 * kWarmReads));
    const OpenedFork fork(path, fsRdWrPerm);
    OSErr code = 1;
    (void)Read(fork, 0, 4 * kWarmReads, &code);
    std::string bytes(kWarmReads, '#');
    for (int i = 0; i < 4; ++i) {
        const FaultPlan count(1000, EIO);
        FSForkIOParam request = Request(fork, i * kWarmReads, kWarmReads, bytes.data());
        EXPECT_EQ(PBReadForkAsync(&request), noErr);
        EXPECT_EQ(PBWaitFork(&request), noErr);
        EXPECT_EQ(count.Calls(), 1);
        request.positionMode = 33;
        EXPECT_EQ(PBWriteForkAsync(&request), noErr);
        EXPECT_EQ(PBWaitFork(&request), noErr);
        EXPECT_EQ(count.Calls(), 2);
    }
    EXPECT_EQ(ReadAll(path), Pattern(4 * kWarmReads));
}

// --- Failures, one after another ----------------------------------------------------------------

TEST(Transfers, EachSystemCallCanFailOnceAndTheBytesThatCountAreRight) {
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    const int descriptors = OpenDescriptors();
    for (int n = 1;; ++n) {
        WriteAll(path, "0123456789");
        const OpenedFork fork(path, fsRdWrPerm);
        OSErr code = noErr;
        OSErr written = noErr;
        std::string bytes;
        std::size_t count = 0;
        std::string where;
        {
            const ShortTransfers four(4);
            const FaultPlan plan(n, EIO);
            bytes = Read(fork, 0, 10, &code);
            written = FSWriteFork(fork, fsFromStart, 0, 10, "abcdefghij", &count);
            where = plan.Where();
        }
        if (where.empty()) {
            EXPECT_EQ(bytes, "0123456789");
            EXPECT_EQ(ReadAll(path), "abcdefghij");
            break;
        }
        EXPECT_EQ(code, where == "preadv2" ? -36 : 0) << where;
        EXPECT_EQ(bytes, where == "preadv2" ? "" : "0123456789") << where;
        EXPECT_EQ(written, where == "pwrite" ? -36 : 0) << where;
        EXPECT_EQ(ReadAll(path), std::string("abcdefghij").substr(0, count) +
                                     std::string("0123456789").substr(count));
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

}  // namespace
}  // namespace Ondrel::Testing
