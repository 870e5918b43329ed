// Reading previews: which resource, which size, which pixels, and what is left in the stream.
#include "ondrel/preview/previewreader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "ondrel/core/Volumes.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/preview/pictpreview.h"
#include "tests/preview/ForkBytes.h"
#include "tests/preview/Pixels.h"
#include "tests/records/Allocations.h"
#include "tests/support/FaultPlan.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

struct Stored {
    int id;
    std::string bytes;
    int attributes = 0;
};

std::string Hex32(std::size_t value) {
    return Hex16(static_cast<int>(value >> 16)) + Hex16(static_cast<int>(value & 0xFFFF));
}

// A resource fork of pictures.
std::string ForkWith(const std::vector<Stored>& pictures) {
    std::string data;
    std::string references;
    for (const Stored& one : pictures) {
        const std::string place = Hex32(data.size());
        references += Hex16(one.id & 0xFFFF) + "FFFF" +
                      Hex16(one.attributes << 8 | std::stoi(place.substr(2, 2), nullptr, 16)) +
                      place.substr(4) + "00000000";
        data += Bytes(Hex32(one.bytes.size())) + one.bytes;
    }
    const std::size_t mapSize = 38 + 12 * pictures.size();
    const std::string header =
        Hex32(256) + Hex32(256 + data.size()) + Hex32(data.size()) + Hex32(mapSize);
    return Bytes(header) + std::string(240, '\0') + data +
           Bytes(header + "00000000 0000 0000 001C" + Hex16(static_cast<int>(mapSize)) +
                 "0000 50494354" + Hex16(static_cast<int>(pictures.size()) - 1) + "000A" +
                 references);
}

// A picture of that size; `commands` in version 1, or the whole of it painted black.
std::string PictureOf(int width, int height, const std::string& commands = {}) {
    const std::string frame = "0000 0000" + Hex16(height) + Hex16(width);
    const std::string all = "31" + frame;
    return Bytes("0000" + frame + "1101" + (commands.empty() ? all : commands) + "FF");
}

// A document of that fork, open for reading.
class Document {
 public:
    explicit Document(const std::string& fork) {
        path_ = scratch_.Write("document", "data");
        if (!fork.empty()) WriteFork(fork);
        EXPECT_EQ(openFile(&stream_, nullptr, FileSpec(Wide(path_))), 0);
    }
    explicit Document(const std::vector<Stored>& pictures) : Document(ForkWith(pictures)) {}
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    void WriteFork(const std::string& fork) {
        scratch_.Write("._document", Bytes("00051607 00020000") + "Mac OS X        " +
                                         Bytes("0002 00000009 00000032 00000020"
                                               "00000002 00000052" +
                                               Hex32(fork.size())) +
                                         std::string(32, '\0') + fork);
    }
    void RemoveFork() { std::remove(SidecarOf(path_).c_str()); }
    void Remove() {
        RemoveFork();
        std::remove(path_.c_str());
    }

    fil* Stream() { return &stream_; }
    short& Error() { return stream_.sys->error; }
    short ResourceRef() const { return stream_.sys->resourceRef; }

    OwnedPix Preview(int maxHeight = 32767, double scale = 1, int index = 0) {
        auto* map = reinterpret_cast<drapix*>(this);  // must be written over
        ReadPreviewFromPictResource(&stream_, &map, scale, maxHeight, index);
        return OwnedPix(map);
    }
    std::string Resource(int id) {
        const Handle handle = ReadPICTResourceFromFile(reinterpret_cast<fil*>(stream_.sys), id);
        if (handle == nullptr) return "none";
        const std::string bytes(*handle, GetHandleSize(handle));
        DisposeHandle(handle);
        return bytes;
    }

 private:
    Scratch scratch_;
    std::string path_;
    fil stream_;
};

std::string SizeOf(const OwnedPix& map) {
    if (map == nullptr) return "none";
    return std::to_string(map->width) + "x" + std::to_string(map->height);
}

std::string PixelsOf(const OwnedPix& map) {
    if (map == nullptr) return "none";
    std::string rows;
    for (int y = 0; y < map->height; ++y) {
        const auto* const row = reinterpret_cast<const char*>(drabufbas(map.get(), y));
        rows += Hex({row, static_cast<std::size_t>(map->rowBytes)}) + "\n";
    }
    return rows;
}

// --- The resource -------------------------------------------------------------------------------

