// A million strings of 0 to 64 bytes, written to a file and read back: counted ones (their length
// in 4 bytes before them), NUL-terminated ones, and lines. The floor is a buffer of 16 KiB with the
// copying inline; where a string comes back as an object, it makes one as well.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/Scratch.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/strings.h"

#ifdef BENCH_HAS_QT
#include <QDataStream>
#include <QFile>
#endif
#ifdef BENCH_HAS_GIO
#include <gio/gio.h>
#endif

namespace Bench {
namespace {

constexpr int kStrings = 1000000;
constexpr int kLongest = 64;
constexpr int kRoom = kLongest + 1;

std::string path;
std::vector<std::string> strings;
std::uint64_t expected = 0;

// What tells the strings read from others.
std::uint64_t Mark(const char* bytes, std::size_t size) {
    return size == 0 ? 1 : size * 256 + static_cast<unsigned char>(bytes[size / 2]);
}

// --- The floor ----------------------------------------------------------------------------------

class alignas(64) Floor {
 public:
    void OpenToWrite() {
        fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        at_ = 0;
    }
    void CloseWritten() {
        Flush();
        ::close(fd_);
    }
    void OpenToRead() {
        fd_ = ::open(path.c_str(), O_RDONLY);
        at_ = held_ = 0;
    }
    void CloseRead() { ::close(fd_); }

    void PutCounted(const std::string& text) {
        const std::uint32_t size = __builtin_bswap32(static_cast<std::uint32_t>(text.size()));
        Put(&size, sizeof size);
        Put(text.data(), text.size());
    }
    void PutEnded(const std::string& text, char) { Put(text.c_str(), text.size() + 1); }
    void PutLine(const std::string& text) {
        Put(text.data(), text.size());
        Put("\n", 1);
    }
    std::uint64_t GetCounted() {
        std::uint32_t size = 0;
        Get(&size, sizeof size);
        size = __builtin_bswap32(size);
        if (size <= held_ - at_) [[likely]] {
            const std::string text(buffer_ + at_, size);
            at_ += size;
            return Mark(text.data(), size);
        }
        std::string text(size, '\0');
        Get(text.data(), size);
        return Mark(text.data(), size);
    }
    std::uint64_t GetEnded(char end) {
        char text[kRoom];
        std::size_t size = 0;
        for (;;) {
            if (at_ == held_) Fill();
            const void* const found = std::memchr(buffer_ + at_, end, held_ - at_);
            const std::size_t here =
                found == nullptr
                    ? held_ - at_
                    : static_cast<std::size_t>(static_cast<const char*>(found) - buffer_) - at_;
            std::memcpy(text + size, buffer_ + at_, here);
            size += here;
            at_ += here;
            if (found == nullptr) continue;
            ++at_;
            text[size] = 0;
            benchmark::DoNotOptimize(text[0]);
            return Mark(text, size);
        }
    }

 private:
    static constexpr std::size_t kSize = 16384;

    void Put(const void* bytes, std::size_t size) {
        if (size > kSize - at_) Flush();
        std::memcpy(buffer_ + at_, bytes, size);
        at_ += size;
    }
    void Get(void* bytes, std::size_t size) {
        if (size <= held_ - at_) [[likely]] {
            std::memcpy(bytes, buffer_ + at_, size);
            at_ += size;
            return;
        }
        auto* to = static_cast<char*>(bytes);
        while (size > 0) {
            if (at_ == held_) Fill();
            const std::size_t part = size < held_ - at_ ? size : held_ - at_;
            std::memcpy(to, buffer_ + at_, part);
            to += part;
            at_ += part;
            size -= part;
        }
    }
    __attribute__((noinline)) void Fill() {
        const ssize_t got = ::read(fd_, buffer_, kSize);
        if (got < 1) std::abort();
        at_ = 0;
        held_ = static_cast<std::size_t>(got);
    }
    __attribute__((noinline)) void Flush() {
        if (::write(fd_, buffer_, at_) != static_cast<ssize_t>(at_)) std::abort();
        at_ = 0;
    }

