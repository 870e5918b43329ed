// Random writes, moves and length markers, and random reads and moves, against a plain model in
// memory.
#include <algorithm>
#include <random>

#include "tests/fil/StreamTest.h"

namespace Ondrel::Testing {
namespace {

// What a stream being written does to its file: bytes at positions, gaps filled with zeros.
class Model {
 public:
    int Position() const { return position_; }
    int Size() const { return static_cast<int>(bytes_.size()); }
    const std::string& Bytes() const { return bytes_; }

    void Put(const std::string& bytes) {
        const auto at = static_cast<std::size_t>(position_);
        if (bytes_.size() < at + bytes.size()) bytes_.resize(at + bytes.size(), '\0');
        bytes_.replace(at, bytes.size(), bytes);
        position_ += static_cast<int>(bytes.size());
    }
    void PutValue(int value, int width) {
        std::string bytes;
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
            bytes += static_cast<char>(value >> shift);
        Put(bytes);
    }
    void Move(int position) { position_ = position; }

 private:
    std::string bytes_;
    int position_ = 0;
};

class ModelTest : public StreamTest {
 protected:
    int Random(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
    int AnyInt() { return static_cast<int>(random_()); }

    // Mostly small, sometimes around a buffer, rarely several buffers.
    int AnyLength() {
        switch (Random(20)) {
            case 0:
                return 16380 + Random(10);
            case 1:
                return Random(60000);
            default:
                return Random(200);
        }
    }
    std::string AnyBytes(int size) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        for (char& c : bytes)
            c = static_cast<char>(random_());
        return bytes;
    }

    // One random step of writing, on both.
    void WriteStep(fil* f, Model* model) {
        switch (Random(8)) {
            case 0: {
                const int value = AnyInt();
                ASSERT_EQ(filwri8(f, value), 0);
                model->PutValue(value, 1);
                break;
            }
            case 1: {
                const int value = AnyInt();
                ASSERT_EQ(filwri16(f, value), 0);
                model->PutValue(value, 2);
                break;
            }
            case 2: {
                const int value = AnyInt();
                ASSERT_EQ(filwri32(f, value), 0);
                model->PutValue(value, 4);
                break;
            }
            case 3:
            case 4: {
                const std::string bytes = AnyBytes(AnyLength());
                ASSERT_EQ(filwri(f, AsBytes(bytes), static_cast<int>(bytes.size())), 0);
                model->Put(bytes);
                break;
            }
            case 5: {
                const int target =
                    Random(model->Size() + 1) + (Random(10) == 0 ? Random(50000) : 0);
                ASSERT_EQ(filpos(f, target), 0);
                model->Move(target);
                break;
            }
            case 6:
                WriteBlock32(f, model);
                break;
            default:
                WriteBlock16(f, model);
                break;
        }
    }

    void WriteBlock32(fil* f, Model* model) {
        const int marker = filwripos(f);
        ASSERT_EQ(marker, model->Position());
        const std::string bytes = AnyBytes(AnyLength());
        ASSERT_EQ(filwri(f, AsBytes(bytes), static_cast<int>(bytes.size())), 0);
        ASSERT_EQ(filwrilen(f, marker), 0);
        model->PutValue(static_cast<int>(bytes.size()), 4);
        model->Put(bytes);
    }

    void WriteBlock16(fil* f, Model* model) {
        const int marker = filwripos16(f);
        ASSERT_EQ(marker, model->Position() + 2);
        const int size = Random(20) == 0 ? 65530 + Random(12) : AnyLength();
        const std::string bytes = AnyBytes(size);
        ASSERT_EQ(filwri(f, AsBytes(bytes), size), 0);
        ASSERT_EQ(filwrilen16(f, marker), size <= 65535);
        model->PutValue(size <= 65535 ? size : 0, 2);
        model->Put(bytes);
        if (size > 65535) model->Move(marker);
    }

