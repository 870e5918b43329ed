// Direct access and its write cache.
#include "ondrel/fil/direct.h"

#include <climits>
#include <filesystem>
#include <random>

#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

class DirectTest : public StreamTest {
 protected:
    ~DirectTest() override { filasycacend(); }

    void OpenNew(fil* f, const std::string& name, const std::string& bytes = {}) {
        scratch_.Write(name, bytes);
        ASSERT_EQ(filasyope(f, Ref(name), true), 0);
    }
    static int Write(fil* f, int position, const std::string& bytes) {
        return filasywri(f, position, AsBytes(bytes), static_cast<int>(bytes.size()));
    }
    static void WaitFor(fil* f) {
        while (filasydon(f) == 0) {
        }
    }
};

TEST_F(DirectTest, AnOpenedStreamHasNothingUnderWay) {
    fil f;
    OpenNew(&f, "a", "xyz");
    EXPECT_EQ(f.sys->mode, kFilModeDirect);
    EXPECT_EQ(f.sys->errorContext, nullptr);
    EXPECT_EQ(f.sys->position1, 0);
    EXPECT_EQ(f.sys->position2, 2147483647);
    EXPECT_EQ(f.count, 0);
    EXPECT_EQ(filasydon(&f), 1);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(DirectTest, OpeningTellsWhatIsWrong) {
    fil f;
    EXPECT_EQ(filasyope(&f, Ref("missing"), false), -43);
    ASSERT_NE(f.sys, nullptr) << "the record stays until filclo";
    EXPECT_EQ(f.sys->mode, 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(filasyope(&f, filref(), false), -1);
    ASSERT_NE(f.sys, nullptr);
    EXPECT_EQ(f.sys->error, -1);
    EXPECT_EQ(filclo(&f), 0);
    scratch_.MakeFolder("folder");
    EXPECT_EQ(filasyope(&f, Ref("folder"), false), -1);
    EXPECT_EQ(f.sys->error, -43);
    EXPECT_EQ(filclo(&f), 0);

    fil writer;
    OpenNew(&writer, "a", "xyz");
    EXPECT_EQ(filasyope(&f, Ref("a"), true), -3);
    EXPECT_EQ(f.sys->error, -49);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(filasyope(&f, Ref("a"), false), 0) << "a reader is not refused";
    EXPECT_EQ(filclo(&f), 0);
    FaultPlan denied(1, EACCES, "openat", -1);
    EXPECT_EQ(filasyope(&f, Ref("a"), false), -3);
    EXPECT_EQ(f.sys->error, -54);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(DirectTest, ALinkIsOpenedAsItsTarget) {
    scratch_.Write("real", "xyz");
    std::filesystem::create_symlink("real", Path("link"));
    fil f;
    ASSERT_EQ(filasyope(&f, Ref("link"), true), 0);
    EXPECT_EQ(Write(&f, 0, "Q"), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("real"), "Qyz");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
}

TEST_F(DirectTest, TransfersGoToTheirPositions) {
    fil f;
    OpenNew(&f, "a", "0123456789");
    EXPECT_EQ(Write(&f, 2, "AB"), 0);
    EXPECT_EQ(Write(&f, 12, "CD"), 0);
    WaitFor(&f);
    EXPECT_EQ(filasydon(&f), 1);
    unsigned char read[4] = {};
    EXPECT_EQ(filasyrea(&f, 1, read, 4), 0);
    WaitFor(&f);
    EXPECT_EQ(filasydon(&f), 1);
    EXPECT_EQ(std::string(read, read + 4), "1AB4");
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), std::string("01AB456789\0\0CD", 14));
}

TEST_F(DirectTest, TheTwoRequestsTakeTurns) {
    fil f;
    OpenNew(&f, "a");
    EXPECT_EQ(f.cursor, f.sys->buffer1);
    EXPECT_EQ(Write(&f, 5, "x"), 0);
    EXPECT_EQ(f.cursor, f.sys->buffer2);
    EXPECT_EQ(f.sys->position1, 5);
    EXPECT_EQ(Write(&f, 6, "y"), 0);
    EXPECT_EQ(f.cursor, f.sys->buffer1);
    EXPECT_EQ(f.sys->position2, 6);
}

TEST_F(DirectTest, ALengthBelow1WritesNothing) {
    fil f;
    OpenNew(&f, "a", "xyz");
    EXPECT_EQ(filasywri(&f, 0, nullptr, 0), 0);
    EXPECT_EQ(filasywri(&f, 0, nullptr, -5), 0);
    EXPECT_EQ(filasydon(&f), 1);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "xyz");
}

TEST_F(DirectTest, MisuseIsReported) {
    fil f;
    unsigned char byte = 0;
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(filasyrea(&f, 0, &byte, 1), -1);
    EXPECT_EQ(filasywri(&f, 0, &byte, 1), -1);
    scratch_.Write("a", "xyz");
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(filasyrea(&f, 0, &byte, 1), -1);
    EXPECT_EQ(filasywri(&f, 0, &byte, 1), -1);
    EXPECT_EQ(Messages(), std::vector<std::string>(6, "File not open for direct access."));
}

