#include "ondrel/platform/quickdraw/Bits.h"

#include "ondrel/platform/quickdraw/PackedRows.h"
#include "ondrel/platform/quickdraw/PixelMap.h"
#include "ondrel/platform/quickdraw/RowLayout.h"
#include "ondrel/platform/quickdraw/RowPainter.h"

namespace Ondrel::QuickDraw {
namespace {

// The bits of the opcodes: 0x90 and more.
constexpr std::uint16_t kHasMask = 0x01;
constexpr std::uint16_t kIsDirect = 0x02;  // of those that have kIsPacked
constexpr std::uint16_t kIsPacked = 0x08;

constexpr std::size_t kBaseAddress = 4;  // bytes in front of a direct map, of no meaning

// The masks of this library's previews have this seed, and are packed however short their rows are.
constexpr std::uint32_t kPreviewSeed = 0x5AFEC0DE;

// All that stands in front of the rows.
struct Command {
    PixelMap map;
    ColorTable colors;
    RowStorage storage = RowStorage::kUnpacked;
    Rect source;
    Rect destination;
    int mode = 0;
    Region mask;
    bool hasMask = false;
};

bool ReadMap(std::uint16_t opcode, PictureBytes& bytes, Command* command) {
    const bool isDirect = (opcode & kIsDirect) != 0;
    if (isDirect) bytes.Skip(kBaseAddress);
    if (!ReadPixelMap(bytes, isDirect ? MapKinds::kPixelMap : MapKinds::kBoth, &command->map))
        return false;
    if ((opcode & kIsPacked) != 0) command->storage = RowStorage::kByMap;
    command->colors.fill(kBlack);
    if (isDirect || command->map.isBitMap) return true;
    std::uint32_t seed = 0;
    if (!ReadColorTable(bytes, &command->colors, &seed)) return false;
    if ((opcode & kIsPacked) != 0 && seed == kPreviewSeed)
        command->storage = RowStorage::kPackedEvenIfShort;
    return true;
}

bool ReadCommand(std::uint16_t opcode, PictureBytes& bytes, Command* command) {
    if (!ReadMap(opcode, bytes, command)) return false;
    command->source = bytes.ReadRect();
    command->destination = bytes.ReadRect();
    command->mode = bytes.U16();
    command->hasMask = (opcode & kHasMask) != 0;
    if (command->hasMask) (void)ReadRegion(bytes, &command->mask);  // its bounds if damaged
    return !bytes.HasFailed();
}

bool DrawRows(PackedRows& rows, int count, PictureBytes& bytes, RowPainter& painter) {
    for (int i = 0; i < count; ++i) {
        const std::uint8_t* const row = rows.Next(bytes);
        if (row == nullptr || !painter.DrawRow(row)) return false;
    }
    return true;
}

}  // namespace

bool DrawBits(std::uint16_t opcode, PictureBytes& bytes, const State& state, Canvas& canvas) {
    Command command;
    if (!ReadCommand(opcode, bytes, &command)) return false;
    const RowLayout layout = LayoutOf(command.map, command.storage, command.colors);
    const int height = command.map.bounds.Height();
    if (height <= 0) return true;
    if (layout.size == 0) return false;

    Placement placement{command.map.bounds, layout.columns, command.source, {}, {}};
    if (!Place(state, canvas, command.destination, command.hasMask ? &command.mask : nullptr,
               &placement))
        return false;
    RowPainter painter(placement, command.map.isBitMap ? Source::kBits : Source::kColors,
                       state.InkFor(ModeFromStored(command.mode)), layout.format, canvas);
    PackedRows rows(layout.packing, layout.size, layout.countedBytes);
    rows.Explore(bytes, height);
    return DrawRows(rows, height, bytes, painter);
}

}  // namespace Ondrel::QuickDraw
