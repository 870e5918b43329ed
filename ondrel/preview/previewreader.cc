// Fetches a preview's picture out of the resource fork and draws it at the size asked for.
#include "ondrel/preview/previewreader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Images.h"
#include "ondrel/platform/Pictures.h"
#include "ondrel/platform/Types.h"
#include "ondrel/preview/currentfile.h"

namespace Ondrel {
namespace {

constexpr FourCC kTypePicture = MakeFourCC("PICT");
constexpr unsigned kFirstPreviewId = 256;
constexpr int kOldPreviewId = 128;
constexpr int kMostWidth = 4000;
constexpr std::size_t kPixelBytes = 4;

struct DisposeOfHandle {
    using pointer = Handle;
    void operator()(Handle handle) const { DisposeHandle(handle); }
};
using OwnedHandle = std::unique_ptr<char*, DisposeOfHandle>;

struct ReleaseMap {
    void operator()(drapix* map) const { drapixdea(map); }
};
using OwnedMap = std::unique_ptr<drapix, ReleaseMap>;

// --- The resource -------------------------------------------------------------------------------

// Opens the resource fork of the record's file and makes it current; false with the code latched.
bool OpenFork(sysinfrec* record) {
    FSRef ref;
    if (record->getFSRef(ref) != noErr) return false;
    HFSUniStr255 name{};
    short number = -1;
    if (FSGetResourceForkName(&name) == noErr)
        (void)FSOpenResourceFile(&ref, name.length, name.unicode, fsRdPerm, &number);
    record->resourceRef = number;
    if (number >= 0) return true;
    record->error = ResError();
    record->resourceRef = 0;
    return false;
}

// Makes the record's resource file current, which it opens the first time.
bool ChooseFork(sysinfrec* record) {
    if (record->resourceRef == 0) return OpenFork(record);
    UseResFile(record->resourceRef);
    return true;
}

Handle FetchPicture(sysinfrec* record, int id) {
    const KeepCurrentResourceFile current;
    if (!ChooseFork(record)) return nullptr;
    const Handle picture = Get1Resource(kTypePicture, static_cast<short>(id));
    if (picture == nullptr)
        record->error = ResError();
    else
        DetachResource(picture);
    return picture;
}

Handle FetchPreview(sysinfrec* record, int index) {
    if (record == nullptr) return nullptr;
    const short before = record->error;
    auto* const argument = reinterpret_cast<fil*>(record);
    // Any number is taken; what does not fit wraps, as it does in the 16 bits of an ID.
    const int id = static_cast<int>(static_cast<unsigned>(index) + kFirstPreviewId);
    if (const Handle picture = ReadPICTResourceFromFile(argument, id)) return picture;
    if (index != 0) return nullptr;
    const Handle old = ReadPICTResourceFromFile(argument, kOldPreviewId);
    if (old != nullptr) record->error = before;
    return old;
}

// --- The size -----------------------------------------------------------------------------------

struct Size {
    int width = 0;
    int height = 0;
};

// Once both sides are one pixel there is nothing left to halve, however high the scale makes it.
Size FitHeight(Size size, double scale, int maxHeight) {
    double height = size.height / scale;
    while (height > maxHeight && (size.width > 1 || size.height > 1)) {
        height *= 0.5;
        size = {std::max(size.width / 2, 1), std::max(size.height / 2, 1)};
    }
    return size;
}

Size LimitWidth(Size size) {
    const double ratio = double{kMostWidth} / size.width;
    if (ratio < 1.0) size = {kMostWidth, std::max(static_cast<int>(size.height * ratio), 1)};
    return size;
}

// --- The pixels ---------------------------------------------------------------------------------

std::size_t PixelCount(const drapix& map) {
    return std::size_t{map.storage->width} * map.storage->height;
}

BitmapContext ContextOf(const drapix& map) {
    return {map.base, map.storage->width, map.storage->height, map.storage->width * kPixelBytes};
}

// Sets the pixels that the picture covers whole to 00 R G B and the others to FF FF FF FF. Drawn
// over white without alpha and over nothing, they are those that come out alike: all that is drawn
// over nothing leaves its alpha behind, so that one drawing tells.
void MarkPixels(const drapix& drawn, drapix* map) {
    constexpr unsigned char kOpaque = 0xFF;
    constexpr unsigned char kMarked[kPixelBytes] = {0xFF, 0xFF, 0xFF, 0xFF};
    const unsigned char* from = drawn.base;
    unsigned char* to = map->base;
    for (std::size_t i = 0; i < PixelCount(*map); ++i, from += kPixelBytes, to += kPixelBytes) {
        const bool isCovered = *from == kOpaque;
        std::memcpy(to, isCovered ? from : kMarked, kPixelBytes);
        if (isCovered) *to = 0;
    }
}

// A new map is white without alpha. Without memory for a second one it is drawn on as it is.
bool Draw(const Picture& picture, drapix* map) {
    const OwnedMap second(drapixall(map->storage->height, map->storage->width));
    if (second == nullptr) return picture.Render(ContextOf(*map)) == noErr;
    std::fill_n(second->base, PixelCount(*second) * kPixelBytes, std::uint8_t{0});
    if (picture.Render(ContextOf(*second)) != noErr) return false;
    MarkPixels(*second, map);
    return true;
}

OwnedMap DrawPreview(std::string_view bytes, double scale, int maxHeight) {
    Picture picture;
    if (picture.Read(bytes) != noErr) return nullptr;
    const Size size = LimitWidth(FitHeight({picture.Width(), picture.Height()}, scale, maxHeight));
    OwnedMap map(drapixall(size.height, size.width));
    if (map == nullptr || !Draw(picture, map.get())) return nullptr;
    return map;
}

}  // namespace

Handle ReadPICTResourceFromFile(fil* record, int id) {
    return record == nullptr ? nullptr : FetchPicture(reinterpret_cast<sysinfrec*>(record), id);
}

void ReadPreviewFromPictResource(fil* f, drapix** out, double scale, int maxHeight, int index) {
    if (out == nullptr) return;
    *out = nullptr;
    if (f == nullptr || !(scale > 0) || maxHeight < 1) return;
    const OwnedHandle picture(FetchPreview(f->sys, index));
    if (picture == nullptr) return;
    *out = DrawPreview({*picture, GetHandleSize(picture.get())}, scale, maxHeight).release();
}

}  // namespace Ondrel