TEST(PictureResources, ComeDetachedAndLeaveTheCurrentFileCurrent) {
    Document document({{256, "first"}, {257, ""}, {-3, "third"}});
    const short current = CurResFile();
    const Handle handle =
        ReadPICTResourceFromFile(reinterpret_cast<fil*>(document.Stream()->sys), 256);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(CurResFile(), current);
    EXPECT_GT(document.ResourceRef(), 0);
    EXPECT_EQ(document.Error(), 0);
    EXPECT_EQ(filclo(document.Stream()), 0);
    EXPECT_EQ(std::string(*handle, GetHandleSize(handle)), "first");
    DisposeHandle(handle);
}

TEST(PictureResources, AreFoundByTheirIdAlone) {
    Document document({{256, "first"}, {257, ""}, {-3, "third"}});
    EXPECT_EQ(document.Resource(256), "first");
    EXPECT_EQ(document.Resource(257), "");
    EXPECT_EQ(document.Resource(-3), "third");
    EXPECT_EQ(document.Resource(258), "none");
    EXPECT_EQ(document.Error(), -192);
}

TEST(PictureResources, OfNoRecordAreNone) {
    EXPECT_EQ(ReadPICTResourceFromFile(nullptr, 256), nullptr);
}

TEST(PictureResources, TheOpenResourceFileServesTheNextCallAndIsClosedWithTheStream) {
    const int before = OpenDescriptors();
    {
        Document document({{256, "first"}, {257, "second"}});
        const int open = OpenDescriptors();
        EXPECT_EQ(document.Resource(256), "first");
        const short reference = document.ResourceRef();
        const int withFork = OpenDescriptors();
        EXPECT_GT(withFork, open);
        document.RemoveFork();
        EXPECT_EQ(document.Resource(257), "second") << "it would not be found again";
        EXPECT_EQ(document.ResourceRef(), reference);
        EXPECT_EQ(OpenDescriptors(), withFork);
        EXPECT_EQ(filclo(document.Stream()), 0);
        EXPECT_EQ(OpenDescriptors(), before);
    }
}

TEST(PictureResources, WhatCannotBeReadLeavesItsCodeInTheStream) {
    const std::string good = ForkWith({{256, PictureOf(4, 4)}});
    std::string damaged = good;
    damaged.resize(280);
    const struct {
        const char* reason;
        std::string fork;
        short code;
        bool staysOpen;
    } kCases[] = {
        {"no fork", "", -193, false},
        {"a fork without an end", damaged, -199, false},
        {"another picture", ForkWith({{300, PictureOf(4, 4)}}), -192, true},
        {"a compressed picture",
         ForkWith({{256, Bytes("A89F6572 0012 0801") + PictureOf(4, 4), 1}}), -186, true},
    };
    for (const auto& one : kCases) {
        Document document(one.fork);
        const short current = CurResFile();
        EXPECT_EQ(document.Resource(256), "none") << one.reason;
        EXPECT_EQ(document.Error(), one.code) << one.reason;
        EXPECT_EQ(document.ResourceRef() != 0, one.staysOpen) << one.reason;
        EXPECT_EQ(CurResFile(), current) << one.reason;
        document.Error() = 0;
        EXPECT_EQ(SizeOf(document.Preview()), "none") << one.reason;
        EXPECT_NE(document.Error(), 0) << one.reason;
    }
}

TEST(PictureResources, AnEmptyForkIsNone) {
    Document document("");
    document.WriteFork("");
    EXPECT_EQ(document.Resource(256), "none");
    EXPECT_EQ(document.Error(), -193);
}

TEST(PictureResources, OfAFileThatIsGoneLeaveNoCode) {
    Document document({{256, "first"}});
    document.Remove();
    EXPECT_EQ(document.Resource(256), "none");
    EXPECT_EQ(document.Error(), 0);
    EXPECT_EQ(document.ResourceRef(), 0);
}

TEST(PictureResources, AForkThatIsMadeLaterIsFoundByALaterCall) {
    Document document("");
    EXPECT_EQ(document.Resource(256), "none");
    document.WriteFork(ForkWith({{256, "late"}}));
    EXPECT_EQ(document.Resource(256), "late");
}

// --- Which picture ------------------------------------------------------------------------------

TEST(Previews, APlaceForTheMapIsNeeded) {
    Document document({{256, PictureOf(4, 4)}});
    ReadPreviewFromPictResource(document.Stream(), nullptr, 1, 100, 0);
    EXPECT_EQ(document.ResourceRef(), 0) << "nothing was done";
}

TEST(Previews, OfNoStreamAndOfOneThatIsClosedAreNone) {
    fil closed;
    for (fil* const stream : {static_cast<fil*>(nullptr), &closed}) {
        drapix* map = reinterpret_cast<drapix*>(stream + 1);
        ReadPreviewFromPictResource(stream, &map, 1, 100, 0);
        EXPECT_EQ(map, nullptr);
    }
}

