// Blocks that are no shorter than a buffer pass the buffers by: what is read and written, where the
// stream stands afterwards, how many calls it takes, and failures.
#include <algorithm>
#include <cerrno>

#include "tests/fil/StreamTest.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel::Testing {
namespace {

constexpr int kBuffer = kFilBufferSize;

std::string Pattern(int size) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>((i * 2654435761U) >> 13);
    return bytes;
}

class StraightBlocksTest : public StreamTest {
 protected:
    static std::string Read(fil* f, int n, int* result) {
        std::string bytes(static_cast<std::size_t>(n), '#');
        *result = filrea(f, reinterpret_cast<unsigned char*>(bytes.data()), n);
        return bytes;
    }
};

TEST_F(StraightBlocksTest, EverySequenceOfBlocksReadsWhatTheFileHolds) {
    const int sequences[][5] = {
        {kBuffer, kBuffer, kBuffer, 1, kBuffer},       {1, kBuffer, 1, 2 * kBuffer, 5},
        {100000, 100000, 3, kBuffer - 1, kBuffer + 1}, {kBuffer - 1, 1, kBuffer, 7, 60000},
        {3 * kBuffer + 5, 10, kBuffer, kBuffer, 9},
    };
    const std::string content = Pattern(300000);
    scratch_.Write("a", content);
    for (const auto& sequence : sequences) {
        fil f;
        ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
        std::size_t at = 0;
        for (const int n : sequence) {
            int result = 1;
            EXPECT_EQ(Read(&f, n, &result), content.substr(at, static_cast<std::size_t>(n)));
            EXPECT_EQ(result, 0);
            at += static_cast<std::size_t>(n);
            ASSERT_EQ(filpos(&f), static_cast<int>(at));
            EXPECT_FALSE(fileof(&f));
        }
        EXPECT_EQ(filrea8(&f), static_cast<unsigned char>(content[at]));
        filclo(&f);
    }
}

TEST_F(StraightBlocksTest, MovesBehindALongReadLeadToTheRightBytes) {
    const std::string content = Pattern(200000);
    scratch_.Write("a", content);
    for (const int block : {kBuffer, kBuffer + 1, 3 * kBuffer, 100000}) {
        for (const int target : {0, 1, block - kBuffer, block - 1, block, block + 1, 150000}) {
            fil f;
            ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
            int result = 1;
            (void)Read(&f, block, &result);
            ASSERT_EQ(filpos(&f, target), 0) << block << ", " << target;
            EXPECT_EQ(filpos(&f), target);
            EXPECT_EQ(filrea8(&f),
                      static_cast<unsigned char>(content[static_cast<std::size_t>(target)]))
                << block << ", " << target;
            EXPECT_EQ(Read(&f, 40000, &result),
                      content.substr(static_cast<std::size_t>(target) + 1, 40000));
            filclo(&f);
        }
    }
}

TEST_F(StraightBlocksTest, AReadOverTheEndBringsWhatThereIsAndIsMinus3) {
    for (const int size : {0, 5, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kBuffer, 50000}) {
        const std::string content = Pattern(size);
        scratch_.Write("a", content);
        fil f;
        ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
        int result = 1;
        const std::string bytes = Read(&f, size + kBuffer, &result);
        EXPECT_EQ(result, -3) << size;
        EXPECT_EQ(bytes.substr(0, content.size()), content) << size;
        EXPECT_EQ(filpos(&f), size);
        EXPECT_EQ(f.sys->error, -39);
        filclo(&f);
        ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
        EXPECT_EQ(Read(&f, size, &result), content);
        EXPECT_EQ(result, 0) << size;
        EXPECT_TRUE(fileof(&f)) << size;
        filclo(&f);
    }
}

TEST_F(StraightBlocksTest, ALongBlockTakesOneCall) {
    scratch_.Write("a", Pattern(200000));
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    int result = 1;
    {
        const FaultPlan counted(1000000, EIO, "preadv2");
        (void)Read(&f, 100000, &result);
        EXPECT_EQ(counted.Calls(), 1);
        (void)Read(&f, kBuffer, &result);
        EXPECT_EQ(counted.Calls(), 2);
    }
    filclo(&f);
    ASSERT_EQ(filsavmod(&f, nullptr, Ref("a")), 0);
    const std::string block = Pattern(100000);
    {
        const FaultPlan counted(1000000, EIO, "pwrite");
        EXPECT_EQ(filwri(&f, AsBytes(block), 100000), 0);
        EXPECT_EQ(filwri(&f, AsBytes(block), kBuffer), 0);
        EXPECT_EQ(counted.Calls(), 2);
        EXPECT_EQ(f.count, kBuffer);
        EXPECT_EQ(filclo(&f), 0);
        EXPECT_EQ(counted.Calls(), 2);
    }
}

