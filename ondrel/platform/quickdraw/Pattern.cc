// Reading patterns. A stored colour pattern:
//
//   2  kind: 0 bits, 1 pixels, 2 one colour      8  its bits for machines without colours
//   pixels: a pixel map with its colours and rows      one colour: red, green, blue, 2 bytes each
#include "ondrel/platform/quickdraw/Pattern.h"

#include <bit>

#include "ondrel/platform/quickdraw/PackedRows.h"
#include "ondrel/platform/quickdraw/PixelMap.h"
#include "ondrel/platform/quickdraw/RowLayout.h"

namespace Ondrel::QuickDraw {
namespace {

enum StoredKind : std::uint16_t { kBits = 0, kPixels = 1, kOneColor = 2 };

// The longest side of a tile; a longer one is cut.
constexpr int kMostSide = 1024;

// The largest power of two that is not above the length; 0 for none.
int PowerOfTwo(int length) {
    if (length <= 0) return 0;
    return std::min(kMostSide, static_cast<int>(std::bit_floor(static_cast<unsigned>(length))));
}

// Reads all rows; those beyond the tile are passed over.
bool ReadRows(PictureBytes& bytes, const RowLayout& layout, int count, ColorTile* tile) {
    if (count <= 0) return true;
    if (layout.size == 0) return false;
    PackedRows rows(layout.packing, layout.size, layout.countedBytes);
    rows.Explore(bytes, count);
    for (int y = 0; y < count; ++y) {
        const std::uint8_t* const row = rows.Next(bytes);
        if (row == nullptr) return false;
        if (y >= tile->height) continue;
        const auto width = static_cast<std::size_t>(tile->width);
        tile->pixels.resize(width * (static_cast<std::size_t>(y) + 1));
        ToPixels(layout.format, row, 0, width,
                 tile->pixels.data() + width * static_cast<std::size_t>(y));
    }
    return true;
}

// Without a tile where the map has no pixels.
bool ReadTile(PictureBytes& bytes, std::shared_ptr<const ColorTile>* tile) {
    PixelMap map;
    ColorTable colors;
    std::uint32_t seed = 0;
    if (!ReadPixelMap(bytes, MapKinds::kPixelMap, &map) || !ReadColorTable(bytes, &colors, &seed))
        return false;
    const RowLayout layout = LayoutOf(map, RowStorage::kByMap, colors);
    const auto read = std::make_shared<ColorTile>();
    read->width = PowerOfTwo(layout.columns);
    read->height = PowerOfTwo(map.bounds.Height());
    if (!ReadRows(bytes, layout, map.bounds.Height(), read.get())) return false;
    if (!read->pixels.empty()) *tile = read;
    return true;
}

std::shared_ptr<const ColorTile> TileOf(Pixel color) {
    return std::make_shared<const ColorTile>(ColorTile{1, 1, {color}});
}

}  // namespace

bool ReadColorPattern(PictureBytes& bytes, Pattern* pattern) {
    const std::uint16_t kind = bytes.U16();
    for (std::uint8_t& row : pattern->bits)
        row = bytes.U8();
    pattern->tile = nullptr;
    if (kind == kPixels) return ReadTile(bytes, &pattern->tile);
    if (kind == kOneColor) pattern->tile = TileOf(ReadColor(bytes));
    return !bytes.HasFailed() && kind <= kOneColor;
}

}  // namespace Ondrel::QuickDraw
