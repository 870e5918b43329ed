// Hands the icon's picture to the workspace.
#include "ondrel/preview/customicon.h"

#include "ondrel/platform/Workspace.h"
#include "ondrel/preview/iconsquare.h"
#include "ondrel/preview/picturerows.h"

namespace Ondrel {

void AddCustomIcon(const FileSpec& file, drapix* image) {
    if (!Pictures::IsPicture(image)) return;
    const Pictures::IconSquare square = Pictures::MakeIconSquare(*image);
    if (!square.IsThere()) return;
    (void)OrMemFull([&] {
        // The path as the disk has it: the workspace looks for it byte for byte.
        return SetIconForFile(static_cast<const char*>(file), square.AsImage());
    });
}

}  // namespace Ondrel
