// Previews read back: the first four bytes say how large the preview may be and where it is, the
// others are a picture in the document's resource fork. The map is no larger than it may be, and
// each of its pixels is marked as covered or not.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Document.h"
#include "ondrel/fil/fil.h"
#include "ondrel/platform/AppleDouble.h"
#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/quickdraw/PictureHead.h"
#include "ondrel/preview/previewreader.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

constexpr std::size_t kChoices = 4;
constexpr double kScales[] = {1, 0.25, 3, 1e-300, 1e300, 0, -1, 0.999};

// A larger one is drawn as a larger picture is: by another target.
constexpr int kMostSide = 300;

bool IsSmall(std::string_view picture) {
    const std::size_t start = QuickDraw::FindPicture(picture);
    QuickDraw::PictureHead head;
    return start == std::string_view::npos ||
           !QuickDraw::ReadPictureHead(picture.substr(start), &head) ||
           (head.frame.Width() <= kMostSide && head.frame.Height() <= kMostSide);
}

// What the document has: the preview under either number, a fork that is cut, or none.
enum class Place { kNew, kOld, kCut, kNone };

void MakeDocument(const OndrelFuzz::Document& document, std::string_view picture, Place place) {
    document.Write({});
    document.Remove("._document");
    if (place == Place::kNone) return;
    std::string fork;
    const std::int16_t id = place == Place::kOld ? 128 : 256;
    Require(PutResource(MakeFourCC("PICT"), id, picture, &fork) == noErr);
    if (place == Place::kCut) fork.resize(fork.size() / 2);
    AppleDouble sidecar;
    Require(sidecar.SetResourceFork(fork));
    document.Write(sidecar.Bytes(), "._document");
}

void CheckMap(const drapix& map, double scale, int maxHeight) {
    Require(scale > 0 && map.width >= 1 && map.height >= 1 && map.width <= 4000);
    Require(map.height == 1 || map.height <= std::max(1.0, maxHeight * scale + 1));
    for (int y = 0; y < map.height; ++y) {
        const unsigned char* pixel = map.base + std::ptrdiff_t{y} * map.rowBytes;
        for (int x = 0; x < map.width; ++x, pixel += 4)
            Require(pixel[0] == 0 || (pixel[0] & pixel[1] & pixel[2] & pixel[3]) == 0xFF);
    }
}

}  // namespace

// fontconfig packs some of its pointers, so that what it still holds seems to be lost.
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "leak:libfontconfig";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kChoices) return 0;
    const std::string_view picture(reinterpret_cast<const char*>(data) + kChoices, size - kChoices);
    if (!IsSmall(picture)) return 0;
    const double scale = kScales[data[0] % 8];
    const int maxHeight = data[1] - 1;
    const int index = data[2] % 8 == 7 ? -1 : data[2] % 8 / 6;
    MakeDocument(OndrelFuzz::TheDocument(), picture, static_cast<Place>(data[3] % 4));

    fil f;
    Require(filope(&f, nullptr, OndrelFuzz::Document::Reference()) == 0);
    drapix* map = nullptr;
    ReadPreviewFromPictResource(&f, &map, scale, maxHeight, index);
    if (map != nullptr) CheckMap(*map, scale, maxHeight);
    drapixdea(map);
    Require(filclo(&f) == 0);
    return 0;
}
