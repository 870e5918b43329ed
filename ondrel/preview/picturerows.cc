// The records of a picture that hold pixels.
#include "ondrel/preview/picturerows.h"

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "ondrel/preview/encoders.h"
#include "ondrel/preview/planes.h"

namespace Ondrel::Pictures {
namespace {

using Planes::kPixelBytes;
constexpr int kLeastPackedWidth = 32;  // narrower images are stored as they are

// The places of resources have 24 bits; the rest is for what stands around the rows.
constexpr std::int64_t kMostRowsInFork = 0xFFFFFF - 512;

// Where the rows of a map begin and what is used of each.
struct Rows {
    const unsigned char* base;
    int rowBytes;
    int width;
    int height;

    const unsigned char* Row(int y) const { return base + std::int64_t{y} * rowBytes; }
};

template <class Map>
Rows RowsOf(const Map& map) {
    return {map.base, map.rowBytes, map.width, map.height};
}

// --- Packing ------------------------------------------------------------------------------------

// Packs rows one at a time into an area with room for any of them, behind the count of its bytes.
class PackedRow {
 public:
    // `areaBytes` says how large an area and which counts there are: that of an unpacked row.
    PackedRow(int areaBytes, int width, int depth)
        : countSize_(static_cast<short>(areaBytes) > 250 ? 2 : 1),
          capacity_(static_cast<unsigned long>(areaBytes + 256 + (areaBytes + 126) / 127)),
          area_(new unsigned char[capacity_]),
          buffer_(area_, capacity_),
          encoder_(width, depth, false, &buffer_) {}

    // Answers the length of count and codes together.
    int Pack(const unsigned char* row, int pixels) {
        unsigned char* const codes = area_ + countSize_;
        buffer_.position = codes;
        encoder_.EncodeRecord(row, pixels);
        encoder_.Flush();
        const auto packed = static_cast<int>(buffer_.position - codes);
        codes[-1] = static_cast<unsigned char>(packed);
        if (countSize_ == 2) *area_ = static_cast<unsigned char>(packed >> 8);
        return countSize_ + packed;
    }

    const unsigned char* Bytes() const { return area_; }

    // The most that Pack can answer for a row of so many bytes.
    std::int64_t Most(int rowBytes) const { return countSize_ + rowBytes + (rowBytes + 127) / 128; }

 private:
    int countSize_;
    unsigned long capacity_;
    unsigned char* area_;  // the buffer's
    PackBitsBuff buffer_;
    KesPackBitsEncode encoder_;
};

// The rows of a mask, filled up to an even number of bytes.
class MaskRows {
 public:
    explicit MaskRows(const draenv& mask)
        : rows_(RowsOf(mask)), usedBytes_((rows_.width + 7) / 8), row_(RowBytes(), RowBytes(), 8) {}

    int Height() const { return rows_.height; }
    int RowBytes() const { return (usedBytes_ + 1) & ~1; }
    std::int64_t Most() const { return Height() * row_.Most(RowBytes()); }

    int Pack(int y) { return row_.Pack(rows_.Row(y), usedBytes_); }
    const unsigned char* Bytes() const { return row_.Bytes(); }

 private:
    Rows rows_;
    int usedBytes_;
    PackedRow row_;
};

// The rows of an image as three planes.
class PlaneRows {
 public:
    explicit PlaneRows(const drapix& image)
        : rows_(RowsOf(image)),
          planes_(static_cast<std::size_t>(kPixelBytes * rows_.width)),
          row_(kPixelBytes * rows_.width, rows_.width, 24) {}

    int Height() const { return rows_.height; }
    std::int64_t Most() const { return Height() * row_.Most(3 * rows_.width); }

    int Pack(int y) {
        Planes::Separate(rows_.Row(y), rows_.width, planes_.data());
        return row_.Pack(planes_.data(), rows_.width);
    }
    const unsigned char* Bytes() const { return row_.Bytes(); }

 private:
    Rows rows_;
    std::vector<unsigned char> planes_;
    PackedRow row_;
};

// The rows of a narrow image: behind each zero byte stand three bytes of the source, which goes on
// by three and not by four. Readers of these pictures expect it.
class NarrowRows {
 public:
    explicit NarrowRows(const drapix& image)
        : rows_(RowsOf(image)), row_(static_cast<std::size_t>(kPixelBytes * rows_.width)) {}

    int Height() const { return rows_.height; }
    std::int64_t Most() const { return std::int64_t{Height()} * kPixelBytes * rows_.width; }

    int Pack(int y) {
        const unsigned char* from = rows_.Row(y);
        unsigned char* to = row_.data();
        for (int x = 0; x < rows_.width; ++x, from += 3, to += kPixelBytes)
            std::memcpy(to + 1, from, 3);
        return kPixelBytes * rows_.width;
    }
    const unsigned char* Bytes() const { return row_.data(); }

