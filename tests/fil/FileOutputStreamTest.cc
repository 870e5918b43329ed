// The output stream over a file stream.
#include "ondrel/fil/FileOutputStream.h"

#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

class FileOutputStreamTest : public StreamTest {
 protected:
    void Create(fil* f, errtyp* e = nullptr) {
        const filref ref = Ref("a");
        ASSERT_EQ(filsav(f, e, &ref, 0), 0);
    }
};

TEST_F(FileOutputStreamTest, BytesAndBlocksReachTheFile) {
    fil f;
    Create(&f);
    FileOutputStream out(&f);
    OutputStream& sink = out;
    EXPECT_TRUE(sink.writeByte('a'));
    EXPECT_TRUE(sink.writeBytes(reinterpret_cast<const unsigned char*>("bcd"), 3));
    EXPECT_EQ(sink.currentPosition(), 4);
    sink.flush();
    EXPECT_EQ(Contents("a"), "") << "flushing is the stream's own business";
    sink.close();
    EXPECT_EQ(f.sys, nullptr);
    EXPECT_EQ(Contents("a"), "abcd");
    sink.close();
    EXPECT_EQ(out.file, nullptr);
}

TEST_F(FileOutputStreamTest, HasErrorTellsThatTheLastWriteSucceeded) {
    fil f;
    Create(&f);
    FileOutputStream out(&f);
    EXPECT_FALSE(out.hasError());
    EXPECT_TRUE(out.writeByte('a'));
    EXPECT_TRUE(out.hasError());
    EXPECT_FALSE(out.writeBytes(nullptr, -1));
    EXPECT_FALSE(out.hasError());
    EXPECT_TRUE(out.writeByte('b'));
    EXPECT_TRUE(out.hasError());
    EXPECT_EQ(filclo(&f), 0);
    EXPECT_FALSE(out.writeByte('c')) << "the stream's record is gone";
    EXPECT_FALSE(out.hasError());
    EXPECT_EQ(Messages(), std::vector<std::string>{"File not open."});
}

TEST_F(FileOutputStreamTest, TheMessageIsMadeOnDemandAndKept) {
    fil f;
    Create(&f);
    FileOutputStream out(&f);
    FileOutputStream unasked(nullptr);
    EXPECT_STREQ(unasked.getLastError(), "");
    f.sys->error = -34;
    lasterror = -36;
    EXPECT_STREQ(out.getLastError(), "Disk full error (#-34) while writing file Test:a.");
    EXPECT_EQ(lasterror, 0);
    f.sys->error = 0;
    out.close();
    EXPECT_STREQ(out.getLastError(), "Disk full error (#-34) while writing file Test:a.");
}

TEST_F(FileOutputStreamTest, AFailedWriteIsAnsweredAndAnArmedContextRaises) {
    const std::string block(40000, 'b');
    errtyp e;
    fil f;
    Create(&f, &e);
    FileOutputStream out(&f);
    {
        FaultPlan full(1, ENOSPC, "pwrite", -1);
        EXPECT_EQ(Try(e, [&] { return out.writeBytes(AsBytes(block), 40000) ? 1 : 0; }),
                  Raised(-1));
        filerr(&f, nullptr);
        EXPECT_FALSE(out.writeByte('x'));
    }
    EXPECT_STREQ(out.getLastError(), "Disk full error (#-34) while writing file Test:a.");
}

TEST_F(FileOutputStreamTest, AFailureOfClosingPropagates) {
    errtyp e;
    fil f;
    Create(&f, &e);
    FileOutputStream out(&f);
    FaultPlan failing(1, EIO, "close");
    EXPECT_EQ(Try(e,
                  [&] {
                      out.close();
                      return 0;
                  }),
              Raised(-1));
    EXPECT_EQ(f.sys, nullptr);
    EXPECT_EQ(out.file, nullptr);
}

TEST_F(FileOutputStreamTest, TheDestructorClosesWhatItOwns) {
    fil kept;
    Create(&kept);
    {
        FileOutputStream out(&kept);
        EXPECT_FALSE(out.ownsFile);
        out.writeByte('a');
    }
    ASSERT_NE(kept.sys, nullptr);
    {
        FileOutputStream out(&kept);
        out.ownsFile = true;
        out.writeByte('b');
    }
    EXPECT_EQ(kept.sys, nullptr);
    EXPECT_EQ(Contents("a"), "ab");
}

TEST_F(FileOutputStreamTest, AnOpenFileIsNotDiscarded) {
    fil f;
    Create(&f);
    FileOutputStream out(&f);
    out.writeByte('a');
    out.discard();
    EXPECT_TRUE(Exists(Path("a"))) << "a file that is open cannot be deleted";
    EXPECT_NE(f.sys, nullptr);
    out.close();
    out.discard();
    EXPECT_EQ(Contents("a"), "a");
}

}  // namespace
}  // namespace Ondrel::Testing
