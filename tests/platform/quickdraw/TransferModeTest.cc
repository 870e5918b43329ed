// Transfer modes, each with what it makes of one pixel.
#include "ondrel/platform/quickdraw/TransferMode.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace Ondrel::QuickDraw {
namespace {

constexpr Pixel kFore = 0xFF112233;
constexpr Pixel kBack = 0xFFAABBCC;
constexpr Pixel kOperand = 0xFF804020;
constexpr Pixel kThere = 0xFF0F80F0;
constexpr Pixel kNothing = 0;

Ink InkOf(TransferMode mode) {
    return {mode, kFore, kBack, kOperand, 0xFFB3B3B3};
}

TEST(TransferModes, AStoredNumberOfAPatternNamesTheSameMode) {
    for (int stored = 0; stored < 8; ++stored) {
        EXPECT_EQ(static_cast<int>(ModeFromStored(stored)), stored);
        EXPECT_EQ(static_cast<int>(ModeFromStored(stored + 8)), stored);
        EXPECT_EQ(static_cast<int>(ModeFromStored(stored + 64)), stored);
    }
    for (const int stored : {32, 33, 34, 35, 36, 37, 38, 39, 49, 50})
        EXPECT_EQ(static_cast<int>(ModeFromStored(stored)), stored);
}

TEST(TransferModes, AnUnknownNumberCopies) {
    for (const int stored : {-1, -32768, 40, 48, 51, 63, 128, 257, 32767})
        EXPECT_EQ(ModeFromStored(stored), TransferMode::kCopy) << stored;
}

TEST(TransferModes, WhatOnlyPrintersAreToDrawIsNotDrawn) {
    for (const int stored : {16, 23, 31, 23 + 64}) {
        EXPECT_EQ(ModeFromStored(stored), TransferMode::kNone) << stored;
        const Ink ink = InkOf(ModeFromStored(stored));
        for (const bool bit : {false, true}) {
            EXPECT_EQ(CombineBit(ink, bit, kNothing), kNothing);
            EXPECT_EQ(CombineBit(ink, bit, 0xFF123456), 0xFF123456U);
            EXPECT_EQ(EffectOfBit(ink, bit), BitEffect::kKeep);
        }
        EXPECT_EQ(CombineColor(ink, kBlack, kNothing), kNothing);
    }
}

TEST(TransferModes, BitsBecomeTheForegroundTheBackgroundOrWhatWasThere) {
    constexpr Pixel kInverted = 0xFFF07F0F;
    struct {
        TransferMode mode;
        Pixel set;
        Pixel clear;
    } const kModes[] = {
        {TransferMode::kCopy, kFore, kBack},
        {TransferMode::kOr, kFore, kThere},
        {TransferMode::kXor, kInverted, kThere},
        {TransferMode::kBic, kBack, kThere},
        {TransferMode::kNotCopy, kBack, kFore},
        {TransferMode::kNotOr, kThere, kFore},
        {TransferMode::kNotXor, kThere, kInverted},
        {TransferMode::kNotBic, kThere, kBack},
        {TransferMode::kTransparent, kFore, kThere},
        {TransferMode::kGrayishTextOr, 0xFF5D6E7F, kThere},
        {TransferMode::kHilite, kThere, kThere},
        // Channels: fore 11 22 33, back AA BB CC, operand 80 40 20, there 0F 80 F0.
        {TransferMode::kBlend, 0xFF1068D8, 0xFF5D8FEB},
        {TransferMode::kAddPin, 0xFF204020, 0xFF804020},
        {TransferMode::kAddOver, 0xFF20A223, 0xFFB93BBC},
        {TransferMode::kSubPin, 0xFF805EBD, 0xFF804024},
        {TransferMode::kAddMax, 0xFF1180F0, 0xFFAABBF0},
        {TransferMode::kSubOver, 0xFFFE5EBD, 0xFF65C524},
        {TransferMode::kAdMin, 0xFF0F2233, 0xFF0F80CC},
    };
    for (const auto& mode : kModes) {
        EXPECT_EQ(CombineBit(InkOf(mode.mode), true, kThere), mode.set)
            << static_cast<int>(mode.mode);
        EXPECT_EQ(CombineBit(InkOf(mode.mode), false, kThere), mode.clear)
            << static_cast<int>(mode.mode);
    }
}

// The colours of the extremes work as the bits of a bit map do.
TEST(TransferModes, BlackAndWhitePixelsWorkAsSetAndClearBits) {
    for (int mode = 0; mode < 8; ++mode) {
        const Ink ink = InkOf(static_cast<TransferMode>(mode));
        for (const Pixel there : {kThere, kNothing, kWhite, kBlack}) {
            EXPECT_EQ(CombineColor(ink, kBlack, there), CombineBit(ink, true, there)) << mode;
            EXPECT_EQ(CombineColor(ink, kWhite, there), CombineBit(ink, false, there)) << mode;
        }
    }
}

TEST(TransferModes, ColoursMixBitByBitBetweenTheTwo) {
    const Pixel source = 0xFFFF00F0;
    Ink plain;
    plain.mode = TransferMode::kCopy;
    EXPECT_EQ(CombineColor(plain, source, kThere), source) << "in black on white colours stay";
    struct {
        TransferMode mode;
        Pixel made;
    } const kModes[] = {
        {TransferMode::kCopy, 0xFFAA22C3},    {TransferMode::kOr, 0xFF0F22F3},
        {TransferMode::kXor, 0xFF0F7FFF},     {TransferMode::kBic, 0xFF0FBBFC},
        {TransferMode::kNotCopy, 0xFF11BB3C}, {TransferMode::kNotOr, 0xFF118030},
        {TransferMode::kNotXor, 0xFFF08000},  {TransferMode::kNotBic, 0xFFAA80C0},
        {TransferMode::kBlend, 0xFF8760F0},   {TransferMode::kAddMax, 0xFFFF80F0},
        {TransferMode::kTransparent, source},
    };
    for (const auto& mode : kModes) {
        EXPECT_EQ(CombineColor(InkOf(mode.mode), source, kThere), mode.made)
            << static_cast<int>(mode.mode);
    }
}

TEST(TransferModes, WhatTheSourceLeavesAloneStaysUntouched) {
    for (const TransferMode mode :
         {TransferMode::kOr, TransferMode::kXor, TransferMode::kBic, TransferMode::kTransparent,
          TransferMode::kGrayishTextOr, TransferMode::kHilite}) {
        EXPECT_EQ(CombineBit(InkOf(mode), false, kNothing), kNothing) << static_cast<int>(mode);
        const Pixel away =
            mode == TransferMode::kTransparent || mode == TransferMode::kHilite ? kBack : kWhite;
        EXPECT_EQ(CombineColor(InkOf(mode), away, kNothing), kNothing) << static_cast<int>(mode);
    }
    for (const TransferMode mode :
         {TransferMode::kNotOr, TransferMode::kNotXor, TransferMode::kNotBic}) {
        EXPECT_EQ(CombineBit(InkOf(mode), true, kNothing), kNothing) << static_cast<int>(mode);
        EXPECT_EQ(CombineColor(InkOf(mode), kBlack, kNothing), kNothing) << static_cast<int>(mode);
    }
}

TEST(TransferModes, NothingDrawnYetIsSeenAsWhite) {
    Ink ink;
    ink.mode = TransferMode::kXor;
    EXPECT_EQ(CombineBit(ink, true, kNothing), kBlack);
    EXPECT_EQ(CombineColor(ink, 0xFF00FF00, kNothing), 0xFF00FF00);
    ink.mode = TransferMode::kAdMin;
    EXPECT_EQ(CombineColor(ink, 0xFF123456, kNothing), 0xFF123456);
    ink.mode = TransferMode::kHilite;
    EXPECT_EQ(CombineBit(ink, true, kNothing), ink.hilite);
}

TEST(TransferModes, HighlightingTwiceGivesTheBackgroundAgain) {
    Ink ink;
    ink.mode = TransferMode::kHilite;
    EXPECT_EQ(CombineBit(ink, true, kWhite), ink.hilite);
    EXPECT_EQ(CombineBit(ink, true, ink.hilite), kWhite);
    EXPECT_EQ(CombineBit(ink, true, kThere), kThere);
    EXPECT_EQ(CombineColor(ink, kBlack, kWhite), ink.hilite);
    EXPECT_EQ(CombineColor(ink, kWhite, kWhite), kWhite) << "the background leaves it alone";
}

TEST(TransferModes, TransparentLeavesOutTheBackgroundColour) {
    const Ink ink = InkOf(TransferMode::kTransparent);
    EXPECT_EQ(CombineColor(ink, kBack, kThere), kThere);
    Ink same = ink;
    same.fore = kBack;
    EXPECT_EQ(CombineBit(same, true, kThere), kThere);
}

}  // namespace
}  // namespace Ondrel::QuickDraw
