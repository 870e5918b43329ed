// 200,000 moves in a warm file of 64 MiB, each with a read of 4 bytes: within 1 KiB of the last
// place, and anywhere. The floor of near moves keeps a buffer of 16 KiB; that of far ones is a
// pread(2) of 4 bytes, where every stream with a buffer reads more.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/Scratch.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/fil/fil.h"

#ifdef BENCH_HAS_QT
#include <QFile>
#endif
#ifdef BENCH_HAS_GIO
#include <gio/gio.h>
#endif

namespace Bench {
namespace {

constexpr int kFileSize = 64 << 20;
constexpr int kMoves = 200000;

std::string path;
std::vector<int> nearPlaces;
std::vector<int> farPlaces;

std::uint32_t Number(const unsigned char* bytes) {
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof value);
    return __builtin_bswap32(value);
}

// --- Contenders ---------------------------------------------------------------------------------

class alignas(64) Kept {
 public:
    Kept() : fd_(::open(path.c_str(), O_RDONLY)) {}
    ~Kept() { ::close(fd_); }
    std::uint32_t At(int place) {
        if (place < start_ || place + 4 > start_ + held_) Load(place);
        return Number(buffer_ + (place - start_));
    }

 private:
    __attribute__((noinline)) void Load(int place) {
        start_ = place < 2048 ? 0 : (place - 2048) & -512;
        held_ = static_cast<int>(::pread(fd_, buffer_, sizeof buffer_, start_));
    }

    int fd_;
    int start_ = 0;
    int held_ = 0;
    unsigned char buffer_[16384];
};

class Pread {
 public:
    Pread() : fd_(::open(path.c_str(), O_RDONLY)) {}
    ~Pread() { ::close(fd_); }
    std::uint32_t At(int place) {
        unsigned char bytes[4];
        if (::pread(fd_, bytes, 4, place) != 4) std::abort();
        return Number(bytes);
    }

 private:
    int fd_;
};

class alignas(64) Streams {
 public:
    Streams() {
        spec_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path)));
        if (Ondrel::filope(&f_, nullptr, spec_) != 0) std::abort();
    }
    ~Streams() { f_.Close(); }
    std::uint32_t At(int place) {
        Ondrel::filpos(&f_, place);
        return static_cast<std::uint32_t>(Ondrel::filrea32(&f_));
    }

 private:
    Ondrel::fil f_;
    Ondrel::filref spec_;
};

template <int kBuffer>
class Stdio {
 public:
    Stdio() : file_(std::fopen(path.c_str(), "rb")) {
        std::setvbuf(file_, buffer_, _IOFBF, kBuffer);  // null would leave the size as it is
    }
    ~Stdio() { std::fclose(file_); }
    std::uint32_t At(int place) {
        unsigned char bytes[4];
        std::fseek(file_, place, SEEK_SET);
        if (fread_unlocked(bytes, 1, 4, file_) != 4) std::abort();
        return Number(bytes);
    }

 private:
    std::FILE* file_;
    char buffer_[kBuffer];
};

#ifdef BENCH_HAS_QT
class QtPeer {
 public:
    QtPeer() : file_(QString::fromStdString(path)) { file_.open(QIODevice::ReadOnly); }
    std::uint32_t At(int place) {
        unsigned char bytes[4];
        file_.seek(place);
        file_.read(reinterpret_cast<char*>(bytes), 4);
        return Number(bytes);
    }

 private:
    QFile file_;
};
#endif

#ifdef BENCH_HAS_GIO
class Gio {
 public:
    Gio() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileInputStream* const plain = g_file_read(file, nullptr, nullptr);
        in_ = g_buffered_input_stream_new_sized(G_INPUT_STREAM(plain), 4096);
        g_object_unref(plain);
        g_object_unref(file);
    }
    ~Gio() { g_object_unref(in_); }
    std::uint32_t At(int place) {
        unsigned char bytes[4];
        gsize got = 0;
        g_seekable_seek(G_SEEKABLE(in_), place, G_SEEK_SET, nullptr, nullptr);
        g_input_stream_read_all(in_, bytes, 4, &got, nullptr, nullptr);
        return Number(bytes);
    }

 private:
    GInputStream* in_;
};
#endif

// --- Work ---------------------------------------------------------------------------------------

// The number at a place is a function of the place alone.
std::uint32_t Expected(int place) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = value << 8 | ((static_cast<std::uint32_t>(place + i) * 0x9E3779B1U) >> 24);
    return value;
}

template <class Contender>
void Move(benchmark::State& state, const std::vector<int>& places) {
    std::uint32_t expected = 0;
    for (const int place : places)
        expected += Expected(place);
    for (auto _ : state) {
        const auto contender = std::make_unique<Contender>();
        std::uint32_t sum = 0;
        for (const int place : places)
            sum += contender->At(place);
        if (sum != expected) state.SkipWithError("read other bytes");
    }
}

template <class Contender>
void RegisterNear(const std::string& contender) {
    AddWork("D. near moves", contender,
            [](benchmark::State& state) { Move<Contender>(state, nearPlaces); });
}

template <class Contender>
void RegisterFar(const std::string& contender) {
    AddWork("D. far moves", contender,
            [](benchmark::State& state) { Move<Contender>(state, farPlaces); });
}

template <class Contender>
void Register(const std::string& contender) {
    RegisterNear<Contender>(contender);
    RegisterFar<Contender>(contender);
}

void MakePlaces() {
    Random random;
    int place = kFileSize / 2;
    for (int i = 0; i < kMoves; ++i) {
        place += static_cast<int>(random.Below(2049)) - 1024;
        place = place < 0 ? 0 : place > kFileSize - 4 ? kFileSize - 4 : place;
        nearPlaces.push_back(place);
        farPlaces.push_back(static_cast<int>(random.Below(kFileSize - 4)));
    }
}

void MakeFile() {
    std::vector<char> bytes(kFileSize);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>((static_cast<std::uint32_t>(i) * 0x9E3779B1U) >> 24);
    std::ofstream(path, std::ios::binary).write(bytes.data(), kFileSize);
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    const ScratchFolder scratch("moves");
    path = scratch.Path("file");
    MakeFile();
    MakePlaces();
    std::vector<std::string> contenders = {"floor", "ondrel", "stdio, 4 KiB", "stdio, 32 KiB"};
    std::vector<std::string> skipped;
    RegisterNear<Kept>("floor");
    RegisterFar<Pread>("floor");
    Register<Streams>("ondrel");
    Register<Stdio<4096>>("stdio, 4 KiB");
    Register<Stdio<32768>>("stdio, 32 KiB");
    RegisterNear<Pread>("pread");
    contenders.emplace_back("pread");
#ifdef BENCH_HAS_QT
    Register<QtPeer>("QFile");
    contenders.emplace_back("QFile");
#else
    skipped.emplace_back("QFile");
#endif
#ifdef BENCH_HAS_GIO
    Register<Gio>("GIO");
    contenders.emplace_back("GIO");
#else
    skipped.emplace_back("GIO");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}