    int fd_ = -1;
    std::size_t at_ = 0;
    std::size_t held_ = 0;
    char buffer_[kSize];
};

// --- The others ---------------------------------------------------------------------------------

class alignas(64) Streams {
 public:
    Streams() { spec_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path))); }
    void OpenToWrite() {
        if (Ondrel::filsav(&f_, nullptr, &spec_, 0) != 0) std::abort();
    }
    void CloseWritten() {
        if (f_.Close() != 0) std::abort();
    }
    void OpenToRead() {
        if (Ondrel::filope(&f_, nullptr, spec_) != 0) std::abort();
    }
    void CloseRead() { f_.Close(); }
    void PutCounted(const std::string& text) { Ondrel::filwristring(&f_, text); }
    void PutEnded(const std::string& text, char) { Ondrel::filwristrnul(&f_, text.c_str()); }
    void PutLine(const std::string& text) {
        Ondrel::filwri(&f_, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<int>(text.size()));
        Ondrel::filwri8(&f_, '\n');
    }
    std::uint64_t GetCounted() {
        const std::string text = Ondrel::filreastring(&f_);
        return Mark(text.data(), text.size());
    }
    std::uint64_t GetEnded(char end) {
        char text[kRoom + 1];  // a line's end needs room beside the longest one
        if (end == 0)
            Ondrel::filreastrnul(&f_, text, sizeof text);
        else
            Ondrel::filreastr(&f_, text, sizeof text);
        return Mark(text, std::strlen(text));
    }

 private:
    Ondrel::fil f_;
    Ondrel::filref spec_;
};

class StdioFile {
 public:
    void OpenToWrite() { file_ = std::fopen(path.c_str(), "wb"); }
    void CloseWritten() { std::fclose(file_); }
    void OpenToRead() { file_ = std::fopen(path.c_str(), "rb"); }
    void CloseRead() { std::fclose(file_); }
    void PutCounted(const std::string& text) {
        const std::uint32_t size = __builtin_bswap32(static_cast<std::uint32_t>(text.size()));
        fwrite_unlocked(&size, 1, sizeof size, file_);
        fwrite_unlocked(text.data(), 1, text.size(), file_);
    }
    void PutEnded(const std::string& text, char) {
        fwrite_unlocked(text.c_str(), 1, text.size() + 1, file_);
    }
    void PutLine(const std::string& text) {
        fwrite_unlocked(text.data(), 1, text.size(), file_);
        putc_unlocked('\n', file_);
    }
    std::uint64_t GetCounted() {
        std::uint32_t size = 0;
        if (fread_unlocked(&size, 1, sizeof size, file_) != sizeof size) std::abort();
        std::string text(__builtin_bswap32(size), '\0');
        if (fread_unlocked(text.data(), 1, text.size(), file_) != text.size()) std::abort();
        return Mark(text.data(), text.size());
    }

 protected:
    std::FILE* file_ = nullptr;
};

class Stdio : public StdioFile {
 public:
    std::uint64_t GetEnded(char end) {
        char text[kRoom];
        std::size_t size = 0;
        for (int c; (c = getc_unlocked(file_)) != end;)
            text[size++] = static_cast<char>(c);
        text[size] = 0;
        benchmark::DoNotOptimize(text[0]);
        return Mark(text, size);
    }
};

class Getdelim : public StdioFile {
 public:
    ~Getdelim() { std::free(text_); }
    std::uint64_t GetEnded(char end) {
        const ssize_t size = ::getdelim(&text_, &room_, end, file_);
        return Mark(text_, static_cast<std::size_t>(size - 1));
    }

 private:
    char* text_ = nullptr;
    std::size_t room_ = 0;
};

