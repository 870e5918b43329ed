// Blocks of 1, 4, 16 and 100 KiB, read and written over a warm file of 64 MiB: the library's
// streams beside the C library's, the C++ library's, Qt's and GIO's, plain calls for each block,
// and the floor: a buffer of 16 KiB for small blocks, a plain call for large ones, whichever is the
// faster.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

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

constexpr std::size_t kFileSize = 64 << 20;
constexpr std::size_t kBuffer = 16384;

std::string path;
std::vector<unsigned char> content;

// --- Contenders ---------------------------------------------------------------------------------

// Each opens the file, moves blocks of kSize bytes, and closes it.

class Raw {
 public:
    void OpenToRead() { fd_ = ::open(path.c_str(), O_RDONLY); }
    void OpenToWrite() { fd_ = ::open(path.c_str(), O_WRONLY); }
    void Close() { ::close(fd_); }
    void Get(unsigned char* block, std::size_t size) {
        if (::read(fd_, block, size) < 1) std::abort();
    }
    void Put(const unsigned char* block, std::size_t size) {
        if (::write(fd_, block, size) != static_cast<ssize_t>(size)) std::abort();
    }

 private:
    int fd_ = -1;
};

class alignas(64) Buffered {
 public:
    void OpenToRead() {
        fd_ = ::open(path.c_str(), O_RDONLY);
        at_ = kBuffer;
    }
    void OpenToWrite() {
        fd_ = ::open(path.c_str(), O_WRONLY);
        at_ = 0;
    }
    void Close() { ::close(fd_); }
    // The blocks divide the buffer.
    void Get(unsigned char* block, std::size_t size) {
        if (at_ == kBuffer) Fill();
        std::memcpy(block, buffer_ + at_, size);
        at_ += size;
    }
    void Put(const unsigned char* block, std::size_t size) {
        std::memcpy(buffer_ + at_, block, size);
        at_ += size;
        if (at_ == kBuffer) Flush();
    }

 private:
    __attribute__((noinline)) void Fill() {
        if (::read(fd_, buffer_, kBuffer) < 1) std::abort();
        at_ = 0;
    }
    __attribute__((noinline)) void Flush() {
        if (::write(fd_, buffer_, kBuffer) != static_cast<ssize_t>(kBuffer)) std::abort();
        at_ = 0;
    }

    int fd_ = -1;
    std::size_t at_ = 0;
    unsigned char buffer_[kBuffer];
};

class alignas(64) Streams {
 public:
    Streams() { spec_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path))); }
    void OpenToRead() {
        if (Ondrel::filope(&f_, nullptr, spec_) != 0) std::abort();
    }
    void OpenToWrite() {
        if (Ondrel::filsavmod(&f_, nullptr, spec_) != 0) std::abort();
    }
    void Close() { f_.Close(); }
    void Get(unsigned char* block, std::size_t size) {
        if (Ondrel::filrea(&f_, block, static_cast<int>(size)) != 0) std::abort();
    }
    void Put(const unsigned char* block, std::size_t size) {
        if (Ondrel::filwri(&f_, block, static_cast<int>(size)) != 0) std::abort();
    }

 private:
    Ondrel::fil f_;
    Ondrel::filref spec_;
};

class Stdio {
 public:
    void OpenToRead() { file_ = std::fopen(path.c_str(), "rb"); }
    void OpenToWrite() { file_ = std::fopen(path.c_str(), "r+b"); }
    void Close() { std::fclose(file_); }
    void Get(unsigned char* block, std::size_t size) {
        if (fread_unlocked(block, 1, size, file_) != size) std::abort();
    }
    void Put(const unsigned char* block, std::size_t size) {
        if (fwrite_unlocked(block, 1, size, file_) != size) std::abort();
    }

 private:
    std::FILE* file_ = nullptr;
};

class Filebuf {
 public:
    void OpenToRead() { buffer_.open(path, std::ios::in | std::ios::binary); }
    void OpenToWrite() { buffer_.open(path, std::ios::in | std::ios::out | std::ios::binary); }
    void Close() { buffer_.close(); }
    void Get(unsigned char* block, std::size_t size) {
        buffer_.sgetn(reinterpret_cast<char*>(block), static_cast<std::streamsize>(size));
    }
    void Put(const unsigned char* block, std::size_t size) {
        buffer_.sputn(reinterpret_cast<const char*>(block), static_cast<std::streamsize>(size));
    }

 private:
    std::filebuf buffer_;
};

#ifdef BENCH_HAS_QT
class QtPeer {
 public:
    QtPeer() : file_(QString::fromStdString(path)) {}
    void OpenToRead() { file_.open(QIODevice::ReadOnly); }
    void OpenToWrite() { file_.open(QIODevice::ReadWrite | QIODevice::ExistingOnly); }
    void Close() { file_.close(); }
    void Get(unsigned char* block, std::size_t size) {
        file_.read(reinterpret_cast<char*>(block), static_cast<qint64>(size));
    }
    void Put(const unsigned char* block, std::size_t size) {
        file_.write(reinterpret_cast<const char*>(block), static_cast<qint64>(size));
    }

 private:
    QFile file_;
};
#endif

