// Resource maps, of honest and of dishonest forks.
#include "ondrel/platform/ResourceMap.h"

#include <gtest/gtest.h>

#include <random>

#include "ondrel/platform/BigEndian.h"
#include "tests/support/Scratch.h"

namespace Ondrel {
namespace {

using Testing::Bytes;

constexpr FourCC kText = MakeFourCC("TEXT");
constexpr FourCC kIcon = MakeFourCC("ICON");

// Three resources: TEXT 128 "hello" named "One", TEXT -5 "" with attributes, ICON 0 "XY".
std::string Fork() {
    return Bytes(
        // header: data at 16, map at 35, 19 and 93 bytes
        "00 00 00 10 00 00 00 23 00 00 00 13 00 00 00 5D"
        // data
        "00 00 00 05 68 65 6C 6C 6F  00 00 00 00  00 00 00 02 58 59"
        // map: copy of the header, handle, reference number, attributes, lists at 28 and 82
        "00 00 00 10 00 00 00 23 00 00 00 13 00 00 00 5D 00 00 00 00 00 00 01 80 00 1C 00 52"
        // types: TEXT with 2 at 18, ICON with 1 at 42
        "00 01 54 45 58 54 00 01 00 12 49 43 4F 4E 00 00 00 2A"
        // references
        "00 80 00 00 00 00 00 00 00 00 00 00"
        "FF FB FF FF 24 00 00 09 00 00 00 00"
        "00 00 00 04 01 00 00 0D 00 00 00 00"
        // names: "One", "Second"
        "03 4F 6E 65 06 53 65 63 6F 6E 64");
}

TEST(ResourceMap, TypesIdentifiersNamesAttributesAndDataAreRead) {
    const std::string fork = Fork();
    ResourceMap map;
    ASSERT_EQ(map.Read(fork), noErr);
    EXPECT_EQ(map.Attributes(), 0x0180);
    ASSERT_EQ(map.Resources().size(), 3U);
    const Resource* one = map.Find(kText, 128);
    ASSERT_NE(one, nullptr);
    EXPECT_TRUE(one->hasName);
    EXPECT_EQ(one->name, "One");
    EXPECT_EQ(one->attributes, 0);
    std::string_view data;
    ASSERT_EQ(map.Data(*one, &data), noErr);
    EXPECT_EQ(data, "hello");
    const Resource* two = map.Find(kText, -5);
    ASSERT_NE(two, nullptr);
    EXPECT_FALSE(two->hasName);
    EXPECT_EQ(two->attributes, 0x24);
    ASSERT_EQ(map.Data(*two, &data), noErr);
    EXPECT_EQ(data, "");
    const Resource* three = map.Find(kIcon, 0);
    ASSERT_NE(three, nullptr);
    EXPECT_EQ(three->name, "Second");
    ASSERT_EQ(map.Data(*three, &data), noErr);
    EXPECT_EQ(data, "XY");
    EXPECT_EQ(map.Find(kIcon, 1), nullptr);
    EXPECT_EQ(map.FindLowest(kText), two);
    EXPECT_EQ(map.FindLowest(MakeFourCC("none")), nullptr);
}

TEST(ResourceMap, AnEmptyForkIsNoResourceFile) {
    ResourceMap map;
    EXPECT_EQ(map.Read(""), resFNotFound);
}

TEST(ResourceMap, AnEmptyMapHasNoResource) {
    const std::string fork = Bytes("00 00 01 00 00 00 01 00 00 00 00 00 00 00 00 1E") +
                             std::string(240, '\0') + std::string(24, '\0') +
                             Bytes("00 1C 00 1E FF FF");
    ResourceMap map;
    EXPECT_EQ(map.Read(fork), noErr);
    EXPECT_TRUE(map.Resources().empty());
}

TEST(ResourceMap, EveryTruncationIsRefused) {
    const std::string fork = Fork();
    for (std::size_t size = 1; size < fork.size(); ++size) {
        ResourceMap map;
        EXPECT_EQ(map.Read(fork.substr(0, size)), mapReadErr) << size << " bytes";
        EXPECT_TRUE(map.Resources().empty());
    }
}

struct Lie {
    const char* reason;
    std::size_t at;
    std::size_t size;
    std::uint32_t value;
};

constexpr std::size_t kMap = 35;

const Lie kLies[] = {
    {"the data lie beyond the fork", 0, 4, 0xFFFFFFF0},
    {"the data are longer than the fork", 8, 4, 0x71},
    {"the map lies beyond the fork", 4, 4, 0x80},
    {"the map's offset wraps", 4, 4, 0xFFFFFFFF},
    {"the map is longer than the fork", 12, 4, 0x5E},
    {"the map is shorter than its own header", 12, 4, 27},
    {"the type list lies beyond the map", kMap + 24, 2, 0x5E},
    {"more types than the map has room for", kMap + 28, 2, 0x0F},
    {"the most types of all", kMap + 28, 2, 0xFFFE},
    {"more references than the map has room for", kMap + 34, 2, 9},
    {"the most references of all", kMap + 34, 2, 0xFFFF},
    {"a reference list beyond the map", kMap + 36, 2, 0xFFF0},
    {"a name beyond the map", kMap + 48, 2, 0x1000},
    {"a name longer than the map", kMap + 82 + 4, 1, 7},
};

TEST(ResourceMap, MapsThatPointOutsideAreRefused) {
    for (const Lie& lie : kLies) {
        std::string fork = Fork();
        for (std::size_t i = 0; i < lie.size; ++i)
            fork[lie.at + i] = static_cast<char>((lie.value >> (8 * (lie.size - 1 - i))) & 0xFF);
        ResourceMap map;
        EXPECT_EQ(map.Read(fork), mapReadErr) << lie.reason;
        EXPECT_TRUE(map.Resources().empty()) << lie.reason;
    }
}

TEST(ResourceMap, DataThatLieOutsideAreRefusedForTheirResourceAlone) {
    std::string fork = Fork();
    fork[16 + 3] = 16;         // "hello" is longer than the data: 4 + 16 of 19
    fork[kMap + 58 + 7] = 16;  // the length of the second lies on the end: 16 + 4 of 19
    ResourceMap map;
    ASSERT_EQ(map.Read(fork), noErr);
    std::string_view data = "old";
    EXPECT_EQ(map.Data(*map.Find(kText, 128), &data), mapReadErr);
    EXPECT_EQ(map.Data(*map.Find(kText, -5), &data), mapReadErr);
    EXPECT_EQ(data, "old");
    EXPECT_EQ(map.Data(*map.Find(kIcon, 0), &data), noErr);
}

// 6000 types that all name one list of 1000 resources: six million from 60 KB.
TEST(ResourceMap, ListsThatShareTheirBytesDoNotMultiply) {
    constexpr std::size_t kTypes = 6000;
    constexpr std::size_t kShared = 1000;
    std::string map(28 + 2 + kTypes * 8 + kShared * 12, '\0');
    Put16(map, 24, 28);
    Put16(map, 26, 28);
    Put16(map, 28, kTypes - 1);
    for (std::size_t i = 0; i < kTypes; ++i) {
        Put16(map, 30 + i * 8 + 4, kShared - 1);
        Put16(map, 30 + i * 8 + 6, 2 + kTypes * 8);
    }
    std::string fork(16, '\0');
    Put32(fork, 0, 16);
    Put32(fork, 4, 16);
    Put32(fork, 12, static_cast<std::uint32_t>(map.size()));
    ResourceMap read;
    EXPECT_EQ(read.Read(fork + map), mapReadErr);
}

TEST(ResourceMap, DamagedForksAreReadOrRefusedWithoutHarm) {
    std::mt19937 random(19840124);
    int read = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string fork = Fork();
        for (int changes = 1 + static_cast<int>(random() % 4); changes > 0; --changes)
            fork[random() % fork.size()] = static_cast<char>(random());
        ResourceMap map;
        if (map.Read(fork) != noErr) continue;
        ++read;
        std::size_t sum = 0;
        for (const Resource& resource : map.Resources()) {
            std::string_view data;
            if (map.Data(resource, &data) == noErr) sum += data.size();
            sum += resource.name.size();
        }
        EXPECT_LE(sum, map.Resources().size() * fork.size() * 2);
    }
    EXPECT_GT(read, 1000);
}

}  // namespace
}  // namespace Ondrel
