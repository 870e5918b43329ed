// Reading PNG files through libpng. It leaves its functions by longjmp when something fails: the
// frames that this leads back to own nothing but plain pointers, and what is allocated is allocated
// between them.
#include <png.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/Png.h"

namespace Ondrel {
namespace {

constexpr std::size_t kSignatureSize = 8;
constexpr std::size_t kChunkFrame = 12;         // length and type in front, checksum behind
constexpr std::uint64_t kMostInflation = 1032;  // of bytes by zlib

// All image data there are, in bytes, as the chunks' lengths tell.
std::uint64_t CompressedSize(std::string_view png) {
    std::uint64_t size = 0;
    std::size_t at = std::min(png.size(), kSignatureSize);
    while (png.size() - at >= kChunkFrame) {
        const std::size_t length = Get32(png, at);
        const std::size_t there = std::min(length, png.size() - at - kChunkFrame);
        if (png.substr(at + 4, 4) == "IDAT") size += there;
        at += kChunkFrame + there;
    }
    return size;
}

// What is left to be read.
struct Source {
    const char* at;
    std::size_t left;
};

void TakeBytes(png_structp png, png_bytep to, std::size_t size) {
    auto* const source = static_cast<Source*>(png_get_io_ptr(png));
    if (size > source->left) png_error(png, "cut off");
    std::memcpy(to, source->at, size);
    source->at += size;
    source->left -= size;
}

void BeQuiet(png_structp, png_const_charp) {}

[[noreturn]] void Leave(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

// What the file says of itself.
struct Header {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t storedRowBytes = 0;
    int passes = 0;
};

// Reads up to the image data and asks for pixels in our form. False when the library left.
bool ReadHeader(png_structp png, png_infop info, Source* source, Header* header) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_read_fn(png, source, TakeBytes);
    png_set_user_limits(png, kMostImagePixels, kMostImagePixels);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);  // save transparency
    png_read_info(png, info);
    header->width = png_get_image_width(png, info);
    header->height = png_get_image_height(png, info);
    header->storedRowBytes = png_get_rowbytes(png, info);
    png_set_expand(png);  // palettes, few bits, transparent colours
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_swap_alpha(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_BEFORE);
    header->passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    return true;
}

// False when the library left.
bool ReadRows(png_structp png, png_bytep pixels, const Header& header) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    for (int pass = 0; pass < header.passes; ++pass) {
        for (std::uint64_t y = 0; y < header.height; ++y)
            png_read_row(png, pixels + y * header.width * 4, nullptr);
    }
    return true;
}

// The library's two structures, freed together.
struct Reader {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Leave, BeQuiet);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);

    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

}  // namespace

OSErr ReadPng(std::string_view png, PngPicture* picture, std::size_t mostPixels) {
    const Reader reader;
    if (reader.info == nullptr) return memFullErr;
    Source source{png.data(), png.size()};
    Header header;
    if (!ReadHeader(reader.png, reader.info, &source, &header)) return paramErr;
    if (header.width * header.height > mostPixels) return paramErr;
    if (header.storedRowBytes * header.height > CompressedSize(png) * kMostInflation)
        return paramErr;
    try {
        PngPicture read{static_cast<int>(header.width), static_cast<int>(header.height), {}};
        read.pixels.resize(header.width * header.height * 4);
        if (!ReadRows(reader.png, read.pixels.data(), header)) return paramErr;
        *picture = std::move(read);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    }
    return noErr;
}

}  // namespace Ondrel
