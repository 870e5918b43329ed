// Positions, sizes and length markers.
#include <fcntl.h>
#include <unistd.h>

#include <climits>

#include "ondrel/fil/direct.h"
#include "ondrel/fil/safesave.h"
#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

class PositionTest : public StreamTest {
 protected:
    void Create(fil* f, const std::string& name, errtyp* e = nullptr) {
        const filref ref = Ref(name);
        ASSERT_EQ(filsav(f, e, &ref, 0), 0);
    }
    void OpenPattern(fil* f, int size, errtyp* e = nullptr) {
        WritePattern("a", size);
        ASSERT_EQ(filope(f, e, Ref("a")), 0);
    }
    static void Skip(fil* f, int size) {
        std::string skipped(static_cast<std::size_t>(size), '\0');
        ASSERT_EQ(filrea(f, reinterpret_cast<unsigned char*>(skipped.data()), size), 0);
    }
};

TEST_F(PositionTest, AFreshStreamStandsAt0) {
    fil f;
    EXPECT_EQ(filpos(&f), -1);
    EXPECT_EQ(filpos(&f, 0), -1);
    OpenPattern(&f, 10);
    EXPECT_EQ(filpos(&f), 0);
    EXPECT_EQ(filpos(&f, 0), 0);
    EXPECT_EQ(filpos(&f), 0);
    filclo(&f);
    Create(&f, "b");
    EXPECT_EQ(filpos(&f), 0);
    EXPECT_EQ(filpos(&f, 0), 0);
    filclo(&f);
}

TEST_F(PositionTest, MovesInsideTheBufferMakeNoTransfer) {
    fil f;
    OpenPattern(&f, 40000);
    Skip(&f, 10);
    EXPECT_EQ(filpos(&f), 10);
    FaultPlan count(1000000, EIO);
    EXPECT_EQ(filpos(&f, 5), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(5));
    EXPECT_EQ(filpos(&f, 16384), 0) << "to the end of the valid bytes";
    EXPECT_EQ(filpos(&f), 16384);
    EXPECT_EQ(filpos(&f, 16383), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(16383));
    EXPECT_EQ(count.Calls(), 0);
}

// Through the buffers, which a long block would pass by.
void SkipBytes(fil* f, int size) {
    for (int i = 0; i < size; ++i)
        (void)filrea8(f);
}

// Around both ends of what a buffer holds, from each buffer: the byte is the right one, the
// position is the true one, and a transfer is made only where the target lies outside of the buffer
// or at its very start.
TEST_F(PositionTest, MovesAroundTheEndsOfABufferLeadToTheirBytes) {
    constexpr int kSize = 5 * kFilBufferSize;
    for (const int start : {kFilBufferSize, 2 * kFilBufferSize}) {
        const int end = start + kFilBufferSize;
        for (const int target : {start - 1, start, start + 1, end - 4, end - 1, end, end + 1}) {
            for (const int from : {start + 1, start + 5000, end - 1}) {
                SCOPED_TRACE("from " + std::to_string(from) + " to " + std::to_string(target));
                fil f;
                OpenPattern(&f, kSize);
                SkipBytes(&f, from);
                const bool within = target > start && target <= end;
                FaultPlan count(1000000, EIO);
                EXPECT_EQ(filpos(&f, target), 0);
                EXPECT_EQ(count.Calls(), within ? 0 : 1);
                EXPECT_EQ(filpos(&f), target);
                EXPECT_EQ(filrea8(&f), PatternByte(target));
                EXPECT_EQ(filrea8(&f), PatternByte(target + 1));
                filclo(&f);
            }
        }
    }
}

TEST_F(PositionTest, AMoveWithBytesLeftForgetsWhatIsLatched) {
    fil f;
    OpenPattern(&f, 20000);
    SkipBytes(&f, 19000);
    EXPECT_EQ(f.sys->error, eofErr) << "the last buffer is a short one";
    EXPECT_EQ(filpos(&f, 18000), 0);
    EXPECT_EQ(f.sys->error, noErr);
    f.sys->error = paramErr;
    EXPECT_EQ(filpos(&f, 17000), 0);
    EXPECT_EQ(f.sys->error, noErr);
    EXPECT_EQ(filrea8(&f), PatternByte(17000));
    EXPECT_EQ(filpos(&f, 19999), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(19999));
    EXPECT_EQ(filrea8(&f), -3);
}