TEST(Previews, Picture128ServesWhereThereIsNo256ForIndex0) {
    Document document({{128, PictureOf(5, 4)}});
    EXPECT_EQ(SizeOf(document.Preview()), "5x4");
    EXPECT_EQ(document.Error(), 0) << "the failure of the first look-up is taken back";
    document.Error() = -36;
    EXPECT_EQ(SizeOf(document.Preview()), "5x4");
    EXPECT_EQ(document.Error(), -36) << "an earlier failure stays";
    EXPECT_EQ(SizeOf(document.Preview(100, 1, 1)), "none") << "only for index 0";
    EXPECT_EQ(document.Error(), -192);
}

TEST(Previews, Picture256GoesBefore128) {
    Document document({{128, PictureOf(5, 4)}, {256, PictureOf(7, 6)}, {258, PictureOf(9, 8)}});
    EXPECT_EQ(SizeOf(document.Preview()), "7x6");
    EXPECT_EQ(SizeOf(document.Preview(100, 1, 2)), "9x8");
    EXPECT_EQ(SizeOf(document.Preview(100, 1, -128)), "5x4");
    EXPECT_EQ(SizeOf(document.Preview(100, 1, std::numeric_limits<int>::max())), "none");
    EXPECT_EQ(SizeOf(document.Preview(100, 1, std::numeric_limits<int>::min())), "7x6")
        << "the number is cut to 16 bits";
}

// --- Which size ---------------------------------------------------------------------------------

TEST(PreviewSizes, AreHalvedUntilTheHeightFitsThenLimitedTo4000Wide) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        int width, height;
        double scale;
        int maxHeight;
        const char* size;
    } kCases[] = {
        {100, 1000, 1, 1000, "100x1000"},  // one that fits is left alone
        {100, 1000, 1, 999, "50x500"},
        {100, 1000, 1, 300, "25x250"},
        {100, 1000, 1, 250, "25x250"},
        {100, 1000, 1, 249, "12x125"},
        {100, 1001, 1, 500, "25x250"},  // 500.5 is too high, though 500 rows would do
        {100, 1000, 2, 300, "50x500"},  // the height is counted divided by the scale
        {100, 1000, 0.5, 1000, "50x500"},
        {3, 2000, 1, 100, "1x62"},  // no side gets below one
        {2000, 3, 1, 1, "500x1"},   // 3, 1.5, 0.75
        {1, 1, 1e-300, 1, "1x1"},
        {9, 9, 1e-320, 5, "1x1"},  // beyond what a number holds, yet it ends
        {9, 9, kInfinity, 1, "9x9"},
        {8000, 100, 1, 100, "4000x50"},
        {4000, 100, 1, 100, "4000x100"},
        {4001, 100, 1, 100, "4000x99"},
        {8000, 100, 1, 99, "4000x50"},
        {16000, 100, 1, 99, "4000x25"},
        {30000, 3, 1, 3, "4000x1"},
        {4, 4, 0, 100, "none"},
        {4, 4, -1, 100, "none"},
        {4, 4, kNaN, 100, "none"},
        {4, 4, 1, 0, "none"},
        {4, 4, 1, -5, "none"},
    };
    for (const auto& one : kCases) {
        Document document({{256, PictureOf(one.width, one.height)}});
        EXPECT_EQ(SizeOf(document.Preview(one.maxHeight, one.scale)), one.size)
            << one.width << 'x' << one.height << ' ' << one.scale << ' ' << one.maxHeight;
    }
}

TEST(PreviewSizes, AMapThatCannotBeHadIsNoPreview) {
    // From -20000 to 20000: higher than what can be drawn on.
    Document document({{256, Bytes("0000 B1E0 0000 4E20 0004 1101 FF")}});
    EXPECT_EQ(SizeOf(document.Preview(50000)), "none");
    EXPECT_EQ(document.Error(), 0);
    EXPECT_EQ(SizeOf(document.Preview(20000)), "2x20000");
}

// --- Which pixels -------------------------------------------------------------------------------

TEST(PreviewPixels, ThoseOfThePictureHaveA0InFrontAndTheOthersAreMarked) {
    // Red: the old colour 205, painted in the middle of three columns.
    Document document({{256, PictureOf(3, 2, "0E 000000CD 31 0000 0001 0002 0002")}});
    EXPECT_EQ(PixelsOf(document.Preview()),
              "FF FF FF FF 00 DD 08 06 FF FF FF FF\n"
              "FF FF FF FF 00 DD 08 06 FF FF FF FF\n");
}

TEST(PreviewPixels, WhiteThatIsDrawnIsCovered) {
    // Erased: painted in the background's colour.
    Document document({{256, PictureOf(2, 1, "32 0000 0000 0001 0001")}});
    EXPECT_EQ(PixelsOf(document.Preview()), "00 FF FF FF FF FF FF FF\n");
}

