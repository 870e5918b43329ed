// The QuickTime commands: matrix, mask, matte, mode and source, and images of JPEG and PNG.
#include "ondrel/platform/quickdraw/QuickTime.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/platform/PngMaker.h"
#include "tests/platform/quickdraw/Frames.h"

namespace Ondrel::QuickDraw {
namespace {

using namespace Testing;
using Ondrel::Testing::BigEndian;
using Ondrel::Testing::MakePng;

constexpr std::uint16_t kCompressed = 0x8200;
constexpr std::uint16_t kNotCompressed = 0x8201;

const std::string kOnePixel = Bytes("00010000");
const std::string kNone = Bytes("00000000");

// In 65536ths of a pixel: across, down, and where to.
std::string MatrixBytes(int across, int down, int right, int below, int slantV = 0,
                        int slantH = 0) {
    const auto number = [](int value) { return BigEndian(static_cast<std::uint32_t>(value)); };
    return number(across) + number(slantV) + kNone + number(slantH) + number(down) + kNone +
           number(right) + number(below) + Bytes("40000000");
}

const std::string kSame = MatrixBytes(65536, 65536, 0, 0);

struct ImageFields {
    const char* codec;
    int width;
    int height;
    int depth;
    std::string data;
    std::string colors;  // a table behind the description
};

std::string DescriptionBytes(const ImageFields& image) {
    return BigEndian(static_cast<std::uint32_t>(86 + image.colors.size())) + image.codec +
           std::string(24, '\0') + Word(image.width) + Word(image.height) +
           Bytes("00480000 00480000") + BigEndian(static_cast<std::uint32_t>(image.data.size())) +
           Word(1) + std::string(32, '\0') + Word(image.depth) +
           Word(image.colors.empty() ? -1 : 0) + image.colors;
}

struct CommandFields {
    ImageFields image;
    Rect source;
    std::string matrix = kSame;
    int mode = 0;
    std::string mask = {};
    std::string matte = {};  // its description and data
    std::size_t matteSize = 0;
    Rect matteRect = {};
};

std::string CommandBytes(const CommandFields& command) {
    const std::string inside =
        Word(0) + command.matrix + BigEndian(static_cast<std::uint32_t>(command.matteSize)) +
        RectBytes(command.matteRect) + Word(command.mode) + RectBytes(command.source) + kNone +
        BigEndian(static_cast<std::uint32_t>(command.mask.size())) + command.matte + command.mask +
        DescriptionBytes(command.image) + command.image.data;
    return BigEndian(static_cast<std::uint32_t>(inside.size())) + inside;
}

// Four pixels, RG over BY.
ImageFields Small() {
    return {"raw ", 2, 2, 24, Bytes("FF0000 00FF00  0000FF FFFF00"), {}};
}

CommandFields SmallCommand() {
    return {Small(), {0, 0, 2, 2}};
}

std::string ResultText(QuickTimeResult result) {
    switch (result) {
        case QuickTimeResult::kDrawn:
            return "";
        case QuickTimeResult::kSkipped:
            return "skipped ";
        case QuickTimeResult::kDamaged:
            return "damaged ";
    }
    return "?";
}

std::string Draw(const std::string& stored, Page& page, std::uint16_t opcode = kCompressed,
                 std::string (*text)(const Canvas&) = Letters) {
    PictureBytes bytes(stored);
    const QuickTimeResult result = DrawQuickTime(opcode, bytes, page.state, page.canvas);
    return ResultText(result) + text(page.canvas) +
           (bytes.Left() == 0 ? "" : std::to_string(bytes.Left()));
}

std::string DrawOn(int width, int height, const CommandFields& command) {
    Page page(width, height);
    return Draw(CommandBytes(command), page);
}

TEST(QuickTime, AnImageIsDrawnAndItsCommandLeftBehind) {
    Page page(3, 2);
    EXPECT_EQ(Draw(CommandBytes(SmallCommand()) + "ab", page), "RG.|BY.|2");
}

struct MatrixCase {
    const char* why;
    std::string matrix;
    Rect source;
    const char* result;
};

constexpr Rect kAll = {0, 0, 2, 2};

const MatrixCase kMatrices[] = {
    {"as it is", kSame, kAll, "RG..|BY..|....|....|"},
    {"moved", MatrixBytes(65536, 65536, 2 * 65536, 65536), kAll, "....|..RG|..BY|....|"},
    {"larger", MatrixBytes(2 * 65536, 65536, 0, 0), kAll, "RRGG|BBYY|....|....|"},
    {"half the size", MatrixBytes(32768, 32768, 0, 0), kAll, "Y...|....|....|....|"},
    {"a part, which the matrix moves from where it is",
     MatrixBytes(65536, 65536, 0, 0),
     {1, 0, 2, 2},
     "....|BY..|....|....|"},
    {"mirrored", MatrixBytes(-65536, 65536, 2 * 65536, 0), kAll, "GR..|YB..|....|....|"},
    {"upside down", MatrixBytes(65536, -65536, 0, 4 * 65536), kAll, "....|....|BY..|RG..|"},
    {"a quarter turn", MatrixBytes(0, 0, 2 * 65536, 0, 65536, -65536), kAll,
     "BR..|YG..|....|....|"},
    {"slanted", MatrixBytes(65536, 65536, 0, 0, 0, 65536), kAll, "RG..|.BY.|....|....|"},
    {"flat", MatrixBytes(65536, 0, 0, 0), kAll, "....|....|....|....|"},
    {"far away", MatrixBytes(65536, 65536, 0x7FFFFFFF, 0x7FFFFFFF), kAll, "....|....|....|....|"},
    {"as large as can be", MatrixBytes(0x7FFFFFFF, 0x7FFFFFFF, 0, 0), kAll, "RRRR|RRRR|RRRR|RRRR|"},
    {"an empty source", kSame, {0, 0, 0, 2}, "....|....|....|....|"},
    {"more than the image has", kSame, {0, 0, 4, 4}, "RG..|BY..|....|....|"},
};

TEST(QuickTime, TheMatrixTellsWhereAnImageGoes) {
    for (const MatrixCase& of : kMatrices) {
        CommandFields command = SmallCommand();
        command.matrix = of.matrix;
        command.source = of.source;
        EXPECT_EQ(DrawOn(4, 4, command), of.result) << of.why;
    }
}

TEST(QuickTime, AScaledCanvasAndAClipHold) {
    Page page(Rect{0, 0, 2, 2}, 2);
    page.state.clip = Region(Rect{0, 1, 4, 4});
    EXPECT_EQ(Draw(CommandBytes(SmallCommand()), page), ".RGG|.RGG|.BYY|.BYY|");
    CommandFields mirrored = SmallCommand();
    mirrored.matrix = MatrixBytes(-65536, 65536, 2 * 65536, 0);
    EXPECT_EQ(Draw(CommandBytes(mirrored), page), ".GRR|.GRR|.YBB|.YBB|");
}

TEST(QuickTime, AMaskIsInThePicturesCoordinates) {
    CommandFields command = SmallCommand();
    command.mask = Bytes("000A 0001 0000 0002 0001");
    EXPECT_EQ(DrawOn(2, 2, command), "..|B.|");
}

TEST(QuickTime, TheModeCombinesWithWhatIsThere) {
    Page page(2, 2);
    for (int x = 0; x < 2; ++x)
        page.canvas.Row(0)[x] = 0xFF0000FF;
    CommandFields command = SmallCommand();
    command.mode = 37;  // the larger of each channel
    EXPECT_EQ(Draw(CommandBytes(command), page), "MC|WW|");
}

TEST(QuickTime, AMatteLetsAnImageThroughWhereItIsBlack) {
    Page page(2, 1);
    CommandFields command{{"raw ", 2, 1, 24, Bytes("FF0000 FF0000"), {}}, {0, 0, 1, 2}};
    const ImageFields matte = {"raw ", 2, 1, 40, Bytes("FF00"), {}};
    command.matte = DescriptionBytes(matte) + matte.data;
    command.matteSize = matte.data.size();
    command.matteRect = {0, 0, 1, 2};
    EXPECT_EQ(Draw(CommandBytes(command), page), "R.|");
}

TEST(QuickTime, AMatteOfGreysMixes) {
    Page page(1, 1);
    page.canvas.Row(0)[0] = kBlack;
    CommandFields command{{"raw ", 1, 1, 24, Bytes("FF0000"), {}}, {0, 0, 1, 1}};
    const ImageFields matte = {"raw ", 1, 1, 24, Bytes("7F7F7F"), {}};
    command.matte = DescriptionBytes(matte) + matte.data;
    command.matteSize = matte.data.size();
    command.matteRect = {0, 0, 1, 1};
    EXPECT_EQ(Draw(CommandBytes(command), page, kCompressed, Colors), "800000|");
}

TEST(QuickTime, AlphaCountsInTheModesForIt) {
    CommandFields command{{"raw ", 3, 1, 32, Bytes("FFFF0000 00FF0000 80FF0000"), {}},
                          {0, 0, 1, 3}};
    Page page(3, 1);
    command.mode = 256;
    EXPECT_EQ(Draw(CommandBytes(command), page, kCompressed, Colors), "FF0000 ...... FF7F7F|");
    command.mode = 64;
    EXPECT_EQ(Draw(CommandBytes(command), page), "RRR|");
}

TEST(QuickTime, IndicesTakeTheTableBehindTheDescriptionElseTheSystems) {
    CommandFields command{{"raw ", 2, 1, 8, Bytes("0001"), TableBytes({0x00FF00, 0x0000FF})},
                          {0, 0, 1, 2}};
    EXPECT_EQ(DrawOn(2, 1, command), "GB|");
    command.image.colors.clear();
    Page page(2, 1);
    EXPECT_EQ(Draw(CommandBytes(command), page, kCompressed, Colors), "FFFFFF FFFFCC|");
}

TEST(QuickTime, APngFileIsDrawn) {
    CommandFields command{
        {"png ", 2, 1, 24, MakePng({2, 1, 8, 2, Bytes("00 FF0000 0000FF"), {}, false}), {}},
        {0, 0, 1, 2}};
    EXPECT_EQ(DrawOn(2, 1, command), "RB|");
    command.image.data.resize(40);
    EXPECT_EQ(DrawOn(2, 1, command), "skipped ..|");
    command.image.data = MakePng({2, 1, 8, 6, Bytes("00 FF0000FF 0000FF00"), {}, false});
    EXPECT_EQ(DrawOn(2, 1, command), "R.|") << "alpha";
    command.image.data = MakePng({4, 2, 8, 0, Bytes("00 00000000 00 00000000"), {}, false});
    EXPECT_EQ(DrawOn(2, 1, command), "skipped ..|") << "far larger than it was said to be";
}

// A picture of 4 x 2 pixels that draws this behind its head.
std::string PictureWith(const std::string& commands) {
    return Word(0) + RectBytes({0, 0, 2, 4}) + Bytes("0011 02FF") + commands + Bytes("00FF");
}

std::string DrawingWith(int levels) {
    const std::string inside = levels == 0 ? Bytes("0031 0000 0001 0002 0003")
                                           : Word(kCompressed) + DrawingWith(levels - 1);
    return CommandBytes({{"qdrw", 4, 2, 24, PictureWith(inside), {}}, {0, 0, 2, 4}});
}

TEST(QuickTime, APictureInAPictureIsDrawnAndOneInThatAsWell) {
    for (const int levels : {0, 1}) {
        Page page(4, 2);
        EXPECT_EQ(Draw(DrawingWith(levels), page), ".KK.|.KK.|") << levels;
    }
    Page page(4, 2);
    EXPECT_EQ(Draw(DrawingWith(2), page), "....|....|");
}

TEST(QuickTime, APictureInAPictureTakesFromItsWork) {
    Page page(4, 2);
    (void)Draw(DrawingWith(0), page);
    const std::uint64_t spent = kEnoughWork - page.canvas.WorkLeft();
    Canvas canvas(4, 2, spent - 4);
    const std::string stored = DrawingWith(0);
    PictureBytes bytes(stored);
    (void)DrawQuickTime(kCompressed, bytes, page.state, canvas);
    EXPECT_TRUE(canvas.IsExhausted());
}

TEST(QuickTime, WhatIsNoPictureIsSkipped) {
    CommandFields command{{"qdrw", 4, 2, 24, std::string(40, 'a'), {}}, {0, 0, 2, 4}};
    EXPECT_EQ(DrawOn(4, 2, command), "skipped ....|....|");
}

// A JPEG file of 8 x 8 pixels a component, with codes of our own: for the first coefficient of a
// block, 0 stands for no difference and 10 for one of seven bits; for the others, 0 ends the block.
// All are stored in eighths, so that the first one is the level of the block, counted from 128.
std::string Jpeg(int height, int components, const std::string& data) {
    std::string file = Bytes("FFD8 FFDB 0043 00") + std::string(64, '\x08');
    file += Bytes("FFC0") + Word(8 + 3 * components) + Bytes("08") + Word(height) + Word(8);
    file += static_cast<char>(components);
    for (int i = 1; i <= components; ++i)
        file += static_cast<char>(i) + Bytes("11 00");
    file += Bytes("FFC4 0015 00 01010000000000000000000000000000 00 07");
    file += Bytes("FFC4 0014 10 01000000000000000000000000000000 00");
    file += Bytes("FFDA") + Word(6 + 2 * components);
    file += static_cast<char>(components);
    for (int i = 1; i <= components; ++i)
        file += static_cast<char>(i) + Bytes("00");
    return file + Bytes("00 3F 00" + data);
}

CommandFields JpegCommand(int height, const std::string& jpeg) {
    return {{"jpeg", 8, height, 24, jpeg, {}}, {0, 0, height, 8}};
}

// The colour of the pixel at the left of each row, runs of rows written once.
std::string RowColors(const Canvas& canvas) {
    const std::string all = Colors(canvas);
    std::string rows;
    for (std::size_t at = 0; at < all.size(); at = all.find('|', at) + 1) {
        const std::string row = all.substr(at, 6) + " ";
        if (!rows.ends_with(row)) rows += row;
    }
    return rows;
}

// 10 1100100 0 and a fill of ones: a difference of 100, and the end of the block.
TEST(QuickTime, AJpegFileIsDrawn) {
    Page page(8, 8);
    EXPECT_EQ(
        Draw(CommandBytes(JpegCommand(8, Jpeg(8, 1, "B23F FFD9"))), page, kCompressed, RowColors),
        "E4E4E4 ");
    EXPECT_EQ(page.canvas.Row(7)[7], 0xFFE4E4E4);
}

// Light 0 0, blue 0 0, red 10 1100100 0: 128 of light and 100 of red.
TEST(QuickTime, AJpegFileInColoursIsDrawn) {
    Page page(8, 8);
    EXPECT_EQ(
        Draw(CommandBytes(JpegCommand(8, Jpeg(8, 3, "0B23 FFD9"))), page, kCompressed, RowColors),
        "FF3980 ");
}

// Blocks below each other, 100 up and down in turn: 10 1100100 0, 10 0011011 0, and again.
TEST(QuickTime, AJpegFileCutOffIsDrawnAsFarAsItGoes) {
    const auto rows = [](const std::string& data) {
        Page page(8, 32);
        return Draw(CommandBytes(JpegCommand(32, Jpeg(32, 1, data))), page, kCompressed, RowColors);
    };
    EXPECT_EQ(rows("B2236B2236 FFD9"), "E4E4E4 808080 E4E4E4 808080 ");
    EXPECT_EQ(rows("B2236B FFD9"), "E4E4E4 808080 ...... ");
    EXPECT_EQ(rows("B223"), "E4E4E4 ...... ");
    EXPECT_EQ(rows("B2"), "skipped ...... ");
}

TEST(QuickTime, AJpegFileWithoutItsEndIsDrawnWhole) {
    Page page(8, 8);
    EXPECT_EQ(Draw(CommandBytes(JpegCommand(8, Jpeg(8, 1, "B23F"))), page, kCompressed, RowColors),
              "E4E4E4 ");
}

TEST(QuickTime, AJpegFileDamagedInFrontIsLeftOut) {
    const std::string jpeg = Jpeg(8, 1, "B23F FFD9");
    const std::size_t scan = jpeg.size() - 6;  // the data of its only scan, and what is before
    for (std::size_t size = 0; size < scan; ++size) {
        Page page(8, 8);
        EXPECT_EQ(
            Draw(CommandBytes(JpegCommand(8, jpeg.substr(0, size))), page, kCompressed, RowColors),
            "skipped ...... ")
            << size;
    }
}

TEST(QuickTime, ACompressorThatIsNotKnownIsSkipped) {
    CommandFields command = SmallCommand();
    command.image.codec = "SVQ1";
    EXPECT_EQ(DrawOn(2, 2, command), "skipped ..|..|");
}

TEST(QuickTime, ASizeFarBeyondTheDataIsSkipped) {
    CommandFields command = SmallCommand();
    command.image.width = 32767;
    command.image.height = 32767;
    EXPECT_EQ(DrawOn(2, 2, command), "skipped ..|..|");
    command.image.width = -2;
    command.image.height = 2;
    EXPECT_EQ(DrawOn(2, 2, command), "skipped ..|..|");
    command.image.width = 0;
    EXPECT_EQ(DrawOn(2, 2, command), "skipped ..|..|");
}

TEST(QuickTime, AnImageThatIsNotCompressedIsDrawnByItsOwnCommand) {
    const Rect bounds{0, 0, 1, 4};
    const std::string inside = Word(0) + kSame + kNone + RectBytes({}) + Word(0x90) + Word(2) +
                               RectBytes(bounds) + PlaceBytes(bounds, bounds) + Bytes("A000");
    const std::string stored = BigEndian(static_cast<std::uint32_t>(inside.size())) + inside;
    Page page(4, 1);
    EXPECT_EQ(Draw(stored + "abc", page, kNotCompressed), "KWKW|3");
}

TEST(QuickTime, AnotherCommandInPlaceOfAnImageIsSkipped) {
    const std::string inside =
        Word(0) + kSame + kNone + RectBytes({}) + Word(0x31) + RectBytes({0, 0, 1, 4});
    const std::string stored = BigEndian(static_cast<std::uint32_t>(inside.size())) + inside;
    Page page(4, 1);
    EXPECT_EQ(Draw(stored, page, kNotCompressed), "skipped ....|");
}

TEST(QuickTime, ACommandCutOffEndsThePictureAndDrawsWhatThereIs) {
    CommandFields command = SmallCommand();
    command.mask = Bytes("000A 0000 0000 0002 0002");
    const std::string stored = CommandBytes(command);
    const std::size_t secondRow = stored.size() - 6;
    for (std::size_t size = 0; size < stored.size(); ++size) {
        Page page(2, 2);
        EXPECT_EQ(Draw(stored.substr(0, size), page),
                  size < secondRow ? "damaged ..|..|" : "damaged RG|..|")
            << size;
    }
}

TEST(QuickTime, LengthsThatMakeNoSenseAreSkipped) {
    const std::string good = CommandBytes(SmallCommand());
    constexpr std::size_t kMatteLength = 4 + 2 + 36;
    constexpr std::size_t kMaskLength = kMatteLength + 4 + 8 + 2 + 8 + 4;
    constexpr std::size_t kDescription = kMaskLength + 4;
    for (const std::size_t at : {kMatteLength, kMaskLength, kDescription}) {
        for (const char* length : {"FFFFFFFF", "7FFFFFFF", "00000001"}) {
            std::string stored = good;
            stored.replace(at, 4, Bytes(length));
            Page page(2, 2);
            EXPECT_EQ(Draw(stored, page), "skipped ..|..|") << at << " " << length;
        }
    }
}

TEST(QuickTime, ADataLengthThatIsTooLargeIsCutAndOneOf0MeansAll) {
    constexpr std::size_t kDataLength = 4 + 2 + 36 + 4 + 8 + 2 + 8 + 4 + 4 + 44;
    for (const char* length : {"FFFFFFFF", "00000000"}) {
        std::string stored = CommandBytes(SmallCommand());
        stored.replace(kDataLength, 4, Bytes(length));
        Page page(2, 2);
        EXPECT_EQ(Draw(stored, page), "RG|BY|") << length;
    }
}

TEST(QuickTime, ADecodedImageTakesFromTheWorkThatIsLeft) {
    const Page page(2, 2);
    Canvas canvas(2, 2, 15);
    const std::string stored = CommandBytes(SmallCommand());
    PictureBytes bytes(stored);
    EXPECT_EQ(DrawQuickTime(kCompressed, bytes, page.state, canvas), QuickTimeResult::kSkipped);
    EXPECT_TRUE(canvas.IsExhausted());
}

}  // namespace
}  // namespace Ondrel::QuickDraw