TEST_F(PositionTest, AFailedReadAheadIsMadeAgainByAMoveBack) {
    fil f;
    OpenPattern(&f, 40000);
    SkipBytes(&f, kFilBufferSize);
    {
        FaultPlan failing(1, EIO, "preadv2", -1);
        EXPECT_EQ(filrea8(&f), -1);
        EXPECT_EQ(filpos(&f), kFilBufferSize);
    }
    EXPECT_EQ(filpos(&f, 100), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(100));
    EXPECT_EQ(filpos(&f, kFilBufferSize - 1), 0);
    EXPECT_EQ(filrea16(&f), PatternByte(kFilBufferSize - 1) << 8 | PatternByte(kFilBufferSize));
}

TEST_F(PositionTest, AMoveOfAStreamThatReadsAndWritesNeitherGivesMinus1) {
    WritePattern("a", 100);
    fil f;
    ASSERT_EQ(filasyope(&f, Ref("a"), true), 0);
    filasycacbeg(&f, 1000);
    for (const int target : {-1, 0, 1, 50, INT_MAX}) {
        EXPECT_EQ(filpos(&f, target), -1);
        EXPECT_EQ(f.sys->error, noErr);
    }
    EXPECT_EQ(filasywri(&f, 1, AsBytes("xyz"), 3), 0);
    EXPECT_EQ(filpos(&f, 1), -1);
    filasycacend();
    filclo(&f);
    EXPECT_EQ(Contents("a").substr(1, 3), "xyz");
}

// A sum of 32 bits would take it for a byte that the buffer holds.
TEST_F(PositionTest, ANegativeTargetIsRefusedAlsoWhereTheBufferReachesPastTheLastPosition) {
    const int descriptor = ::open(Path("a").c_str(), O_CREAT | O_WRONLY, 0666);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(::ftruncate(descriptor, (off_t{1} << 31) + 100000), 0);
    ::close(descriptor);
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    ASSERT_EQ(filpos(&f, INT_MAX - 1), 0);
    EXPECT_GT(f.count, 10000);
    for (const int target : {INT_MIN, INT_MIN + 1, INT_MIN + 5000}) {
        EXPECT_EQ(filpos(&f, target), -1);
        EXPECT_EQ(f.sys->error, posErr);
        ASSERT_EQ(filpos(&f, INT_MAX - 1), 0);
    }
}

TEST_F(PositionTest, TheStartIsReadAgain) {
    fil f;
    OpenPattern(&f, 100000);
    for (const int from : {0, 1, 10, 16384, 16385, 30000, 40000, 99999}) {
        ASSERT_EQ(filpos(&f, from), 0);
        if (from > 0) {
            ASSERT_EQ(filrea8(&f), PatternByte(from));
        }
        EXPECT_EQ(filpos(&f, 0), 0);
        EXPECT_EQ(filpos(&f), 0) << "from " << from;
        EXPECT_EQ(filpos(&f, 0), 0) << "twice";
        EXPECT_EQ(filpos(&f), 0);
        for (int i = 0; i < 20000; ++i)
            ASSERT_EQ(filrea8(&f), PatternByte(i)) << from << " " << i;
    }
}

TEST_F(PositionTest, AJumpLoadsFromAlittleBeforeItsTarget) {
    fil f;
    OpenPattern(&f, 200000);
    ASSERT_EQ(filpos(&f, 100000), 0);
    EXPECT_EQ(filpos(&f), 100000);
    EXPECT_EQ(f.sys->position2, 97792);
    EXPECT_EQ(f.sys->position1, 97792 + 16384);
    EXPECT_EQ(filrea8(&f), PatternByte(100000));
    EXPECT_EQ(filpos(&f, 97793), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(97793));
    EXPECT_EQ(filpos(&f, 97792), 0) << "the buffer's own start takes the longer way";
    EXPECT_EQ(filpos(&f), 97792);
    EXPECT_EQ(filrea8(&f), PatternByte(97792));
    EXPECT_EQ(filpos(&f, 1500), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(1500));
}

