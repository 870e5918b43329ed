// The values: their stored bytes, the buffers' edges, the end of the file, misuse and raises.
#include <climits>

#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

class ValuesTest : public StreamTest {
 protected:
    // A file of that name, open for writing, or for reading.
    void Create(fil* f, const std::string& name, errtyp* e = nullptr) {
        const filref ref = Ref(name);
        ASSERT_EQ(filsav(f, e, &ref, 0), 0);
    }
    void Open(fil* f, const std::string& name, errtyp* e = nullptr) {
        ASSERT_EQ(filope(f, e, Ref(name)), 0);
    }
};

TEST_F(ValuesTest, IntegersAreStoredBigEndianWithNothingBetweenThem) {
    fil f;
    Create(&f, "a");
    EXPECT_EQ(filwri8(&f, 0x1FE), 0);
    EXPECT_EQ(filwri16(&f, 0x1234), 0);
    EXPECT_EQ(filwri32(&f, 0x12345678), 0);
    EXPECT_EQ(filwri16(&f, -2), 0);
    EXPECT_EQ(filwri32(&f, INT_MIN), 0);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Hex(Contents("a")), "FE 12 34 12 34 56 78 FF FE 80 00 00 00");
}

TEST_F(ValuesTest, ReadersZeroExtendButFor32Bits) {
    scratch_.Write("a", Bytes("FF FF FE FF FE FD FC 00 00 00 01"));
    fil f;
    Open(&f, "a");
    EXPECT_EQ(filrea8(&f), 255);
    EXPECT_EQ(filrea16(&f), 65534);
    EXPECT_EQ(filrea32(&f), static_cast<int>(0xFFFEFDFC));
    EXPECT_EQ(filrea32(&f), 1);
}

TEST_F(ValuesTest, ValuesThatStraddleTheBuffersAreWrittenAndReadAtEveryOffset) {
    for (const int width : {1, 2, 4}) {
        for (int before = 16384 - 5; before <= 16384 + 1; ++before) {
            for (const int whole : {0, 16384}) {  // the seam between 1 and 2, and between 2 and 1
                std::string expected(static_cast<std::size_t>(whole + before), 'p');
                fil f;
                Create(&f, "a");
                ASSERT_EQ(filwri(&f, AsBytes(expected), whole + before), 0);
                const int value = static_cast<int>(0x81B2C3D4U);
                if (width == 1) {
                    EXPECT_EQ(filwri8(&f, value), 0);
                }
                if (width == 2) {
                    EXPECT_EQ(filwri16(&f, value), 0);
                }
                if (width == 4) {
                    EXPECT_EQ(filwri32(&f, value), 0);
                }
                EXPECT_EQ(filpos(&f), whole + before + width);
                EXPECT_EQ(filwri8(&f, 'e'), 0);
                ASSERT_EQ(filclo(&f), 0);
                const std::string stored =
                    Bytes("81 B2 C3 D4").substr(static_cast<size_t>(4 - width));
                expected += stored + "e";
                ASSERT_EQ(Contents("a"), expected) << width << " at " << before;

                Open(&f, "a");
                std::string skipped(static_cast<std::size_t>(whole + before), '\0');
                ASSERT_EQ(
                    filrea(&f, reinterpret_cast<unsigned char*>(skipped.data()), whole + before),
                    0);
                if (width == 1) {
                    EXPECT_EQ(filrea8(&f), 0xD4);
                }
                if (width == 2) {
                    EXPECT_EQ(filrea16(&f), 0xC3D4);
                }
                if (width == 4) {
                    EXPECT_EQ(filrea32(&f), value);
                }
                EXPECT_EQ(filpos(&f), whole + before + width);
                EXPECT_EQ(filrea8(&f), 'e');
                EXPECT_EQ(filrea8(&f), -3);
                filclo(&f);
            }
        }
    }
}

