#include "ondrel/platform/quickdraw/RowLayout.h"

#include <algorithm>

namespace Ondrel::QuickDraw {
namespace {

constexpr std::size_t kShortRow = 8;
constexpr int kNotPacked = 1;
constexpr int kWithoutPad = 2;

bool IsPacked(RowStorage storage, std::size_t rowBytes) {
    return storage == RowStorage::kPackedEvenIfShort ||
           (storage == RowStorage::kByMap && rowBytes >= kShortRow);
}

RowLayout IndexedLayout(const PixelMap& map, RowStorage storage, const ColorTable& colors) {
    RowLayout layout;
    layout.size = static_cast<std::size_t>(map.rowBytes);
    layout.format = {RowKind::kIndexed, map.depth, colors.data(), 0, 0};
    if (IsPacked(storage, layout.size) && map.packType != kNotPacked)
        layout.packing = Packing::kBytes;
    layout.columns = static_cast<int>(layout.size) * 8 / map.depth;
    return layout;
}

RowLayout WordLayout(const PixelMap& map, RowStorage storage) {
    RowLayout layout;
    layout.size = static_cast<std::size_t>(map.rowBytes);
    layout.format.kind = RowKind::k555;
    if (IsPacked(storage, layout.size) && map.packType != kNotPacked && map.packType != kWithoutPad)
        layout.packing = Packing::kWords;
    layout.columns = static_cast<int>(layout.size) / 2;
    return layout;
}

// The bytes of a row are a 15-bit number, too small for what the widest rows have.
RowLayout ColorLayout(const PixelMap& map, RowStorage storage) {
    const auto width = static_cast<std::size_t>(std::max(0, map.bounds.Width()));
    const std::size_t rowBytes = std::max(static_cast<std::size_t>(map.rowBytes), 4 * width);
    RowLayout layout;
    layout.countedBytes = rowBytes;
    layout.columns = static_cast<int>(width);
    if (!IsPacked(storage, rowBytes) || map.packType == kNotPacked) {
        layout.size = rowBytes;
        layout.format.kind = RowKind::kX888;
    } else if (map.packType == kWithoutPad) {
        layout.size = 3 * width;
        layout.format.kind = RowKind::k888;
    } else {
        const std::size_t planes = map.components == 4 ? 4 : 3;
        layout.packing = Packing::kBytes;
        layout.size = planes * width;
        layout.format = {RowKind::kPlanes, 8, nullptr, width, (planes - 3) * width};
    }
    return layout;
}

}  // namespace

RowLayout LayoutOf(const PixelMap& map, RowStorage storage, const ColorTable& colors) {
    if (map.depth == 32) return ColorLayout(map, storage);
    RowLayout layout =
        map.depth == 16 ? WordLayout(map, storage) : IndexedLayout(map, storage, colors);
    layout.countedBytes = layout.size;
    layout.columns = std::min(layout.columns, std::max(0, map.bounds.Width()));
    return layout;
}

}  // namespace Ondrel::QuickDraw
