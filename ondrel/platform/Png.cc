// Writing PNG files. The chunks are put together here, and the rows packed in one piece by
// libdeflate: a document gets its icon with every save, and zlib takes twice as long for a larger
// file.
//
// Every row is stored as the differences of neighbouring pixels (filter "sub").
#include "ondrel/platform/Png.h"

#include <libdeflate.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

constexpr int kUnpacked = 0;
constexpr int kPacked = 1;
constexpr std::string_view kSignature("\x89PNG\r\n\x1A\n", 8);
constexpr std::string_view kEightBitsWithAlpha("\x08\x06\0\0\0",
                                               5);  // plainly packed, no interlace
constexpr std::string_view kPerceptual("\0", 1);
constexpr char kFilterSub = 1;
constexpr std::size_t kPixel = 4;
constexpr std::size_t kChunkHead = 8;  // length and type

struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const {
        libdeflate_free_compressor(compressor);
    }
};
using Compressor = std::unique_ptr<libdeflate_compressor, FreeCompressor>;

// --- Rows ---------------------------------------------------------------------------------------

std::uint32_t Load(const unsigned char* pixel) {
    std::uint32_t word;
    std::memcpy(&word, pixel, sizeof word);
    return word;
}

// Each of the four bytes by itself.
std::uint32_t Difference(std::uint32_t a, std::uint32_t b) {
    constexpr std::uint32_t kTop = 0x80808080;
    return ((a | kTop) - (b & ~kTop)) ^ ((a ^ ~b) & kTop);
}

// Alpha stands first in our pixels, and last in the file's.
std::uint32_t AlphaLast(std::uint32_t pixel) {
    return std::endian::native == std::endian::little ? std::rotr(pixel, 8) : std::rotl(pixel, 8);
}

// What a PNG file packs, and what tells whether packing it pays.
struct FilteredRows {
    std::string bytes;
    std::size_t pixels = 0;
    std::size_t repeated = 0;  // pixels that equal their left neighbours
};

// Answers how many pixels equal their left neighbours.
std::size_t FilterRow(const unsigned char* row, std::size_t width, char* out) {
    *out++ = kFilterSub;
    const std::uint32_t first = AlphaLast(Load(row));
    std::memcpy(out, &first, kPixel);
    std::uint32_t repeated = 0;
    for (std::size_t at = kPixel; at < width * kPixel; at += kPixel) {
        const std::uint32_t pixel = AlphaLast(Difference(Load(row + at), Load(row + at - kPixel)));
        std::memcpy(out + at, &pixel, kPixel);
        repeated += pixel == 0 ? 1U : 0U;
    }
    return repeated;
}

FilteredRows Filter(const Image& image) {
    const auto width = static_cast<std::size_t>(image.width);
    const auto height = static_cast<std::size_t>(image.height);
    const std::size_t rowSize = 1 + width * kPixel;
    FilteredRows rows{std::string(rowSize * height, '\0'), width * height};
    for (std::size_t y = 0; y < height; ++y)
        rows.repeated +=
            FilterRow(image.pixels + y * image.rowBytes, width, rows.bytes.data() + y * rowSize);
    return rows;
}

// --- Chunks -------------------------------------------------------------------------------------

void Append32(std::uint32_t value, std::string* bytes) {
    bytes->append(4, '\0');
    Put32(*bytes, bytes->size() - 4, value);
}

// Begins a chunk; its length is stored when it ends.
std::size_t Begin(std::string_view type, std::string* png) {
    const std::size_t start = png->size();
    Append32(0, png);
    png->append(type);
    return start;
}

void End(std::size_t start, std::string* png) {
    const std::size_t size = png->size() - start - kChunkHead;
    Put32(*png, start, static_cast<std::uint32_t>(size));
    // Of type and data.
    Append32(libdeflate_crc32(0, png->data() + start + 4, size + 4), png);
}

void AppendChunk(std::string_view type, std::string_view data, std::string* png) {
    const std::size_t start = Begin(type, png);
    png->append(data);
    End(start, png);
}

void AppendSize(const Image& image, std::string* png) {
    const std::size_t start = Begin("IHDR", png);
    Append32(static_cast<std::uint32_t>(image.width), png);
    Append32(static_cast<std::uint32_t>(image.height), png);
    png->append(kEightBitsWithAlpha);
    End(start, png);
}

std::string Packed(const std::string& bytes, int level) {
    const Compressor compressor(libdeflate_alloc_compressor(level));
    if (compressor == nullptr) throw std::bad_alloc();
    std::string packed(libdeflate_zlib_compress_bound(compressor.get(), bytes.size()), '\0');
    packed.resize(libdeflate_zlib_compress(compressor.get(), bytes.data(), bytes.size(),
                                           packed.data(), packed.size()));
    return packed;
}

void AppendPixels(const FilteredRows& rows, int level, std::string* png) {
    constexpr std::size_t kMostInChunk = std::size_t{1}
                                         << 30;  // the format has room for twice that
    const std::string packed = Packed(rows.bytes, level);
    for (std::size_t at = 0; at < packed.size(); at += kMostInChunk)
        AppendChunk("IDAT", std::string_view(packed).substr(at, kMostInChunk), png);
}

template <class ChooseLevel>
OSErr AppendFile(const Image& image, ChooseLevel chooseLevel, std::string* png) {
    if (!image.IsValid()) return paramErr;
    const std::size_t before = png->size();
    try {
        const FilteredRows rows = Filter(image);
        png->append(kSignature);
        AppendSize(image, png);
        AppendChunk("sRGB", kPerceptual, png);
        AppendPixels(rows, chooseLevel(rows), png);
        AppendChunk("IEND", {}, png);
    } catch (const std::bad_alloc&) {
        png->resize(before);
        return memFullErr;
    }
    return noErr;
}

}  // namespace

OSErr AppendPng(const Image& image, std::string* png) {
    return AppendFile(
        image, [](const FilteredRows&) { return kPacked; }, png);
}

OSErr AppendQuickPng(const Image& image, std::string* png) {
    const auto choose = [](const FilteredRows& rows) {
        return rows.repeated >= rows.pixels / 2 ? kPacked : kUnpacked;
    };
    return AppendFile(image, choose, png);
}

}  // namespace Ondrel