TEST_F(StraightBlocksTest, EverySequenceOfBlocksIsWrittenAsItIs) {
    const int sequences[][5] = {
        {kBuffer, kBuffer, kBuffer, 1, kBuffer},       {1, kBuffer, 1, 2 * kBuffer, 5},
        {100000, 100000, 3, kBuffer - 1, kBuffer + 1}, {kBuffer - 1, 1, kBuffer, 7, 60000},
        {3 * kBuffer + 5, 10, kBuffer, kBuffer, 9},
    };
    const std::string content = Pattern(300000);
    for (const auto& sequence : sequences) {
        fil f;
        const filref ref = Ref("a");
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        std::size_t at = 0;
        for (const int n : sequence) {
            ASSERT_EQ(filwri(&f, AsBytes(content) + at, n), 0);
            at += static_cast<std::size_t>(n);
            ASSERT_EQ(filpos(&f), static_cast<int>(at));
        }
        ASSERT_EQ(filclo(&f), 0);
        EXPECT_TRUE(Contents("a") == content.substr(0, at));
    }
}

TEST_F(StraightBlocksTest, MovesBehindALongWriteLeadToTheRightPlace) {
    const std::string content = Pattern(100000);
    for (const int block : {kBuffer, 2 * kBuffer, 100000}) {
        for (const int target : {0, 1, kBuffer - 1, block - 1, block}) {
            fil f;
            const filref ref = Ref("a");
            ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
            ASSERT_EQ(filwri(&f, AsBytes(content), block), 0);
            ASSERT_EQ(filpos(&f, target), 0);
            ASSERT_EQ(filwri(&f, AsBytes("here"), 4), 0);
            ASSERT_EQ(filclo(&f), 0);
            std::string expected = content.substr(0, static_cast<std::size_t>(block));
            expected.resize(static_cast<std::size_t>(std::max(block, target + 4)));
            expected.replace(static_cast<std::size_t>(target), 4, "here");
            EXPECT_TRUE(Contents("a") == expected) << block << ", " << target;
        }
    }
}

TEST_F(StraightBlocksTest, ALongBlockTakesThePlaceOfWhatTheBufferHeldFromItsStartOn) {
    fil f;
    const filref ref = Ref("a");
    ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
    ASSERT_EQ(filwri(&f, AsBytes("old"), 3), 0);
    ASSERT_EQ(filpos(&f, 0), 0);
    const std::string block = Pattern(kBuffer);
    ASSERT_EQ(filwri(&f, AsBytes(block), kBuffer), 0);
    ASSERT_EQ(filclo(&f), 0);
    EXPECT_TRUE(Contents("a") == block);
}

TEST_F(StraightBlocksTest, AReadThatFailsIsMinus1WithWhatCameBeforeIt) {
    const std::string content = Pattern(200000);
    scratch_.Write("a", content);
    fil f;
    ASSERT_EQ(filope(&f, nullptr, Ref("a")), 0);
    int result = 1;
    (void)Read(&f, 10, &result);
    {
        const FaultPlan plan(1, EIO, "preadv2", -1);
        const std::string bytes = Read(&f, 100000, &result);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(bytes.substr(0, kBuffer - 10), content.substr(10, kBuffer - 10));
        EXPECT_EQ(f.sys->error, -36);
    }
    ASSERT_EQ(filpos(&f, 20), 0);
    EXPECT_EQ(Read(&f, 100000, &result), content.substr(20, 100000));
    EXPECT_EQ(result, 0);
    filclo(&f);
}

// Of one buffer's worth the failure is met with the next one, as that of a full buffer is; of more
// at once, as the buffers in between would have told.
TEST_F(StraightBlocksTest, AWriteThatFailsIsMetWhereThatOfFullBuffersIs) {
    const std::string block = Pattern(100000);
    const struct {
        int first;
        int result;
    } cases[] = {{kBuffer, 0}, {2 * kBuffer - 1, 0}, {2 * kBuffer, -1}, {100000, -1}};
    for (const auto& c : cases) {
        fil f;
        const filref ref = Ref("a");
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        {
            const FaultPlan full(1, ENOSPC, "pwrite", -1);
            EXPECT_EQ(filwri(&f, AsBytes(block), c.first), c.result) << c.first;
            if (c.result == 0) {
                EXPECT_EQ(filwri(&f, AsBytes(block), 3 * kBuffer), -1) << c.first;
            }
            EXPECT_EQ(f.sys->error, -34) << c.first;
            EXPECT_EQ(filwri(&f, AsBytes(block), 1), -1);
        }
        filclo(&f);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
