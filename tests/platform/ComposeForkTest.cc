// Forks composed anew, against bytes written out by hand.
#include "ondrel/platform/ComposeFork.h"

#include <gtest/gtest.h>

#include "ondrel/platform/BigEndian.h"
#include "ondrel/platform/ResourceMap.h"
#include "tests/platform/ResourceHelpers.h"
#include "tests/support/Corpus.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Hex;
using Testing::SmallFork;

constexpr FourCC kIcns = MakeFourCC("icns");
constexpr std::int16_t kCustomIcon = -16455;

// After a failure the fork must be as it was.
OSErr ForkWithResource(std::string_view fork, FourCC type, std::int16_t id, std::string_view data,
                       std::string* composed) {
    *composed = fork;
    const OSErr code = PutResource(type, id, data, composed);
    if (code != noErr) {
        EXPECT_EQ(*composed, fork);
    }
    return code;
}

std::string With(std::string_view fork, FourCC type, std::int16_t id, std::string_view data) {
    std::string composed;
    EXPECT_EQ(ForkWithResource(fork, type, id, data, &composed), noErr);
    return composed;
}

TEST(ComposeFork, TheEmptyForkHasAMapThatListsNothing) {
    EXPECT_EQ(Hex(EmptyFork()), Hex(Testing::EmptyForkBytes()));
    ResourceMap map;
    const std::string fork = EmptyFork();
    EXPECT_EQ(map.Read(fork), noErr);
    EXPECT_TRUE(map.Resources().empty());
}

TEST(ComposeFork, AResourceGoesBehindTheOthersOfItsType) {
    const std::string header = Bytes("00 00 01 00 00 00 01 1A 00 00 00 1A 00 00 00 62");
    EXPECT_EQ(Hex(With(SmallFork(), kIcns, kCustomIcon, "NEW")),
              Hex(header + std::string(240, '\0') +
                  Bytes("00 00 00 05 68 65 6C 6C 6F  00 00 00 00  00 00 00 02 58 59"
                        "00 00 00 03 4E 45 57") +
                  header +
                  Bytes("00 00 00 00 00 00 01 80 00 1C 00 5E"
                        "00 01 54 45 58 54 00 01 00 12 69 63 6E 73 00 01 00 2A"
                        "00 80 00 00 00 00 00 00 00 00 00 00"
                        "FF FB FF FF 24 00 00 09 00 00 00 00"
                        "00 07 FF FF 00 00 00 0D 00 00 00 00"
                        "BF B9 FF FF 00 00 00 13 00 00 00 00"
                        "03 4F 6E 65")));
}

TEST(ComposeFork, ANewTypeGoesBehindTheOthers) {
    const std::string header = Bytes("00 00 01 00 00 00 01 05 00 00 00 05 00 00 00 32");
    const std::string expected = header + std::string(240, '\0') + Bytes("00 00 00 01 21") +
                                 header +
                                 Bytes(
                                     "00 00 00 00 00 00 00 00 00 1C 00 32"
                                     "00 00 69 63 6E 73 00 00 00 0A"
                                     "BF B9 FF FF 00 00 00 00 00 00 00 00");
    EXPECT_EQ(Hex(With("", kIcns, kCustomIcon, "!")), Hex(expected));
    EXPECT_EQ(Hex(With(EmptyFork(), kIcns, kCustomIcon, "!")), Hex(expected));
    const std::string fork = With(SmallFork(), MakeFourCC("new "), 1, "!");
    ResourceMap map;
    ASSERT_EQ(map.Read(fork), noErr);
    ASSERT_EQ(map.Resources().size(), 4U);
    EXPECT_EQ(map.Resources()[3].type, MakeFourCC("new "));
}

TEST(ComposeFork, AResourceThatIsThereIsReplacedInItsPlaceAndItsOldBytesGo) {
    const std::string once = With(SmallFork(), kIcns, kCustomIcon, "a first icon");
    EXPECT_EQ(Hex(With(once, kIcns, kCustomIcon, "NEW")),
              Hex(With(SmallFork(), kIcns, kCustomIcon, "NEW")));
    const std::string fork = With(SmallFork(), MakeFourCC("TEXT"), 128, "other");
    ResourceMap map;
    ASSERT_EQ(map.Read(fork), noErr);
    ASSERT_EQ(map.Resources().size(), 3U);
    EXPECT_EQ(map.Resources()[0].id, 128);
    std::string_view data;
    EXPECT_EQ(map.Data(map.Resources()[0], &data), noErr);
    EXPECT_EQ(data, "other");
}

TEST(ComposeFork, WhatSystemAndApplicationsHaveInTheHeaderStays) {
    std::string fork = SmallFork();
    for (std::size_t at = 16; at < 256; ++at)
        fork[at] = static_cast<char>(at);
    EXPECT_EQ(With(fork, kIcns, 7, "!").substr(16, 240), fork.substr(16, 240));
}

TEST(ComposeFork, ResourcesThatShareTheirBytesGoOnDoingSo) {
    std::string fork = SmallFork();
    fork[0x113 + 46 + 12 + 7] = 0;  // the second TEXT has the bytes of the first
    const std::string composed = With(fork, kIcns, 7, "!");
    ResourceMap map;
    ASSERT_EQ(map.Read(composed), noErr);
    EXPECT_EQ(map.Resources()[0].dataOffset, map.Resources()[1].dataOffset);
    EXPECT_EQ(Get32(composed, 8), 9U + 5U);
}

