// What the encoders have in common, and the output into memory.
#include "ondrel/preview/encoders.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/preview/PackBitsPeers.h"
#include "tests/records/Allocations.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// Shows what an encoder keeps.
class Opened : public KesEncoder {
 public:
    using KesEncoder::KesEncoder;
    void EncodeRaw(const unsigned char*, int) override {}
    void EncodeRecord(const unsigned char*, int) override {}
    void Flush() override {}
    using KesEncoder::buffer_;
    using KesEncoder::bufferSize_;
    using KesEncoder::depth_;
    using KesEncoder::output_;
    using KesEncoder::rowBytes_;
    using KesEncoder::width_;
};

TEST(Encoders, ARowHasTheBytesThatItsBitsFill) {
    const struct {
        unsigned width;
        unsigned depth;
        unsigned rowBytes;
    } cases[] = {{0, 8, 0}, {1, 1, 1}, {8, 1, 1}, {9, 1, 2}, {20, 1, 3}, {5, 8, 5}, {5, 24, 15}};
    for (const auto& c : cases) {
        Pieces output;
        const Opened encoder(c.width, c.depth, &output, 16);
        EXPECT_EQ(encoder.rowBytes_, c.rowBytes) << c.width << " x " << c.depth;
        EXPECT_EQ(encoder.width_, c.width);
        EXPECT_EQ(encoder.depth_, c.depth);
        EXPECT_EQ(encoder.output_, &output);
        EXPECT_EQ(encoder.bufferSize_, 16U);
    }
}

TEST(Encoders, TheBufferHasTheSizeAskedForOrRoomForARow) {
    const struct {
        unsigned width;
        unsigned asked;
        unsigned made;
    } cases[] = {{100, 16, 16}, {100, 0, 65536}, {65536, 0, 65536}, {65537, 0, 65537}};
    for (const auto& c : cases) {
        TakeLargestAllocation();
        const Opened encoder(c.width, 8, nullptr, c.asked);
        EXPECT_EQ(TakeLargestAllocation(), c.made);
        EXPECT_EQ(encoder.bufferSize_, c.made);
    }
}

TEST(Encoders, TheTableReversesBits) {
    EXPECT_EQ(KesEncoder::mBitRevTab[0x00], 0x00);
    EXPECT_EQ(KesEncoder::mBitRevTab[0x01], 0x80);
    EXPECT_EQ(KesEncoder::mBitRevTab[0x02], 0x40);
    EXPECT_EQ(KesEncoder::mBitRevTab[0x03], 0xC0);
    EXPECT_EQ(KesEncoder::mBitRevTab[0x35], 0xAC);
    EXPECT_EQ(KesEncoder::mBitRevTab[0xF0], 0x0F);
    EXPECT_EQ(KesEncoder::mBitRevTab[0xFF], 0xFF);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(KesEncoder::mBitRevTab[KesEncoder::mBitRevTab[i]], i);
        EXPECT_EQ(KesPackBitsEncode::mNoRevTab[i], i);
    }
}

TEST(Encoders, BitInversionTurnsEachByteAndNoOther) {
    std::vector<unsigned char> bytes(300);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>(i * 37 + 5);
    for (int length = 0; length < 290; ++length) {
        std::vector<unsigned char> out(300, 0x11);
        KesEncoder::BitInversion(bytes.data() + 1, length, out.data());
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], i < static_cast<std::size_t>(length)
                                  ? KesEncoder::mBitRevTab[bytes[i + 1]]
                                  : 0x11)
                << length << " at " << i;
    }
}

TEST(Encoders, BitInversionWorksInPlaceAndIgnoresLengthsBelowOne) {
    unsigned char bytes[] = {0x01, 0x02, 0x03, 0x80, 0x35, 0x01, 0x02, 0x03, 0x80, 0x35, 0xF1};
    KesEncoder::BitInversion(bytes, -1, bytes);
    EXPECT_EQ(bytes[0], 0x01);
    KesEncoder::BitInversion(bytes, 0, bytes);
    EXPECT_EQ(bytes[0], 0x01);
    KesEncoder::BitInversion(bytes, 11, bytes);
    EXPECT_EQ(Hex({reinterpret_cast<char*>(bytes), 11}), "80 40 C0 01 AC 80 40 C0 01 AC 8F");
}

