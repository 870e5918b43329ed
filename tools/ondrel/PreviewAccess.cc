// Previews through the library's pixel maps. Its writer reports nothing: what it has written is
// compared with what it writes to a file of ours.
#include "tools/ondrel/PreviewAccess.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileSupport.h"
#include "ondrel/core/Process.h"
#include "ondrel/platform/Icons.h"
#include "ondrel/platform/Pictures.h"
#include "ondrel/preview/pictpreview.h"
#include "ondrel/preview/previewreader.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/ResourceAccess.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

constexpr FourCC kPicture = MakeFourCC("PICT");
constexpr int kPreviewIds[] = {256, 128};
constexpr int kMostWidth = 8191;  // of a stored picture: its rows have 15 bits for their length
constexpr int kMostHeight = 32767;
constexpr unsigned char kHalf = 128;

struct MapDeleter {
    void operator()(drapix* map) const { drapixdea(map); }
    void operator()(draenv* mask) const { dradea(mask); }
};
using Map = std::unique_ptr<drapix, MapDeleter>;
using Mask = std::unique_ptr<draenv, MapDeleter>;

// --- Reading ------------------------------------------------------------------------------------

// A map of the reader's: a pixel is covered (00 R G B) or not (FF FF FF FF).
Pixels FromMap(drapix* map) {
    Pixels picture = MakePixels(map->width, map->height);
    for (int y = 0; y < map->height; ++y) {
        const unsigned char* from = drabufbas(map, y);
        unsigned char* to = picture.pixels.data() +
                            static_cast<std::size_t>(y) * static_cast<std::size_t>(map->width) * 4;
        for (int x = 0; x < map->width; ++x, from += 4, to += 4) {
            const bool covered = from[0] == 0;
            to[0] = covered ? 255 : 0;
            for (int i = 1; i < 4; ++i)
                to[i] = covered ? from[i] : 0;
        }
    }
    return picture;
}

bool HasPreview(const std::string& file) {
    for (const int id : kPreviewIds)
        if (ReadResource(file, kPicture, static_cast<short>(id))) return true;
    return false;
}

// --- Writing ------------------------------------------------------------------------------------

// What is left out is white: the stored picture is laid over what is there, as ink is.
Pixels WithoutHiddenInk(Pixels picture) {
    for (std::size_t at = 0; at < picture.pixels.size(); at += 4)
        if (picture.pixels[at] < kHalf) picture.pixels[at] = 0;
    return OnWhite(std::move(picture));
}

Map ToMap(const Pixels& picture) {
    Map map(drapixall(picture.height, picture.width));
    if (map == nullptr) FailOnError(memFullErr, "");
    const Pixels opaque = WithoutHiddenInk(picture);
    for (int y = 0; y < picture.height; ++y) {
        const std::size_t rowBytes = static_cast<std::size_t>(picture.width) * 4;
        unsigned char* const row = drabufbas(map.get(), y);
        std::copy_n(opaque.pixels.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes, row);
        for (std::size_t at = 0; at < rowBytes; at += 4)
            row[at] = 0;
    }
    return map;
}

// Null where every pixel is to be seen.
Mask ToMask(const Pixels& picture) {
    bool hasHole = false;
    for (std::size_t at = 0; at < picture.pixels.size(); at += 4)
        hasHole = hasHole || picture.pixels[at] < kHalf;
    if (!hasHole) return nullptr;
    Mask mask(draall(picture.height, picture.width));
    if (mask == nullptr) FailOnError(memFullErr, "");
    const unsigned char* alpha = picture.pixels.data();
    for (int y = 0; y < picture.height; ++y) {
        unsigned char* const row = mask->base + static_cast<std::ptrdiff_t>(y) * mask->rowBytes;
        std::fill_n(row, mask->rowBytes, static_cast<unsigned char>(0));
        for (int x = 0; x < picture.width; ++x, alpha += 4)
            if (*alpha >= kHalf)
                row[x / 8] = static_cast<unsigned char>(row[x / 8] | 0x80 >> x % 8);
    }
    return mask;
}

// A file in the temporary items' folder, gone with the object.
class ScratchFile {
 public:
    ScratchFile() {
        FailOnError(FileSupport::GetPredefinedFolder(spec_, FileSupport::kTemporaryItems, true),
                    "the folder for temporary items");
        FileSpecFunctions functions;
        const FileSpec folder = spec_;
        for (unsigned tick = Clock::Ticks();; ++tick) {
            spec_ = folder;
            spec_.ToChildFile(UTF8ToUni16String(fmt::format("ondrel preview {}", tick)));
            if (functions.CreateFileWithType(spec_, nullptr)) break;
            if (functions.errorCode != dupFNErr)
                FailOnError(functions.errorCode, "the folder for temporary items");
        }
    }
    ~ScratchFile() { (void)FileSpecFunctions().DeleteFile(spec_, false); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const FileSpec& Spec() const { return spec_; }
    std::string Path() const {
        std::string path;
        spec_.GetFullPath(path);
        return path;
    }

 private:
    FileSpec spec_;
};

// The bytes that the library makes of a preview.
std::string StoredForm(drapix* map, int resolution, draenv* mask) {
    const ScratchFile scratch;
    filpictpreview(scratch.Spec(), map, resolution, mask);
    const auto stored = ReadResource(scratch.Path(), kPicture, 256);
    if (!stored) Fail("", "the picture is too large to be stored, or there is no room for it");
    return *stored;
}

}  // namespace

std::optional<Pixels> ReadPreview(const std::string& file, int mostHeight) {
    fil stream;
    if (openFile(&stream, nullptr, SpecOf(file)) != 0)
        Fail(file, Explain(stream.sys != nullptr ? stream.sys->error : lasterror));
    drapix* read = nullptr;
    ReadPreviewFromPictResource(&stream, &read, 1.0, mostHeight, 0);
    const Map map(read);
    const OSErr error = stream.sys->error;
    stream.Close();
    if (map != nullptr) return FromMap(map.get());
    if (error == mapReadErr) FailOnError(error, file);
    if (HasPreview(file)) Fail(file, "its preview cannot be drawn");
    return std::nullopt;
}

std::optional<PreviewSize> ReadPreviewSize(const std::string& file) {
    for (const int id : kPreviewIds) {
        const auto bytes = ReadResource(file, kPicture, static_cast<short>(id));
        if (!bytes) continue;
        Picture picture;
        if (picture.Read(*bytes) != noErr) Fail(file, "its preview is damaged");
        return PreviewSize{id, picture.Width(), picture.Height()};
    }
    return std::nullopt;
}

void WritePreview(const std::string& file, const Pixels& picture, int resolution) {
    if (picture.width > kMostWidth || picture.height > kMostHeight)
        Fail(file, fmt::format("a preview has at most {} x {} pixels, not {} x {}", kMostWidth,
                               kMostHeight, picture.width, picture.height));
    const Map map = ToMap(picture);
    const Mask mask = ToMask(picture);
    RequireWritableFork(file);
    const std::string wanted = StoredForm(map.get(), resolution, mask.get());
    filpictpreview(SpecOf(file), map.get(), resolution, mask.get());
    const auto stored = ReadResource(file, kPicture, 256);
    if (!stored || *stored != wanted)
        Fail(file, "the preview could not be stored; is the disk full?");
    if (!ReadResource(file, kIconFamilyType, kCustomIconId))
        Fail(file, "the preview is stored, but the icon could not be");
}

}  // namespace OndrelTool