#ifdef BENCH_HAS_QT
class QtPeer {
 public:
    QtPeer() : file_(QString::fromStdString(path)) {}
    void OpenToWrite() {
        file_.open(QIODevice::WriteOnly | QIODevice::Truncate);
        stream_.setDevice(&file_);
    }
    void CloseWritten() { file_.close(); }
    void OpenToRead() {
        file_.open(QIODevice::ReadOnly);
        stream_.setDevice(&file_);
    }
    void CloseRead() { file_.close(); }
    void PutCounted(const std::string& text) {
        stream_.writeBytes(text.data(), static_cast<uint>(text.size()));
    }
    void PutEnded(const std::string& text, char) {
        file_.write(text.c_str(), static_cast<qint64>(text.size()) + 1);
    }
    void PutLine(const std::string& text) {
        file_.write(text.data(), static_cast<qint64>(text.size()));
        file_.putChar('\n');
    }
    std::uint64_t GetCounted() {
        QByteArray text;
        stream_ >> text;
        return Mark(text.constData(), static_cast<std::size_t>(text.size()));
    }
    std::uint64_t GetEnded(char) {
        char text[kRoom + 1];
        const qint64 size = file_.readLine(text, sizeof text);
        return Mark(text, static_cast<std::size_t>(size - 1));
    }

 private:
    QFile file_;
    QDataStream stream_;
};
#endif

#ifdef BENCH_HAS_GIO
class Gio {
 public:
    void OpenToWrite() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileOutputStream* const plain =
            g_file_replace(file, nullptr, FALSE, G_FILE_CREATE_NONE, nullptr, nullptr);
        GOutputStream* const buffered =
            g_buffered_output_stream_new_sized(G_OUTPUT_STREAM(plain), 16384);
        out_ = g_data_output_stream_new(buffered);
        g_object_unref(buffered);
        g_object_unref(plain);
        g_object_unref(file);
    }
    void CloseWritten() {
        g_output_stream_close(G_OUTPUT_STREAM(out_), nullptr, nullptr);
        g_object_unref(out_);
    }
    void OpenToRead() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileInputStream* const plain = g_file_read(file, nullptr, nullptr);
        in_ = g_data_input_stream_new(G_INPUT_STREAM(plain));
        g_buffered_input_stream_set_buffer_size(G_BUFFERED_INPUT_STREAM(in_), 16384);
        g_object_unref(plain);
        g_object_unref(file);
    }
    void CloseRead() { g_object_unref(in_); }
    void PutCounted(const std::string& text) {
        g_data_output_stream_put_uint32(out_, static_cast<guint32>(text.size()), nullptr, nullptr);
        Put(text.data(), text.size());
    }
    void PutEnded(const std::string& text, char) { Put(text.c_str(), text.size() + 1); }
    void PutLine(const std::string& text) {
        Put(text.data(), text.size());
        Put("\n", 1);
    }
    std::uint64_t GetCounted() {
        std::string text(g_data_input_stream_read_uint32(in_, nullptr, nullptr), '\0');
        gsize got = 0;
        g_input_stream_read_all(G_INPUT_STREAM(in_), text.data(), text.size(), &got, nullptr,
                                nullptr);
        return Mark(text.data(), text.size());
    }
    std::uint64_t GetEnded(char end) {
        gsize size = 0;
        char* const text =
            end == 0 ? g_data_input_stream_read_upto(in_, "\0", 1, &size, nullptr, nullptr)
                     : g_data_input_stream_read_line(in_, &size, nullptr, nullptr);
        if (end == 0) g_data_input_stream_read_byte(in_, nullptr, nullptr);
        const std::uint64_t mark = Mark(text, size);
        g_free(text);
        return mark;
    }

 private:
    void Put(const char* bytes, std::size_t size) {
        gsize put = 0;
        g_output_stream_write_all(G_OUTPUT_STREAM(out_), bytes, size, &put, nullptr, nullptr);
    }

    GDataOutputStream* out_ = nullptr;
    GDataInputStream* in_ = nullptr;
};
#endif

