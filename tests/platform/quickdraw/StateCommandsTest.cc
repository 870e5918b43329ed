// Commands that set what is drawn with: what they leave in the state, and how it shows.
#include "ondrel/platform/quickdraw/StateCommands.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/quickdraw/Art.h"
#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw {
namespace {

using Testing::Art;
using Testing::Bytes;
using Testing::PictureOf;

constexpr Rect kCanvas = {0, 0, 50, 50};

// The state after one command, whose data must be read to its end.
State After(std::uint16_t opcode, const std::string& data, State state = {}) {
    const std::string stored = Bytes(data);
    PictureBytes bytes(stored);
    EXPECT_EQ(ReadStateCommand(opcode, kCanvas, bytes, state), StateResult::kSet) << data;
    EXPECT_EQ(bytes.Left(), 0U) << data;
    return state;
}

TEST(StateCommands, TextsGetTheirFontFaceModeSizeAndSpacing) {
    EXPECT_EQ(After(0x03, "0016").text.font, 22);
    EXPECT_EQ(After(0x03, "FFFF").text.font, -1);
    EXPECT_EQ(After(0x04, "47").text.face, kBold | kItalic | kUnderline | kExtended);
    EXPECT_EQ(After(0x05, "0003").text.mode, TransferMode::kBic);
    EXPECT_EQ(After(0x05, "0031").text.mode, TransferMode::kGrayishTextOr);
    EXPECT_EQ(After(0x06, "FFFF8000").text.extraSpace, -0x8000);
    EXPECT_EQ(After(0x0D, "0018").text.size, 24);
    const TextState scaled = After(0x10, "0001 0002 0003 0004").text;
    EXPECT_EQ(scaled.numerator, (Point{1, 2}));
    EXPECT_EQ(scaled.denominator, (Point{3, 4}));
    EXPECT_EQ(After(0x2D, "0008 00000000 000A8000").text.justificationDots, 10);
}

// It is stored in 1/4096 of the size.
TEST(StateCommands, ExtraWidthOfCharactersFollowsTheSize) {
    State state = After(0x16, "0400");
    EXPECT_EQ(state.text.extraChar, 3 * 65536) << "a quarter of the system's 12 points";
    state = After(0x0D, "0018", state);
    EXPECT_EQ(state.text.extraChar, 6 * 65536);
    EXPECT_EQ(After(0x16, "F000", state).text.extraChar, -24 * 65536);
    EXPECT_EQ(After(0x16, "7FFF", After(0x0D, "7FFF")).text.extraChar, 0x7FFFFFFF);
}

TEST(StateCommands, FontsAreNamedByTheirNumber) {
    const State state = After(0x2C, "000A 0014 07 436F7572696572");
    EXPECT_EQ(state.text.fontNames.at(20), "Courier");
}

TEST(StateCommands, AFontNameShorterThanItsLengthSaysIsNotKept) {
    EXPECT_TRUE(After(0x2C, "0005 0014 06 4142").text.fontNames.empty());
    EXPECT_TRUE(After(0x2C, "0000").text.fontNames.empty());
    EXPECT_EQ(After(0x2C, "0007 0014 02 4142 FFFF").text.fontNames.at(20), "AB")
        << "more than the name";
}

TEST(StateCommands, ThePenGetsItsSizeModeAndPatterns) {
    EXPECT_EQ(After(0x07, "0003 0005").penHeight, 3);
    EXPECT_EQ(After(0x07, "0003 0005").penWidth, 5);
    EXPECT_EQ(After(0x07, "8000 FFFF").penWidth, 0);
    EXPECT_EQ(After(0x08, "000A").penMode, TransferMode::kXor);
    EXPECT_EQ(After(0x08, "0025").penMode, TransferMode::kAddMax);
    EXPECT_EQ(After(0x0B, "0010 0020").ovalSize, (Point{16, 32}));
    const Bits8x8 bits = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(After(0x02, "0102030405060708").backPattern.bits, bits);
    EXPECT_EQ(After(0x09, "0102030405060708").penPattern.bits, bits);
    EXPECT_EQ(After(0x0A, "0102030405060708").fillPattern.bits, bits);
}

TEST(StateCommands, ColoursHaveNumbersOrRedGreenAndBlue) {
    struct {
        const char* code;
        Pixel color;
    } const kColors[] = {
        {"00000021", kBlack},     {"0000001E", kWhite},     {"000000CD", 0xFFDD0806},
        {"00000155", 0xFF008011}, {"00000199", 0xFF0000D4}, {"00000111", 0xFF02ABEA},
        {"00000089", 0xFFF20884}, {"00000045", 0xFFFCF305}, {"FFFFFFFF", kBlack},
    };
    for (const auto& color : kColors) {
        EXPECT_EQ(After(0x0E, color.code).fore, color.color) << color.code;
        EXPECT_EQ(After(0x0F, color.code).back, color.color) << color.code;
    }
    EXPECT_EQ(After(0x1A, "12FF 3400 56FF").fore, 0xFF123456);
    EXPECT_EQ(After(0x1B, "12FF 3400 56FF").back, 0xFF123456);
    EXPECT_EQ(After(0x1D, "12FF 3400 56FF").hilite, 0xFF123456);
    EXPECT_EQ(After(0x1F, "12FF 3400 56FF").operand, 0xFF123456);
    EXPECT_EQ(After(0x1E, "", After(0x1D, "0000 0000 0000")).hilite, kDefaultHilite);
    EXPECT_TRUE(After(0x1C, "").nextIsHilite);
}

TEST(StateCommands, OtherCommandsAreNotReadAndShortOnesAreDamage) {
    for (const int opcode :
         {0x00, 0x11, 0x15, 0x17, 0x20, 0x28, 0x2E, 0x31, 0x90, 0xA0, 0xFF, 0x0C00, 0x8200}) {
        State state;
        PictureBytes bytes("0123456789");
        EXPECT_EQ(ReadStateCommand(static_cast<std::uint16_t>(opcode), kCanvas, bytes, state),
                  StateResult::kOther);
        EXPECT_EQ(bytes.Position(), 0U);
    }
    for (const int opcode :
         {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D,
          0x0E, 0x0F, 0x10, 0x12, 0x13, 0x14, 0x16, 0x1A, 0x1B, 0x1D, 0x1F, 0x2C, 0x2D}) {
        State state;
        PictureBytes bytes("");
        EXPECT_EQ(ReadStateCommand(static_cast<std::uint16_t>(opcode), kCanvas, bytes, state),
                  StateResult::kDamaged)
            << opcode;
    }
}

TEST(StateCommands, TheClipCutsWhatIsDrawn) {
    EXPECT_EQ(Art(6, 4, "01 000A 0001 0001 0003 0005 31 0000 0000 0004 0006"),
              "......\n"
              ".####.\n"
              ".####.\n"
              "......\n");
    EXPECT_EQ(Art(6, 2, "01 000A 0001 0001 0001 0005 31 0000 0000 0004 0006"),
              "......\n"
              "......\n");
    EXPECT_EQ(Art(6, 3,
                  "01 0024 0000 0000 0003 0006 0000 0000 0001 0003 0006 7FFF"
                  "   0002 0000 0001 0003 0006 7FFF 7FFF 31 0000 0000 0004 0006"),
              "#..###\n"
              "#..###\n"
              "......\n");
}

TEST(StateCommands, ADamagedClipIsItsBounds) {
    EXPECT_EQ(Art(6, 3,
                  "01 001C 0001 0001 0003 0004 0000 0000 0006 7FFF 0000 0000 0006 7FFF 7FFF"
                  "31 0000 0000 0003 0006"),
              "......\n"
              ".###..\n"
              ".###..\n");
}

TEST(StateCommands, AMovedOriginMovesWhatFollowsButNotTheClip) {
    EXPECT_EQ(Art(8, 4, "0C 0002 0001 31 0002 0003 0004 0007"),
              "........\n"
              ".####...\n"
              ".####...\n"
              "........\n");
    EXPECT_EQ(Art(8, 2, "01 000A 0000 0000 0004 0004 0C FFFE 0000 31 0000 0000 0004 0006"),
              "..##....\n"
              "..##....\n");
}

TEST(StateCommands, AnOriginThatRunsOverWrapsAround) {
    EXPECT_EQ(Art(4, 1, "0C 7FFF 0000 0C 7FFF 0000 0C 0003 0000 31 0000 0002 0001 0003"), ".#..\n");
}

TEST(StateCommands, PatternsRepeatFromThePicturesOrigin) {
    EXPECT_EQ(Art(16, 3, "0A 8040201008040201 34 0000 0000 0003 0005 34 0001 0005 0003 0010"),
              "#____...........\n"
              "_#_______#______\n"
              "__#_______#_____\n");
    EXPECT_EQ(Art(16, 2,
                  "0A 8040201008040201 34 0000 0000 0002 0005 0C 0001 0000 34 0000 0008 0003 0010"),
              "#____..#_______.\n"
              "_#___.._#______.\n");
    const Rect frame{-1, -2, 1, 8};
    EXPECT_EQ(Art(PictureOf(1, frame, "0A 8040201008040201 34 FFFF FFFE 0001 0008")),
              "_#_______#\n"
              "__#_______\n");
}

TEST(StateCommands, PatternsTakeTheColoursOfTheirTime) {
    EXPECT_EQ(Art(4, 2,
                  "1A FFFF 0000 0000 1B 0000 0000 FFFF 0A AA55AA55AA55AA55 34 0000 0000 0001 0004"
                  "1A 0000 FFFF 0000 3C 0E 00000021 0F 0000001E 34 0001 0000 0002 0004"),
              "GBGB\n"
              "_#_#\n");
}

TEST(StateCommands, ThePensModeCombinesWithWhatIsThere) {
    EXPECT_EQ(Art(8, 2,
                  "02 AA55AA55AA55AA55 32 0000 0000 0002 0008 09 F0F0F0F00F0F0F0F"
                  "08 0009 31 0000 0000 0002 0008"),
              "#####_#_\n"
              "####_#_#\n");
    EXPECT_EQ(
        Art(8, 1, "31 0000 0000 0001 0004 09 AAAAAAAAAAAAAAAA 08 000B 31 0000 0000 0001 0008"),
        "_#_#_._.\n");
    EXPECT_EQ(
        Art(8, 1, "31 0000 0000 0001 0004 09 AAAAAAAAAAAAAAAA 08 000A 31 0000 0000 0001 0008"),
        "_#_##.#.\n");
    EXPECT_EQ(Art(4, 1, "31 0000 0000 0001 0002 08 0025 1A 0000 FFFF 0000 31 0000 0000 0001 0004"),
              "GG__\n");
}

TEST(StateCommands, HighlightingIsAskedForOnceAndReplacesInverting) {
    EXPECT_EQ(Art(6, 1, "32 0000 0000 0001 0006 1C 33 0000 0000 0001 0002 33 0000 0002 0001 0004"),
              "%%##__\n");
    EXPECT_EQ(Art(6, 1,
                  "1D 0000 FFFF 0000 1C 08 000A 31 0000 0000 0001 0004 1E 1C"
                  "33 0000 0005 0001 0006"),
              "GGGG.%\n");
    EXPECT_EQ(Art(3, 1, "1C 31 0000 0000 0001 0001 33 0000 0001 0001 0002"), "##.\n")
        << "the next drawing uses it up, inverting or not";
}

}  // namespace
}  // namespace Ondrel::QuickDraw