TEST_F(PositionTest, AJumpCostsOneTransfer) {
    fil f;
    OpenPattern(&f, 200000);
    ASSERT_EQ(filrea8(&f), PatternByte(0));
    FaultPlan count(1000000, EIO);
    ASSERT_EQ(filpos(&f, 100000), 0);
    ASSERT_EQ(filrea8(&f), PatternByte(100000));
    ASSERT_EQ(filpos(&f, 50000), 0);
    ASSERT_EQ(filrea8(&f), PatternByte(50000));
    EXPECT_EQ(count.Calls(), 2);
}

TEST_F(PositionTest, EveryTargetLeadsToItsByte) {
    fil f;
    constexpr int kSize = 70000;
    OpenPattern(&f, kSize);
    for (int step = 1; step < kSize; step += 977) {
        for (const int target : {step, kSize - step, step / 2}) {
            ASSERT_EQ(filpos(&f, target), 0) << target;
            ASSERT_EQ(filpos(&f), target);
            ASSERT_EQ(filrea8(&f), PatternByte(target)) << target;
        }
    }
}

TEST_F(PositionTest, TheEndCanBeMovedToAndNoFurther) {
    for (const int size : {1, 100, 16384, 20000, 32768, 40000}) {
        fil f;
        OpenPattern(&f, size);
        EXPECT_EQ(filpos(&f, size), 0) << size;
        EXPECT_EQ(filpos(&f), size);
        EXPECT_TRUE(fileof(&f));
        EXPECT_EQ(filrea8(&f), -3);
        EXPECT_EQ(filpos(&f), size);
        EXPECT_EQ(filpos(&f, size - 1), 0);
        EXPECT_EQ(filrea8(&f), PatternByte(size - 1));
        for (const int target : {size + 1, size + 2048, size + 100000, INT_MAX - 1, INT_MAX}) {
            EXPECT_EQ(filpos(&f, target), -3) << target;
            EXPECT_EQ(f.count, 0);
            EXPECT_EQ(filrea8(&f), -3);
            EXPECT_EQ(filpos(&f, 0), 0) << "a move recovers";
            EXPECT_EQ(filrea8(&f), PatternByte(0));
        }
        filclo(&f);
    }
}