// --- Work ---------------------------------------------------------------------------------------

enum class Kind { kCounted, kNul, kLine };

template <Kind kKind, class Contender>
void PutAll(Contender& contender) {
    contender.OpenToWrite();
    for (const std::string& text : strings) {
        if constexpr (kKind == Kind::kCounted) contender.PutCounted(text);
        if constexpr (kKind == Kind::kNul) contender.PutEnded(text, 0);
        if constexpr (kKind == Kind::kLine) contender.PutLine(text);
    }
    contender.CloseWritten();
}

template <Kind kKind, class Contender>
std::uint64_t GetAll(Contender& contender) {
    contender.OpenToRead();
    std::uint64_t sum = 0;
    for (int i = 0; i < kStrings; ++i) {
        if constexpr (kKind == Kind::kCounted) sum += contender.GetCounted();
        if constexpr (kKind == Kind::kNul) sum += contender.GetEnded(0);
        if constexpr (kKind == Kind::kLine) sum += contender.GetEnded('\n');
    }
    contender.CloseRead();
    return sum;
}

template <Kind kKind, class Contender>
void Write(benchmark::State& state) {
    const auto contender = std::make_unique<Contender>();
    for (auto _ : state)
        PutAll<kKind>(*contender);
    // The floor reads what the others have written.
    const auto reader = std::make_unique<Floor>();
    if (GetAll<kKind>(*reader) != expected) state.SkipWithError("wrote other bytes");
}

template <Kind kKind, class Contender>
void Read(benchmark::State& state) {
    const auto writer = std::make_unique<Floor>();
    PutAll<kKind>(*writer);
    const auto contender = std::make_unique<Contender>();
    for (auto _ : state)
        if (GetAll<kKind>(*contender) != expected) state.SkipWithError("read other bytes");
}

template <Kind kKind, class Contender>
void Register(const std::string& work, const std::string& contender) {
    AddWork("C. write " + work, contender, Write<kKind, Contender>);
    AddWork("C. read " + work, contender, Read<kKind, Contender>);
}

template <class Contender>
void RegisterAll(const std::string& contender) {
    Register<Kind::kCounted, Contender>("counted strings", contender);
    Register<Kind::kNul, Contender>("strings with NUL", contender);
    Register<Kind::kLine, Contender>("lines", contender);
}

void MakeStrings() {
    Random random;
    for (int i = 0; i < kStrings; ++i) {
        std::string text(random.Below(kLongest + 1), '\0');
        for (char& byte : text)
            byte = static_cast<char>('0' + random.Below(70));
        expected += Mark(text.data(), text.size());
        strings.push_back(text);
    }
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    using namespace Bench;
    const ScratchFolder scratch("strings");
    path = scratch.Path("file");
    MakeStrings();
    std::vector<std::string> contenders = {"floor", "ondrel", "stdio", "getdelim"};
    std::vector<std::string> skipped;
    RegisterAll<Floor>("floor");
    RegisterAll<Streams>("ondrel");
    RegisterAll<Stdio>("stdio");
    AddWork("C. read strings with NUL", "getdelim", Read<Kind::kNul, Getdelim>);
    AddWork("C. read lines", "getdelim", Read<Kind::kLine, Getdelim>);
#ifdef BENCH_HAS_QT
    contenders.emplace_back("Qt");
    Register<Kind::kCounted, QtPeer>("counted strings", "Qt");
    Register<Kind::kLine, QtPeer>("lines", "Qt");
    AddWork("C. write strings with NUL", "Qt", Write<Kind::kNul, QtPeer>);
#else
    skipped.emplace_back("Qt (QDataStream, QFile)");
#endif
#ifdef BENCH_HAS_GIO
    contenders.emplace_back("GIO");
    RegisterAll<Gio>("GIO");
#else
    skipped.emplace_back("GIO");
#endif
    return RunAndPrint(argc, argv, contenders, skipped);
}
