// Unpacking the rows of pictures: 750 of 3000 bytes, as a picture of 1000 x 750 in 32 bits has
// them, of noise, of one value, and of a gradient whose values stay for one to nine bytes. The
// reader of rows beside libtiff's decoder, both in memory. What each makes of the rows is compared
// before it is timed. The floor is the least code that unpacks: a code at a time, and without a
// look at where the bytes end.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "ondrel/platform/quickdraw/PackedRows.h"

#ifdef BENCH_HAS_TIFF
#include <tiffio.h>
#endif

namespace Bench {
namespace {

constexpr int kWidth = 1000;
constexpr int kHeight = 750;
constexpr std::size_t kRowBytes = std::size_t{3} * kWidth;
using Rows = std::vector<unsigned char>;  // kHeight rows

// --- The rows -----------------------------------------------------------------------------------

class Random {
 public:
    unsigned Below(unsigned limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>((state_ >> 33) % limit);
    }

 private:
    std::uint64_t state_ = 1;
};

Rows Noise() {
    Random random;
    Rows rows(kRowBytes * kHeight);
    for (unsigned char& byte : rows)
        byte = static_cast<unsigned char>(random.Below(256));
    return rows;
}

Rows Flat() {
    return Rows(kRowBytes * kHeight, 0xFF);
}

Rows Gradient() {
    Random random;
    Rows rows;
    for (unsigned value = 0; rows.size() < kRowBytes * kHeight; ++value)
        rows.insert(rows.end(), 1 + random.Below(9), static_cast<unsigned char>(value));
    rows.resize(kRowBytes * kHeight);
    return rows;
}

// --- Packing ------------------------------------------------------------------------------------

std::size_t RunAt(const unsigned char* row, std::size_t at) {
    std::size_t end = at + 1;
    while (end < kRowBytes && end - at < 128 && row[end] == row[at])
        ++end;
    return end - at;
}

// One row; runs of three and more are worth a code.
std::string PackedRow(const unsigned char* row) {
    std::string packed;
    for (std::size_t at = 0; at < kRowBytes;) {
        const std::size_t run = RunAt(row, at);
        if (run >= 3) {
            packed += static_cast<char>(257 - run);
            packed += static_cast<char>(row[at]);
            at += run;
            continue;
        }
        const std::size_t start = at;
        while (at < kRowBytes && at - start < 128 && RunAt(row, at) < 3)
            ++at;
        packed += static_cast<char>(at - start - 1);
        packed.append(reinterpret_cast<const char*>(row) + start, at - start);
    }
    return packed;
}

std::string Word(std::size_t value) {
    return {static_cast<char>(value >> 8 & 255), static_cast<char>(value & 255)};
}

// All rows, with or without their lengths.
std::string Packed(const Rows& rows, bool hasLengths) {
    std::string all;
    for (std::size_t y = 0; y < kHeight; ++y) {
        const std::string packed = PackedRow(rows.data() + y * kRowBytes);
        all += (hasLengths ? Word(packed.size()) : std::string()) + packed;
    }
    return all;
}

// --- The readers --------------------------------------------------------------------------------

// Each is made of the packed rows and unpacks them one after the other.

class Floor {
 public:
    explicit Floor(const Rows& rows) : packed_(Packed(rows, false)), to_(rows.size()) {}

    void Unpack() {
        const auto* at = reinterpret_cast<const unsigned char*>(packed_.data());
        unsigned char* to = to_.data();
        for (unsigned char* const end = to + to_.size(); to != end;) {
            const unsigned code = *at++;
            if (code < 128) {
                to = std::copy_n(at, code + 1, to);
                at += code + 1;
            } else if (code > 128) {
                to = std::fill_n(to, 257 - code, *at++);
            }
        }
        benchmark::DoNotOptimize(to_.data());
    }
    Rows Result() const { return to_; }

 private:
    std::string packed_;
    Rows to_;
};

class Reader {
 public:
    explicit Reader(const Rows& rows) : packed_(Packed(rows, true)) {}

    template <class Take>
    void Each(const Take& take) {
        using namespace Ondrel::QuickDraw;
        PictureBytes bytes(packed_);
        PackedRows rows(Packing::kBytes, kRowBytes, std::size_t{4} * kWidth);
        rows.Explore(bytes, kHeight);
        for (int y = 0; y < kHeight; ++y)
            take(rows.Next(bytes));
    }
    void Unpack() {
        Each([](const unsigned char* row) { benchmark::DoNotOptimize(row); });
    }
    Rows Result() {
        Rows all;
        Each([&](const unsigned char* row) { all.insert(all.end(), row, row + kRowBytes); });
        return all;
    }

