// Regions: stored forms written out as bytes, and what they hold drawn as text.
#include "ondrel/platform/quickdraw/Region.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw {
namespace {

using Testing::Bytes;

// Rows of the rectangle (0, 0) to (height, width), '#' inside of the region.
std::string Drawn(const Region& region, int height, int width) {
    std::string rows;
    for (int v = 0; v < height; ++v) {
        for (int h = 0; h < width; ++h)
            rows += region.Contains({v, h}) ? '#' : '.';
        rows += '\n';
    }
    return rows;
}

// Reads what is written out; *behind: how many bytes were left behind it.
bool Read(const std::string& hex, Region* region, std::size_t* behind = nullptr) {
    const std::string stored = Bytes(hex);
    PictureBytes bytes(stored);
    const bool isGood = ReadRegion(bytes, region);
    if (behind != nullptr) *behind = bytes.Left();
    return isGood;
}

constexpr const char* kRing =
    "0034 0000 0000 0004 0006"
    "0000 0000 0006 7FFF"
    "0001 0001 0005 7FFF"
    "0003 0001 0005 7FFF"
    "0004 0000 0006 7FFF"
    "7FFF 0000 0000 0000 0000";

TEST(Regions, ARectangleIsTenBytes) {
    Region region;
    std::size_t behind = 0;
    ASSERT_TRUE(Read("000A 0001 0002 0003 0005 ABCD", &region, &behind));
    EXPECT_EQ(behind, 2U);
    EXPECT_EQ(region.Bounds(), (Rect{1, 2, 3, 5}));
    EXPECT_EQ(Drawn(region, 4, 6),
              "......\n"
              "..###.\n"
              "..###.\n"
              "......\n");
}

TEST(Regions, AnEmptyRectangleIsAnEmptyRegion) {
    Region region{Rect{0, 0, 9, 9}};
    ASSERT_TRUE(Read("000A 0004 0004 0004 0009", &region));
    EXPECT_TRUE(region.IsEmpty());
    EXPECT_EQ(region.Bounds(), Rect{});
    ASSERT_TRUE(Read("000A 0004 0009 0001 0004", &region));
    EXPECT_TRUE(region.IsEmpty());
}

TEST(Regions, RowsTellWhereInsideAndOutsideChange) {
    Region region;
    std::size_t behind = 9;
    ASSERT_TRUE(Read(kRing, &region, &behind));
    EXPECT_EQ(behind, 0U) << "the length counts, even where the rows end before";
    EXPECT_EQ(Drawn(region, 5, 7),
              "######.\n"
              "#....#.\n"
              "#....#.\n"
              "######.\n"
              ".......\n");
}

TEST(Regions, DamagedRowsLeaveTheBoundsAndStandBehindTheRegion) {
    struct {
        const char* rows;
        const char* why;
    } const kDamaged[] = {
        {"0000 0000 0006 7FFF 0000 0000 0006 7FFF 7FFF", "the same row twice"},
        {"0003 0000 0006 7FFF 0001 0000 0006 7FFF 7FFF", "rows upwards"},
        {"0000 0006 0000 7FFF 0004 0000 0006 7FFF 7FFF", "places to the left"},
        {"0000 0002 0002 7FFF 0004 0000 0006 7FFF 7FFF", "the same place twice"},
        {"0000 0000 0003 0006 7FFF 0004 0000 7FFF 7FFF", "an odd number of places"},
        {"0000 0000 0006 7FFF 7FFF 0000 0000 0000 0000", "never closed"},
        {"0000 0000 0006 7FFF 0004 0000 0006 7FFF 0005", "no end mark"},
        {"0000 0000 0001 0002 0003 0004 0005 0006 0007", "a row without an end"},
    };
    for (const auto& damaged : kDamaged) {
        Region region;
        std::size_t behind = 0;
        EXPECT_FALSE(
            Read(std::string("001C 0000 0000 0004 0006") + damaged.rows + "1234", &region, &behind))
            << damaged.why;
        EXPECT_EQ(behind, 2U) << damaged.why;
        EXPECT_EQ(region.Bounds(), (Rect{0, 0, 4, 6})) << damaged.why;
    }
}

TEST(Regions, ALengthThatIsTooSmallOrTooLargeIsDamage) {
    for (const char* stored :
         {"0000 0000 0000 0004 0006", "0009 0000 0000 0004 0006", "FFFF 0000 0000 0004 0006"}) {
        Region region;
        EXPECT_FALSE(Read(stored, &region)) << stored;
        EXPECT_EQ(region.Bounds(), (Rect{0, 0, 4, 6})) << stored;
    }
}

TEST(Regions, OneCutAnywhereIsDamage) {
    const std::string whole = Bytes(kRing);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        PictureBytes bytes(cut);
        Region region;
        EXPECT_FALSE(ReadRegion(bytes, &region)) << length;
        EXPECT_TRUE(bytes.HasFailed()) << length;
    }
}

