// Packing rows of bytes, and writing a whole preview.
//
// Rows: 750 of 3000 bytes, as a picture of 1000 x 750 has them, of noise, of one value, and of a
// gradient whose values stay for one to nine bytes. The encoder beside those of libtiff and netpbm,
// all in memory, and beside the floor: the least code that packs, with a search for equal
// neighbours in vector registers. Before it is timed, each contender's output is decoded and
// compared.
//
// Previews: a picture of 1000 x 750 from memory into the resource fork of a file, with its icon;
// and the same picture written as PICT by ImageMagick and GraphicsMagick, as whole programs that
// read it from a file without compression.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bench/Programs.h"
#include "bench/RatioTable.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/preview/drapix.h"
#include "ondrel/preview/encoders.h"
#include "ondrel/preview/pictpreview.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif
#ifdef BENCH_HAS_TIFF
#include <tiffio.h>
#endif
#ifdef BENCH_HAS_NETPBM
#include "bench/NetpbmRow.h"
#endif

namespace Bench {
namespace {

namespace fs = std::filesystem;

constexpr int kWidth = 1000;
constexpr int kHeight = 750;
constexpr int kRowBytes = 3 * kWidth;
using Rows = std::vector<unsigned char>;  // kHeight rows
using Codes = std::vector<unsigned char>;

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
    Rows rows(static_cast<std::size_t>(kRowBytes) * kHeight);
    for (unsigned char& byte : rows)
        byte = static_cast<unsigned char>(random.Below(256));
    return rows;
}

Rows Flat() {
    return Rows(static_cast<std::size_t>(kRowBytes) * kHeight, 0xFF);
}

Rows Gradient() {
    Random random;
    Rows rows;
    const std::size_t size = static_cast<std::size_t>(kRowBytes) * kHeight;
    for (unsigned value = 0; rows.size() < size; ++value)
        rows.insert(rows.end(), 1 + random.Below(9), static_cast<unsigned char>(value));
    rows.resize(size);
    return rows;
}

// --- The encoders -------------------------------------------------------------------------------

// Each packs all rows, row by row, into codes that are decoded as one stream.

// The least that packs: neighbours are compared 64 at a time, runs of three and more are repeats,
// and what stands between them is copied. (It folds nothing, so that its codes may be a little
// longer than the library's.)
class Floor {
 public:
    Floor() : codes_(static_cast<std::size_t>(kRowBytes + kRowBytes / 64 + 8) * kHeight) {}

    void Pack(const Rows& rows) {
        unsigned char* out = codes_.data();
        for (int y = 0; y < kHeight; ++y)
            out = PackRow(rows.data() + static_cast<std::size_t>(y) * kRowBytes, out);
        used_ = static_cast<std::size_t>(out - codes_.data());
        benchmark::DoNotOptimize(codes_.data());
    }
    Codes Result() const {
        return Codes(codes_.begin(), codes_.begin() + static_cast<std::ptrdiff_t>(used_));
    }

 private:
    // Bit i: the byte there equals the next one.
    static std::uint64_t EqualNeighbours(const unsigned char* bytes) {
        std::uint64_t equal = 0;
        for (int i = 0; i < 64; i += 16) {
#ifdef __SSE2__
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i + 1));
            const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(a, b));
            equal |= static_cast<std::uint64_t>(static_cast<unsigned>(mask)) << i;
#else
            for (int j = i; j < i + 16; ++j)
                equal |= static_cast<std::uint64_t>(bytes[j] == bytes[j + 1]) << j;
#endif
        }
        return equal;
    }

    static unsigned char* PutLiteral(const unsigned char* from, const unsigned char* end,
                                     unsigned char* out) {
        while (from < end) {
            const std::ptrdiff_t n = std::min<std::ptrdiff_t>(end - from, 128);
            *out++ = static_cast<unsigned char>(n - 1);
            std::memcpy(out, from, static_cast<std::size_t>(n));
            out += n;
            from += n;
        }
        return out;
    }

    static unsigned char* PackRow(const unsigned char* row, unsigned char* out) {
        const unsigned char* const end = row + kRowBytes;
        const unsigned char* literal = row;
        for (const unsigned char* at = row; at < end;) {
            if (end - at < 66) {
                ++at;  // the rest is stored as it is
                continue;
            }
            const std::uint64_t equal = EqualNeighbours(at);
            const std::uint64_t three = equal & equal >> 1;
            if (three == 0) {
                at += 62;
                continue;
            }
            at += __builtin_ctzll(three);
            const unsigned char* run = at + 3;
            while (run < end && *run == *at && run - at < 128)
                ++run;
            out = PutLiteral(literal, at, out);
            *out++ = static_cast<unsigned char>(257 - (run - at));
            *out++ = *at;
            literal = at = run;
        }
        return PutLiteral(literal, end, out);
    }

    Codes codes_;
    std::size_t used_ = 0;
};

