// What an icon family, the resource 'icns', holds.
#ifndef ONDREL_PLATFORM_ICONS_H
#define ONDREL_PLATFORM_ICONS_H

#include <cstdint>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// The resource of a file's own icon.
inline constexpr FourCC kIconFamilyType = MakeFourCC("icns");
inline constexpr short kCustomIconId = -16455;

// One element of a family. Its size is that of its kind, or what a PNG file in it tells; masks, and
// kinds that are not known, have none.
struct IconElement {
    FourCC type = 0;
    int width = 0;  // pixels
    int height = 0;
    std::uint32_t size = 0;  // bytes, without the eight that tell type and length
};

// The elements of a family, in their order; the first of a damaged one, up to the damage, are
// there as well. mapReadErr: it is no icon family, or is damaged. memFullErr.
ONDREL_EXPORT OSErr ListIconElements(std::string_view family, std::vector<IconElement>* elements);

}  // namespace Ondrel

#endif
