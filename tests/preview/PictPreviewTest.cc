// Previews: whole forks and pictures against the bytes that they must have. A picture one pixel
// high gets no icon, so that its fork is what the preview alone wrote.
#include "ondrel/preview/pictpreview.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/Types.h"
#include "tests/preview/ForkBytes.h"
#include "tests/preview/PackBitsPeers.h"
#include "tests/preview/Pixels.h"
#include "tests/preview/PreviewHelpers.h"
#include "tests/records/Allocations.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// What every picture of that size begins with.
std::string HeaderOf(int width, int height) {
    const std::string w = Hex16(width);
    const std::string h = Hex16(height);
    return "0032 0000 0000" + h + w + "0011 02FF 0C00 FFFFFFFF 00000000 00000000" + w + "0000" + h +
           "0000 00000000 001E 0001 000A 0000 0000" + h + w;
}

// --- The bytes ----------------------------------------------------------------------------------

TEST(PictPreview, AForkWithANarrowPictureIsTheseBytes) {
    const Scratch scratch;
    const OwnedPix image = MapOf(3, 1, "A0111213 B0212223 C0313233");
    const std::string path = scratch.Write("document", "data");
    filpictpreview(FileSpec(Wide(path)), image.get(), 72, nullptr);
    EXPECT_EQ(Hex(ForkBytes(path)),
              Hex(Bytes("00000100 000001A0 000000A0 00000056") + std::string(240, '\0') +
                  Bytes("0000008A"
                        // the picture: size, frame, version, header, highlighting, clip
                        "0032 0000 0000 0001 0003 0011 02FF"
                        "0C00 FFFFFFFF 00000000 00000000 00030000 00010000 00000000"
                        "001E 0001 000A 0000 0000 0001 0003"
                        // its pixels, unpacked
                        "009A 000000FF 800C 0000 0000 0001 0003 0000 0001 00000000"
                        "00480000 00480000 0010 0020 0003 0008 00000000 00000000 00000000"
                        "0000 0000 0001 0003 0000 0000 0001 0003 0000"
                        "00 A01112 00 13B021 00 2223C0"
                        "00FF"
                        // the pointer to it
                        "0000000E 00000000 0000 50494354 0100 0000"
                        // the map
                        "00000100 000001A0 000000A0 00000056 00000000 0000 0000 001C 0046 0001"
                        "50494354 0000 0012"
                        "706E6F74 0000 001E"
                        "0100 0000 00000000 00000000"
                        "0000 0008 0000008E 00000000"
                        "07 50726576696577 07 50726576696577")));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(PictPreview, APictureOf40PixelsIsPackedInPlanesWithOneByteCounts) {
    const Scratch scratch;
    const OwnedPix image = BlankMap(40, 1);
    std::string ramp;
    for (int x = 0; x < 40; ++x) {
        SetPixel(image, x, 0, x, 0x77, x < 20 ? 1 : 2);
        ramp += static_cast<char>(x);
    }
    EXPECT_EQ(Hex(Preview(scratch, image, nullptr, 300)),
              Hex(Bytes(HeaderOf(40, 1)) +
                  Bytes("009A 000000FF 80A0 0000 0000 0001 0028 0000 0004 00000000"
                        "012C0000 012C0000 0010 0020 0003 0008 00000000 00000000 00000000"
                        "0000 0000 0001 0028 0000 0000 0001 0028 0000"
                        "2F 27") +
                  ramp + Bytes("D977 ED01 ED02 00FF")));
}

TEST(PictPreview, APictureOf63PixelsHasTwoByteCountsAndEndsOnAnEvenPlace) {
    const Scratch scratch;
    const OwnedPix image = BlankMap(63, 1);
    for (int x = 0; x < 63; ++x)
        SetPixel(image, x, 0, x < 2 ? x + 1 : 5, 6, 7);
    EXPECT_EQ(Hex(Preview(scratch, image)),
              Hex(Bytes(HeaderOf(63, 1) +
                        "009A 000000FF 80FC 0000 0000 0001 003F 0000 0004 00000000"
                        "00480000 00480000 0010 0020 0003 0008 00000000 00000000 00000000"
                        "0000 0000 0001 003F 0000 0000 0001 003F 0000"
                        "0009 01 0102 C405 C206 C207 00"
                        "00FF")));
}

TEST(PictPreview, AMaskStandsBeforeThePictureUnreversed) {
    const Scratch scratch;
    const OwnedPix image = MapOf(3, 1, "A0111213 B0212223 C0313233");
    const OwnedEnv mask = MaskOf(17, 2, {"A55A80", "000000"});
    EXPECT_EQ(Hex(Preview(scratch, image, mask.get())),
              Hex(Bytes(HeaderOf(3, 1) +
                        "0098 8004 0000 0000 0002 0011 0000 0000 00000000"
                        "00480000 00480000 0000 0001 0001 0001 00000000 00000000 00000000"
                        "5AFEC0DE 0000 0001 0000 FFFF FFFF FFFF 0001 0000 0000 0000"
                        "0000 0000 0002 0011 0000 0000 0002 0011 0003"
                        "05 01 A55A FF80  02 FD00 00"
                        "009A 000000FF 800C 0000 0000 0001 0003 0000 0001 00000000"
                        "00480000 00480000 0010 0020 0003 0008 00000000 00000000 00000000"
                        "0000 0000 0001 0003 0000 0000 0001 0003 0001"
                        "00 A01112 00 13B021 00 2223C0"
                        "00FF")));
}

TEST(PictPreview, AMaskOf9PixelsHasRowsOfTwoBytes) {
    const Scratch scratch;
    const OwnedPix image = BlankMap(1, 1);
    const OwnedEnv mask = MaskOf(9, 1, {"A580"});
    const std::string picture = Preview(scratch, image, mask.get());
    EXPECT_EQ(Hex(picture.substr(54, 4)), "00 98 80 02");
    EXPECT_EQ(Hex(picture.substr(54 + 90, 6)), "03 01 A5 80 00 9A");
}

TEST(PictPreview, AWideMaskHasTwoByteCounts) {
    const Scratch scratch;
    const OwnedPix image = BlankMap(1, 1);
    for (const int width : {2000, 2001}) {
        const auto bytes = static_cast<std::size_t>((width + 7) / 8);
        const OwnedEnv mask = MaskOf(width, 1, {std::string(2 * bytes, 'F')});
        const std::string picture = Preview(scratch, image, mask.get());
        if (width == 2000)
            EXPECT_EQ(Hex(picture.substr(56, 2) + picture.substr(144, 6)),
                      "80 FA 04 81 FF 87 FF 00");
        else
            EXPECT_EQ(Hex(picture.substr(56, 2) + picture.substr(144, 6)),
                      "80 FC 00 04 81 FF 85 FF");
    }
}

TEST(PictPreview, TheWidthDecidesHowRowsAreStored) {
    const struct {
        int width;
        const char* rowBytes;
        const char* packType;
        const char* firstRow;
    } cases[] = {
        {1, "80 04", "00 01", "00 00 02 03"},  {10, "80 28", "00 01", "00 00 02 03"},
        {31, "80 7C", "00 01", "00 00 02 03"}, {32, "80 80", "00 04", "06 E1 02 E1"},
        {62, "80 F8", "00 04", "06 C3 02 C3"}, {63, "80 FC", "00 04", "00 06 C2 02"},
        {64, "81 00", "00 04", "00 06 C1 02"},
    };
    const Scratch scratch;
    for (const auto& c : cases) {
        const OwnedPix image = BlankMap(c.width, 10);
        for (int y = 0; y < 10; ++y)
            for (int x = 0; x < c.width; ++x)
                SetPixel(image, x, y, 2, 3, 4);
        const std::string picture = Preview(scratch, image);
        EXPECT_EQ(Hex(picture.substr(54 + 6, 2)), c.rowBytes) << c.width;
        EXPECT_EQ(Hex(picture.substr(54 + 18, 2)), c.packType) << c.width;
        EXPECT_EQ(Hex(picture.substr(54 + 68, 2)), "00 00") << c.width;
        EXPECT_EQ(Hex(picture.substr(54 + 70, 4)), c.firstRow) << c.width;
        EXPECT_EQ(Hex(picture.substr(0, 2)), "00 32") << c.width;
        if (c.width == 10) {
            EXPECT_EQ(picture.size(), 54U + 70 + 400 + 2);
        }
    }
}

TEST(PictPreview, ANarrowRowTakesThreeBytesAPixelFromTheSource) {
    const Scratch scratch;
    const OwnedPix image = MapOf(2, 2, "00010203 04050607  10111213 14151617");
    const std::string picture = Preview(scratch, image);
    EXPECT_EQ(Hex(picture.substr(54 + 70)),
              "00 00 01 02 00 03 04 05 00 10 11 12 00 13 14 15 00 FF");
}

TEST(PictPreview, TheHeaderTellsWidthWhereHeightIsExpected) {
    const Scratch scratch;
    const std::string picture = Preview(scratch, BlankMap(5, 7));
    EXPECT_EQ(Hex(picture.substr(0, 54)), Hex(Bytes(HeaderOf(5, 7))));
    EXPECT_EQ(Hex(picture.substr(28, 8)), "00 05 00 00 00 07 00 00");
}

TEST(PictPreview, PackedRowsDecodeToThePlanesOfThePicture) {
    const Scratch scratch;
    const OwnedPix image = NoiseMap(90, 40, 3);
    const std::string picture = Preview(scratch, image);
    std::size_t at = 54 + 70;
    for (int y = 0; y < 40; ++y) {
        const std::size_t count = static_cast<unsigned char>(picture[at]) * 256U +
                                  static_cast<unsigned char>(picture[at + 1]);
        std::string row;
        ASSERT_TRUE(DecodePackBits(picture.substr(at + 2, count), &row)) << y;
        ASSERT_EQ(row, PlanesOf(image, y)) << y;
        at += 2 + count;
    }
    at += at % 2;
    EXPECT_EQ(Hex(picture.substr(at)), "00 FF");
}

// --- What else happens to the file --------------------------------------------------------------

// The custom-icon flag of the Finder Info in our sidecars.
bool HasIconFlag(const std::string& path) {
    return Exists(SidecarOf(path)) && (ReadAll(SidecarOf(path)).at(58) & 0x04) != 0;
}

TEST(PictPreview, TheForkHoldsPicturePointerAndIcon) {
    const Scratch scratch;
    Preview(scratch, NoiseMap(100, 60, 1));
    const std::string path = scratch.Path("document");
    EXPECT_EQ(Types(List(path)), "PICT 256 Preview; pnot 0 Preview; icns -16455 ; ");
    EXPECT_TRUE(HasIconFlag(path));
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(PictPreview, ASecondPreviewTakesThePlaceOfTheFirst) {
    const Scratch scratch;
    Preview(scratch, NoiseMap(200, 160, 1));
    const std::string second = Preview(scratch, NoiseMap(40, 30, 2));
    const std::string fork = ForkBytes(scratch.Path("document"));
    const Scratch other;
    EXPECT_EQ(second, Preview(other, NoiseMap(40, 30, 2)));
    EXPECT_EQ(Hex(fork), Hex(ForkBytes(other.Path("document"))));
}

TEST(PictPreview, WhatCannotBeOpenedIsLeftAlone) {
    const Scratch scratch;
    scratch.MakeFolder("folder");
    const OwnedPix image = BlankMap(40, 40);
    filpictpreview(FileSpec(), image.get(), 72, nullptr);
    filpictpreview(FileSpec(Wide(scratch.Path("missing"))), image.get(), 72, nullptr);
    filpictpreview(FileSpec(Wide(scratch.Path("folder"))), image.get(), 72, nullptr);
    EXPECT_FALSE(Exists(scratch.Path("missing")));
    EXPECT_FALSE(Exists(scratch.Path("._missing")));
    EXPECT_FALSE(Exists(scratch.Path("._folder")));
}

TEST(PictPreview, APictureWithoutPixelsChangesNothing) {
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    const FileSpec file(Wide(path));
    filpictpreview(file, nullptr, 72, nullptr);
    const OwnedPix image = BlankMap(40, 40);
    const struct {
        short height;
        short width;
        bool hasPixels;
        int depth;
        int rowBytes;
    } cases[] = {{0, 40, true, 32, 160},   {40, 0, true, 32, 160},   {-1, 40, true, 32, 160},
                 {40, -40, true, 32, 160}, {40, 40, false, 32, 160}, {40, 40, true, 8, 160},
                 {40, 40, true, 32, 159}};
    for (const auto& c : cases) {
        drapix header = *image;
        header.height = c.height;
        header.width = c.width;
        header.depth = c.depth;
        header.rowBytes = c.rowBytes;
        if (!c.hasPixels) header.base = nullptr;
        filpictpreview(file, &header, 72, nullptr);
        EXPECT_FALSE(Exists(SidecarOf(path))) << c.height << " x " << c.width;
    }
}

TEST(PictPreview, AMaskWithoutPixelsCountsAsNone) {
    const Scratch scratch;
    const OwnedPix image = BlankMap(3, 1);
    const std::string without = Preview(scratch, image);
    const OwnedEnv mask(draall(2, 8));
    const struct {
        short height;
        short width;
        bool hasPixels;
        int rowBytes;
    } cases[] = {{0, 8, true, 4},  {2, 0, true, 4},  {-2, 8, true, 4},
                 {2, -8, true, 4}, {2, 8, false, 4}, {2, 40, true, 4}};
    for (const auto& c : cases) {
        draenv header = *mask;
        header.height = c.height;
        header.width = c.width;
        header.rowBytes = c.rowBytes;
        if (!c.hasPixels) header.base = nullptr;
        EXPECT_EQ(Preview(scratch, image, &header), without) << c.height << " x " << c.width;
    }
}

TEST(PictPreview, TheCurrentResourceFileStaysCurrent) {
    const Scratch scratch;
    Preview(scratch, BlankMap(4, 4));
    EXPECT_EQ(CurResFile(), 0);
    const std::string path = scratch.Write("other", "");
    Preview(scratch, BlankMap(4, 4));
    filpictpreview(FileSpec(Wide(path)), BlankMap(4, 4).get(), 72, nullptr);
    HFSUniStr255 name;
    FSGetResourceForkName(&name);
    short file = 0;
    const FileSpec spec(Wide(path));
    ASSERT_EQ(FSOpenResourceFile(spec, name.length, name.unicode, fsRdPerm, &file), noErr);
    Preview(scratch, BlankMap(4, 4));
    EXPECT_EQ(CurResFile(), file);
    CloseResFile(file);
}

TEST(PictPreview, OtherExceptionsPassOnAndTheForkStays) {
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    const OwnedPix image = BlankMap(40, 40);
    const int descriptors = OpenDescriptors();
    {
        const RefuseAllocations refused(65536, 65536);  // the encoder's buffer
        EXPECT_THROW(filpictpreview(FileSpec(Wide(path)), image.get(), 72, nullptr),
                     std::bad_alloc);
    }
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(ReadAll(path), "data");
}

TEST(PictPreview, APictureThatNoForkCanHoldGetsAnIconAlone) {
    const Scratch scratch;
    Preview(scratch, NoiseMap(2400, 2340, 1));
    EXPECT_EQ(Types(List(scratch.Path("document"))), "icns -16455 ; ");
    Preview(scratch, BlankMap(2400, 2340));
    EXPECT_EQ(Types(List(scratch.Path("document"))),
              "PICT 256 Preview; pnot 0 Preview; icns -16455 ; ");
}

// --- As others read it --------------------------------------------------------------------------

// What a program makes of the picture: three bytes a pixel, row by row.
std::string PixelsAsReadBy(const std::string& command, const std::string& file) {
    const std::string line = command + " 'pict:" + file + "' -depth 8 rgb:- 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(line.c_str(), "r"), pclose);
    std::string bytes;
    for (int c; pipe != nullptr && (c = std::getc(pipe.get())) != EOF;)
        bytes += static_cast<char>(c);
    return bytes;
}

bool IsInstalled(const std::string& program) {
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

std::string PixelsOf(const OwnedPix& image) {
    std::string bytes;
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x)
            bytes.append(reinterpret_cast<const char*>(drabufbas(image.get(), y)) + 4L * x + 1, 3);
    return bytes;
}

TEST(PictPreview, OtherProgramsReadThePicture) {
    const struct {
        const char* program;
        const char* command;
    } readers[] = {{"gm", "gm convert"}, {"/usr/bin/convert", "/usr/bin/convert"}};
    const Scratch scratch;
    int asked = 0;
    for (const auto& reader : readers) {
        if (!IsInstalled(reader.program)) continue;
        ++asked;
        // These programs reckon with rows of three bytes a pixel where they choose the size of the
        // counts, and so cannot read widths of 63 to 66.
        for (const int width : {32, 62, 67, 90, 700}) {
            const OwnedPix image = NoiseMap(width, 40, 3);
            // Such files begin with 512 bytes for the application that wrote them.
            const std::string file =
                scratch.Write("p.pict", std::string(512, '\0') + Preview(scratch, image));
            EXPECT_TRUE(PixelsAsReadBy(reader.command, file) == PixelsOf(image))
                << reader.command << ", " << width << " pixels wide";
        }
    }
    if (asked == 0) GTEST_SKIP() << "no program that reads pictures is installed";
}

}  // namespace
}  // namespace Ondrel::Testing