class Encoder {
 public:
    Encoder() : area_(new unsigned char[kAreaSize]), buffer_(area_, kAreaSize) {}

    void Pack(const Rows& rows) {
        Ondrel::KesPackBitsEncode encoder(kWidth, 24, false, &buffer_);
        buffer_.position = area_;
        for (int y = 0; y < kHeight; ++y) {
            encoder.EncodeRecord(rows.data() + static_cast<std::size_t>(y) * kRowBytes, kWidth);
            encoder.Flush();
        }
    }
    Codes Result() const { return Codes(area_, buffer_.position); }

 private:
    static constexpr unsigned long kAreaSize =
        static_cast<unsigned long>(kRowBytes + kRowBytes / 100) * kHeight;

    unsigned char* area_;  // the buffer's
    Ondrel::PackBitsBuff buffer_;
};

#ifdef BENCH_HAS_TIFF
// One strip of a file in memory.
class Tiff {
 public:
    Tiff() { TIFFSetWarningHandler(nullptr); }

    void Pack(const Rows& rows) {
        file_.clear();
        at_ = 0;
        TIFF* const tiff =
            TIFFClientOpen("memory", "wm", this, Read, Write, Seek, Close, Size, nullptr, nullptr);
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, kWidth);
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, kHeight);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, kHeight);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_PACKBITS);
        // It is not changed; the parameter has no const.
        if (TIFFWriteEncodedStrip(tiff, 0, const_cast<unsigned char*>(rows.data()),
                                  static_cast<tmsize_t>(rows.size())) < 0)
            std::abort();
        std::uint64_t* offsets = nullptr;
        std::uint64_t* sizes = nullptr;
        TIFFGetField(tiff, TIFFTAG_STRIPOFFSETS, &offsets);
        TIFFGetField(tiff, TIFFTAG_STRIPBYTECOUNTS, &sizes);
        offset_ = offsets[0];
        size_ = sizes[0];
        TIFFClose(tiff);
    }
    Codes Result() const {
        const auto start = file_.begin() + static_cast<std::ptrdiff_t>(offset_);
        return Codes(start, start + static_cast<std::ptrdiff_t>(size_));
    }

 private:
    static Tiff* Self(thandle_t handle) { return static_cast<Tiff*>(handle); }
    static tmsize_t Read(thandle_t, void*, tmsize_t) { return 0; }
    static tmsize_t Write(thandle_t handle, void* data, tmsize_t size) {
        Tiff* const self = Self(handle);
        const auto n = static_cast<std::size_t>(size);
        if (self->file_.size() < self->at_ + n) self->file_.resize(self->at_ + n);
        std::memcpy(self->file_.data() + self->at_, data, n);
        self->at_ += n;
        return size;
    }
    static toff_t Seek(thandle_t handle, toff_t offset, int whence) {
        Tiff* const self = Self(handle);
        self->at_ = offset + (whence == SEEK_END   ? self->file_.size()
                              : whence == SEEK_CUR ? self->at_
                                                   : 0);
        return self->at_;
    }
    static int Close(thandle_t) { return 0; }
    static toff_t Size(thandle_t handle) { return Self(handle)->file_.size(); }

    std::vector<unsigned char> file_;
    std::size_t at_ = 0;
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
};
#endif

#ifdef BENCH_HAS_NETPBM
class Netpbm {
 public:
    Netpbm() : codes_(MostNetpbmBytes(kRowBytes) * kHeight) {}

    void Pack(const Rows& rows) {
        used_ = 0;
        for (int y = 0; y < kHeight; ++y) {
            const unsigned char* const row = rows.data() + static_cast<std::size_t>(y) * kRowBytes;
            used_ += PackNetpbmRow(row, kRowBytes, codes_.data() + used_);
        }
    }
    Codes Result() const {
        return Codes(codes_.begin(), codes_.begin() + static_cast<std::ptrdiff_t>(used_));
    }

 private:
    Codes codes_;
    std::size_t used_ = 0;
};
#endif

Rows Decoded(const Codes& codes) {
    Rows rows;
    for (std::size_t at = 0; at + 1 < codes.size();) {
        const unsigned count = codes[at++];
        if (count == 0x80) continue;
        const std::size_t taken = count < 0x80 ? count + 1 : 1;
        if (taken > codes.size() - at) break;
        for (std::size_t i = 0; i < (count < 0x80 ? taken : 257 - count); ++i)
            rows.push_back(codes[count < 0x80 ? at + i : at]);
        at += taken;
    }
    return rows;
}

template <class Contender, Rows (*kMake)()>
void PackRows(benchmark::State& state) {
    static const Rows kRows = kMake();
    Contender contender;
    contender.Pack(kRows);
    if constexpr (requires { contender.Result(); })
        if (Decoded(contender.Result()) != kRows) return state.SkipWithError("packed other bytes");
    for (auto _ : state)
        contender.Pack(kRows);
}

