// PNG files through libpng, which leaves its functions by longjmp when something fails: the frame
// that it leads back to owns nothing but plain pointers. Compression is the quick kind: an icon is
// written with every save of a document.
#include "ondrel/platform/Png.h"

#include <png.h>

#include <new>

namespace Ondrel {
namespace {

constexpr int kLevel = 1;
constexpr int kRunsOnly = 3;  // zlib's strategy for filtered rows
constexpr int kBitsPerChannel = 8;

// Never lets an exception through the library's frames.
void AppendBytes(png_structp png, png_bytep bytes, std::size_t size) {
    auto* const out = static_cast<std::string*>(png_get_io_ptr(png));
    bool isIn = true;
    try {
        out->append(reinterpret_cast<const char*>(bytes), size);
    } catch (const std::bad_alloc&) {
        isIn = false;
    }
    if (!isIn) png_error(png, "no memory");
}

void NothingToFlush(png_structp) {}

void BeQuiet(png_structp, png_const_charp) {}

[[noreturn]] void Leave(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

// False when the library left.
bool Write(png_structp png, png_infop info, const Image& image, std::string* out) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_write_fn(png, out, AppendBytes, NothingToFlush);
    png_set_compression_level(png, kLevel);
    png_set_compression_strategy(png, kRunsOnly);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
                 static_cast<png_uint_32>(image.height), kBitsPerChannel, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_write_info(png, info);
    png_set_swap_alpha(png);  // alpha is first here
    for (int y = 0; y < image.height; ++y)
        png_write_row(png, image.pixels + static_cast<std::size_t>(y) * image.rowBytes);
    png_write_end(png, nullptr);
    return true;
}

}  // namespace

OSErr AppendPng(const Image& image, std::string* png) {
    if (!image.IsValid()) return paramErr;
    const std::size_t before = png->size();
    png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Leave, BeQuiet);
    png_infop info = writer == nullptr ? nullptr : png_create_info_struct(writer);
    const bool done = info != nullptr && Write(writer, info, image, png);
    png_destroy_write_struct(&writer, &info);
    if (!done) png->resize(before);
    return done ? noErr : memFullErr;
}

}  // namespace Ondrel