TEST_F(PositionTest, ATargetBehindTheEndIsRaisedWhereAContextIsArmed) {
    errtyp e;
    fil f;
    OpenPattern(&f, 100, &e);
    EXPECT_EQ(Try(e, [&] { return filpos(&f, 101); }), Raised(-3));
    EXPECT_EQ(Try(e, [&] { return filpos(&f, -1); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -40);
    EXPECT_EQ(Try(e, [&] { return filpos(&f, 100); }), Returned(0));
}

TEST_F(PositionTest, ANegativeTargetLatchesAPositionErrorInBothDirections) {
    fil f;
    OpenPattern(&f, 100);
    ASSERT_EQ(filrea8(&f), PatternByte(0));
    for (const int target : {-1, INT_MIN}) {
        EXPECT_EQ(filpos(&f, target), -1);
        EXPECT_EQ(f.sys->error, -40);
        EXPECT_EQ(filrea8(&f), -1);
        EXPECT_EQ(GetFileErrorMessage(&f),
                  "Position error (#-40: file too large?) while reading file Test:a.");
    }
    EXPECT_EQ(filpos(&f, 1), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(1));
    filclo(&f);

    Create(&f, "b");
    ASSERT_EQ(filwri16(&f, 0x4142), 0);
    EXPECT_EQ(filpos(&f, -5), -1);
    EXPECT_EQ(filwri8(&f, 'x'), -1) << "refused until the stream is moved";
    EXPECT_EQ(filpos(&f), 2);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "AB") << "a close right after it still writes";

    Create(&f, "b");
    ASSERT_EQ(filwri16(&f, 0x4142), 0);
    EXPECT_EQ(filpos(&f, -5), -1);
    EXPECT_EQ(filpos(&f, 2), 0);
    EXPECT_EQ(filwri8(&f, 'C'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "ABC");
}

TEST_F(PositionTest, AJumpThatFailsCanBeMadeAgain) {
    fil f;
    OpenPattern(&f, 100000);
    ASSERT_EQ(filrea8(&f), PatternByte(0));
    {
        FaultPlan failing(1, EIO, "preadv2", -1);
        EXPECT_EQ(filpos(&f, 50000), -1);
        EXPECT_EQ(f.sys->error, -36);
        EXPECT_EQ(filrea8(&f), -1);
        EXPECT_EQ(filpos(&f, 0), 0) << "nothing is transferred before it is wanted";
        EXPECT_EQ(filrea8(&f), -1);
    }
    EXPECT_EQ(filpos(&f, 50000), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(50000));
    EXPECT_EQ(filpos(&f, 0), 0);
    EXPECT_EQ(filrea8(&f), PatternByte(0));
}

TEST_F(PositionTest, TheSizeLeavesTheStreamWhereItWas) {
    fil f;
    EXPECT_EQ(filgetsiz(&f), -1);
    errtyp e;
    for (const int size : {1, 16384, 32768, 40000}) {
        OpenPattern(&f, size, &e);
        EXPECT_EQ(Try(e, [&] { return filgetsiz(&f); }), Returned(size));
        EXPECT_EQ(filrea8(&f), PatternByte(0));
        EXPECT_EQ(Try(e, [&] { return filgetsiz(&f); }), Returned(size));
        EXPECT_EQ(filpos(&f), 1);
        Skip(&f, size - 1);
        EXPECT_EQ(Try(e, [&] { return filrea8(&f); }), Raised(-3));
        EXPECT_EQ(Try(e, [&] { return filgetsiz(&f); }), Returned(size)) << "also at the end";
        EXPECT_EQ(filpos(&f), size);
        filclo(&f);
    }
    Create(&f, "b");
    ASSERT_EQ(filwri32(&f, 1), 0);
    EXPECT_EQ(filgetsiz(&f), 0) << "what is buffered does not count";
    EXPECT_EQ(filpos(&f), 4);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b").size(), 4U);
}

// --- Writing ------------------------------------------------------------------------------------

TEST_F(PositionTest, MovingBackAndForwardLosesNoWrittenByte) {
    fil f;
    Create(&f, "b");
    ASSERT_EQ(filwri32(&f, 0x41424344), 0);
    ASSERT_EQ(filwri32(&f, 0x45464748), 0);
    EXPECT_EQ(filpos(&f, 2), 0);
    EXPECT_EQ(f.sys->tailLength, 8);
    ASSERT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "ABxDEFGH");
}

TEST_F(PositionTest, AMoveOutOfTheBufferWritesItFirst) {
    fil f;
    Create(&f, "b");
    const std::string first = WritePattern("p", 20000);
    ASSERT_EQ(filwri(&f, AsBytes(first), 20000), 0);
    EXPECT_EQ(filpos(&f, 100), 0);
    EXPECT_EQ(filgeteof(&f), 20000);
    ASSERT_EQ(filwri16(&f, 0x4142), 0);
    EXPECT_EQ(filpos(&f, 20000), 0);
    EXPECT_EQ(filpos(&f), 20000);
    ASSERT_EQ(filwri8(&f, 'e'), 0);
    EXPECT_EQ(filclo(&f), 0);
    std::string expected = first + "e";
    expected.replace(100, 2, "AB");
    EXPECT_EQ(Contents("b"), expected);
}

TEST_F(PositionTest, MovingBehindTheDataLeavesAGap) {
    fil f;
    Create(&f, "b");
    ASSERT_EQ(filwri8(&f, 'a'), 0);
    EXPECT_EQ(filpos(&f, 5), 0);
    ASSERT_EQ(filwri8(&f, 'b'), 0);
    EXPECT_EQ(filpos(&f), 6);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), std::string("a\0\0\0\0b", 6));
}