template <class Contender>
void RegisterEncoder(const std::string& contender) {
    const auto add = [&](const char* work, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark((work + ("/" + contender)).c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    };
    add("F. pack noise", PackRows<Contender, Noise>);
    add("F. pack flat rows", PackRows<Contender, Flat>);
    add("F. pack a gradient", PackRows<Contender, Gradient>);
}

// --- Whole previews -----------------------------------------------------------------------------

fs::path folder;  // made by main

struct ReleaseMap {
    void operator()(Ondrel::drapix* map) const { Ondrel::drapixdea(map); }
};
using Map = std::unique_ptr<Ondrel::drapix, ReleaseMap>;

// Like a photograph: a gradient with a little noise on its upper half.
Map Picture() {
    Map map(Ondrel::drapixall(kHeight, kWidth));
    Random random;
    for (int y = 0; y < kHeight; ++y) {
        unsigned char* pixel = Ondrel::drabufbas(map.get(), y);
        for (int x = 0; x < kWidth; ++x, pixel += 4) {
            const unsigned noise = y < kHeight / 2 ? random.Below(6) : 0;
            pixel[1] = static_cast<unsigned char>(static_cast<unsigned>(x) / 5 + noise);
            pixel[2] = static_cast<unsigned char>(static_cast<unsigned>(y) / 4 + noise);
            pixel[3] = static_cast<unsigned char>(static_cast<unsigned>(x + y) / 8 + noise);
        }
    }
    return map;
}

void WriteAsPpm(const fs::path& path, Ondrel::drapix* map) {
    std::ofstream file(path, std::ios::binary);
    file << "P6\n" << kWidth << " " << kHeight << "\n255\n";
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            file.write(reinterpret_cast<char*>(Ondrel::drabufbas(map, y)) + 4L * x + 1, 3);
}

void WritePreview(benchmark::State& state) {
    const Map map = Picture();
    const fs::path document = folder / "document";
    std::ofstream(document).close();
    const Ondrel::FileSpec file(Ondrel::UTF8ToUni16String(document.string()));
    while (state.KeepRunning())
        Ondrel::filpictpreview(file, map.get(), 72, nullptr);
    if (fs::file_size(folder / "._document") < kWidth * kHeight / 2)
        state.SkipWithError("wrote no preview");
}

void RegisterProgram(const std::string& contender, const std::vector<std::string>& command) {
    const auto run = [command](benchmark::State& state) {
        std::vector<std::string> words = command;
        words.push_back((folder / "picture.ppm").string());
        words.push_back("pict:" + (folder / "picture.pict").string());
        for (auto _ : state)
            if (!OutputOf(words).has_value()) return state.SkipWithError("the program failed");
    };
    benchmark::RegisterBenchmark(("G. write a preview/" + contender).c_str(), run)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

// The processor's time is that of this process alone, and says nothing of other programs: they are
// left out then.
bool IsProcessorTime(int argc, char** argv) {
    return std::any_of(argv + 1, argv + argc, [](const char* argument) {
        return std::string_view(argument) == "--processor_time";
    });
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    std::vector<std::string> contenders = {"floor", "ondrel"};
    std::vector<std::string> skipped;
    RegisterEncoder<Floor>("floor");
    RegisterEncoder<Encoder>("ondrel");
#ifdef BENCH_HAS_TIFF
    RegisterEncoder<Tiff>("libtiff");
    contenders.push_back("libtiff");
#else
    skipped.push_back("libtiff");
#endif
#ifdef BENCH_HAS_NETPBM
    RegisterEncoder<Netpbm>("netpbm");
    contenders.push_back("netpbm");
#else
    skipped.push_back("netpbm");
#endif
    benchmark::RegisterBenchmark("G. write a preview/ondrel", WritePreview)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    const struct {
        const char* name;
        const char* program;
        std::vector<std::string> command;
    } programs[] = {{"ImageMagick", "/usr/bin/convert", {"/usr/bin/convert"}},
                    {"GraphicsMagick", "gm", {"gm", "convert"}}};
    for (const auto& peer : programs) {
        if (IsProcessorTime(argc, argv)) continue;
        if (IsInstalled(peer.program)) {
            RegisterProgram(peer.name, peer.command);
            contenders.push_back(peer.name);
        } else {
            skipped.push_back(peer.name);
        }
    }
    folder = fs::canonical(fs::temp_directory_path()) /
             ("ondrel-previews-" + std::to_string(::getpid()));
    fs::create_directory(folder);
    WriteAsPpm(folder / "picture.ppm", Picture().get());
    const int result = RunAndPrint(argc, argv, contenders, skipped);
    fs::remove_all(folder);
    return result;
}