// The virtual table, as callers compiled elsewhere use it: the output's one operation comes first,
// also in the output into memory, whose destructor stands behind it.
TEST(Encoders, TheOutputOperationIsTheFirstSlot) {
    using Slot = void (*)(void*, const unsigned char*, unsigned long);
    auto* const area = new unsigned char[4];
    PackBitsBuff buffer(area, 4);
    Slot* slots = nullptr;
    std::memcpy(&slots, static_cast<void*>(&buffer), sizeof slots);
    slots[0](&buffer, reinterpret_cast<const unsigned char*>("abc"), 3);
    EXPECT_EQ(buffer.position - area, 3);
    EXPECT_EQ(std::memcmp(area, "abc", 3), 0);
    static_assert(std::has_virtual_destructor_v<PackBitsBuff>);
    static_assert(!std::has_virtual_destructor_v<KesEncoderOutput>);
}

TEST(Encoders, AnEncoderHasTwoDestructorsBeforeItsOperations) {
    using EncodeSlot = void (*)(void*, const unsigned char*, int);
    using FlushSlot = void (*)(void*);
    Pieces output;
    KesPackBitsEncode encoder(4, 8, false, &output);
    void** slots = nullptr;
    std::memcpy(&slots, static_cast<void*>(&encoder), sizeof slots);
    const auto* const row = reinterpret_cast<const unsigned char*>("ab");
    reinterpret_cast<EncodeSlot>(slots[2])(&encoder, row, 2);
    reinterpret_cast<EncodeSlot>(slots[3])(&encoder, row, 2);
    reinterpret_cast<FlushSlot>(slots[4])(&encoder);
    EXPECT_EQ(Hex(output.Joined()), "01 61 62 00 61 FE 62");
}

TEST(PackBitsBuff, FillsItsAreaToTheLastByte) {
    auto* const area = new unsigned char[4];
    PackBitsBuff buffer(area, 4);
    EXPECT_EQ(buffer.position, area);
    const auto* const bytes = reinterpret_cast<const unsigned char*>("abcde");
    buffer.WriteEncoded(bytes, 3);
    buffer.WriteEncoded(bytes + 3, 0);
    EXPECT_EQ(buffer.position, area + 3);
    buffer.WriteEncoded(bytes + 3, 1);
    EXPECT_EQ(buffer.position, area + 4);
    EXPECT_EQ(std::memcmp(area, "abcd", 4), 0);
    buffer.position = area + 1;
    buffer.WriteEncoded(bytes + 4, 1);
    EXPECT_EQ(std::memcmp(area, "aecd", 4), 0);
}

std::string Thrown(PackBitsBuff* buffer, unsigned long length) {
    const unsigned char bytes[16] = {};
    try {
        buffer->WriteEncoded(bytes, length);
    } catch (const char* text) {
        return text;
    }
    return "nothing";
}

TEST(PackBitsBuff, ThrowsWhereTheAreaHasNoRoom) {
    auto* const area = new unsigned char[4]();
    PackBitsBuff buffer(area, 4);
    buffer.position = area + 2;
    EXPECT_EQ(Thrown(&buffer, 3), "Packbits overflow");
    EXPECT_EQ(buffer.position, area + 2);
    EXPECT_EQ(Thrown(&buffer, ~0UL), "Packbits overflow");
    EXPECT_EQ(Thrown(&buffer, 2), "nothing");
    EXPECT_EQ(Thrown(&buffer, 1), "Packbits overflow");
}

TEST(PackBitsBuff, HasRoomForNothingWithoutAnArea) {
    PackBitsBuff none(nullptr, 100);
    EXPECT_EQ(Thrown(&none, 0), "nothing");
    EXPECT_EQ(Thrown(&none, 1), "Packbits overflow");
}

}  // namespace
}  // namespace Ondrel::Testing