TEST_F(ValuesTest, TheEndOfTheFileStaysTheEnd) {
    scratch_.Write("a", "x");
    fil f;
    Open(&f, "a");
    EXPECT_EQ(filrea8(&f), 'x');
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(filrea8(&f), -3);
        EXPECT_EQ(filrea16(&f), -3);
        EXPECT_EQ(filrea32(&f), -3);
        EXPECT_EQ(filpos(&f), 1);
    }
    EXPECT_EQ(f.sys->error, -39);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(ValuesTest, TheEndOfTheFileIsRaisedWhereAContextIsArmed) {
    scratch_.Write("a", "xy");
    errtyp e;
    fil f;
    Open(&f, "a", &e);
    EXPECT_EQ(Try(e, [&] { return filrea16(&f); }), Returned(0x7879));
    EXPECT_EQ(Try(e, [&] { return filrea8(&f); }), Raised(-3));
    EXPECT_EQ(Try(e, [&] { return filrea16(&f); }), Raised(-3));
    EXPECT_EQ(Try(e, [&] { return filrea32(&f); }), Raised(-3));
    unsigned char byte = 0;
    EXPECT_EQ(Try(e, [&] { return filrea(&f, &byte, 1); }), Raised(-3));
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(ValuesTest, AnEmptyFileIsAtItsEndAtOnce) {
    scratch_.Write("a", "");
    fil f;
    Open(&f, "a");
    EXPECT_TRUE(fileof(&f));
    EXPECT_EQ(filpos(&f), 0);
    EXPECT_EQ(filrea8(&f), -3);
    EXPECT_EQ(filpos(&f), 0);
    EXPECT_EQ(filgetsiz(&f), 0);
}

TEST_F(ValuesTest, AValueCutByTheEndOfTheFileFailsAndTakesWhatWasThere) {
    for (int size = 0; size < 4; ++size) {
        WritePattern("a", size);
        fil f;
        Open(&f, "a");
        EXPECT_EQ(filrea32(&f), -3) << size;
        EXPECT_EQ(filpos(&f), size);
        filclo(&f);
        if (size > 1) continue;
        Open(&f, "a");
        EXPECT_EQ(filrea16(&f), -3) << size;
        EXPECT_EQ(filpos(&f), size);
        filclo(&f);
    }
}

TEST_F(ValuesTest, FilesOfWholeBuffersReadToTheLastByte) {
    for (const int size : {16383, 16384, 16385, 32768, 49152}) {
        const std::string expected = WritePattern("a", size);
        fil f;
        Open(&f, "a");
        for (int i = 0; i < size; ++i) {
            ASSERT_FALSE(fileof(&f)) << i;
            ASSERT_EQ(filrea8(&f), PatternByte(i)) << i;
        }
        EXPECT_TRUE(fileof(&f));
        EXPECT_EQ(filrea8(&f), -3);
        EXPECT_EQ(filpos(&f), size);
        filclo(&f);
    }
}

TEST_F(ValuesTest, TheByteThatFillsABufferWritesItAtOnce) {
    fil f;
    Create(&f, "a");
    for (int i = 0; i < 16383; ++i)
        ASSERT_EQ(filwri8(&f, i), 0);
    EXPECT_EQ(f.count, 1);
    EXPECT_EQ(filgeteof(&f), 0);
    EXPECT_EQ(filwri8(&f, 'l'), 0);
    EXPECT_EQ(f.count, 16384);
    EXPECT_EQ(f.cursor, f.sys->buffer2);
    EXPECT_EQ(f.sys->position2, 16384);
    EXPECT_EQ(filgeteof(&f), 16384);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(ValuesTest, AStreamBeingWrittenIsNeverAtItsEnd) {
    fil f;
    EXPECT_TRUE(fileof(&f)) << "a closed one is";
    Create(&f, "a");
    EXPECT_FALSE(fileof(&f));
    f.count = 0;
    EXPECT_FALSE(fileofsub(&f));
}

TEST_F(ValuesTest, MisuseIsReportedAndNotRaised) {
    fil f;
    EXPECT_EQ(filrea8(&f), -1);
    EXPECT_EQ(filrea16(&f), -1);
    EXPECT_EQ(filrea32(&f), -1);
    EXPECT_EQ(filwri8(&f, 0), -1);
    EXPECT_EQ(filwri16(&f, 0), -1);
    EXPECT_EQ(filwri32(&f, 0), -1);
    EXPECT_EQ(f.count, 0) << "the slow paths give the count back";
    EXPECT_EQ(Messages(), std::vector<std::string>(6, "File not open."));

    errtyp e;
    Messages().clear();
    Create(&f, "a", &e);
    EXPECT_EQ(Try(e, [&] { return filrea8sub(&f); }), Returned(-1));
    unsigned char byte = 0;
    EXPECT_EQ(Try(e, [&] { return filrea(&f, &byte, 1); }), Returned(-1));
    EXPECT_EQ(Messages(), std::vector<std::string>(2, "File not open for read."));
    ASSERT_EQ(filclo(&f), 0);

    Messages().clear();
    scratch_.Write("a", "x");
    Open(&f, "a", &e);
    EXPECT_EQ(Try(e, [&] { return filwri8(&f, 1); }), Returned(-1));
    EXPECT_EQ(Try(e, [&] { return filwri16(&f, 1); }), Returned(-1));
    EXPECT_EQ(Try(e, [&] { return filwri32(&f, 1); }), Returned(-1));
    EXPECT_EQ(Try(e, [&] { return filwri(&f, &byte, 1); }), Returned(-1));
    EXPECT_EQ(Messages(), std::vector<std::string>(4, "File not open for write."));
    EXPECT_EQ(filrea8(&f), 'x') << "and nothing was lost";
}

// --- Failed transfers ---------------------------------------------------------------------------

TEST_F(ValuesTest, AFailedReadGivesMinus1AndStaysFailed) {
    WritePattern("a", 40000);
    errtyp e;
    fil f;
    Open(&f, "a", &e);
    FaultPlan failing(1, EIO, "preadv2", -1);
    EXPECT_EQ(Try(e, [&] { return filrea8(&f); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -36);
    EXPECT_EQ(f.count, 0);
    filerr(&f, nullptr);
    EXPECT_EQ(filrea8(&f), -1);
    EXPECT_EQ(filrea32(&f), -1);
    EXPECT_TRUE(fileof(&f));
    EXPECT_EQ(filerr(&f), -1);
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(ValuesTest, AFailedReadOfTheSecondBufferLosesNothingOfTheFirst) {
    WritePattern("a", 40000);
    fil f;
    Open(&f, "a");
    ASSERT_EQ(filrea8(&f), PatternByte(0));
    std::string rest(16383, '\0');
    {
        FaultPlan failing(1, EIO, "preadv2", -1);
        ASSERT_EQ(filrea(&f, reinterpret_cast<unsigned char*>(rest.data()), 16383), 0);
        EXPECT_EQ(filrea8(&f), -1);
    }
    EXPECT_EQ(filpos(&f), 16384);
    EXPECT_EQ(filpos(&f, 16383), 0) << "a move inside the buffer needs no transfer";
    EXPECT_EQ(filrea8(&f), PatternByte(16383));
    EXPECT_EQ(filrea8(&f), PatternByte(16384)) << "the failed read is made again";
}

TEST_F(ValuesTest, AFailedWriteIsReportedOneBufferLater) {
    errtyp e;
    fil f;
    Create(&f, "a", &e);
    const std::string block(16384, 'b');
    {
        FaultPlan full(1, ENOSPC, "pwrite");
        EXPECT_EQ(Try(e, [&] { return filwri(&f, AsBytes(block), 16384); }), Returned(0));
        EXPECT_TRUE(full.Fired());
    }
    EXPECT_EQ(f.sys->error, 0);
    EXPECT_EQ(Try(e, [&] { return filwri(&f, AsBytes(block), 16384); }), Raised(-1));
    EXPECT_EQ(f.sys->error, -34);
    EXPECT_EQ(f.count, 0);
    EXPECT_EQ(Try(e, [&] { return filwri8(&f, 1); }), Raised(-1));
    EXPECT_EQ(Try(e, [&] { return filwri16(&f, 1); }), Raised(-1));
    EXPECT_EQ(Try(e, [&] { return filwri32(&f, 1); }), Raised(-1));
    EXPECT_EQ(Try(e, [&] { return filwri(&f, AsBytes(block), 5); }), Raised(-1));
    EXPECT_EQ(filerr(&f), -1);
    EXPECT_EQ(GetFileErrorMessage(&f), "Disk full error (#-34) while writing file Test:a.");
    EXPECT_EQ(filclo(&f), 0);
}

TEST_F(ValuesTest, AMoveRecoversFromAFailedWriteAndWritesNoGarbage) {
    fil f;
    Create(&f, "a");
    const std::string block(16384, 'b');
    {
        FaultPlan full(1, ENOSPC, "pwrite");
        ASSERT_EQ(filwri(&f, AsBytes(block), 16384), 0);
        ASSERT_EQ(filwri(&f, AsBytes(block), 16384), -1);
    }
    EXPECT_EQ(filpos(&f), 32768) << "behind what was taken";
    EXPECT_EQ(filpos(&f, 0), 0);
    EXPECT_EQ(filwri8(&f, 'n'), 0) << "the failure is not met a second time";
    EXPECT_EQ(filclo(&f), 0);
    const std::string bytes = Contents("a");
    EXPECT_EQ(bytes.size(), 32768U);
    EXPECT_EQ(bytes.substr(0, 3), std::string("n\0\0", 3)) << "the lost buffer is a gap";
    EXPECT_EQ(bytes.substr(16384), block);
}

// --- Blocks -------------------------------------------------------------------------------------

TEST_F(ValuesTest, BlocksOfEverySizeAroundTheBufferRoundTrip) {
    for (const int size : {1, 2, 16382, 16383, 16384, 16385, 32767, 32768, 32769, 100000}) {
        const std::string expected = WritePattern("pattern", size);
        fil f;
        Create(&f, "a");
        ASSERT_EQ(filwri8(&f, 'f'), 0);
        ASSERT_EQ(filwri(&f, AsBytes(expected), size), 0);
        EXPECT_EQ(filpos(&f), size + 1);
        ASSERT_EQ(filclo(&f), 0);
        EXPECT_EQ(Contents("a"), "f" + expected);

        Open(&f, "a");
        ASSERT_EQ(filrea8(&f), 'f');
        std::string read(static_cast<std::size_t>(size), '\0');
        ASSERT_EQ(filrea(&f, reinterpret_cast<unsigned char*>(read.data()), size), 0);
        EXPECT_EQ(read, expected);
        EXPECT_EQ(filpos(&f), size + 1);
        EXPECT_TRUE(fileof(&f));
        filclo(&f);
    }
}

TEST_F(ValuesTest, ShortBlocksAtTheEndOfABufferRoundTrip) {
    for (const int size : {1, 4, 63, 64, 65}) {
        for (int before = kFilBufferSize - size - 1; before <= kFilBufferSize - size + 1;
             ++before) {
            SCOPED_TRACE(std::to_string(size) + " bytes behind " + std::to_string(before));
            const std::string bytes = WritePattern("pattern", before + size);
            fil f;
            Create(&f, "a");
            ASSERT_EQ(filwri(&f, AsBytes(bytes), before), 0);
            ASSERT_EQ(filwri(&f, AsBytes(bytes) + before, size), 0);
            const bool filled = before + size >= kFilBufferSize;
            EXPECT_EQ(filgeteof(&f), filled ? kFilBufferSize : 0) << "a full buffer is written";
            ASSERT_EQ(filclo(&f), 0);
            EXPECT_EQ(Contents("a"), bytes);

            Open(&f, "a");
            std::string read(bytes.size(), '\0');
            auto* const out = reinterpret_cast<unsigned char*>(read.data());
            ASSERT_EQ(filrea(&f, out, before), 0);
            ASSERT_EQ(filrea(&f, out + before, size), 0);
            EXPECT_EQ(read, bytes);
            EXPECT_EQ(filrea(&f, out, 1), -3);
            filclo(&f);
        }
    }
}

TEST_F(ValuesTest, BlocksInTheWrongDirectionTouchNothingHoweverShort) {
    scratch_.Write("a", "0123456789");
    unsigned char bytes[] = "abc";
    fil f;
    Open(&f, "a");
    ASSERT_EQ(filrea8(&f), '0');
    EXPECT_EQ(filwri(&f, bytes, 3), -1);
    EXPECT_EQ(filrea8(&f), '1');
    filclo(&f);
    Create(&f, "b");
    ASSERT_EQ(filwri8(&f, 'x'), 0);
    EXPECT_EQ(filrea(&f, bytes, 3), -1);
    EXPECT_STREQ(reinterpret_cast<const char*>(bytes), "abc");
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "x");
    EXPECT_EQ(Messages(),
              std::vector<std::string>({"File not open for write.", "File not open for read."}));
}

TEST_F(ValuesTest, ABlockThatFillsTheBufferWritesItAtOnce) {
    const std::string block(16384, 'b');
    fil f;
    Create(&f, "a");
    EXPECT_EQ(filwri(&f, AsBytes(block), 16384), 0);
    EXPECT_EQ(f.count, 16384);
    EXPECT_EQ(filgeteof(&f), 16384);
    EXPECT_EQ(filwri(&f, AsBytes(block), 16383), 0);
    EXPECT_EQ(f.count, 1);
    EXPECT_EQ(filgeteof(&f), 16384);
}

TEST_F(ValuesTest, ANegativeLengthFailsAndALengthOf0TouchesNothing) {
    scratch_.Write("a", "xy");
    unsigned char byte = 7;
    fil f;
    Open(&f, "a");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(filrea(&f, &byte, -1), -1);
        EXPECT_EQ(filrea(&f, &byte, INT_MIN), -1);
        EXPECT_EQ(filrea(&f, nullptr, 0), 0);
        EXPECT_EQ(byte, 7);
        EXPECT_EQ(filpos(&f), i);
        EXPECT_EQ(filrea8(&f), "xy"[i]);
    }
    EXPECT_EQ(filrea8(&f), -3);
    EXPECT_EQ(filrea(&f, nullptr, 0), 0) << "also at the end";
    filclo(&f);

    Create(&f, "b");
    EXPECT_EQ(filwri(&f, &byte, -1), -1);
    EXPECT_EQ(filwri(&f, nullptr, 0), 0);
    EXPECT_EQ(f.count, 16384);
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("b"), "");

    EXPECT_EQ(filrea(&f, nullptr, 0), -1) << "misuse comes first";
    EXPECT_EQ(filwri(&f, nullptr, 0), -1);
}

TEST_F(ValuesTest, ABlockCutByTheEndOfTheFileDeliversWhatThereIs) {
    const std::string expected = WritePattern("a", 20000);
    fil f;
    Open(&f, "a");
    std::string read(30000, '.');
    EXPECT_EQ(filrea(&f, reinterpret_cast<unsigned char*>(read.data()), 30000), -3);
    EXPECT_EQ(read.substr(0, 20000), expected);
    EXPECT_EQ(read.substr(20000), std::string(10000, '.'));
    EXPECT_EQ(filpos(&f), 20000);
}

TEST_F(ValuesTest, TheSizeOnDiskLeavesOutWhatIsBuffered) {
    fil f;
    EXPECT_EQ(filgeteof(&f), -1);
    Create(&f, "a");
    EXPECT_EQ(filwri32(&f, 1), 0);
    EXPECT_EQ(filgeteof(&f), 0);
    EXPECT_EQ(filclo(&f), 0);
    Open(&f, "a");
    EXPECT_EQ(filgeteof(&f), 4);
    FaultPlan failing(1, EIO, "fstat", -1);
    EXPECT_EQ(filgeteof(&f), -1);
}

TEST_F(ValuesTest, ShortTransfersAreContinued) {
    const ShortTransfers few(1000);
    const std::string expected = WritePattern("pattern", 50000);
    fil f;
    Create(&f, "a");
    ASSERT_EQ(filwri(&f, AsBytes(expected), 50000), 0);
    ASSERT_EQ(filclo(&f), 0);
    EXPECT_EQ(Contents("a"), expected);
    Open(&f, "a");
    for (int i = 0; i < 50000; ++i)
        ASSERT_EQ(filrea8(&f), PatternByte(i)) << i;
    EXPECT_EQ(filrea8(&f), -3);
}

TEST_F(ValuesTest, TheLastExpressiblePositionIsRefusedBeforeAByteIsLost) {
    fil f;
    Create(&f, "a");
    ASSERT_EQ(filpos(&f, 2147483647 - 16384), 0);
    const std::string block(16383, 'b');
    ASSERT_EQ(filwri(&f, AsBytes(block), 16383), 0);
    EXPECT_EQ(filpos(&f), 2147483646);
    EXPECT_EQ(filwri8(&f, 'x'), -1);
    EXPECT_EQ(f.sys->error, -40);
    EXPECT_EQ(GetFileErrorMessage(&f),
              "Position error (#-40: file too large?) while writing file Test:a.");
    EXPECT_EQ(filclo(&f), 0) << "what was taken is still written";
    Open(&f, "a");
    EXPECT_EQ(filgetsiz(&f), 2147483646);
    EXPECT_EQ(filpos(&f, 2147483645), 0);
    EXPECT_EQ(filrea8(&f), 'b');
    EXPECT_EQ(filrea8(&f), -3);
}

}  // namespace
}  // namespace Ondrel::Testing
