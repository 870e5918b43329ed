#include "ondrel/platform/quickdraw/PixelMap.h"

namespace Ondrel::QuickDraw {
namespace {

constexpr std::uint16_t kIsPixelMap = 0x8000;
constexpr std::uint16_t kByPosition = 0x8000;
constexpr std::size_t kEntrySize = 8;

bool IsDepth(int depth) {
    return depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16 || depth == 32;
}

}  // namespace

Pixel ReadColor(PictureBytes& bytes) {
    const Pixel red = bytes.U16() >> 8;
    const Pixel green = bytes.U16() >> 8;
    const Pixel blue = bytes.U16() >> 8;
    return kOpaque | red << 16 | green << 8 | blue;
}

bool ReadPixelMap(PictureBytes& bytes, MapKinds kinds, PixelMap* map) {
    const std::uint16_t rowBytes = bytes.U16();
    map->isBitMap = kinds == MapKinds::kBoth && (rowBytes & kIsPixelMap) == 0;
    map->rowBytes = rowBytes & ~kIsPixelMap;
    map->bounds = bytes.ReadRect();
    if (map->isBitMap) return !bytes.HasFailed();
    bytes.Skip(2);  // version
    map->packType = bytes.U16();
    bytes.Skip(4 + 8 + 2);  // size when packed, resolution, kind of pixels
    map->depth = bytes.U16();
    map->components = bytes.U16();
    bytes.Skip(2 + 4 + 8);  // bits of a component, bytes of a plane, two places
    return !bytes.HasFailed() && IsDepth(map->depth);
}

bool ReadColorTable(PictureBytes& bytes, ColorTable* colors, std::uint32_t* seed) {
    colors->fill(kBlack);
    *seed = bytes.U32();
    const bool isByPosition = (bytes.U16() & kByPosition) != 0;
    const std::size_t count = (bytes.U16() + std::size_t{1}) & 0xFFFF;
    if (bytes.HasFailed() || count > bytes.Left() / kEntrySize) return false;
    for (std::size_t position = 0; position < count; ++position) {
        const std::size_t index = bytes.U16();
        const Pixel color = ReadColor(bytes);
        const std::size_t place = isByPosition ? position : index;
        if (place < colors->size()) (*colors)[place] = color;
    }
    return true;
}

}  // namespace Ondrel::QuickDraw
