// Pixel maps and drawing buffers.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "ondrel/preview/drapix.h"
#include "tests/preview/Pixels.h"
#include "tests/records/Allocations.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

std::string PixelsOf(const drapix& map, std::size_t bytes) {
    return Hex({reinterpret_cast<const char*>(map.base), bytes});
}

TEST(Drapix, TheFieldsStandInTheirOrder) {
    EXPECT_EQ(offsetof(drapix, storage), 0U);
    EXPECT_EQ(offsetof(drapix, height), 8U);
    EXPECT_EQ(offsetof(drapix, width), 10U);
    EXPECT_EQ(offsetof(drapix, base), 16U);
    EXPECT_EQ(offsetof(drapix, rowBytes), 24U);
    EXPECT_EQ(offsetof(drapix, depth), 28U);
    EXPECT_EQ(offsetof(draenv, height), 8U);
    EXPECT_EQ(offsetof(draenv, width), 10U);
    EXPECT_EQ(offsetof(draenv, base), 16U);
    EXPECT_EQ(offsetof(draenv, depth), 28U);
    EXPECT_EQ(offsetof(drastorage, height), 2U);
    EXPECT_EQ(offsetof(drastorage, depth), 4U);
    EXPECT_EQ(offsetof(drastorage, pixels), 8U);
}

TEST(Drapix, AOneBitBufferHasRowsOfAMultipleOf32Pixels) {
    const struct {
        int width;
        int storageWidth;
        int rowBytes;
    } cases[] = {{0, 0, 0}, {1, 32, 4}, {32, 32, 4}, {33, 64, 8}, {64, 64, 8}, {65, 96, 12}};
    for (const auto& c : cases) {
        const OwnedEnv buffer(draall(10, c.width));
        ASSERT_NE(buffer, nullptr);
        EXPECT_EQ(buffer->height, 10);
        EXPECT_EQ(buffer->width, c.width);
        EXPECT_EQ(buffer->rowBytes, c.rowBytes);
        EXPECT_EQ(buffer->depth, 1);
        EXPECT_EQ(buffer->storage->width, c.storageWidth);
        EXPECT_EQ(buffer->storage->height, 10);
        EXPECT_EQ(buffer->storage->depth, 1);
        EXPECT_EQ(buffer->base, buffer->storage->pixels);
    }
}

TEST(Drapix, AOneBitBufferAsksForItsRowsAndNoMore) {
    TakeLargestAllocation();
    const OwnedEnv buffer(draall(10, 1));
    EXPECT_EQ(TakeLargestAllocation(), 40U);
}

TEST(Drapix, A32BitMapStartsWhite) {
    const OwnedPix one(drapixall(1, 1));
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(PixelsOf(*one, 4), "00 FF FF FF");
    EXPECT_EQ(one->rowBytes, 4);
    EXPECT_EQ(one->depth, 32);

    const OwnedPix map(drapixall(7, 5));
    EXPECT_EQ(map->height, 7);
    EXPECT_EQ(map->width, 5);
    EXPECT_EQ(map->rowBytes, 20);
    EXPECT_EQ(map->storage->width, 5);
    EXPECT_EQ(map->storage->height, 7);
    EXPECT_EQ(map->storage->depth, 32);
    std::string white;
    for (int i = 0; i < 35; ++i)
        white += "00 FF FF FF ";
    EXPECT_EQ(PixelsOf(*map, 140) + " ", white);
}

TEST(Drapix, An8BitMapStartsWithTheSameBytes) {
    const OwnedPix map(drapix8all(1, 4));
    EXPECT_EQ(PixelsOf(*map, 4), "00 FF FF FF");
    EXPECT_EQ(map->rowBytes, 4);
    EXPECT_EQ(map->depth, 8);
    const OwnedPix larger(drapix8all(2, 5));
    EXPECT_EQ(PixelsOf(*larger, 8), "00 FF FF FF 00 FF FF FF");
}

// What is not filled holds what the allocation gave; marked blocks make it visible.
TEST(Drapix, WhatMakesNoWholeWordIsNotFilled) {
    const MarkAllocations marked(0xA5);
    const OwnedPix three(drapix8all(1, 3));
    EXPECT_EQ(PixelsOf(*three, 3), "A5 A5 A5");
    const OwnedPix seven(drapix8all(1, 7));
    EXPECT_EQ(PixelsOf(*seven, 7), "00 FF FF FF A5 A5 A5");
    const OwnedPix bits(drapixallcou(2, 64, 1));
    EXPECT_EQ(PixelsOf(*bits, 4), "A5 A5 A5 A5");
    const OwnedEnv buffer(draall(1, 32));
    EXPECT_EQ(Hex({reinterpret_cast<const char*>(buffer->base), 4}), "A5 A5 A5 A5");
}

