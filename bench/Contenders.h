// The contenders of the sequential benchmarks. Each is opened on one file and has the same members:
// open and close for reading and for writing, Get and Put of each width.
//
// The two whose loops are of a few instructions begin at a cache line: where their fields happen to
// straddle two, a store costs twice as much. They abort where a call fails: a figure of a run that
// failed is worth nothing.
#ifndef BENCH_CONTENDERS_H
#define BENCH_CONTENDERS_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"

#ifdef BENCH_HAS_QT
#include <QDataStream>
#include <QFile>
#endif
#ifdef BENCH_HAS_GIO
#include <gio/gio.h>
#endif
#ifdef BENCH_HAS_SDL2
#include <SDL_rwops.h>
#endif

namespace Bench {

extern std::string path;  // of the file, made by main

// A bare buffer over read(2) and write(2), with an inline checked get and put.
class alignas(64) Floor {
 public:
    void OpenToRead() {
        fd_ = ::open(path.c_str(), O_RDONLY);
        cursor_ = buffer_;
        left_ = 0;
    }
    void OpenToWrite() {
        fd_ = ::open(path.c_str(), O_WRONLY);
        cursor_ = buffer_;
        left_ = kSize;
    }
    void CloseRead() { ::close(fd_); }
    void CloseWritten() {
        Flush();
        ::close(fd_);
    }

    std::uint32_t Get8() { return Get<std::uint8_t>(); }
    std::uint32_t Get16() { return __builtin_bswap16(Get<std::uint16_t>()); }
    std::uint32_t Get32() { return __builtin_bswap32(Get<std::uint32_t>()); }
    void Put8(std::uint32_t value) { Put(static_cast<std::uint8_t>(value)); }
    void Put16(std::uint32_t value) { Put(__builtin_bswap16(static_cast<std::uint16_t>(value))); }
    void Put32(std::uint32_t value) { Put(__builtin_bswap32(value)); }

 private:
    static constexpr int kSize = 16384;

    // The file and the buffer are multiples of every width: a value is in it whole or not at all.
    // Local copies, stored last: this is as fast as a checked access can be.
    template <class Value>
    Value Get() {
        unsigned char* cursor = cursor_;
        int left = left_;
        if (left < static_cast<int>(sizeof(Value))) [[unlikely]] {
            Fill();
            cursor = cursor_;
            left = left_;
        }
        Value value;
        std::memcpy(&value, cursor, sizeof value);
        cursor_ = cursor + sizeof value;
        left_ = left - static_cast<int>(sizeof value);
        return value;
    }
    template <class Value>
    void Put(Value value) {
        unsigned char* cursor = cursor_;
        int left = left_;
        if (left < static_cast<int>(sizeof value)) [[unlikely]] {
            Flush();
            cursor = cursor_;
            left = left_;
        }
        std::memcpy(cursor, &value, sizeof value);
        cursor_ = cursor + sizeof value;
        left_ = left - static_cast<int>(sizeof value);
    }

    __attribute__((noinline)) void Fill() {
        const ssize_t got = ::read(fd_, buffer_, kSize);
        if (got < 1) std::abort();
        cursor_ = buffer_;
        left_ = static_cast<int>(got);
    }
    __attribute__((noinline)) void Flush() {
        const auto size = static_cast<std::size_t>(kSize - left_);
        if (::write(fd_, buffer_, size) != static_cast<ssize_t>(size)) std::abort();
        cursor_ = buffer_;
        left_ = kSize;
    }

    int fd_ = -1;
    unsigned char* cursor_ = nullptr;
    int left_ = 0;
    unsigned char buffer_[kSize];
};

// The library.
class alignas(64) Streams {
 public:
    Streams() { spec_.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(path))); }
    void OpenToRead() {
        if (Ondrel::filope(&f_, nullptr, spec_) != 0) std::abort();
    }
    void OpenToWrite() {
        if (Ondrel::filsavmod(&f_, nullptr, spec_) != 0) std::abort();
    }
    void CloseRead() { f_.Close(); }
    void CloseWritten() {
        if (f_.Close() != 0) std::abort();
    }
    std::uint32_t Get8() { return static_cast<std::uint32_t>(Ondrel::filrea8(&f_)); }
    std::uint32_t Get16() { return static_cast<std::uint32_t>(Ondrel::filrea16(&f_)); }
    std::uint32_t Get32() { return static_cast<std::uint32_t>(Ondrel::filrea32(&f_)); }
    void Put8(std::uint32_t value) { Ondrel::filwri8(&f_, static_cast<int>(value)); }
    void Put16(std::uint32_t value) { Ondrel::filwri16(&f_, static_cast<int>(value)); }
    void Put32(std::uint32_t value) { Ondrel::filwri32(&f_, static_cast<int>(value)); }

 private:
    Ondrel::fil f_;
    Ondrel::filref spec_;
};

// What Get16 and the like are for those who know single bytes only.
template <class Bytes>
class FromBytes : public Bytes {
 public:
    std::uint32_t Get16() {
        const std::uint32_t high = this->Get8();
        return high << 8 | this->Get8();
    }
    std::uint32_t Get32() {
        const std::uint32_t high = Get16();
        return high << 16 | Get16();
    }
    void Put16(std::uint32_t value) {
        this->Put8(value >> 8);
        this->Put8(value);
    }
    void Put32(std::uint32_t value) {
        Put16(value >> 16);
        Put16(value);
    }
};

