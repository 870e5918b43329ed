// Writing PNG files. The chunks are put together here, and the rows packed in one piece by
// libdeflate: a document gets its icon with every save, and zlib takes twice as long for a larger
// file.
//
// Every row is stored as the differences of neighbouring pixels (filter "sub").
#include "ondrel/platform/Png.h"

#include <libdeflate.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "ondrel/platform/BigEndian.h"

namespace Ondrel {
namespace {

constexpr int kLevel = 1;
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

void FilterRow(const unsigned char* row, std::size_t width, char* out) {
    *out++ = kFilterSub;
    const std::uint32_t first = AlphaLast(Load(row));
    std::memcpy(out, &first, kPixel);
    for (std::size_t at = kPixel; at < width * kPixel; at += kPixel) {
        const std::uint32_t pixel = AlphaLast(Difference(Load(row + at), Load(row + at - kPixel)));
        std::memcpy(out + at, &pixel, kPixel);
    }
}

std::size_t FilteredSize(const Image& image) {
    return 1 + static_cast<std::size_t>(image.width) * kPixel;
}

const unsigned char* RowOf(const Image& image, std::size_t y) {
    return image.pixels + y * image.rowBytes;
}

// At least half of the pixels equal their left neighbours.
bool IsRepetitive(const Image& image) {
    const auto width = static_cast<std::size_t>(image.width);
    const auto height = static_cast<std::size_t>(image.height);
    std::size_t repeated = 0;
    for (std::size_t y = 0; y < height; ++y) {
        const unsigned char* const row = RowOf(image, y);
        std::uint32_t inRow = 0;
        for (std::size_t at = kPixel; at < width * kPixel; at += kPixel)
            inRow += Load(row + at) == Load(row + at - kPixel) ? 1U : 0U;
        repeated += inRow;
    }
    return repeated >= width * height / 2;
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

// --- Pixels -------------------------------------------------------------------------------------

using Bytes = std::unique_ptr<char[]>;

// All rows packed in one piece, and cut into chunks.
void AppendPacked(const Image& image, std::string* png) {
    constexpr std::size_t kMostInChunk = std::size_t{1}
                                         << 30;  // the format has room for twice that
    const Compressor compressor(libdeflate_alloc_compressor(kLevel));
    if (compressor == nullptr) throw std::bad_alloc();
    const std::size_t rowSize = FilteredSize(image);
    const std::size_t size = rowSize * static_cast<std::size_t>(image.height);
    const std::size_t most = libdeflate_zlib_compress_bound(compressor.get(), size);
    const Bytes rows = std::make_unique_for_overwrite<char[]>(size);
    const Bytes packed = std::make_unique_for_overwrite<char[]>(most);
    for (std::size_t y = 0; y < static_cast<std::size_t>(image.height); ++y)
        FilterRow(RowOf(image, y), static_cast<std::size_t>(image.width), &rows[y * rowSize]);
    const std::string_view all(packed.get(), libdeflate_zlib_compress(compressor.get(), rows.get(),
                                                                      size, packed.get(), most));
    for (std::size_t at = 0; at < all.size(); at += kMostInChunk)
        AppendChunk("IDAT", all.substr(at, kMostInChunk), png);
}

// The most that a block holds which is stored as it is.
constexpr std::size_t kMostInBlock = 0xFFFF;
constexpr std::size_t kBlockHead = 5;

bool FitsBlock(const Image& image) {
    constexpr std::size_t kMostBytes = std::size_t{1} << 30;  // one chunk holds all
    const std::size_t rowSize = FilteredSize(image);
    return rowSize <= kMostInBlock &&
           static_cast<std::size_t>(image.height) <= kMostBytes / kMostInBlock;
}

// The rows as they are, in blocks of whole rows.
//
//   78 01            a zlib stream
//   00 or 01         a block as it is; the last one
//   length, ~length  2 bytes each, the low one first
//   ...              the rows
//   sum              Adler-32 of all rows, 4 bytes, the high one first
void AppendUnpacked(const Image& image, std::string* png) {
    const std::size_t rowSize = FilteredSize(image);
    const std::size_t rowsInBlock = kMostInBlock / rowSize;
    const auto height = static_cast<std::size_t>(image.height);
    constexpr std::size_t kMostAround = 64;  // bytes of the chunk, the stream, and the chunk behind
    const std::size_t blocks = (height + rowsInBlock - 1) / rowsInBlock;
    png->reserve(png->size() + height * rowSize + blocks * kBlockHead + kMostAround);
    const std::size_t start = Begin("IDAT", png);
    png->append("\x78\x01");
    std::uint32_t sum = 1;
    for (std::size_t y = 0; y < height; y += rowsInBlock) {
        const std::size_t rows = std::min(rowsInBlock, height - y);
        const std::size_t size = rows * rowSize;
        const char head[kBlockHead] = {static_cast<char>(y + rows == height),
                                       static_cast<char>(size), static_cast<char>(size >> 8),
                                       static_cast<char>(~size), static_cast<char>(~size >> 8)};
        png->append(head, sizeof head);
        const std::size_t block = png->size();
        png->resize(block + size);
        for (std::size_t row = 0; row < rows; ++row)
            FilterRow(RowOf(image, y + row), static_cast<std::size_t>(image.width),
                      png->data() + block + row * rowSize);
        sum = libdeflate_adler32(sum, png->data() + block, size);
    }
    Append32(sum, png);
    End(start, png);
}

template <class AppendPixels>
OSErr AppendFile(const Image& image, AppendPixels appendPixels, std::string* png) {
    if (!image.IsValid()) return paramErr;
    const std::size_t before = png->size();
    try {
        png->append(kSignature);
        AppendSize(image, png);
        AppendChunk("sRGB", kPerceptual, png);
        appendPixels(image, png);
        AppendChunk("IEND", {}, png);
    } catch (const std::bad_alloc&) {
        png->resize(before);
        return memFullErr;
    }
    return noErr;
}

}  // namespace

OSErr AppendPng(const Image& image, std::string* png) {
    return AppendFile(image, AppendPacked, png);
}

OSErr AppendQuickPng(const Image& image, std::string* png) {
    const bool isPacked = image.IsValid() && (!FitsBlock(image) || IsRepetitive(image));
    return AppendFile(image, isPacked ? AppendPacked : AppendUnpacked, png);
}

}  // namespace Ondrel
