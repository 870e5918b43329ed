// Sequential reads and writes of 8-, 16- and 32-bit big-endian values over a warm file of 64 MiB:
// the library's streams beside the C library's, the C++ library's, Qt's, GIO's, SDL's, and the
// floor under all of them, a bare buffer of 16 KiB over read(2) and write(2).
//
// Every contender does the same work: it opens the file, moves all of it and closes it. Writes go
// over the bytes of a file that is there. Before the first timed run of each, one untimed pass is
// compared byte by byte; in the timed runs the sum of what was read is checked, and what was
// written is compared at the end.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/Contenders.h"
#include "bench/RatioTable.h"

namespace Bench {

std::string path;

namespace {

constexpr std::size_t kFileSize = 64 << 20;

template <int kWidth>
constexpr std::size_t kValues = kFileSize * 8 / kWidth;

// The bytes in the file: those of the 8-bit values.
std::vector<unsigned char> content;

// The value number `i` of a width, as far from regular as one multiplication makes it.
template <int kWidth>
std::uint32_t ValueOf(std::size_t i) {
    return (static_cast<std::uint32_t>(i) * 0x9E3779B1U) >> (32 - kWidth);
}

// --- Work ---------------------------------------------------------------------------------------

template <int kWidth, class Contender>
std::uint32_t GetOne(Contender& contender) {
    if constexpr (kWidth == 8) return contender.Get8();
    if constexpr (kWidth == 16) return contender.Get16();
    if constexpr (kWidth == 32) return contender.Get32();
}

template <int kWidth, class Contender>
void PutOne(Contender& contender, std::uint32_t value) {
    if constexpr (kWidth == 8) contender.Put8(value);
    if constexpr (kWidth == 16) contender.Put16(value);
    if constexpr (kWidth == 32) contender.Put32(value);
}

// The value number `i` of the file as it was made.
template <int kWidth>
std::uint32_t StoredValue(std::size_t i) {
    std::uint32_t value = 0;
    for (std::size_t byte = 0; byte < kWidth / 8; ++byte)
        value = value << 8 | content[i * kWidth / 8 + byte];
    return value;
}

void RestoreFile() {
    std::ofstream out(path, std::ios::binary | std::ios::in | std::ios::out);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
}

std::vector<unsigned char> FileBytes() {
    std::vector<unsigned char> bytes(kFileSize);
    std::ifstream in(path, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(kFileSize));
    if (!in || in.peek() != std::ifstream::traits_type::eof()) bytes.clear();
    return bytes;
}

template <int kWidth>
std::vector<unsigned char> BytesOfValues() {
    std::vector<unsigned char> bytes;
    bytes.reserve(kFileSize);
    for (std::size_t i = 0; i < kValues<kWidth>; ++i)
        for (int shift = kWidth - 8; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<unsigned char>(ValueOf<kWidth>(i) >> shift));
    return bytes;
}

template <class Contender, int kWidth>
bool ReadsEveryValue() {
    Contender contender;
    contender.OpenToRead();
    bool equal = true;
    for (std::size_t i = 0; i < kValues<kWidth>; ++i)
        equal &= GetOne<kWidth>(contender) == StoredValue<kWidth>(i);
    contender.CloseRead();
    return equal;
}

template <int kWidth>
std::uint32_t SumOfValues() {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < kValues<kWidth>; ++i)
        sum += StoredValue<kWidth>(i);
    return sum;
}

template <class Contender, int kWidth>
void ReadValues(benchmark::State& state) {
    static const bool kReadsRight = ReadsEveryValue<Contender, kWidth>();
    static const std::uint32_t kExpected = SumOfValues<kWidth>();
    for (auto _ : state) {
        const auto contender = std::make_unique<Contender>();
        contender->OpenToRead();
        std::uint32_t sum = 0;
        for (std::size_t i = 0; i < kValues<kWidth>; ++i)
            sum += GetOne<kWidth>(*contender);
        benchmark::DoNotOptimize(sum);
        contender->CloseRead();
        if (sum != kExpected || !kReadsRight) state.SkipWithError("read other bytes");
    }
}

template <class Contender, int kWidth>
void WriteValues(benchmark::State& state) {
    RestoreFile();
    for (auto _ : state) {
        const auto contender = std::make_unique<Contender>();
        contender->OpenToWrite();
        for (std::size_t i = 0; i < kValues<kWidth>; ++i)
            PutOne<kWidth>(*contender, ValueOf<kWidth>(i));
        contender->CloseWritten();
    }
    if (FileBytes() != BytesOfValues<kWidth>()) state.SkipWithError("wrote other bytes");
    RestoreFile();
}

template <class Contender>
void Register(const std::string& contender) {
    const auto add = [&](const char* work, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark((work + ("/" + contender)).c_str(), run)
            ->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime()
            ->UseRealTime();
    };
    add("A. read 8-bit", ReadValues<Contender, 8>);
    add("A. read 16-bit", ReadValues<Contender, 16>);
    add("A. read 32-bit", ReadValues<Contender, 32>);
    add("A. write 8-bit", WriteValues<Contender, 8>);
    add("A. write 16-bit", WriteValues<Contender, 16>);
    add("A. write 32-bit", WriteValues<Contender, 32>);
}

void MakeFile() {
    content.resize(kFileSize);
    for (std::size_t i = 0; i < kFileSize; ++i)
        content[i] = static_cast<unsigned char>(ValueOf<8>(i));
    path = (std::filesystem::canonical(std::filesystem::temp_directory_path()) /
            ("ondrel-bench-" + std::to_string(::getpid())))
               .string();
    std::ofstream(path, std::ios::binary).close();
    RestoreFile();
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    std::vector<std::string> contenders = {"floor", "ondrel", "stdio", "filebuf"};
    std::vector<std::string> skipped;
    Register<Floor>("floor");
    Register<Streams>("ondrel");
    Register<Stdio>("stdio");
    Register<Filebuf>("filebuf");
#ifdef BENCH_HAS_QT
    Register<QtStreams>("QDataStream");
    contenders.push_back("QDataStream");
#else
    skipped.push_back("Qt (QDataStream over QFile)");
#endif
#ifdef BENCH_HAS_GIO
    Register<GioStreams>("GIO");
    contenders.push_back("GIO");
#else
    skipped.push_back("GIO");
#endif
#ifdef BENCH_HAS_SDL2
    Register<SdlStreams>("SDL_RWops");
    contenders.push_back("SDL_RWops");
#else
    skipped.push_back("SDL2 (SDL_RWops)");
#endif
    MakeFile();
    const int result = RunAndPrint(argc, argv, contenders, skipped);
    std::filesystem::remove(path);
    return result;
}