    void ReadStep(fil* f, const std::string& bytes, int* position) {
        const int left = static_cast<int>(bytes.size()) - *position;
        const auto at = [&](int i) {
            const std::size_t place =
                static_cast<std::size_t>(*position) + static_cast<std::size_t>(i);
            return static_cast<unsigned char>(bytes[place]);
        };
        switch (Random(7)) {
            case 0:
                ASSERT_EQ(filrea8(f), left < 1 ? -3 : at(0));
                *position += std::min(left, 1);
                break;
            case 1:
                ASSERT_EQ(filrea16(f), left < 2 ? -3 : at(0) << 8 | at(1));
                *position += std::min(left, 2);
                break;
            case 2: {
                const int value = filrea32(f);
                unsigned int stored = 0;
                for (int i = 0; i < 4 && left >= 4; ++i)
                    stored = stored << 8 | static_cast<unsigned int>(at(i));
                ASSERT_EQ(value, left < 4 ? -3 : static_cast<int>(stored));
                *position += std::min(left, 4);
                break;
            }
            case 3: {
                const int size = AnyLength();
                std::string read(static_cast<std::size_t>(size), '\0');
                ASSERT_EQ(filrea(f, reinterpret_cast<unsigned char*>(read.data()), size),
                          size <= left ? 0 : -3);
                const auto common = static_cast<std::size_t>(std::min(size, left));
                ASSERT_EQ(read.substr(0, common),
                          bytes.substr(static_cast<std::size_t>(*position), common));
                *position += std::min(size, left);
                break;
            }
            case 4:
                ASSERT_EQ(fileof(f), left == 0);
                break;
            case 5:
                ASSERT_EQ(filgetsiz(f), static_cast<int>(bytes.size()));
                break;
            default: {
                const int near = *position + Random(2000) - 1000;
                const int far = Random(static_cast<int>(bytes.size()) + 1);
                const int target = Random(3) == 0 ? far : near;
                const bool inside = target >= 0 && target <= static_cast<int>(bytes.size());
                const int expected = target < 0 ? -1 : inside ? 0 : -3;
                ASSERT_EQ(filpos(f, target), expected) << target;
                if (inside) *position = target;
                ASSERT_EQ(filpos(f, *position), 0);
                break;
            }
        }
    }

    std::mt19937 random_{20240229};
};

TEST_F(ModelTest, RandomWritesMovesAndMarkersAgreeWithMemory) {
    int steps = 0;
    for (int round = 0; round < 24; ++round) {
        fil f;
        const filref ref = Ref("model");
        ASSERT_EQ(filsav(&f, nullptr, &ref, 0), 0);
        Model model;
        const int last = 200 + Random(600);
        for (int step = 0; step < last; ++step, ++steps) {
            WriteStep(&f, &model);
            ASSERT_EQ(filpos(&f), model.Position());
            if (HasFatalFailure()) FAIL() << "round " << round << " step " << step;
        }
        ASSERT_EQ(filclo(&f), 0);
        // A gap at the end, behind which nothing was written, is no part of the file.
        ASSERT_EQ(Contents("model"), model.Bytes()) << "round " << round;
    }
    EXPECT_GE(steps, 10000);
}

TEST_F(ModelTest, RandomReadsAndMovesAgreeWithMemory) {
    for (const int size : {0, 1, 5000, 16384, 16385, 32768, 100000}) {
        const std::string bytes = AnyBytes(size);
        scratch_.Write("model", bytes);
        fil f;
        ASSERT_EQ(filope(&f, nullptr, Ref("model")), 0);
        int position = 0;
        for (int step = 0; step < 4000; ++step) {
            ReadStep(&f, bytes, &position);
            if (HasFatalFailure()) FAIL() << "size " << size << " step " << step;
            ASSERT_EQ(filpos(&f), position) << "size " << size << " step " << step;
        }
    }
}

TEST_F(ModelTest, WritingInPlaceAgreesWithMemory) {
    for (int round = 0; round < 10; ++round) {
        std::string bytes = AnyBytes(80000);
        scratch_.Write("model", bytes);
        fil f;
        ASSERT_EQ(filsavmod(&f, nullptr, Ref("model")), 0);
        for (int step = 0; step < 300; ++step) {
            const int size = AnyLength();
            const int target = Random(80000 - 60000);
            const std::string piece = AnyBytes(size);
            ASSERT_EQ(filpos(&f, target), 0);
            ASSERT_EQ(filwri(&f, AsBytes(piece), size), 0);
            bytes.replace(static_cast<std::size_t>(target), piece.size(), piece);
        }
        ASSERT_EQ(filclo(&f), 0);
        ASSERT_EQ(Contents("model"), bytes);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
