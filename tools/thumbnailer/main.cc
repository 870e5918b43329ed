// ondrel-thumbnailer INPUT OUTPUT SIZE: the preview that a document holds, as a PNG file of at most
// SIZE by SIZE pixels, for file managers.
//
// It is called by the desktop's convention ("%i %o %s", ondrel.thumbnailer): the file manager names
// the output and puts it into its own cache. Exit codes: 0 done, 1 no preview, 2 wrong usage,
// 3 failed; the file manager shows a plain icon for anything but 0.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "ondrel/fil/fil.h"
#include "ondrel/platform/Images.h"
#include "ondrel/platform/Png.h"
#include "ondrel/preview/drapix.h"
#include "ondrel/preview/previewreader.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/NewFile.h"
#include "tools/ondrel/Terminal.h"

namespace {

using namespace Ondrel;
using namespace OndrelTool;

constexpr int kMostSize = 4096;

struct MapDeleter {
    void operator()(drapix* map) const { drapixdea(map); }
};
using Map = std::unique_ptr<drapix, MapDeleter>;

// A picture with alpha that owns its pixels.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels;
};

int ParseSize(const std::string& text) {
    int size = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, size);
    if (error != std::errc() || stop != end || size < 1)
        FailUsage("'" + text + "' is no size in pixels");
    return std::min(size, kMostSize);
}

// Up to four times as high as wanted, so that making it smaller is smooth and no huge picture has
// to be drawn whole.
Map ReadPreview(const std::string& path, int size) {
    fil stream;
    if (openFile(&stream, nullptr, SpecOf(path)) != 0) Fail(path, "cannot be opened");
    drapix* map = nullptr;
    ReadPreviewFromPictResource(&stream, &map, 1.0, 4 * size, 0);
    if (map != nullptr) return Map(map);
    const OSErr code = stream.sys->error;
    if (code == noErr || code == resNotFound || code == resFNotFound)
        throw Failure(Status::kNothing, path, "it has no preview");
    Fail(path, Explain(code));
}

// A map's first byte is 0 where the preview has something to show.
void MakeAlpha(drapix* map) {
    for (int y = 0; y < map->height; ++y) {
        unsigned char* pixel = drabufbas(map, y);
        for (int x = 0; x < map->width; ++x, pixel += 4) {
            const bool shown = pixel[0] == 0;
            pixel[0] = shown ? 255 : 0;
            if (!shown) std::fill(pixel + 1, pixel + 4, static_cast<unsigned char>(0));
        }
    }
}

// Whole colours again, of pixels whose colours were multiplied by their alpha.
void Unmultiply(std::vector<unsigned char>* pixels) {
    for (std::size_t i = 0; i + 3 < pixels->size(); i += 4) {
        const unsigned alpha = (*pixels)[i];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t c = i + 1; c <= i + 3; ++c)
            (*pixels)[c] = static_cast<unsigned char>(
                std::min(255U, ((*pixels)[c] * 255U + alpha / 2) / alpha));
    }
}

int Scaled(int side, int longest, int size) {
    const double scaled = std::round(static_cast<double>(side) * size / longest);
    return std::max(1, static_cast<int>(scaled));
}

// The preview in the size wanted; one that is smaller stays as it is.
Picture Fit(drapix* map, int size, const std::string& path) {
    MakeAlpha(map);
    const int longest = std::max<int>(map->width, map->height);
    Picture picture;
    picture.width = longest > size ? Scaled(map->width, longest, size) : map->width;
    picture.height = longest > size ? Scaled(map->height, longest, size) : map->height;
    const std::size_t rowBytes = static_cast<std::size_t>(picture.width) * 4;
    picture.pixels.resize(rowBytes * static_cast<std::size_t>(picture.height));
    const Image image = {map->base, map->width, map->height,
                         static_cast<std::size_t>(map->rowBytes), AlphaInfo::kPremultipliedFirst};
    const BitmapContext context = {picture.pixels.data(), picture.width, picture.height, rowBytes};
    FailOnError(DrawImage(context, {0, 0, picture.width, picture.height}, image), path);
    Unmultiply(&picture.pixels);
    return picture;
}

Status MakeThumbnail(const std::string& input, const std::string& output, int size) {
    RequireReadableFile(input);
    const Map map = ReadPreview(input, size);
    const Picture picture = Fit(map.get(), size, input);
    std::string png;
    const Image image = {picture.pixels.data(), picture.width, picture.height,
                         static_cast<std::size_t>(picture.width) * 4, AlphaInfo::kFirst};
    FailOnError(AppendPng(image, &png), input);
    const HoldInterrupts hold;
    WriteNewFile(output, png);
    return Status::kDone;
}

Status Run(const std::vector<std::string>& words) {
    if (words.size() != 4) FailUsage("usage: ondrel-thumbnailer INPUT OUTPUT SIZE");
    return MakeThumbnail(words[1], words[2], ParseSize(words[3]));
}

}  // namespace

int main(int argc, char** argv) {
    GuardStandardStreams();
    PrepareSignals();
    try {
        return static_cast<int>(Run(std::vector<std::string>(argv, argv + argc)));
    } catch (const Failure& failure) {
        Complain(failure.Subject(), failure.what());
        return static_cast<int>(failure.GetStatus());
    } catch (const Interrupted&) {
        return static_cast<int>(Status::kFailed);  // the signal ends the program at the hold's end
    } catch (const std::exception& failure) {
        Complain("", failure.what());
        return static_cast<int>(Status::kFailed);
    }
}