TEST_F(PositionTest, AFailedWriteShowsInTheMoveThatMeetsIt) {
    fil f;
    Create(&f, "b");
    const std::string block(16384, 'b');
    {
        FaultPlan full(1, ENOSPC, "pwrite");
        ASSERT_EQ(filwri(&f, AsBytes(block), 16384), 0);
    }
    ASSERT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filpos(&f, 0), -1);
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(filpos(&f, 0), 0);
    ASSERT_EQ(filwri8(&f, 'y'), 0);
    EXPECT_EQ(filclo(&f), 0);
    const std::string bytes = Contents("b");
    ASSERT_EQ(bytes.size(), 16385U);
    EXPECT_EQ(bytes[0], 'y');
    EXPECT_EQ(bytes[16384], 'x');
}

TEST_F(PositionTest, WritingAtTheLastPositionIsRefused) {
    fil f;
    Create(&f, "b");
    ASSERT_EQ(filwri8(&f, 'a'), 0);
    EXPECT_EQ(filpos(&f, INT_MAX), -1);
    EXPECT_EQ(f.sys->error, -40);
    EXPECT_EQ(filpos(&f), 1);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "a");
}

// --- Length markers -----------------------------------------------------------------------------

TEST_F(PositionTest, AMarkerHoldsTheLengthOfItsBlock) {
    fil f;
    Create(&f, "b");
    ASSERT_EQ(filwri8(&f, 0xEE), 0);
    const int marker = filwripos(&f);
    EXPECT_EQ(marker, 1);
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(filwri8(&f, i), 0);
    EXPECT_EQ(filwrilen(&f, marker), 0);
    EXPECT_EQ(filpos(&f), 15);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Hex(Contents("b")), "EE 00 00 00 0A 00 01 02 03 04 05 06 07 08 09");
}

TEST_F(PositionTest, AReadMarkerTellsTheEndOfItsBlock) {
    scratch_.Write("a", Bytes("00 00 00 0A 01 02 03 04 05 06 07 08 09 0A 7F FF FF FF"));
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    EXPECT_EQ(filreapos(&f), 14);
    EXPECT_EQ(filpos(&f), 4);
    EXPECT_EQ(filpos(&f, 14), 0);
    EXPECT_EQ(filreapos(&f), static_cast<int>(0x7FFFFFFFU + 18U)) << "wraps, as a negative end";
    filclo(&f);
    EXPECT_EQ(filreapos(&f), -2) << "two times -1: nothing is open";
}

TEST_F(PositionTest, A16BitMarkerIsPatchedFromBehindIt) {
    fil f;
    Create(&f, "b");
    ASSERT_EQ(filwri8(&f, 0xEE), 0);
    const int marker = filwripos16(&f);
    EXPECT_EQ(marker, 3);
    ASSERT_EQ(filwri16(&f, 0x4142), 0);
    EXPECT_TRUE(filwrilen16(&f, marker));
    EXPECT_EQ(filpos(&f), 5);
    const int empty = filwripos16(&f);
    EXPECT_TRUE(filwrilen16(&f, empty));
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Hex(Contents("b")), "EE 00 02 41 42 00 00");
    EXPECT_EQ(filwripos16(&f), -1);
}

TEST_F(PositionTest, A16BitBlockTooLongIsDropped) {
    for (const int size : {65535, 65536, 70000}) {
        fil f;
        Create(&f, "b");
        const int marker = filwripos16(&f);
        const std::string block(static_cast<std::size_t>(size), 'b');
        ASSERT_EQ(filwri(&f, AsBytes(block), size), 0);
        EXPECT_EQ(filwrilen16(&f, marker), size == 65535);
        EXPECT_EQ(filpos(&f), size == 65535 ? 65537 : 2);
        ASSERT_EQ(filwri8(&f, 'n'), 0);
        EXPECT_EQ(filclo(&f), 0);
        const std::string bytes = Contents("b");
        EXPECT_EQ(Hex(bytes.substr(0, 2)), size == 65535 ? "FF FF" : "00 00");
        EXPECT_EQ(bytes[size == 65535 ? 65537 : 2], 'n');
    }
}

