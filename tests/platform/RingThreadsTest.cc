// Many reads under way at once, by several threads, and across a fork of the process.
#include <vector>

#include "tests/platform/RingHelpers.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// --- Many requests, many threads ----------------------------------------------------------------

TEST(RingThreads, MoreReadsThanTheQueueHoldsAllArrive) {
    NEEDS_RING();
    const Scratch scratch;
    const std::string bytes = Pattern(300 * 512);
    const OpenedFork fork(scratch.Write("a", bytes), fsRdPerm);
    const ColdCache cold;
    std::vector<FSForkIOParam> requests(300);
    std::string buffer(bytes.size(), '#');
    for (std::size_t i = 0; i < requests.size(); ++i) {
        requests[i] =
            Request(fork, static_cast<std::int64_t>(512 * i), 512, buffer.data() + 512 * i);
        EXPECT_EQ(PBReadForkAsync(&requests[i]), noErr);
    }
    for (std::size_t i = requests.size(); i-- > 0;)
        EXPECT_EQ(i % 2 == 0 ? PBWaitFork(&requests[i]) : Poll(&requests[i]), noErr);
    EXPECT_TRUE(buffer == bytes);
    EXPECT_EQ(submissions, 64);
}

void ReadAllOf(const std::string& path, const std::string& bytes, bool wait) {
    for (int round = 0; round < 20; ++round) {
        const OpenedFork fork(path, fsRdPerm);
        std::string buffers[2] = {std::string(4096, '#'), std::string(4096, '#')};
        FSForkIOParam requests[2] = {};
        for (std::size_t at = 0; at + 8192 <= bytes.size(); at += 8192) {
            for (std::size_t i = 0; i < 2; ++i) {
                requests[i] = Request(fork, static_cast<std::int64_t>(at + 4096 * i), 4096,
                                      buffers[i].data());
                EXPECT_EQ(PBReadForkAsync(&requests[i]), noErr);
            }
            for (std::size_t i = 0; i < 2; ++i) {
                EXPECT_EQ(wait ? PBWaitFork(&requests[i]) : Poll(&requests[i]), noErr);
                EXPECT_TRUE(buffers[i] == bytes.substr(at + 4096 * i, 4096));
            }
        }
    }
}

TEST(RingThreads, EightThreadsReadTheirOwnForks) {
    const Scratch scratch;
    for (const bool isCold : {false, true}) {
        const TableGuard guard;
        if (isCold)
            syscalls.preadv2 = [](int, const iovec*, int, off_t, int) {
                errno = EAGAIN;
                return ssize_t{-1};
            };
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            const std::string bytes = Pattern(static_cast<std::size_t>(65536 + 8192 * i));
            const std::string path = scratch.Write("file" + std::to_string(i), bytes);
            threads.emplace_back([path, bytes, i] { ReadAllOf(path, bytes, i % 3 != 0); });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
}

TEST(RingThreads, ThreadsThatWaitTogetherAllGetTheirOwnAnswer) {
    NEEDS_RING();
    const Scratch scratch;
    const std::string path = scratch.Write("a", "0123456789");
    for (int round = 0; round < 20; ++round) {
        const SlowDisk disk;
        std::atomic<int> started = 0;
        std::atomic<int> finished = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i) {
            threads.emplace_back([&] {
                const OpenedFork fork(path, fsRdPerm);
                char buffer[] = "####";
                FSForkIOParam request = Request(fork, 0, 4, buffer);
                EXPECT_EQ(PBReadForkAsync(&request), noErr);
                ++started;
                EXPECT_EQ(PBWaitFork(&request), noErr);
                EXPECT_STREQ(buffer, "abcd");
                ++finished;
            });
        }
        while (started < 6)
            std::this_thread::yield();
        for (int i = 0; i < 6; ++i)
            disk.Answer("abcd");
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(finished, 6);
    }
}

TEST(RingThreads, AReadOutlivesTheThreadThatBeganIt) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 2, 4, buffer);
    std::thread([&] { EXPECT_EQ(PBReadForkAsync(&request), noErr); }).join();
    disk.Answer("abcd");
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_EQ(request.actualCount, 4u);
    // The kernel may give back what it began for a thread that is no more.
    EXPECT_TRUE(std::string(buffer) == "abcd" || std::string(buffer) == "2345") << buffer;
}

// --- Another process ----------------------------------------------------------------------------

TEST(RingThreads, AChildReadsPlainlyAndLeavesTheParentsReadsAlone) {
    NEEDS_RING();
    const Scratch scratch;
    const OpenedFork fork(scratch.Write("a", "0123456789"), fsRdPerm);
    const SlowDisk disk;
    char buffer[] = "####";
    FSForkIOParam request = Request(fork, 2, 4, buffer);
    EXPECT_EQ(PBReadForkAsync(&request), noErr);
    const int status = InAnotherProcess([&] {
        submissions = 0;
        OSErr code = 1;
        if (Read(fork, 5, 3, &code) != "567" || code != noErr) return 1;
        // Its copy of the request that is under way in the parent.
        if (PBForkResult(&request) != noErr || std::string(buffer) != "2345") return 2;
        if (FSCloseFork(fork) != noErr) return 3;
        return submissions == 0 ? 0 : 4;
    });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(PBForkResult(&request), kRequestInProgress);
    disk.Answer("abcd");
    EXPECT_EQ(PBWaitFork(&request), noErr);
    EXPECT_STREQ(buffer, "abcd");
}

}  // namespace
}  // namespace Ondrel::Testing