TEST_F(DirectTest, AFailureShowsInTheNextCallAndStays) {
    fil f;
    OpenNew(&f, "a", "xyz");
    {
        FaultPlan full(1, ENOSPC, "pwrite");
        EXPECT_EQ(Write(&f, 0, "A"), 0) << "not looked at yet";
    }
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(Write(&f, 0, "B"), -1);
    unsigned char byte = 0;
    EXPECT_EQ(filasyrea(&f, 0, &byte, 1), -1);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), "xyz");

    OpenNew(&f, "b", "xyz");
    {
        FaultPlan full(1, ENOSPC, "pwrite");
        EXPECT_EQ(Write(&f, 0, "A"), 0);
    }
    EXPECT_EQ(Write(&f, 1, "B"), -1) << "the transfer after it meets it";
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(DirectTest, AReadBehindTheEndFails) {
    fil f;
    OpenNew(&f, "a", "xyz");
    unsigned char read[4] = {};
    EXPECT_EQ(filasyrea(&f, 1, read, 4), 0);
    WaitFor(&f);
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(f.sys->error, -39);
    EXPECT_EQ(read[0], 'y') << "what there was has arrived";
    EXPECT_EQ(filclo(&f), 0);
    OpenNew(&f, "a", "xyz");
    EXPECT_EQ(filasyrea(&f, -1, read, 4), 0);
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(f.sys->error, -40);
}

TEST_F(DirectTest, ClosingWaitsForWhatIsUnderWay) {
    const std::string pattern = WritePattern("a", 100000);
    std::string read(100000, '\0');
    fil f;
    ASSERT_EQ(filasyope(&f, Ref("a"), false), 0);
    EXPECT_EQ(filasyrea(&f, 0, reinterpret_cast<unsigned char*>(read.data()), 100000), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(read, pattern);
}

TEST_F(DirectTest, AStreamOpenedForReadingDoesNotWrite) {
    scratch_.Write("a", "xyz");
    fil f;
    ASSERT_EQ(filasyope(&f, Ref("a"), false), 0);
    EXPECT_EQ(Write(&f, 0, "A"), 0);
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(f.sys->error, -54);
    filclo(&f);
    EXPECT_EQ(Contents("a"), "xyz");
}

// --- The cache ----------------------------------------------------------------------------------

TEST_F(DirectTest, ContiguousWritesBecomeOneTransfer) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 1000);
    FaultPlan count(1000000, EIO);
    EXPECT_EQ(Write(&f, 0, std::string(100, 'a')), 0);
    EXPECT_EQ(Write(&f, 100, std::string(50, 'b')), 0);
    EXPECT_EQ(count.Calls(), 0);
    filasycacend();
    EXPECT_EQ(count.Calls(), 1);
    EXPECT_EQ(filasydon(&f), 1);
    EXPECT_EQ(Contents("a"), std::string(100, 'a') + std::string(50, 'b'));
}

TEST_F(DirectTest, AWriteThatDoesNotFollowSendsTheHeldBytesFirst) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 1000);
    EXPECT_EQ(Write(&f, 0, "ab"), 0);
    EXPECT_EQ(Contents("a"), "");
    EXPECT_EQ(Write(&f, 5, "cd"), 0);
    EXPECT_EQ(Contents("a"), "ab");
    EXPECT_EQ(Write(&f, 1, "X"), 0) << "backwards";
    EXPECT_EQ(Contents("a"), std::string("ab\0\0\0cd", 7));
    filasycacend();
    EXPECT_EQ(Contents("a"), std::string("aX\0\0\0cd", 7));
}

TEST_F(DirectTest, AWriteThatDoesNotFitSendsTheHeldBytesFirst) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 10);
    EXPECT_EQ(Write(&f, 0, "abcdef"), 0);
    EXPECT_EQ(Write(&f, 6, "ghij"), 0) << "fits exactly";
    EXPECT_EQ(Contents("a"), "");
    EXPECT_EQ(Write(&f, 10, "k"), 0);
    EXPECT_EQ(Contents("a"), "abcdefghij");
    EXPECT_EQ(Write(&f, 11, std::string(10, 'L')), 0);
    EXPECT_EQ(Contents("a"), "abcdefghijk");
    filasycacend();
    EXPECT_EQ(Contents("a"), "abcdefghijk" + std::string(10, 'L'));
}

TEST_F(DirectTest, AWriteLargerThanTheCacheGoesOutAtOnce) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 4);
    EXPECT_EQ(Write(&f, 0, "ab"), 0);
    EXPECT_EQ(Write(&f, 2, "cdefgh"), 0);
    EXPECT_EQ(Contents("a"), "abcdefgh");
    EXPECT_EQ(Write(&f, 8, "ij"), 0) << "held: the cache is empty and stands behind the piece";
    EXPECT_EQ(Contents("a"), "abcdefgh");
    EXPECT_EQ(Write(&f, 100, "abcdef"), 0);
    EXPECT_EQ(Contents("a").substr(0, 10), "abcdefghij");
    filasycacend();
    EXPECT_EQ(Contents("a").substr(100), "abcdef");
}