 private:
    Rows rows_;
    std::vector<unsigned char> row_;
};

template <class MapRows>
void AppendRows(ResourceFork* fork, MapRows&& rows) {
    for (int y = 0; y < rows.Height(); ++y) {
        const int size = rows.Pack(y);
        fork->Append(rows.Bytes(), static_cast<unsigned long>(size));
    }
    if (fork->ResourceSize() % 2 != 0) fork->Append("", 1);
}

template <class MapRows>
std::int64_t PackedSize(MapRows&& rows) {
    std::int64_t size = 0;
    for (int y = 0; y < rows.Height(); ++y)
        size += rows.Pack(y);
    return size;
}

bool IsNarrow(const drapix& image) {
    return image.width < kLeastPackedWidth;
}

template <class Work>
auto WithRows(const drapix& image, Work work) {
    return IsNarrow(image) ? work(NarrowRows(image)) : work(PlaneRows(image));
}

// --- What stands before the rows ----------------------------------------------------------------

void AppendShorts(ResourceFork* fork, std::initializer_list<int> values) {
    for (const int value : values)
        fork->AppendShort(static_cast<short>(value));
}

void AppendRect(ResourceFork* fork, const Rows& rows) {
    AppendShorts(fork, {0, 0, rows.height, rows.width});
}

// From the row bytes to the reserved bytes.
struct PixelMap {
    int rowBytes;
    int packType;
    int pixelType;
    int pixelSize;
    int componentCount;
    int componentSize;
};

void AppendPixelMap(ResourceFork* fork, const Rows& rows, const PixelMap& map, int resolution) {
    constexpr int kPixelMapFlag = 0x8000;
    const auto fixed = static_cast<int>(static_cast<unsigned>(resolution) << 16);
    AppendShorts(fork, {map.rowBytes | kPixelMapFlag});
    AppendRect(fork, rows);
    AppendShorts(fork, {0, map.packType});  // version, pack type
    fork->AppendLong(0);                    // pack size
    fork->AppendLong(fixed);                // horizontal resolution
    fork->AppendLong(fixed);                // vertical resolution
    AppendShorts(fork, {map.pixelType, map.pixelSize, map.componentCount, map.componentSize});
    fork->AppendLong(0);  // plane bytes
    fork->AppendLong(0);  // colour table
    fork->AppendLong(0);  // reserved
}

// Two entries: 0 is white, 1 is black.
void AppendBlackAndWhite(ResourceFork* fork) {
    constexpr int kSeed = 0x5AFEC0DE;
    fork->AppendLong(kSeed);
    AppendShorts(fork, {0, 1});  // flags, entries - 1
    AppendShorts(fork, {0, 0xFFFF, 0xFFFF, 0xFFFF});
    AppendShorts(fork, {1, 0, 0, 0});
}

void AppendPlaces(ResourceFork* fork, const Rows& rows, int transferMode) {
    AppendRect(fork, rows);  // source
    AppendRect(fork, rows);  // destination
    AppendShorts(fork, {transferMode});
}

}  // namespace

bool IsPicture(const drapix* image) {
    return image != nullptr && image->base != nullptr && image->width > 0 && image->height > 0 &&
           image->depth == 8 * kPixelBytes && image->rowBytes >= kPixelBytes * image->width;
}

bool IsMask(const draenv* mask) {
    return mask != nullptr && mask->base != nullptr && mask->width > 0 && mask->height > 0 &&
           mask->rowBytes >= (mask->width + 7) / 8;
}

bool FitsFork(const drapix& image, const draenv* mask) {
    std::int64_t most = WithRows(image, [](auto&& rows) { return rows.Most(); });
    if (mask != nullptr) most += MaskRows(*mask).Most();
    if (most <= kMostRowsInFork) return true;
    std::int64_t size = WithRows(image, [](auto&& rows) { return PackedSize(rows); });
    if (mask != nullptr) size += PackedSize(MaskRows(*mask));
    return size <= kMostRowsInFork;
}

void AppendMask(ResourceFork* fork, const draenv& mask, int resolution) {
    constexpr int kPackBitsRectOpcode = 0x0098;
    constexpr int kSrcBic = 3;
    const Rows rows = RowsOf(mask);
    MaskRows packed(mask);
    AppendShorts(fork, {kPackBitsRectOpcode});
    AppendPixelMap(fork, rows, {packed.RowBytes(), 0, 0, 1, 1, 1}, resolution);
    AppendBlackAndWhite(fork);
    AppendPlaces(fork, rows, kSrcBic);
    AppendRows(fork, packed);
}

void AppendImage(ResourceFork* fork, const drapix& image, int resolution, bool isMasked) {
    constexpr int kDirectBitsRectOpcode = 0x009A;
    constexpr int kBaseAddress = 0x000000FF;
    constexpr int kRgbDirect = 16;
    constexpr int kUnpacked = 1;
    constexpr int kPackedPlanes = 4;
    constexpr int kSrcCopy = 0;
    constexpr int kSrcOr = 1;
    const Rows rows = RowsOf(image);
    AppendShorts(fork, {kDirectBitsRectOpcode});
    fork->AppendLong(kBaseAddress);
    AppendPixelMap(fork, rows,
                   {kPixelBytes * rows.width, IsNarrow(image) ? kUnpacked : kPackedPlanes,
                    kRgbDirect, 32, 3, 8},
                   resolution);
    AppendPlaces(fork, rows, isMasked ? kSrcOr : kSrcCopy);
    WithRows(image, [fork](auto&& packed) { AppendRows(fork, packed); });
}

}  // namespace Ondrel::Pictures
