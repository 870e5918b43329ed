// 256 Ki contiguous writes of 64 bytes at explicit positions: direct access with its write cache
// beside one gathering buffer over pwrite(2), which is the floor, the C++ library's and the C
// library's buffers, and a pwrite(2) for each.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/fil/direct.h"

namespace {

constexpr int kPiece = 64;
constexpr int kPieces = 256 * 1024;
constexpr int kTotal = kPiece * kPieces;
constexpr int kCache = 16384;

std::string path;
std::vector<unsigned char> content;

const unsigned char* Piece(int i) {
    return content.data() + static_cast<std::size_t>(i) * kPiece;
}

// Gathers what follows each other and writes it when it is full or when a piece does not follow.
class Floor {
 public:
    void Open() { fd_ = ::open(path.c_str(), O_RDWR); }
    void Write(int position, const unsigned char* bytes, int size) {
        if (position != first_ + held_ || size > kCache - held_) {
            Flush();
            first_ = position;
        }
        std::memcpy(buffer_ + held_, bytes, static_cast<std::size_t>(size));
        held_ += size;
    }
    void Close() {
        Flush();
        ::close(fd_);
    }

 private:
    __attribute__((noinline)) void Flush() {
        if (::pwrite(fd_, buffer_, static_cast<std::size_t>(held_), first_) != held_) std::abort();
        held_ = 0;
    }

    int fd_ = -1;
    int first_ = 0;
    int held_ = 0;
    unsigned char buffer_[kCache];
};

class Direct {
 public:
    void Open() {
        ref_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)));
        if (Ondrel::filasyope(&f_, ref_, true) != 0) std::abort();
        Ondrel::filasycacbeg(&f_, kCache);
    }
    void Write(int position, const unsigned char* bytes, int size) {
        Ondrel::filasywri(&f_, position, bytes, size);
    }
    void Close() {
        Ondrel::filasycacend();
        if (Ondrel::filasydon(&f_) != 1 || Ondrel::filclo(&f_) != 0) std::abort();
    }

 private:
    Ondrel::filref ref_;
    Ondrel::fil f_;
};

class Filebuf {
 public:
    void Open() { buffer_.open(path, std::ios::in | std::ios::out | std::ios::binary); }
    void Write(int, const unsigned char* bytes, int size) {
        buffer_.sputn(reinterpret_cast<const char*>(bytes), size);
    }
    void Close() {
        if (buffer_.close() == nullptr) std::abort();
    }

 private:
    std::filebuf buffer_;
};

class Stdio {
 public:
    void Open() { file_ = std::fopen(path.c_str(), "r+b"); }
    void Write(int, const unsigned char* bytes, int size) {
        fwrite_unlocked(bytes, 1, static_cast<std::size_t>(size), file_);
    }
    void Close() {
        if (std::fclose(file_) != 0) std::abort();
    }

 private:
    std::FILE* file_ = nullptr;
};

class EachByItself {
 public:
    void Open() { fd_ = ::open(path.c_str(), O_RDWR); }
    void Write(int position, const unsigned char* bytes, int size) {
        if (::pwrite(fd_, bytes, static_cast<std::size_t>(size), position) != size) std::abort();
    }
    void Close() { ::close(fd_); }

 private:
    int fd_ = -1;
};

void Fill(unsigned char with) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << std::string(kTotal, static_cast<char>(with));
}

bool HoldsContent() {
    std::vector<unsigned char> bytes(kTotal);
    std::ifstream in(path, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), kTotal);
    return in && in.peek() == std::ifstream::traits_type::eof() && bytes == content;
}

template <class Contender>
void Writes(benchmark::State& state) {
    Fill(0);
    for (auto _ : state) {
        Contender contender;
        contender.Open();
        for (int i = 0; i < kPieces; ++i)
            contender.Write(i * kPiece, Piece(i), kPiece);
        contender.Close();
    }
    if (!HoldsContent()) state.SkipWithError("wrote other bytes");
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    path = (folder / ("ondrel-bench-" + std::to_string(::getpid()))).string();
    content.resize(kTotal);
    for (int i = 0; i < kTotal; ++i)
        content[static_cast<std::size_t>(i)] =
            static_cast<unsigned char>((static_cast<unsigned>(i) * 0x9E3779B1U) >> 24);
    benchmark::RegisterBenchmark("E. cached writes/floor", Writes<Floor>)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("E. cached writes/ondrel", Writes<Direct>)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("E. cached writes/std::filebuf", Writes<Filebuf>)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("E. cached writes/stdio", Writes<Stdio>)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("E. cached writes/pwrite each", Writes<EachByItself>)
        ->Unit(benchmark::kMillisecond);
    const int result = Bench::RunAndPrint(
        argc, argv, {"floor", "ondrel", "std::filebuf", "stdio", "pwrite each"}, {});
    std::filesystem::remove(path);
    return result;
}