class StdioBytes {
 public:
    void OpenToRead() { file_ = std::fopen(path.c_str(), "rb"); }
    void OpenToWrite() { file_ = std::fopen(path.c_str(), "r+b"); }
    void CloseRead() { std::fclose(file_); }
    void CloseWritten() {
        if (std::fclose(file_) != 0) std::abort();
    }
    std::uint32_t Get8() { return static_cast<std::uint32_t>(getc_unlocked(file_)); }
    void Put8(std::uint32_t value) { putc_unlocked(static_cast<int>(value & 255), file_); }

 private:
    std::FILE* file_ = nullptr;
};
using Stdio = FromBytes<StdioBytes>;

class FilebufBytes {
 public:
    void OpenToRead() { buffer_.open(path, std::ios::in | std::ios::binary); }
    void OpenToWrite() { buffer_.open(path, std::ios::in | std::ios::out | std::ios::binary); }
    void CloseRead() { buffer_.close(); }
    void CloseWritten() {
        if (buffer_.close() == nullptr) std::abort();
    }
    std::uint32_t Get8() { return static_cast<std::uint32_t>(buffer_.sbumpc()); }
    void Put8(std::uint32_t value) { buffer_.sputc(static_cast<char>(value)); }

 private:
    std::filebuf buffer_;
};
using Filebuf = FromBytes<FilebufBytes>;

#ifdef BENCH_HAS_QT
class QtStreams {
 public:
    QtStreams() : file_(QString::fromStdString(path)) {}
    void OpenToRead() {
        file_.open(QIODevice::ReadOnly);
        stream_.setDevice(&file_);
    }
    void OpenToWrite() {
        file_.open(QIODevice::ReadWrite | QIODevice::ExistingOnly);
        stream_.setDevice(&file_);
    }
    void CloseRead() { file_.close(); }
    void CloseWritten() {
        if (!file_.flush()) std::abort();
        file_.close();
    }
    std::uint32_t Get8() { return Get<quint8>(); }
    std::uint32_t Get16() { return Get<quint16>(); }
    std::uint32_t Get32() { return Get<quint32>(); }
    void Put8(std::uint32_t value) { stream_ << static_cast<quint8>(value); }
    void Put16(std::uint32_t value) { stream_ << static_cast<quint16>(value); }
    void Put32(std::uint32_t value) { stream_ << static_cast<quint32>(value); }

 private:
    template <class Value>
    std::uint32_t Get() {
        Value value = 0;
        stream_ >> value;
        return value;
    }

    QFile file_;
    QDataStream stream_;
};
#endif

#ifdef BENCH_HAS_GIO
class GioStreams {
 public:
    void OpenToRead() {
        GFile* const file = g_file_new_for_path(path.c_str());
        GFileInputStream* const plain = g_file_read(file, nullptr, nullptr);
        in_ = g_data_input_stream_new(G_INPUT_STREAM(plain));
        g_buffered_input_stream_set_buffer_size(G_BUFFERED_INPUT_STREAM(in_), 16384);
        g_object_unref(plain);
        g_object_unref(file);
    }
    void OpenToWrite() {
        GFile* const file = g_file_new_for_path(path.c_str());
        both_ = g_file_open_readwrite(file, nullptr, nullptr);
        GOutputStream* const buffered = g_buffered_output_stream_new_sized(
            g_io_stream_get_output_stream(G_IO_STREAM(both_)), 16384);
        out_ = g_data_output_stream_new(buffered);
        g_object_unref(buffered);
        g_object_unref(file);
    }
    void CloseRead() { g_object_unref(in_); }
    void CloseWritten() {
        if (!g_output_stream_flush(G_OUTPUT_STREAM(out_), nullptr, nullptr)) std::abort();
        g_object_unref(out_);
        g_object_unref(both_);
    }
    std::uint32_t Get8() { return g_data_input_stream_read_byte(in_, nullptr, nullptr); }
    std::uint32_t Get16() { return g_data_input_stream_read_uint16(in_, nullptr, nullptr); }
    std::uint32_t Get32() { return g_data_input_stream_read_uint32(in_, nullptr, nullptr); }
    void Put8(std::uint32_t value) {
        g_data_output_stream_put_byte(out_, static_cast<guchar>(value), nullptr, nullptr);
    }
    void Put16(std::uint32_t value) {
        g_data_output_stream_put_uint16(out_, static_cast<guint16>(value), nullptr, nullptr);
    }
    void Put32(std::uint32_t value) {
        g_data_output_stream_put_uint32(out_, value, nullptr, nullptr);
    }

 private:
    GDataInputStream* in_ = nullptr;
    GDataOutputStream* out_ = nullptr;
    GFileIOStream* both_ = nullptr;
};
#endif

#ifdef BENCH_HAS_SDL2
class SdlStreams {
 public:
    void OpenToRead() { file_ = SDL_RWFromFile(path.c_str(), "rb"); }
    void OpenToWrite() { file_ = SDL_RWFromFile(path.c_str(), "r+b"); }
    void CloseRead() { SDL_RWclose(file_); }
    void CloseWritten() {
        if (SDL_RWclose(file_) != 0) std::abort();
    }
    std::uint32_t Get8() { return SDL_ReadU8(file_); }
    std::uint32_t Get16() { return SDL_ReadBE16(file_); }
    std::uint32_t Get32() { return SDL_ReadBE32(file_); }
    void Put8(std::uint32_t value) { SDL_WriteU8(file_, static_cast<Uint8>(value)); }
    void Put16(std::uint32_t value) { SDL_WriteBE16(file_, static_cast<Uint16>(value)); }
    void Put32(std::uint32_t value) { SDL_WriteBE32(file_, value); }

 private:
    SDL_RWops* file_ = nullptr;
};
#endif

}  // namespace Bench

#endif