// The fork with a gap in its data is composed anew, the other one only extended.
TEST(ComposeFork, DataThatLieAsTheyAreToLieAreNotMovedAndNothingElseDiffers) {
    const std::string compact = With(SmallFork(), kIcns, 1, "first");
    std::string gaping = SmallFork();
    gaping.insert(0x100, 6, '\0');
    Put32(gaping, 4, 0x113 + 6);
    Put32(gaping, 8, 0x13 + 6);
    const std::size_t references = 0x113 + 6 + 46;
    for (const std::size_t reference : {references, references + 12, references + 24}) {
        const std::uint32_t place = Get32(gaping, reference + 4);
        Put32(gaping, reference + 4, place + 6);
    }
    EXPECT_EQ(Hex(With(gaping, kIcns, 1, "first")), Hex(compact));
    const std::string behind = compact + "bytes that no resource uses";
    EXPECT_EQ(Hex(With(behind, kIcns, 2, "second")), Hex(With(compact, kIcns, 2, "second")));
    std::string grown = compact;
    const std::size_t before = grown.capacity();
    grown.reserve(before + 1000);
    const char* const place = grown.data();
    EXPECT_EQ(PutResource(kIcns, 2, "second", &grown), noErr);
    EXPECT_EQ(grown.data(), place) << "the bytes were moved";
}

TEST(ComposeFork, DamagedForksAreRefused) {
    std::string outside = SmallFork();
    outside[0x113 + 46 + 7] = 0x7F;  // the first resource lies behind the data
    std::string lies = SmallFork();
    lies[0x100] = 0x7F;  // and here it is longer than the fork
    for (const std::string& fork :
         {std::string("text"), outside, lies, SmallFork().substr(0, 300)}) {
        std::string composed;
        EXPECT_EQ(ForkWithResource(fork, kIcns, kCustomIcon, "!", &composed), -199);
    }
}

TEST(ComposeFork, MoreThanAMapCanTellOfIsRefusedWithMinus34) {
    const std::string half(std::size_t{9} << 20, 'x');
    const std::string whole((std::size_t{1} << 24) + 1, 'x');
    std::string composed;
    EXPECT_EQ(ForkWithResource("", kIcns, 1, whole, &composed), -34);
    const std::string one = With("", kIcns, 1, half);
    const std::string two = With(one, kIcns, 0, "small, and behind it");
    EXPECT_EQ(ForkWithResource(two, kIcns, 2, half, &composed), -34);
    ResourceMap map;
    EXPECT_EQ(map.Read(two), noErr);
    EXPECT_EQ(map.Resources().size(), 2U);
}

// A fork with as many empty resources of one type as are asked for.
std::string ForkWithMany(std::size_t count) {
    std::string map(28, '\0');
    Put16(map, 24, 28);
    map += Bytes("00 00 54 45 58 54 00 00 00 0A");
    Put16(map, 34, static_cast<std::uint16_t>(count - 1));
    for (std::size_t i = 0; i < count; ++i) {
        map += Bytes("00 00 FF FF 00 00 00 00 00 00 00 00");
        Put16(map, map.size() - 12, static_cast<std::uint16_t>(i));
    }
    Put16(map, 26, static_cast<std::uint16_t>(map.size()));
    std::string fork(256, '\0');
    Put32(fork, 0, 256);
    Put32(fork, 4, 260);
    Put32(fork, 8, 4);
    Put32(fork, 12, static_cast<std::uint32_t>(map.size()));
    return fork + std::string(4, '\0') + map;
}

TEST(ComposeFork, AMapThatIsFullTakesNoMore) {
    constexpr std::size_t kMost = (0xFFFF - 28 - 2 - 8) / 12;
    std::string composed;
    EXPECT_EQ(ForkWithResource(ForkWithMany(kMost - 1), MakeFourCC("TEXT"), -1, "!", &composed),
              noErr);
    EXPECT_EQ(ForkWithResource(ForkWithMany(kMost), MakeFourCC("TEXT"), -1, "!", &composed), -34);
    EXPECT_EQ(ForkWithResource(ForkWithMany(kMost), MakeFourCC("TEXT"), 5, "!", &composed), noErr);
}

// Type, ID, attributes, name and bytes of every resource, as text.
std::vector<std::string> Listing(const std::string& fork, bool withIcon) {
    std::vector<std::string> list;
    ResourceMap map;
    EXPECT_EQ(map.Read(fork), noErr);
    list.push_back(std::to_string(map.Attributes()));
    for (const Resource& resource : map.Resources()) {
        if (!withIcon && resource.type == kIcns && resource.id == kCustomIcon) continue;
        std::string_view data;
        EXPECT_EQ(map.Data(resource, &data), noErr);
        list.push_back(std::to_string(resource.type) + " " + std::to_string(resource.id) + " " +
                       std::to_string(resource.attributes) + (resource.hasName ? " named " : " ") +
                       std::string(resource.name) + ": " + std::string(data));
    }
    return list;
}

TEST(ComposeFork, EveryForkOfOthersKeepsItsResources) {
    if (Testing::CorpusFolder().empty()) GTEST_SKIP() << "the corpus is not here";
    int forks = 0;
    for (const Testing::CorpusFile& file : Testing::CorpusFiles("forks/rsrc_")) {
        const std::string fork = Testing::ReadAll(file.path);
        ResourceMap map;
        if (map.Read(fork) != noErr) continue;
        ++forks;
        const std::string composed = With(fork, kIcns, kCustomIcon, "NEW");
        EXPECT_EQ(Listing(composed, false), Listing(fork, false)) << file.name;
        EXPECT_EQ(Listing(composed, true).back().substr(0, 10), std::to_string(kIcns).substr(0, 10))
            << file.name;
    }
    EXPECT_GE(forks, 25);
}

}  // namespace
}  // namespace Ondrel