TEST_F(PositionTest, MarkersWorkAcrossTheBuffers) {
    for (int before = 16384 - 5; before <= 16384 + 1; ++before) {
        fil f;
        Create(&f, "b");
        const std::string block(static_cast<std::size_t>(before), 'p');
        ASSERT_EQ(filwri(&f, AsBytes(block), before), 0);
        const int wide = filwripos(&f);
        EXPECT_EQ(wide, before);
        const int narrow = filwripos16(&f);
        EXPECT_EQ(narrow, before + 6);
        ASSERT_EQ(filwri(&f, AsBytes(block), 1000), 0);
        EXPECT_TRUE(filwrilen16(&f, narrow));
        EXPECT_EQ(filwrilen(&f, wide), 0);
        ASSERT_EQ(filclo(&f), 0);
        const std::string bytes = Contents("b");
        ASSERT_EQ(bytes.size(), static_cast<std::size_t>(before + 1006));
        EXPECT_EQ(Hex(bytes.substr(static_cast<std::size_t>(before), 6)), "00 00 03 EA 03 E8");
        ASSERT_EQ(filope(&f, nullptr, Ref("b")), 0);
        ASSERT_EQ(filpos(&f, before), 0);
        EXPECT_EQ(filreapos(&f), before + 1006);
        EXPECT_EQ(filrea16(&f), 1000);
        filclo(&f);
    }
}

TEST_F(PositionTest, NestedMarkersAcrossBuffersHoldTheirLengths) {
    fil f;
    Create(&f, "b");
    const std::string block(10000, 'b');
    const int outer = filwripos(&f);
    const int inner1 = filwripos(&f);
    ASSERT_EQ(filwri(&f, AsBytes(block), 10000), 0);
    EXPECT_EQ(filwrilen(&f, inner1), 0);
    const int inner2 = filwripos(&f);
    for (int i = 0; i < 5; ++i)
        ASSERT_EQ(filwri(&f, AsBytes(block), 10000), 0);
    EXPECT_EQ(filwrilen(&f, inner2), 0);
    EXPECT_EQ(filwrilen(&f, outer), 0);
    ASSERT_EQ(filclo(&f), 0);
    ASSERT_EQ(filope(&f, nullptr, Ref("b")), 0);
    const int end = filreapos(&f);
    EXPECT_EQ(end, 60012);
    const int middle = filreapos(&f);
    EXPECT_EQ(middle, 10008);
    ASSERT_EQ(filpos(&f, middle), 0);
    EXPECT_EQ(filreapos(&f), end);
    EXPECT_EQ(filgetsiz(&f), end);
}

// The moves that these calls make would clear what is latched, and the loss would stay unseen.
TEST_F(PositionTest, MarkersAndTheSizeNeitherClearAFailedWriteNorHideOne) {
    const std::string block(2 * kFilBufferSize, 'b');
    const struct {
        int written;  // the second failure is latched already, the first is still to be met
        int (*call)(fil*);
    } cases[] = {
        {kFilBufferSize + 100, [](fil* f) { return filwrilen(f, 0); }},
        {2 * kFilBufferSize, [](fil* f) { return filwrilen(f, 0); }},
        {kFilBufferSize + 100, [](fil* f) { return filgetsiz(f); }},
        {2 * kFilBufferSize, [](fil* f) { return filgetsiz(f); }},
        {kFilBufferSize + 100, [](fil* f) { return filwrilen16(f, 2) ? -1 : 0; }},
        {2 * kFilBufferSize, [](fil* f) { return filwrilen16(f, 2) ? -1 : 0; }},
    };
    for (const auto& c : cases) {
        for (const bool armed : {false, true}) {
            fil f;
            errtyp e;
            const filref ref = Ref("b");
            ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
            {
                const FaultPlan full(1, ENOSPC);
                (void)filwri(&f, AsBytes(block), c.written);
            }
            if (armed) filerr(&f, &e);
            EXPECT_EQ(Try(e, [&] { return c.call(&f); }), armed ? Raised(-1) : Returned(-1));
            filerr(&f, nullptr);
            EXPECT_EQ(f.sys->error, dskFulErr);
            EXPECT_EQ(filwri8(&f, 'x'), -1);
            EXPECT_EQ(filflu(&f), -1);
            EXPECT_EQ(filpos(&f, 0), 0) << "the caller's own move recovers the stream";
            EXPECT_EQ(filwri8(&f, 'x'), 0);
            filclo(&f);
        }
    }
}

}  // namespace
}  // namespace Ondrel::Testing