TEST_F(DirectTest, TheCachedStreamIsNotRead) {
    fil f;
    OpenNew(&f, "a", "xyz");
    filasycacbeg(&f, 100);
    unsigned char byte = 7;
    FaultPlan count(1000000, EIO);
    EXPECT_EQ(filasyrea(&f, 0, &byte, 1), -1);
    EXPECT_EQ(count.Calls(), 0);
    EXPECT_EQ(byte, 7);
    EXPECT_TRUE(Messages().empty());
    filasycacend();
    EXPECT_EQ(filasyrea(&f, 0, &byte, 1), 0);
    WaitFor(&f);
    EXPECT_EQ(byte, 'x');
}

TEST_F(DirectTest, ThereIsOneCacheAtATime) {
    fil a;
    fil b;
    OpenNew(&a, "a");
    OpenNew(&b, "b");
    filasycacbeg(&a, 100);
    filasycacbeg(&b, 100);
    filasycacbeg(&a, 1);
    EXPECT_EQ(Write(&a, 0, "held"), 0);
    EXPECT_EQ(Write(&b, 0, "sent"), 0);
    WaitFor(&b);
    EXPECT_EQ(Contents("a"), "");
    EXPECT_EQ(Contents("b"), "sent");
    filasycacend();
    EXPECT_EQ(Contents("a"), "held");
    filasycacend();
    filasycacbeg(&b, 100);
    EXPECT_EQ(Write(&b, 4, "held"), 0);
    EXPECT_EQ(Contents("b"), "sent");
    filasycacend();
    EXPECT_EQ(Contents("b"), "sentheld");
}

TEST_F(DirectTest, ASizeBelow1StartsNoCache) {
    fil f;
    OpenNew(&f, "a");
    for (const int size : {0, -1, INT_MIN}) {
        filasycacbeg(&f, size);
        EXPECT_EQ(Write(&f, 0, "sent"), 0);
        WaitFor(&f);
        EXPECT_EQ(Contents("a"), "sent");
        unsigned char byte = 0;
        EXPECT_EQ(filasyrea(&f, 0, &byte, 1), 0) << "the stream owns no cache";
    }
}

TEST_F(DirectTest, ACachedFailureShowsAfterwards) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 100);
    EXPECT_EQ(Write(&f, 0, "held"), 0);
    {
        FaultPlan full(1, ENOSPC, "pwrite", -1);
        EXPECT_EQ(Write(&f, 50, "more"), 0) << "the cached way answers 0 always";
        filasycacend();
    }
    EXPECT_EQ(filasydon(&f), -1);
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(DirectTest, AnOwnerThatWasClosedIsReportedAndTheCacheGoes) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 100);
    EXPECT_EQ(Write(&f, 0, "held"), 0);
    EXPECT_EQ(filclo(&f), 0);
    filasycacend();
    ASSERT_FALSE(Messages().empty());
    EXPECT_EQ(Messages().front(), "File not open for direct access.");
    EXPECT_EQ(Contents("a"), "") << "the cached bytes are lost";
}

TEST_F(DirectTest, HugeLengthsAndPositionsDoNotOverflow) {
    fil f;
    OpenNew(&f, "a");
    filasycacbeg(&f, 100);
    EXPECT_EQ(Write(&f, INT_MAX - 1, "ab"), 0);
    EXPECT_EQ(Write(&f, INT_MIN, "cd"), 0);
    EXPECT_EQ(filasywri(&f, 0, nullptr, INT_MIN), 0);
    filasycacend();
    EXPECT_EQ(filasydon(&f), -1) << "a position before the start";
    EXPECT_EQ(f.sys->error, -40);
}

TEST_F(DirectTest, RandomCachedWritesAgreeWithMemory) {
    std::mt19937 random(20240229);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    for (const int capacity : {1, 7, 64, 1000, 100000}) {
        fil f;
        OpenNew(&f, "a");
        filasycacbeg(&f, capacity);
        std::string model;
        int position = 0;
        for (int step = 0; step < 2000; ++step) {
            if (below(5) == 0) position = below(5000);
            const std::string piece(static_cast<std::size_t>(below(150)),
                                    static_cast<char>('a' + below(26)));
            ASSERT_EQ(Write(&f, position, piece), 0);
            const auto at = static_cast<std::size_t>(position);
            if (!piece.empty() && model.size() < at + piece.size())
                model.resize(at + piece.size(), '\0');
            if (!piece.empty()) model.replace(at, piece.size(), piece);
            position += static_cast<int>(piece.size());
        }
        filasycacend();
        EXPECT_EQ(filasydon(&f), 1);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(Contents("a"), model) << capacity;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