TEST(Drapix, AnyDepthCanBeAskedForOutsideOfTheNamespace) {
    static_assert(std::is_same_v<decltype(::drapixallcou(0, 0, 0)), Ondrel::drapix*>);
    const OwnedPix map(::drapixallcou(3, 33, 1));
    EXPECT_EQ(map->storage->width, 33);
    EXPECT_EQ(map->rowBytes, 4);
    EXPECT_EQ(map->depth, 1);
}

TEST(Drapix, SizesAreCutTo16Bits) {
    const OwnedPix flat(drapixall(65536, 3));
    EXPECT_EQ(flat->height, 0);
    EXPECT_EQ(flat->storage->height, 0);
    const OwnedPix map(drapixall(65536 + 2, 65536 + 3));
    EXPECT_EQ(map->height, 2);
    EXPECT_EQ(map->width, 3);
    EXPECT_EQ(map->rowBytes, 12);
    const OwnedEnv buffer(draall(2, 65536 + 5));
    EXPECT_EQ(buffer->width, 5);
    EXPECT_EQ(buffer->storage->width, 32);
    const OwnedEnv wide(draall(2, 65535));
    EXPECT_EQ(wide->width, -1);
    EXPECT_EQ(wide->storage->width, 0);
}

// 29 bits of bytes: what is one byte more would be cut to nothing.
TEST(Drapix, AMapWhoseSizeCannotBeHeldIsNotMade) {
    EXPECT_EQ(drapixall(32768, 4096), nullptr);
    EXPECT_EQ(drapix8all(16384, 32768), nullptr);
    EXPECT_EQ(drapixall(65535, 65535), nullptr);
    EXPECT_EQ(drapixallcou(65535, 65535, 65535), nullptr);
    TakeLargestAllocation();
    const OwnedPix largest(drapixallcou(65535, 65535, 1));
    ASSERT_NE(largest, nullptr);
    EXPECT_EQ(TakeLargestAllocation(), 536854528U);
}

TEST(Drapix, WhatCannotBeHadIsNull) {
    for (const std::size_t size : {sizeof(drapix), sizeof(drastorage), std::size_t{444}}) {
        const RefuseAllocations refused(size, size);
        EXPECT_EQ(drapixall(3, 37), nullptr) << size;
    }
    for (const std::size_t size : {sizeof(draenv), sizeof(drastorage), std::size_t{44}}) {
        const RefuseAllocations refused(size, size);
        EXPECT_EQ(draall(11, 20), nullptr) << size;
    }
}

TEST(Drapix, ABracketTakesItsFieldsFromTheStorage) {
    const OwnedEnv buffer(draall(4, 40));
    unsigned char* const pixels = buffer->base;
    buffer->base = nullptr;
    buffer->rowBytes = 1;
    buffer->depth = 7;
    drabuf(buffer.get());
    EXPECT_EQ(buffer->base, pixels);
    EXPECT_EQ(buffer->rowBytes, 8);
    EXPECT_EQ(buffer->depth, 1);
    drabufend(buffer.get());
    EXPECT_EQ(buffer->rowBytes, 8);
    drabuf(nullptr);
    drabufend(nullptr);
}

TEST(Drapix, TheStorageIsGivenAsWordsWithItsTrueWidth) {
    const OwnedEnv buffer(draall(4, 40));
    unsigned int* base = nullptr;
    int rowPixels = 0;
    unsigned int* const answered = drabufloc(buffer.get(), &base, &rowPixels);
    EXPECT_EQ(static_cast<void*>(answered), buffer->storage->pixels);
    EXPECT_EQ(base, answered);
    EXPECT_EQ(rowPixels, 64);
}

TEST(Drapix, RowsAreCountedFromTheBaseInBothDirections) {
    const OwnedPix map(drapixall(4, 5));
    EXPECT_EQ(drabufbas(map.get(), 0), map->base);
    EXPECT_EQ(drabufbas(map.get(), 3) - map->base, 60);
    unsigned char middle[64];
    drapix header = *map;
    header.base = middle + 32;
    EXPECT_EQ(drabufbas(&header, -1), middle + 12);
    header.base = nullptr;
    EXPECT_EQ(drabufbas(&header, 1), nullptr);
    EXPECT_EQ(drabufbas(nullptr, 1), nullptr);
}

TEST(Drapix, ReleasingNullOrAHeaderAloneIsAllowed) {
    dradea(nullptr);
    drapixdea(nullptr);
    dradea(new draenv{});
    drapixdea(new drapix{});
}

}  // namespace
}  // namespace Ondrel::Testing
