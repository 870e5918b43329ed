// Blocks and repetitions.
#include <gtest/gtest.h>

#include "tests/tools/WalkSupport.h"

namespace OndrelTool::Testing {
namespace {

TEST(LayoutGroups, ABlockTellsItsLengthAndIsEntered) {
    EXPECT_EQ(Walked("00 00 00 03 01 00 02 09", "block { u8 u16 } u8"),
              (Lines{"0-4 block 00 00 00 03 = 3", "4-5 u8 01 = 1", "5-7 u16 00 02 = 2",
                     "7-8 u8 09 = 9"}));
    EXPECT_EQ(Walked("00 01 07 09", "b: block16 { x: u8 } u8"),
              (Lines{"0-2 b 00 01 = 1", "2-3 b.x 07 = 7", "3-4 u8 09 = 9"}));
    EXPECT_EQ(Walked("00 00 09", "block16 {} u8"),
              (Lines{"0-2 block16 00 00 = 0", "2-3 u8 09 = 9"}));
}

TEST(LayoutGroups, WhatALayoutLeavesOverOfABlockIsUndescribedAndPassed) {
    EXPECT_EQ(Walked("00 03 01 02 03 09", "block16 { u8 } u8"),
              (Lines{"0-2 block16 00 03 = 3", "2-3 u8 01 = 1", "3-5 undescribed 02 03",
                     "5-6 u8 09 = 9"}));
}

TEST(LayoutGroups, WhatALayoutLeavesOverOfTheDocumentIsUndescribed) {
    EXPECT_EQ(Walked("01 02 03", "u8"), (Lines{"0-1 u8 01 = 1", "1-3 undescribed 02 03"}));
    EXPECT_EQ(Walked("01", ""), (Lines{"0-1 undescribed 01"}));
    EXPECT_EQ(Walked("", ""), Lines{});
}

TEST(LayoutGroups, RestAndEndMeanTheBlock) {
    EXPECT_EQ(Walked("00 02 01 02 09", "block16 { rest } u8"),
              (Lines{"0-2 block16 00 02 = 2", "2-4 rest 01 02", "4-5 u8 09 = 9"}));
    EXPECT_EQ(Walked("00 01 01 09", "block16 { u8 end } u8 end"),
              (Lines{"0-2 block16 00 01 = 1", "2-3 u8 01 = 1", "3-4 u8 09 = 9"}));
}

TEST(LayoutGroups, AGroupIsRepeatedAsOftenAsIsSaid) {
    EXPECT_EQ(Walked("01 02", "repeat 2 { u8 }"),
              (Lines{"0-1 repeat[0].u8 01 = 1", "1-2 repeat[1].u8 02 = 2"}));
    EXPECT_EQ(Walked("09", "repeat 0 { u16 } u8"), (Lines{"0-1 u8 09 = 9"}));
    EXPECT_EQ(Walked("00 02 01 02", "points: repeat u16 { x: u8 }"),
              (Lines{"0-2 points 00 02 = 2", "2-3 points[0].x 01 = 1", "3-4 points[1].x 02 = 2"}));
    EXPECT_EQ(Walked("02 FF 01 02", "n: u8 u8 repeat n { u8 }"),
              (Lines{"0-1 n 02 = 2", "1-2 u8 FF = 255", "2-3 repeat[0].u8 01 = 1",
                     "3-4 repeat[1].u8 02 = 2"}));
    EXPECT_EQ(Walked("00 02 01 02 09", "block16 { repeat * { u8 } } u8"),
              (Lines{"0-2 block16 00 02 = 2", "2-3 repeat[0].u8 01 = 1", "3-4 repeat[1].u8 02 = 2",
                     "4-5 u8 09 = 9"}));
    EXPECT_EQ(Walked("", "repeat * { u8 }"), Lines{});
}

TEST(LayoutGroups, ANamedCountIsTheOneThatWasReadLast) {
    EXPECT_EQ(Walked("01 AA 02 BB CC", "repeat 2 { n: u8 bytes n }"),
              (Lines{"0-1 repeat[0].n 01 = 1", "1-2 repeat[0].bytes AA", "2-3 repeat[1].n 02 = 2",
                     "3-5 repeat[1].bytes BB CC"}));
    EXPECT_EQ(Walked("02 AA BB CC DD", "n: u8 repeat 2 { bytes n }"),
              (Lines{"0-1 n 02 = 2", "1-3 repeat[0].bytes AA BB", "3-5 repeat[1].bytes CC DD"}));
}

TEST(LayoutGroups, GroupsNest) {
    const std::string ended = "Unexpected end of file error (#-39) while reading file ...";
    EXPECT_EQ(Walked("00 00 00 05 02 00 01 07 00",
                     "doc: block { list: repeat u8 { block16 { repeat * { u8 } } } }"),
              (Lines{"0-4 doc 00 00 00 05 = 5", "4-5 doc.list 02 = 2",
                     "5-7 doc.list[0].block16 00 01 = 1", "7-8 doc.list[0].repeat[0].u8 07 = 7",
                     "AT 8 doc.list[1].block16: the document ends at 9 | " + ended}));
}

}  // namespace
}  // namespace OndrelTool::Testing