#ifdef BENCH_HAS_GIO
class Gio {
 public:
    void OpenToRead() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileInputStream* const plain = g_file_read(file, nullptr, nullptr);
        in_ = g_buffered_input_stream_new_sized(G_INPUT_STREAM(plain), kBuffer);
        g_object_unref(plain);
        g_object_unref(file);
    }
    void OpenToWrite() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileIOStream* const both = g_file_open_readwrite(file, nullptr, nullptr);
        out_ = g_buffered_output_stream_new_sized(g_io_stream_get_output_stream(G_IO_STREAM(both)),
                                                  kBuffer);
        both_ = both;
        g_object_unref(file);
    }
    void Close() {
        if (in_ != nullptr) g_object_unref(in_);
        if (out_ != nullptr) {
            g_output_stream_flush(out_, nullptr, nullptr);
            g_object_unref(out_);
            g_object_unref(both_);
        }
        in_ = nullptr;
        out_ = nullptr;
    }
    void Get(unsigned char* block, std::size_t size) {
        gsize got = 0;
        g_input_stream_read_all(in_, block, size, &got, nullptr, nullptr);
    }
    void Put(const unsigned char* block, std::size_t size) {
        gsize put = 0;
        g_output_stream_write_all(out_, block, size, &put, nullptr, nullptr);
    }

 private:
    GInputStream* in_ = nullptr;
    GOutputStream* out_ = nullptr;
    GFileIOStream* both_ = nullptr;
};
#endif

// --- Work ---------------------------------------------------------------------------------------

void RestoreFile() {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
}

bool FileHolds(const std::vector<unsigned char>& expected) {
    std::vector<unsigned char> bytes(expected.size());
    std::ifstream in(path, std::ios::binary);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return in && bytes == expected;
}

template <class Contender, std::size_t kSize>
void ReadBlocks(benchmark::State& state) {
    constexpr std::size_t kBlocks = kFileSize / kSize;
    std::vector<unsigned char> block(kSize);
    const auto contender = std::make_unique<Contender>();
    bool equal = true;
    contender->OpenToRead();
    for (std::size_t i = 0; i < kBlocks; ++i) {
        contender->Get(block.data(), kSize);
        equal = equal && std::memcmp(block.data(), content.data() + i * kSize, kSize) == 0;
    }
    contender->Close();
    for (auto _ : state) {
        contender->OpenToRead();
        for (std::size_t i = 0; i < kBlocks; ++i) {
            contender->Get(block.data(), kSize);
            benchmark::ClobberMemory();
        }
        contender->Close();
    }
    if (!equal) state.SkipWithError("read other bytes");
}

template <class Contender, std::size_t kSize>
void WriteBlocks(benchmark::State& state) {
    constexpr std::size_t kBlocks = kFileSize / kSize;
    RestoreFile();
    const auto contender = std::make_unique<Contender>();
    for (auto _ : state) {
        contender->OpenToWrite();
        for (std::size_t i = 0; i < kBlocks; ++i)
            contender->Put(content.data() + (kBlocks - 1 - i) * kSize, kSize);
        contender->Close();
    }
    std::vector<unsigned char> expected = content;
    for (std::size_t i = 0; i < kBlocks; ++i)
        std::memcpy(expected.data() + i * kSize, content.data() + (kBlocks - 1 - i) * kSize, kSize);
    if (!FileHolds(expected)) state.SkipWithError("wrote other bytes");
    RestoreFile();
}

template <class Contender, std::size_t kKiB>
void Register(const std::string& contender) {
    const std::string size = std::to_string(kKiB) + " KiB";
    AddWork("B. read blocks of " + size, contender, ReadBlocks<Contender, kKiB * 1024>);
    AddWork("B. write blocks of " + size, contender, WriteBlocks<Contender, kKiB * 1024>);
}

template <class Contender>
void RegisterAll(const std::string& contender) {
    Register<Contender, 1>(contender);
    Register<Contender, 4>(contender);
    Register<Contender, 16>(contender);
    Register<Contender, 100>(contender);
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    const ScratchFolder scratch("blocks");
    path = scratch.Path("file");
    content.resize(kFileSize);
    Random random;
    for (unsigned char& byte : content)
        byte = static_cast<unsigned char>(random.Below(256));
    RestoreFile();

    std::vector<std::string> contenders = {"floor", "ondrel", "plain calls", "stdio", "filebuf"};
    std::vector<std::string> skipped;
    Register<Buffered, 1>("floor");
    Register<Buffered, 4>("floor");
    Register<Raw, 16>("floor");
    Register<Raw, 100>("floor");
    RegisterAll<Streams>("ondrel");
    RegisterAll<Raw>("plain calls");
    RegisterAll<Stdio>("stdio");
    RegisterAll<Filebuf>("filebuf");
#ifdef BENCH_HAS_QT
    RegisterAll<QtPeer>("QFile");
    contenders.emplace_back("QFile");
#else
    skipped.emplace_back("QFile");
#endif
#ifdef BENCH_HAS_GIO
    RegisterAll<Gio>("GIO");
    contenders.emplace_back("GIO");
#else
    skipped.emplace_back("GIO");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}
