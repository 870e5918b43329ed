// Random operations on streams and direct access against a plain model in memory, over every way in
// which the host may transfer bytes: all give the same bytes and the same codes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>

#include "ondrel/core/Volumes.h"
#include "ondrel/fil/direct.h"
#include "ondrel/fil/safesave.h"
#include "tests/faults/LongForm.h"
#include "tests/faults/StreamSteps.h"
#include "tests/faults/TransferWays.h"
#include "tests/platform/RingHelpers.h"

namespace Ondrel::Testing {
namespace {

constexpr int kMostBytes = 150000;

// Everything that was answered, so that two walks can be compared.
class Transcript {
 public:
    void Add(int value) { hash_ = (hash_ ^ static_cast<unsigned>(value)) * 0x100000001B3; }
    void Add(const std::string& bytes) { Add(static_cast<int>(std::hash<std::string>()(bytes))); }
    std::uint64_t Hash() const { return hash_; }

 private:
    std::uint64_t hash_ = 0xCBF29CE484222325;
};

class Walk {
 public:
    Walk(const Scratch& scratch, unsigned seed) : scratch_(scratch), random_(seed) {}

    // Writes a document anew, changes it in place and directly, and reads it: `operations` in all.
    std::uint64_t Run(int operations) {
        Write(operations / 10 * 4);
        if (!::testing::Test::HasFailure()) Change(operations / 10);
        if (!::testing::Test::HasFailure()) WriteDirectly(operations / 10);
        if (!::testing::Test::HasFailure()) Read(operations / 10 * 4);
        return transcript_.Hash();
    }

 private:
    int Below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

    int AnyLength() {
        const int kind = Below(40);
        if (kind == 0) return Below(40000);
        return kind < 4 ? kFilBufferSize - 5 + Below(10) : Below(120);
    }