 private:
    std::string packed_;
};

#ifdef BENCH_HAS_TIFF
// A file in memory of one strip, which is mapped: the library reads its codes where they are.
class Tiff {
 public:
    explicit Tiff(const Rows& rows) : file_(File(Packed(rows, false))), to_(rows.size()) {
        TIFFSetWarningHandler(nullptr);
        tiff_ = TIFFClientOpen("memory", "r", this, Read, Write, Seek, Close, Size, Map, Unmap);
        if (tiff_ == nullptr) std::abort();
    }
    Tiff(const Tiff&) = delete;
    Tiff& operator=(const Tiff&) = delete;
    ~Tiff() { TIFFClose(tiff_); }

    void Unpack() {
        const auto size = static_cast<tmsize_t>(to_.size());
        if (TIFFReadEncodedStrip(tiff_, 0, to_.data(), size) != size) std::abort();
        benchmark::DoNotOptimize(to_.data());
    }
    Rows Result() const { return to_; }

 private:
    // Little-endian: "II", 42, the directory's place; its entries; the codes.
    static std::string File(const std::string& codes) {
        const auto number = [](std::size_t value, int size) {
            std::string bytes;
            for (int i = 0; i < size; ++i, value >>= 8)
                bytes += static_cast<char>(value & 255);
            return bytes;
        };
        const struct {
            int tag;
            std::size_t value;
        } entries[] = {{256, kRowBytes}, {257, kHeight}, {258, 8},
                       {259, 32773},     {262, 1},       {273, 8 + 2 + 9 * 12 + 4},
                       {277, 1},         {278, kHeight}, {279, codes.size()}};
        std::string file = "II" + number(42, 2) + number(8, 4) + number(std::size(entries), 2);
        for (const auto& entry : entries)
            file += number(static_cast<std::size_t>(entry.tag), 2) + number(4, 2) + number(1, 4) +
                    number(entry.value, 4);
        return file + number(0, 4) + codes;
    }

    static Tiff* Self(thandle_t handle) { return static_cast<Tiff*>(handle); }
    static tmsize_t Read(thandle_t handle, void* to, tmsize_t size) {
        Tiff* const self = Self(handle);
        const std::size_t left = self->file_.size() - std::min(self->at_, self->file_.size());
        const std::size_t count = std::min(left, static_cast<std::size_t>(size));
        std::memcpy(to, self->file_.data() + self->at_, count);
        self->at_ += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t Write(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        Tiff* const self = Self(handle);
        const std::size_t from = whence == SEEK_END   ? self->file_.size()
                                 : whence == SEEK_CUR ? self->at_
                                                      : 0;
        return self->at_ = from + offset;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Self(handle)->file_.size(); }
    static int Map(thandle_t handle, void** base, toff_t* size) {
        *base = Self(handle)->file_.data();
        *size = Self(handle)->file_.size();
        return 1;
    }
    static void Unmap(thandle_t, void*, toff_t) {}

    std::string file_;
    std::size_t at_ = 0;
    Rows to_;
    TIFF* tiff_ = nullptr;
};
#endif

template <class Contender, Rows (*kMake)()>
void UnpackRows(benchmark::State& state) {
    static const Rows kRows = kMake();
    Contender contender(kRows);
    contender.Unpack();
    if (contender.Result() != kRows) return state.SkipWithError("unpacked other bytes");
    for (auto _ : state)
        contender.Unpack();
}

template <class Contender>
void RegisterReader(const std::string& contender) {
    const auto add = [&](const char* work, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark((work + ("/" + contender)).c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    add("G. unpack noise", UnpackRows<Contender, Noise>);
    add("G. unpack flat rows", UnpackRows<Contender, Flat>);
    add("G. unpack a gradient", UnpackRows<Contender, Gradient>);
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    std::vector<std::string> contenders = {"floor", "ondrel"};
    std::vector<std::string> skipped;
    RegisterReader<Floor>("floor");
    RegisterReader<Reader>("ondrel");
#ifdef BENCH_HAS_TIFF
    RegisterReader<Tiff>("libtiff");
    contenders.push_back("libtiff");
#else
    skipped.push_back("libtiff");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}
