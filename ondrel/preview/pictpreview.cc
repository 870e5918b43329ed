// Puts a preview together: the picture, the pointer to it, the icon.
#include "ondrel/preview/pictpreview.h"

#include <algorithm>
#include <new>

#include "ondrel/platform/Types.h"
#include "ondrel/platform/Workspace.h"
#include "ondrel/preview/currentfile.h"
#include "ondrel/preview/customicon.h"
#include "ondrel/preview/iconsquare.h"
#include "ondrel/preview/picturerows.h"

namespace Ondrel {

using namespace Pictures;

namespace {

constexpr FourCC kTypePicture = MakeFourCC("PICT");
constexpr FourCC kTypePreview = MakeFourCC("pnot");
constexpr int kPictureId = 256;
constexpr int kPreviewId = 0;
constexpr const char* kName = "Preview";

void WritePicture(ResourceFork* fork, const drapix& image, int resolution, const draenv* mask) {
    PICTResource picture(fork);
    fork->NewResource(kTypePicture, kPictureId, kName);
    picture.WritePICTHeader(image.width, image.height);
    if (mask != nullptr) AppendMask(fork, *mask, resolution);
    AppendImage(fork, image, resolution, mask != nullptr);
    picture.Close();
    fork->CloseResource();
}

void WritePointer(ResourceFork* fork) {
    fork->NewResource(kTypePreview, kPreviewId, kName);
    fork->AppendLong(0);   // when the picture was changed
    fork->AppendShort(0);  // version
    fork->AppendLong(static_cast<int>(kTypePicture));
    fork->AppendShort(kPictureId);
    fork->AppendShort(0);
    fork->CloseResource();
}

// Empty where the picture gives none. Its memory is taken before that of the square, which the fork
// can have when both are done with: pages that are new to a process cost more than filling them.
std::string IconOf(const drapix& image) {
    std::string icon;
    (void)OrMemFull([&] {
        icon.reserve(RoomForIcon(std::max(image.width, image.height) / 2));
        return noErr;
    });
    const IconSquare square = MakeIconSquare(image);
    if (square.IsThere() && ComposeIcon(square.AsImage(), &icon) != noErr) icon.clear();
    return icon;
}

// Writes the fork, and the icon with it, unless it is null. False: nothing is stored.
bool WritePreview(const FileSpec& file, const drapix& image, int resolution, const draenv* mask,
                  const std::string* icon) {
    Uni16String path;
    file.GetPathUni16(path);
    ResourceFork fork(path);
    try {
        WritePicture(&fork, image, resolution, mask);
        WritePointer(&fork);
    } catch (const std::bad_alloc&) {
        fork.Abandon();  // else what there is of it would be stored
        throw;
    }
    return fork.Close(icon);
}

// The preview and the icon go to the disk in one step. Where there is no room for both, the preview
// alone may find some. The icon is made first: what it takes of memory is given back before the
// picture takes its own. False: there is no icon yet.
bool WritePreviewAndIcon(const FileSpec& file, const drapix& image, int resolution,
                         const draenv* mask) {
    if (!FitsFork(image, mask)) return false;
    const std::string icon = IconOf(image);
    if (!icon.empty() && WritePreview(file, image, resolution, mask, &icon)) return true;
    WritePreview(file, image, resolution, mask, nullptr);
    return false;
}

}  // namespace

void filpictpreview(const FileSpec& file, drapix* image, int resolution, draenv* mask) {
    if (!file.IsUsable() || !IsPicture(image)) return;
    const KeepCurrentResourceFile current;
    bool hasIcon = false;
    try {
        hasIcon = WritePreviewAndIcon(file, *image, resolution, IsMask(mask) ? mask : nullptr);
    } catch (const char*) {
        // The fork has then no preview; the icon is worth setting nevertheless.
    }
    if (!hasIcon) AddCustomIcon(file, image);
}

}  // namespace Ondrel
