// Reading a picture, making the preview, and listing the fork.
#include "examples/previewdemo.h"

#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string_view>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/preview/drapix.h"
#include "ondrel/preview/pictpreview.h"

using namespace Ondrel;

namespace Example {
namespace {

namespace fs = std::filesystem;

constexpr int kMostPixels = 1000;     // a side of the preview
constexpr unsigned kMostSide = 8192;  // of a picture that is read
constexpr int kDotsPerInch = 72;

// Three bytes a pixel: red, green, blue.
struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<unsigned char> pixels;

    bool Reserve() {
        if (width < 1 || height < 1 || width > kMostSide || height > kMostSide) return false;
        pixels.resize(std::size_t{width} * height * 3);
        return true;
    }
};

bool ReadPng(const fs::path& path, Picture* picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return false;
    image.format = PNG_FORMAT_RGB;
    picture->width = image.width;
    picture->height = image.height;
    const png_color white = {255, 255, 255};
    const bool read =
        picture->Reserve() &&
        png_image_finish_read(&image, &white, picture->pixels.data(), 0, nullptr) != 0;
    png_image_free(&image);
    return read;
}

bool ReadPpm(const fs::path& path, Picture* picture) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    unsigned most = 0;
    in >> magic >> picture->width >> picture->height >> most;
    in.get();
    if (!in || magic != "P6" || most != 255 || !picture->Reserve()) return false;
    in.read(reinterpret_cast<char*>(picture->pixels.data()),
            static_cast<std::streamsize>(picture->pixels.size()));
    return static_cast<bool>(in);
}

// Hills under a sky.
Picture Draw() {
    Picture picture{320, 200, {}};
    picture.Reserve();
    unsigned char* pixel = picture.pixels.data();
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 320; ++x, pixel += 3) {
            const int hill = 120 + (x - 100) * (x - 100) / 400 % 60;
            pixel[0] = static_cast<unsigned char>(y < hill ? 90 + y / 2 : 40);
            pixel[1] = static_cast<unsigned char>(y < hill ? 140 + y / 2 : 200 - y / 2);
            pixel[2] = static_cast<unsigned char>(y < hill ? 230 : 60);
        }
    return picture;
}

struct ReleaseMap {
    void operator()(drapix* map) const { drapixdea(map); }
};
using Map = std::unique_ptr<drapix, ReleaseMap>;

// Every n-th pixel, so that no side is longer than a preview needs.
Map MapOf(const Picture& picture) {
    const auto longer = static_cast<int>(std::max(picture.width, picture.height));
    const int step = (longer + kMostPixels - 1) / kMostPixels;
    const int width = std::max(1, static_cast<int>(picture.width) / step);
    const int height = std::max(1, static_cast<int>(picture.height) / step);
    Map map(drapixall(height, width));
    for (int y = 0; map != nullptr && y < height; ++y) {
        unsigned char* to = drabufbas(map.get(), y);
        for (int x = 0; x < width; ++x, to += 4) {
            const std::size_t place = static_cast<std::size_t>(y * step) * picture.width +
                                      static_cast<unsigned>(x * step);
            std::copy_n(&picture.pixels[place * 3], 3, to + 1);
        }
    }
    return map;
}

std::string Describe(const ResourceInfo& info) {
    std::string type;
    for (int shift = 24; shift >= 0; shift -= 8)
        type += static_cast<char>(info.type >> shift & 255);
    return "'" + type + "' " + std::to_string(info.id) +
           (info.hasName ? " \"" + info.name + "\"" : "") + ", " + std::to_string(info.size) +
           " bytes";
}

void ListFork(const FileSpec& file, PreviewReport* report) {
    HFSUniStr255 fork;
    short number = 0;
    std::vector<ResourceInfo> resources;
    FSGetResourceForkName(&fork);
    if (FSOpenResourceFile(file, fork.length, fork.unicode, fsRdPerm, &number) != noErr) return;
    ListResources(number, &resources);
    CloseResFile(number);
    int found = 0;
    for (const ResourceInfo& info : resources) {
        report->resources.push_back(Describe(info));
        for (const std::string_view wanted : {"'PICT' 256 ", "'pnot' 0 ", "'icns' -16455,"})
            if (report->resources.back().starts_with(wanted)) ++found;
    }
    report->holds = found == 3;
}

}  // namespace

PreviewReport GivePreview(const fs::path& document, const fs::path& picturePath) {
    PreviewReport report;
    Picture picture;
    if (!ReadPng(picturePath, &picture) && !ReadPpm(picturePath, &picture)) {
        picture = Draw();
        report.pictureIsDrawn = true;
    }
    const Map map = MapOf(picture);
    if (map == nullptr) return report;
    report.width = map->width;
    report.height = map->height;
    const FileSpec file(UTF8ToUni16String(document.string()));
    filpictpreview(file, map.get(), kDotsPerInch, nullptr);
    ListFork(file, &report);
    return report;
}

}  // namespace Example
