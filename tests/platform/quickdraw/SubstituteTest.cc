// What is left out behind a QuickTime image that was drawn.
#include "ondrel/platform/quickdraw/Substitute.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Scratch.h"

namespace Ondrel::QuickDraw {
namespace {

using Testing::Bytes;

// The head of a compressed image of 6 by 4 pixels that is moved to (2, 1) and made twice as wide.
constexpr const char* kImage =
    "00000044 0000"
    "00020000 00000000 00000000  00000000 00010000 00000000  00010000 00020000 40000000"
    "00000000 0000000000000000 0040 0000 0000 0004 0006 00000300 00000000";

Substitute AfterImage(std::uint16_t opcode = 0x8200, const char* image = kImage) {
    const std::string stored = Bytes(image);
    Substitute substitute;
    substitute.Expect(opcode, PictureBytes(stored));
    return substitute;
}

// Whether a command is left out, and how many bytes with it.
bool LeavesOut(Substitute& substitute, std::uint16_t opcode, const std::string& data,
               std::size_t taken = 0) {
    const std::string stored = Bytes(data);
    PictureBytes bytes(stored);
    const bool isLeftOut = substitute.LeavesOut(opcode, bytes);
    EXPECT_EQ(bytes.Position(), taken) << data;
    return isLeftOut;
}

std::string TextData(const std::string& text) {
    return "0000 0000" + Testing::Hex(std::string(1, static_cast<char>(text.size())) + text);
}

TEST(Substitutes, NothingIsLeftOutWithoutAnImage) {
    Substitute substitute;
    EXPECT_FALSE(LeavesOut(substitute, 0x07, "00AE 0004 0000 0000"));
    EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("QuickTime and a")));
}

TEST(Substitutes, APenSizeAnnouncesHowManyBytesAreLeftOut) {
    Substitute substitute = AfterImage();
    EXPECT_TRUE(LeavesOut(substitute, 0x07, "00AE 0006 1111 2222 3333 4444", 10));
    EXPECT_FALSE(LeavesOut(substitute, 0x07, "00AE 0006 1111 2222 3333")) << "once";
}

TEST(Substitutes, MoreBytesThanThereAreEndThePicture) {
    Substitute substitute = AfterImage();
    EXPECT_TRUE(LeavesOut(substitute, 0x07, "00AE 7FFF 1111", 6));
}

TEST(Substitutes, OtherPenSizesAnnounceNothing) {
    for (const char* size : {"0001 0001", "00AE 0000", "00AE FFFF", "00AF 0004", "00AE"}) {
        Substitute substitute = AfterImage();
        EXPECT_FALSE(LeavesOut(substitute, 0x07, size)) << size;
    }
}

TEST(Substitutes, ABitMapOverTheWholeImageIsOne) {
    for (const std::uint16_t opcode : {std::uint16_t{0x90}, std::uint16_t{0x98}}) {
        Substitute substitute = AfterImage();
        EXPECT_TRUE(LeavesOut(substitute, opcode,
                              "000A 0000 0000 002C 0045 0000 0000 002C 0045"
                              "0002 0001 0006 000D 0000"));
        EXPECT_FALSE(LeavesOut(substitute, opcode,
                               "000A 0000 0000 002C 0045 0000 0000 002C 0045"
                               "0002 0001 0006 000D 0000"))
            << "once";
    }
}

TEST(Substitutes, OtherImagesAreNone) {
    struct {
        std::uint16_t opcode;
        const char* data;
        const char* why;
    } const kImages[] = {
        {0x98, "000A 0000 0000 002C 0045 0000 0000 002C 0045 0002 0001 0006 000C 0000",
         "another place"},
        {0x98, "800A 0000 0000 002C 0045 0000 0000 002C 0045 0002 0001 0006 000D 0000",
         "a pixel map"},
        {0x99, "000A 0000 0000 002C 0045 0000 0000 002C 0045 0002 0001 0006 000D 0000",
         "with a mask"},
        {0x98, "000A 0000 0000 002C 0045 0000", "cut short"},
        {0x31, "0002 0001 0006 000D", "a rectangle"},
    };
    for (const auto& image : kImages) {
        Substitute substitute = AfterImage();
        EXPECT_FALSE(LeavesOut(substitute, image.opcode, image.data)) << image.why;
        EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("QuickTime and a")))
            << "what is drawn ends the wait";
    }
}

TEST(Substitutes, ABitMapAfterAnImageOfUnknownPlaceIsNone) {
    const char* const kTurned =
        "00000044 0000"
        "00000000 00010000 00000000  FFFF0000 00000000 00000000  00000000 00000000 40000000"
        "00000000 0000000000000000 0040 0000 0000 0004 0006 00000300 00000000";
    const char* const kBits = "000A 0000 0000 002C 0045 0000 0000 002C 0045 0000 0000 0000 0000";
    for (const char* image : {kTurned, "00000044 0000 00010000"}) {
        Substitute substitute = AfterImage(0x8200, image);
        EXPECT_FALSE(LeavesOut(substitute, 0x98, kBits)) << image;
    }
    Substitute uncompressed = AfterImage(0x8201);
    EXPECT_FALSE(LeavesOut(uncompressed, 0x98,
                           "000A 0000 0000 002C 0045 0000 0000 002C 0045"
                           "0002 0001 0006 000D 0000"));
}

TEST(Substitutes, TextsAreOneFromItsNameToWhatIsNeeded) {
    for (const std::uint16_t image : {std::uint16_t{0x8200}, std::uint16_t{0x8201}}) {
        Substitute substitute = AfterImage(image);
        EXPECT_FALSE(LeavesOut(substitute, 0x03, "0003")) << "the font is set";
        EXPECT_FALSE(LeavesOut(substitute, 0xA0, "0064"));
        EXPECT_TRUE(LeavesOut(substitute, 0x28, TextData("QuickTime\xAA and a")));
        EXPECT_FALSE(LeavesOut(substitute, 0x0D, "000C"));
        EXPECT_TRUE(LeavesOut(substitute, 0x28, TextData("Video decompressor")));
        EXPECT_TRUE(LeavesOut(substitute, 0x28, TextData("are needed to see this picture.")));
        EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("QuickTime is the title")))
            << "behind it";
    }
}

TEST(Substitutes, TextsInOneAreOneToo) {
    Substitute substitute = AfterImage();
    EXPECT_TRUE(
        LeavesOut(substitute, 0x2B, "05 05 1C" + Testing::Hex("QuickTime is needed to see it")));
    EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("A caption")));
}

TEST(Substitutes, OtherTextsAreNone) {
    Substitute substitute = AfterImage();
    EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("A caption")));
    EXPECT_FALSE(LeavesOut(substitute, 0x28, TextData("QuickTime and a")));
}

}  // namespace
}  // namespace Ondrel::QuickDraw