    std::string AnyBytes(int size) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint32_t)) {
            const auto some = static_cast<std::uint32_t>(random_());
            std::memcpy(bytes.data() + at, &some, std::min(sizeof some, bytes.size() - at));
        }
        return bytes;
    }

    static const unsigned char* In(const std::string& bytes) {
        return reinterpret_cast<const unsigned char*>(bytes.data());
    }
    static unsigned char* Into(std::string& bytes) {
        return reinterpret_cast<unsigned char*>(bytes.data());
    }

    void Put(int position, const std::string& bytes) {
        const auto at = static_cast<std::size_t>(position);
        if (model_.size() < at + bytes.size()) model_.resize(at + bytes.size(), '\0');
        model_.replace(at, bytes.size(), bytes);
    }

    int Size() const { return static_cast<int>(model_.size()); }

    void CheckFile() const { EXPECT_TRUE(ReadAll(scratch_.Path("doc")) == model_); }

    // Writes a piece where the stream stands.
    void WritePiece(fil* f, int* position) {
        const std::string bytes = AnyBytes(AnyLength());
        const int size = static_cast<int>(bytes.size());
        const int result = filwri(f, In(bytes), size);
        transcript_.Add(result);
        ASSERT_EQ(result, 0);
        Put(*position, bytes);
        *position += size;
        ASSERT_EQ(filpos(f), *position);
    }

    // A value of 1, 2 or 4 bytes.
    void WriteValue(fil* f, int* position) {
        const int width = 1 << Below(3);
        const std::string bytes = AnyBytes(width);
        const int value = Value(bytes);
        const int result = width == 1   ? filwri8(f, value)
                           : width == 2 ? filwri16(f, value)
                                        : filwri32(f, value);
        transcript_.Add(result);
        ASSERT_EQ(result, 0);
        Put(*position, bytes);
        *position += width;
    }

    // As it is stored, the most significant byte first.
    static int Value(const std::string& bytes) {
        unsigned value = 0;
        for (const char c : bytes)
            value = value << 8 | static_cast<unsigned char>(c);
        return static_cast<int>(value);
    }

    void Move(fil* f, int target, int* position) {
        const int result = filpos(f, target);
        transcript_.Add(result);
        ASSERT_EQ(result, 0);
        *position = target;
        ASSERT_EQ(filpos(f), target);
    }

    // A move to where nothing is fails, and the next one brings the stream back.
    void MoveAstray(fil* f, int target, int expected, int position) {
        const int result = filpos(f, target);
        transcript_.Add(result);
        ASSERT_EQ(result, expected);
        transcript_.Add(f->sys->error);
        Move(f, position, &position);
    }

    void Flush(fil* f) {
        const int result = filflu(f);
        transcript_.Add(result);
        ASSERT_EQ(result, 0);
        transcript_.Add(filgeteof(f));
        ASSERT_EQ(filgeteof(f), Size());
    }

    void Write(int steps) {
        model_.clear();
        fil f;
        const filref ref = RefTo("doc");
        int position = 0;
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            const int kind = Below(60);
            if (position > kMostBytes || kind < 10)
                Move(&f, Below(std::min(Size(), kMostBytes) + 1), &position);
            else if (kind == 10)
                MoveAstray(&f, -1 - Below(1000), -1, position);
            else if (kind == 11)
                Flush(&f);
            else if (kind < 30)
                WriteValue(&f, &position);
            else
                WritePiece(&f, &position);
            ASSERT_EQ(filpos(&f), position);
        }
        EXPECT_EQ(filclo(&f), 0);
        CheckFile();
    }

    void Change(int steps) {
        fil f;
        int position = 0;
        ASSERT_EQ(filsavmod(&f, nullptr, RefTo("doc")), 0);
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            Move(&f, Below(Size() + 1), &position);
            WritePiece(&f, &position);
        }
        EXPECT_EQ(filclo(&f), 0);
        CheckFile();
    }

    // Direct writes, gathered by the cache for a while, and direct reads between.
    void WriteDirectly(int steps) {
        fil f;
        ASSERT_EQ(filasyope(&f, RefTo("doc"), true), 0);
        std::string bytes;
        for (int i = 0; i < steps && !::testing::Test::HasFailure();) {
            const bool cached = Below(2) == 0;
            if (cached) filasycacbeg(&f, 1 + Below(3000));
            int position = Below(Size() + 1);
            for (int k = Below(12); k >= 0; --k, ++i) {
                bytes = AnyBytes(Below(500));
                transcript_.Add(filasywri(&f, position, In(bytes), static_cast<int>(bytes.size())));
                // Without the cache the bytes must stay until the transfer has finished.
                while (!cached && filasydon(&f) == 0) {
                }
                Put(position, bytes);
                position =
                    Below(8) == 0 ? Below(Size() + 1) : position + static_cast<int>(bytes.size());
            }
            if (cached) filasycacend();
            ReadDirectly(&f);
        }
        EXPECT_EQ(filclo(&f), 0);
        CheckFile();
    }

    void ReadDirectly(fil* f) {
        const int position = Below(Size());
        const int size = Below(std::min(Size() - position, 30000)) + 1;
        std::string bytes(static_cast<std::size_t>(size), '\0');
        int done = filasyrea(f, position, Into(bytes), size);
        ASSERT_EQ(done, 0);
        while ((done = filasydon(f)) == 0) {
        }
        transcript_.Add(done);
        transcript_.Add(bytes);
        ASSERT_EQ(done, 1);
        ASSERT_TRUE(bytes == model_.substr(static_cast<std::size_t>(position), bytes.size()));
    }

    void Read(int steps) {
        fil f;
        int position = 0;
        ASSERT_EQ(filope(&f, nullptr, RefTo("doc")), 0);
        for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
            const int kind = Below(60);
            if (kind < 15)
                Move(&f, kind < 5 ? Below(Size() + 1) : Near(position), &position);
            else if (kind == 15)
                MoveAstray(&f, -1 - Below(1000), -1, position);
            else if (kind == 16)
                MoveAstray(&f, Size() + 1 + Below(100000), -3, position);
            else if (kind == 17)
                Measure(&f);
            else if (kind < 35)
                ReadValue(&f, &position);
            else
                ReadPiece(&f, &position);
            ASSERT_EQ(filpos(&f), position);
        }
        EXPECT_EQ(filclo(&f), 0);
    }

    int Near(int position) { return std::clamp(position - 2000 + Below(4000), 0, Size()); }

    void ReadPiece(fil* f, int* position) {
        const int size = AnyLength();
        const int left = Size() - *position;
        std::string bytes(static_cast<std::size_t>(size), '\0');
        const int result = filrea(f, Into(bytes), size);
        transcript_.Add(result);
        ASSERT_EQ(result, size <= left ? 0 : -3);
        const auto common = static_cast<std::size_t>(std::min(size, left));
        transcript_.Add(bytes.substr(0, common));
        ASSERT_TRUE(bytes.substr(0, common) ==
                    model_.substr(static_cast<std::size_t>(*position), common));
        *position += static_cast<int>(common);
        if (size > left) Move(f, *position, position);
    }

    void Measure(fil* f) {
        const int size = filgetsiz(f);
        transcript_.Add(size);
        ASSERT_EQ(size, Size());
    }

    void ReadValue(fil* f, int* position) {
        const int width = 1 << Below(3);
        const bool isThere = width <= Size() - *position;
        const auto at = static_cast<std::size_t>(*position);
        ASSERT_EQ(fileof(f), *position == Size());
        const int value = width == 1 ? filrea8(f) : width == 2 ? filrea16(f) : filrea32(f);
        transcript_.Add(value);
        ASSERT_EQ(value, isThere ? Value(model_.substr(at, static_cast<std::size_t>(width))) : -3);
        Move(f, isThere ? *position + width : *position, position);
    }

    const Scratch& scratch_;
    std::mt19937 random_;
    std::string model_;
    Transcript transcript_;
};

class Equivalence : public ::testing::Test {
 protected:
    Equivalence() { MountVolume("Test", scratch_.Path().c_str()); }
    ~Equivalence() override { UnmountVolume("Test"); }
    const Scratch scratch_;
};

TEST_F(Equivalence, StreamsAndDirectAccessAgreeWithMemoryOverEveryWayOfTransfer) {
    const int operations = ShortOrLong(5000, 1000000);
    const int seeds = ShortOrLong(3, 4);
    for (int seed = 1; seed <= seeds; ++seed) {
        std::uint64_t first = 0;
        for (const TransferWay& way : TransferWays()) {
            const OnTransferWay here(way);
            const std::uint64_t hash = Walk(scratch_, static_cast<unsigned>(seed)).Run(operations);
            ASSERT_FALSE(HasFailure()) << way.name << ", seed " << seed;
            if (first == 0) first = hash;
            EXPECT_EQ(hash, first) << way.name << ", seed " << seed;
        }
    }
}

// Else the ways would all be one.
TEST_F(Equivalence, TheWayThroughTheRingGoesThroughIt) {
    if (!HostHasRing()) GTEST_SKIP() << "the host lets nobody have a ring";
    for (const TransferWay& way : TransferWays()) {
        const OnTransferWay here(way);
        (void)Walk(scratch_, 1).Run(500);
        const bool isThrough = std::string(way.name) == "through the kernel's ring";
        EXPECT_EQ(OnTransferWay::RingReads() > 0, isThrough) << way.name;
    }
}

}  // namespace
}  // namespace Ondrel::Testing
