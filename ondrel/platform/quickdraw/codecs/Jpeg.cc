// JPEG files through libjpeg, which is left by longjmp when something fails: the frames that this
// leads back to own nothing but plain pointers. A file that ends early is drawn as far as it goes.
#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdio>  // the library's header needs it

#include <jpeglib.h>

#include <jerror.h>

#include "ondrel/platform/quickdraw/codecs/Codecs.h"

namespace Ondrel::QuickDraw {
namespace {

// Passes over the image that a file with many parts may ask for; files that are made have about 10.
constexpr int kMostPasses = 100;
constexpr long kMemoryForPixel = 16;
constexpr long kMemoryBesides = 1 << 20;

// Pixels as ours are in memory, with alpha 255.
constexpr J_COLOR_SPACE kOurPixels =
    std::endian::native == std::endian::little ? JCS_EXT_BGRA : JCS_EXT_ARGB;

struct Errors {
    jpeg_error_mgr base;  // first: the library knows of no more
    std::jmp_buf context;
    bool isCut;
};

Errors& ErrorsOf(j_common_ptr jpeg) {
    return *reinterpret_cast<Errors*>(jpeg->err);
}

[[noreturn]] void Leave(j_common_ptr jpeg) {
    std::longjmp(ErrorsOf(jpeg).context, 1);
}

// Warnings have a level below 0. The one of interest: data were needed where there are none.
void Note(j_common_ptr jpeg, int level) {
    if (level < 0 && jpeg->err->msg_code == JWRN_HIT_MARKER) ErrorsOf(jpeg).isCut = true;
}

void BoundPasses(j_common_ptr jpeg) {
    const auto* const decoder = reinterpret_cast<j_decompress_ptr>(jpeg);
    if (decoder->input_scan_number > kMostPasses) Leave(jpeg);
}

// False when the library left, or the image is larger than the frame lets it be.
bool ReadHeader(jpeg_decompress_struct* jpeg, Errors* errors, const CompressedImage& image,
                std::size_t mostPixels) {
    if (setjmp(errors->context) != 0) return false;
    jpeg_create_decompress(jpeg);
    jpeg_mem_src(jpeg, reinterpret_cast<const unsigned char*>(image.data.data()),
                 static_cast<unsigned long>(image.data.size()));
    jpeg_read_header(jpeg, TRUE);
    const std::size_t pixels = std::size_t{jpeg->image_width} * jpeg->image_height;
    jpeg->mem->max_memory_to_use = static_cast<long>(pixels) * kMemoryForPixel + kMemoryBesides;
    jpeg->out_color_space = kOurPixels;
    return pixels <= mostPixels;
}

// `line` has room for a row of the file. Leaves what it has drawn when the library leaves.
void ReadRows(jpeg_decompress_struct* jpeg, Errors* errors, Pixel* line, Frame* frame, int* drawn) {
    if (setjmp(errors->context) != 0) return;
    jpeg_start_decompress(jpeg);
    const bool isSequential = jpeg_has_multiple_scans(jpeg) == FALSE;
    const int columns = std::min(frame->Width(), static_cast<int>(jpeg->output_width));
    const int rows = std::min(frame->Height(), static_cast<int>(jpeg->output_height));
    while (*drawn < rows) {
        auto* at = reinterpret_cast<JSAMPROW>(line);
        jpeg_read_scanlines(jpeg, &at, 1);
        if (isSequential && errors->isCut) return;
        std::copy_n(line, columns, frame->Row((*drawn)++));
    }
}

// The library's structures, freed together.
struct Reader {
    jpeg_decompress_struct jpeg = {};
    Errors errors = {};
    jpeg_progress_mgr progress = {};

    Reader() {
        jpeg.err = jpeg_std_error(&errors.base);
        errors.base.error_exit = Leave;
        errors.base.emit_message = Note;
        progress.progress_monitor = BoundPasses;
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&jpeg); }
};

}  // namespace

bool DecodeJpeg(const CompressedImage& image, Frame* frame) {
    Reader reader;
    if (!ReadHeader(&reader.jpeg, &reader.errors, image, 2 * frame->Pixels().size())) return false;
    reader.jpeg.progress = &reader.progress;
    std::vector<Pixel> line(reader.jpeg.image_width);
    int drawn = 0;
    ReadRows(&reader.jpeg, &reader.errors, line.data(), frame, &drawn);
    return drawn > 0;
}

}  // namespace Ondrel::QuickDraw