TEST(PreviewPixels, APictureThatDrawsNothingIsAllMarked) {
    Document document({{256, PictureOf(2, 1, "00")}});
    EXPECT_EQ(PixelsOf(document.Preview()), "FF FF FF FF FF FF FF FF\n");
}

TEST(PreviewPixels, HalvedOnesThatArePartlyCoveredAreMarked) {
    // Four by two, the left three columns painted: the right pixel of the half is half covered.
    Document document({{256, PictureOf(4, 2, "31 0000 0000 0002 0003")}});
    EXPECT_EQ(PixelsOf(document.Preview(1)), "00 00 00 00 FF FF FF FF\n");
}

TEST(PreviewPixels, WithoutMemoryToTellThemApartTheyKeepTheirAlpha) {
    // The left half is painted; the map, what tells the pixels apart and the picture that is drawn
    // take 16384 bytes each.
    Document document({{256, PictureOf(64, 64, "31 0000 0000 0040 0020")}});
    const struct {
        int refused;
        const char* left;
        const char* right;
    } kCases[] = {{1, nullptr, nullptr},
                  {2, "FF 00 00 00", "00 FF FF FF"},
                  {3, nullptr, nullptr},
                  {9, "00 00 00 00", "FF FF FF FF"}};
    for (const auto& one : kCases) {
        OwnedPix map;
        {
            const RefuseAllocations refused(64 * 64 * 4, 64 * 64 * 4, one.refused);
            map = document.Preview();
        }
        ASSERT_EQ(map == nullptr, one.left == nullptr) << one.refused;
        if (map == nullptr) continue;
        const auto* const row = reinterpret_cast<const char*>(map->base);
        EXPECT_EQ(Hex({row, 4}), one.left);
        EXPECT_EQ(Hex({row + 63 * 4, 4}), one.right);
    }
}

TEST(PreviewPixels, ADamagedPictureGivesWhatCameBefore) {
    std::string picture = PictureOf(2, 1, "31 0000 0000 0001 0001 31 0000");
    Document document({{256, picture.substr(0, picture.size() - 1)}});
    EXPECT_EQ(PixelsOf(document.Preview()), "00 00 00 00 FF FF FF FF\n");
}

TEST(PreviewPixels, WhatDoesNotBeginAsAPictureIsNone) {
    const std::string good = PictureOf(4, 4);
    for (const std::string& bytes :
         {std::string(), std::string("no"), good.substr(0, 10), good.substr(0, 11),
          std::string(600, '\0'), PictureOf(0, 4), PictureOf(4, 0)}) {
        Document document({{256, bytes}, {128, PictureOf(9, 9)}});
        EXPECT_EQ(SizeOf(document.Preview()), "none") << Hex(bytes.substr(0, 12));
        EXPECT_EQ(document.Error(), 0);
    }
}

// --- What this library wrote --------------------------------------------------------------------

// Writes a preview of the image and reads it again at its own size.
OwnedPix WrittenAndRead(const OwnedPix& image, draenv* mask = nullptr) {
    const Scratch scratch;
    const std::string path = scratch.Write("document", "data");
    filpictpreview(FileSpec(Wide(path)), image.get(), 72, mask);
    fil stream;
    EXPECT_EQ(openFile(&stream, nullptr, FileSpec(Wide(path))), 0);
    drapix* map = nullptr;
    ReadPreviewFromPictResource(&stream, &map, 1, 32767, 0);
    return OwnedPix(map);
}

TEST(WrittenPreviews, ComeBackAsTheyWere) {
    for (const int width : {32, 40, 63, 64, 200}) {
        const OwnedPix image = NoiseMap(width, 9, 5);
        const OwnedPix read = WrittenAndRead(image);
        ASSERT_EQ(SizeOf(read), SizeOf(image));
        for (int y = 0; y < 9; ++y) {
            EXPECT_EQ(Hex(PlanesOf(read, y)), Hex(PlanesOf(image, y))) << width << ' ' << y;
            for (int x = 0; x < width; ++x)
                EXPECT_EQ(drabufbas(read.get(), y)[4 * x], 0) << width << ' ' << x;
        }
    }
}

TEST(WrittenPreviews, NarrowOnesComeBackAsTheyAreStored) {
    // Their rows hold three consecutive bytes of the source for each pixel.
    const OwnedPix image = MapOf(3, 1, "A0111213 B0212223 C0313233");
    EXPECT_EQ(PixelsOf(WrittenAndRead(image)), "00 A0 11 12 00 13 B0 21 00 22 23 C0\n");
}

}  // namespace
}  // namespace Ondrel::Testing
