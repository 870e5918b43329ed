// Puts a preview together: the picture, the pointer to it, the icon.
#include "ondrel/preview/pictpreview.h"

#include "ondrel/platform/Types.h"
#include "ondrel/preview/currentfile.h"
#include "ondrel/preview/customicon.h"
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

void WritePreview(const FileSpec& file, const drapix& image, int resolution, const draenv* mask) {
    Uni16String path;
    file.GetPathUni16(path);
    ResourceFork fork(path);
    WritePicture(&fork, image, resolution, mask);
    WritePointer(&fork);
}

}  // namespace

void filpictpreview(const FileSpec& file, drapix* image, int resolution, draenv* mask) {
    if (!file.IsUsable() || !IsPicture(image)) return;
    const KeepCurrentResourceFile current;
    const draenv* const usedMask = IsMask(mask) ? mask : nullptr;
    try {
        if (FitsFork(*image, usedMask)) WritePreview(file, *image, resolution, usedMask);
    } catch (const char*) {
        // The fork has then no preview; the icon is worth setting nevertheless.
    }
    AddCustomIcon(file, image);
}

}  // namespace Ondrel