// One row of 4000 rectangles, then rows that change next to nothing: millions in 30 KB.
TEST(Regions, RowsThatBuildUpToTooManyRectanglesAreDamage) {
    std::string rows = Bytes("0000");
    const auto add = [&rows](int value) {
        rows += static_cast<char>(value >> 8);
        rows += static_cast<char>(value & 0xFF);
    };
    for (int place = 0; place < 8000; ++place)
        add(place);
    add(0x7FFF);
    for (int row = 1; row < 1000; ++row) {
        add(row);
        add(8000 + row % 2);
        add(8003);
        add(0x7FFF);
    }
    const std::size_t length = 10 + rows.size();
    ASSERT_LT(length, 32768U);
    std::string stored = {static_cast<char>(length >> 8), static_cast<char>(length & 0xFF)};
    stored += Bytes("0000 0000 7000 7000") + rows;
    PictureBytes bytes(stored);
    Region region;
    EXPECT_FALSE(ReadRegion(bytes, &region));
    EXPECT_EQ(region.Boxes().size(), 1U);
    EXPECT_EQ(bytes.Left(), 0U);
}

TEST(Regions, CombineAsSets) {
    const Rect left{0, 0, 3, 3};
    const Rect right{1, 2, 4, 5};
    Region region(left);
    region &= Region(right);
    EXPECT_EQ(Drawn(region, 4, 5), ".....\n..#..\n..#..\n.....\n");
    region = Region(left);
    region |= Region(right);
    EXPECT_EQ(Drawn(region, 4, 5), "###..\n#####\n#####\n..###\n");
    region = Region(left);
    region -= Region(right);
    EXPECT_EQ(Drawn(region, 4, 5), "###..\n##...\n##...\n.....\n");
    region = Region(left);
    region ^= Region(right);
    EXPECT_EQ(Drawn(region, 4, 5), "###..\n##.##\n##.##\n..###\n");
    EXPECT_FALSE(region.HasFailed());
}

// A comb lying on a comb would be 16 million rectangles.
TEST(Regions, ACombinationOfTooManyRectanglesIsEmptyAndSaysSo) {
    std::vector<pixman_box32_t> upright;
    std::vector<pixman_box32_t> level;
    for (int i = 0; i < 8000; i += 2) {
        upright.push_back({i, 0, i + 1, 8000});
        level.push_back({0, i, 8000, i + 1});
    }
    Region region = Region::FromRects(upright);
    ASSERT_EQ(region.Boxes().size(), 4000U);
    region &= Region::FromRects(level);
    EXPECT_TRUE(region.IsEmpty());
    EXPECT_TRUE(region.HasFailed());
    region |= Region(Rect{0, 0, 1, 1});
    EXPECT_TRUE(region.HasFailed()) << "it stays that way";
    region = Region();
    EXPECT_FALSE(region.HasFailed());
}

TEST(Regions, CopiesAreTheirOwnAndMovedOnesAreEmpty) {
    Region first{Rect{0, 0, 2, 2}};
    Region second = first;
    second.Move(1, 2);
    EXPECT_EQ(first.Bounds(), (Rect{0, 0, 2, 2}));
    EXPECT_EQ(second.Bounds(), (Rect{1, 2, 3, 4}));
    const Region third = std::move(second);
    EXPECT_EQ(third.Bounds(), (Rect{1, 2, 3, 4}));
}

TEST(Regions, AreScaledRectangleByRectangle) {
    Region region;
    ASSERT_TRUE(Read(kRing, &region));
    const Mapping twice{Rect{0, 0, 4, 6}, 12, 8};
    EXPECT_EQ(Drawn(region.Mapped(twice), 8, 12),
              "############\n"
              "############\n"
              "##........##\n"
              "##........##\n"
              "##........##\n"
              "##........##\n"
              "############\n"
              "############\n");
    const Mapping moved{Rect{1, 2, 5, 8}, 6, 4};
    EXPECT_EQ(Drawn(region.Mapped(moved), 4, 6), "...#..\n...#..\n####..\n......\n");
}

}  // namespace
}  // namespace Ondrel::QuickDraw
