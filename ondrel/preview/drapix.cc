// Pixel maps and drawing buffers. Both are one layout; the templates here serve both.
#include "ondrel/preview/drapix.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace Ondrel {
namespace {

constexpr std::uint64_t kMostBytes = (std::uint64_t{1} << 29) - 1;
constexpr int kFreshDepth = 8;  // of a header without storage

int RowBytes(const drastorage& storage) {
    return static_cast<int>(std::uint32_t{storage.width} * storage.depth >> 3);
}

// A storage with `bytes` bytes of pixels, not cleared; throws what the allocation throws.
drastorage* MakeStorage(unsigned short height, unsigned short width, unsigned short depth,
                        std::uint64_t bytes) {
    auto storage = std::make_unique<drastorage>(drastorage{width, height, depth, nullptr});
    storage->pixels = new unsigned char[bytes];
    return storage.release();
}

template <class Map>
void TakePixels(Map* map) {
    map->base = map->storage->pixels;
    map->rowBytes = RowBytes(*map->storage);
    map->depth = map->storage->depth;
}

// A header of the size asked for, over a storage that may be wider.
template <class Map>
Map* MakeMap(unsigned short height, unsigned short width, unsigned short storageWidth,
             unsigned short depth, std::uint64_t bytes) {
    Map* const map = new (std::nothrow) Map{nullptr, 0, 0, nullptr, 0, kFreshDepth};
    if (map == nullptr) return nullptr;
    try {
        map->storage = MakeStorage(height, storageWidth, depth, bytes);
    } catch (const std::bad_alloc&) {
        delete map;
        return nullptr;
    }
    map->height = static_cast<short>(height);
    map->width = static_cast<short>(width);
    TakePixels(map);
    return map;
}

template <class Map>
void ReleaseMap(Map* map) {
    if (map == nullptr) return;
    if (map->storage != nullptr) delete[] map->storage->pixels;
    delete map->storage;
    delete map;
}

// Whole words only; every depth shares the one pattern.
void FillWithWhite(unsigned char* pixels, std::uint64_t bytes) {
    constexpr unsigned char kWhite[4] = {0x00, 0xFF, 0xFF, 0xFF};
    for (std::uint64_t word = 0; word < bytes / sizeof kWhite; ++word)
        std::memcpy(pixels + word * sizeof kWhite, kWhite, sizeof kWhite);
}

}  // namespace

draenv* draall(int height, int width) {
    const auto rows = static_cast<unsigned short>(height);
    const auto storageWidth =
        static_cast<unsigned short>((static_cast<unsigned>(width) + 31) & 0xFFE0U);
    return MakeMap<draenv>(rows, static_cast<unsigned short>(width), storageWidth, 1,
                           std::uint64_t{rows} * storageWidth / 8);
}

drapix* drapixall(int height, int width) {
    return drapixallcou(height, width, 32);
}

drapix* drapix8all(int height, int width) {
    return drapixallcou(height, width, 8);
}

void dradea(draenv* buffer) {
    ReleaseMap(buffer);
}

void drapixdea(drapix* map) {
    ReleaseMap(map);
}

void drabuf(draenv* buffer) {
    if (buffer != nullptr) TakePixels(buffer);
}

void drabufend(draenv*) {}

unsigned int* drabufloc(draenv* buffer, unsigned int** base, int* rowPixels) {
    // The pixels come from operator new[], which aligns them for words.
    *base = static_cast<unsigned int*>(static_cast<void*>(buffer->storage->pixels));
    *rowPixels = static_cast<int>(static_cast<unsigned>(buffer->rowBytes) * 8U) / buffer->depth;
    return *base;
}

unsigned char* drabufbas(drapix* map, int y) {
    if (map == nullptr || map->base == nullptr) return nullptr;
    return map->base + std::int64_t{y} * map->rowBytes;
}

}  // namespace Ondrel

Ondrel::drapix* drapixallcou(int height, int width, int depth) {
    using namespace Ondrel;
    const auto rows = static_cast<unsigned short>(height);
    const auto columns = static_cast<unsigned short>(width);
    const auto bits = static_cast<unsigned short>(depth);
    const std::uint64_t bytes = std::uint64_t{rows} * columns * bits / 8;
    // The size is kept in 29 bits: cut to them it would no longer be what the header says.
    if (bytes > kMostBytes) return nullptr;
    auto* const map = MakeMap<drapix>(rows, columns, columns, bits, bytes);
    if (map != nullptr && bits != 1) FillWithWhite(map->base, bytes);
    return map;
}
