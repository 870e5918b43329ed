// The PackBits encoder: its codes, byte by byte, and rows without number beside the slow encoder.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/preview/encoders.h"
#include "ondrel/preview/equalruns.h"
#include "tests/preview/PackBitsPeers.h"
#include "tests/support/Scratch.h"

#if defined(__SANITIZE_ADDRESS__)
#define UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define UNDER_SANITIZER 1
#endif
#endif
#ifndef UNDER_SANITIZER
#define UNDER_SANITIZER 0
#endif

namespace Ondrel::Testing {
namespace {

constexpr int kRandomRows = UNDER_SANITIZER ? 50000 : 2000000;

const unsigned char* Start(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

std::string Encoded(std::string_view row, int extra = 0, int depth = 8) {
    Pieces output;
    KesPackBitsEncode encoder(8, depth, false, &output);
    encoder.Encode(Start(row), static_cast<int>(row.size()), extra);
    encoder.Flush();
    return output.Joined();
}

std::string Stepwise(std::string_view row, int extra = 0) {
    StepwisePackBits encoder(1 << 20, false);
    encoder.Encode(row, extra);
    encoder.Flush();
    return encoder.Get().empty() ? "" : encoder.Get()[0];
}

// `n` bytes of which neighbours differ: 00 01 02 ...
std::string Singles(int n) {
    std::string bytes;
    for (int i = 0; i < n; ++i)
        bytes += static_cast<char>(i);
    return bytes;
}

TEST(PackBits, TheCodesAreTheseBytes) {
    const struct {
        const char* row;
        const char* codes;
        const char* why;
    } cases[] = {
        {"", "", "nothing"},
        {"01", "00 01", "one byte is a literal"},
        {"01 02 03", "02 01 02 03", "different bytes are one literal"},
        {"05 05", "FF 05", "two equal bytes are a repeat"},
        {"05 05 05", "FE 05", "and so are three"},
        {"01 02 02 03", "03 01 02 02 03", "two equal bytes inside a literal join it"},
        {"01 02 02", "00 01 FF 02", "no single byte follows"},
        {"02 02 03", "FF 02 00 03", "no literal precedes"},
        {"01 02 02 02 03", "00 01 FE 02 00 03", "three are never joined"},
        {"01 02 02 03 03 04", "00 01 FF 02 FF 03 00 04", "a run follows the two"},
        {"01 02 02 03 04 04 05", "06 01 02 02 03 04 04 05", "joined twice"},
        {"01 02 02 03 04 04", "03 01 02 02 03 FF 04", "joined once"},
        {"01 01 02 03 03 04", "FF 01 03 02 03 03 04", "a literal behind a repeat takes two"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Hex(Encoded(Bytes(c.row))), c.codes) << c.row << ": " << c.why;
}

TEST(PackBits, LongRunsAreCutAt128) {
    const struct {
        int length;
        const char* codes;
    } cases[] = {
        {127, "82 09"},       {128, "81 09"},       {129, "81 09 00 09"},
        {130, "81 09 FF 09"}, {256, "81 09 81 09"}, {257, "81 09 81 09 00 09"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Hex(Encoded(std::string(static_cast<std::size_t>(c.length), '\x09'))), c.codes)
            << c.length;
}

TEST(PackBits, TheLastByteOfALongRunBeginsALiteral) {
    EXPECT_EQ(Hex(Encoded(std::string(129, '\x09') + "\x01\x02")), "81 09 02 09 01 02");
    EXPECT_EQ(Hex(Encoded("\x01" + std::string(129, '\x09') + "\x02")), "00 01 81 09 01 09 02");
    EXPECT_EQ(Hex(Encoded("\x01" + std::string(130, '\x09') + "\x02")), "00 01 81 09 FF 09 00 02");
}

TEST(PackBits, ALiteralEndsAt128) {
    EXPECT_EQ(Encoded(Singles(128)), "\x7F" + Singles(128));
    const std::string row = Singles(128) + '\x00';
    EXPECT_EQ(Encoded(row), "\x7F" + Singles(128) + std::string(2, '\0'));
}

TEST(PackBits, TwoEqualBytesJoinALiteralOfUpTo126) {
    const std::string pair = "\xAA\xAA";
    // 125 + 2 leave room for one more byte, 126 + 2 close the literal, 127 + 2 are too many.
    EXPECT_EQ(Encoded(Singles(125) + pair + "\x01\x02"),
              "\x7F" + Singles(125) + pair + "\x01" + std::string("\x00\x02", 2));
    EXPECT_EQ(Encoded(Singles(126) + pair + "\x01\x02"),
              "\x7F" + Singles(126) + pair + "\x01\x01\x02");
    EXPECT_EQ(Encoded(Singles(127) + pair + "\x01\x02"),
              "\x7E" + Singles(127) + "\xFF\xAA\x01\x01\x02");
}

TEST(PackBits, EveryCallStandsForItself) {
    Pieces output;
    KesPackBitsEncode encoder(8, 8, false, &output);
    for (const char* row : {"01", "02 02", "03"}) {
        const std::string bytes = Bytes(row);
        encoder.EncodeRaw(Start(bytes), static_cast<int>(bytes.size()));
    }
    EXPECT_TRUE(output.Get().empty());
    encoder.Flush();
    EXPECT_EQ(Hex(output.Joined()), "00 01 FF 02 00 03");
}

TEST(PackBits, ExtraBytesAreCopiesOfTheLast) {
    const struct {
        const char* row;
        int extra;
        const char* codes;
    } cases[] = {
        {"01", 1, "FF 01"},          {"01", 127, "81 01"},           {"01", 128, "81 01 00 01"},
        {"01 02", 1, "00 01 FF 02"}, {"01 02 02", 3, "00 01 FC 02"}, {"01 02", 0, "01 01 02"},
        {"01 02", -5, "01 01 02"},   {"02 02", -1, "FF 02"},         {"", 5, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Hex(Encoded(Bytes(c.row), c.extra)), c.codes) << c.row << " + " << c.extra;
}

TEST(PackBits, TheLargestExtraIsNotTooMuch) {
    Pieces output;
    KesPackBitsEncode encoder(8, 8, false, &output);
    encoder.Encode(Start("\x07"), 1, UNDER_SANITIZER ? 1 << 24 : INT_MAX);
    encoder.Flush();
    std::uint64_t bytes = 0;
    const std::string codes = output.Joined();
    for (std::size_t at = 0; at < codes.size(); at += 2) {
        ASSERT_EQ(codes[at + 1], '\x07');
        bytes += codes[at] == 0 ? 1 : 257U - static_cast<unsigned char>(codes[at]);
    }
    EXPECT_EQ(bytes, (UNDER_SANITIZER ? std::uint64_t{1} << 24 : std::uint64_t{INT_MAX}) + 1);
}

TEST(PackBits, ALengthBelowOneWritesNothing) {
    Pieces output;
    KesPackBitsEncode encoder(8, 8, false, &output);
    encoder.Encode(Start("ab"), 0, 5);
    encoder.Encode(Start("ab"), -1, 5);
    encoder.EncodeRaw(Start("ab"), INT_MIN);
    encoder.EncodeRecord(Start("ab"), 0);
    encoder.EncodeRecord(Start("ab"), -3);
    encoder.Flush();
    EXPECT_TRUE(output.Get().empty());
}

TEST(PackBits, AShortRecordIsFilledUpToTheWidth) {
    Pieces output;
    KesPackBitsEncode bits(20, 1, false, &output);
    bits.EncodeRecord(Start("\x01\x03"), 12);
    bits.Flush();
    EXPECT_EQ(Hex(output.Joined()), "00 80 FF C0");
    output.Clear();
    KesPackBitsEncode bytes(4, 8, false, &output);
    bytes.EncodeRecord(Start("ab"), 2);
    bytes.EncodeRecord(Start("abcd"), 4);
    bytes.EncodeRecord(Start("abcdef"), 6);
    bytes.Flush();
    EXPECT_EQ(Hex(output.Joined()), "00 61 FE 62 03 61 62 63 64 05 61 62 63 64 65 66");
}

TEST(PackBits, RowsOfOneBitAreReversedInLiteralsAndRepeats) {
    EXPECT_EQ(Hex(Encoded(Bytes("01 02 02 03"), 0, 1)), "03 80 40 40 C0");
    EXPECT_EQ(Hex(Encoded(Bytes("01 02 02 02"), 0, 1)), "00 80 FE 40");
    EXPECT_EQ(Hex(Encoded(Bytes("01 02 02 02"), 0, 2)), "00 01 FE 02");
}

TEST(PackBits, AFlushEndsWithTheMarkWhereOneIsWanted) {
    Pieces output;
    KesPackBitsEncode encoder(8, 8, true, &output);
    encoder.Flush();
    ASSERT_EQ(output.Get().size(), 1U);
    EXPECT_EQ(Hex(output.Joined()), "80");
    encoder.EncodeRaw(Start("a"), 1);
    encoder.Flush();
    encoder.Flush();
    EXPECT_EQ(Hex(output.Joined()), "80 00 61 80 80");
}

// --- The buffer ---------------------------------------------------------------------------------

// An encoder that believes its buffer to be small.
class SmallBuffer : public KesPackBitsEncode {
 public:
    SmallBuffer(unsigned size, bool reversed, KesEncoderOutput* output)
        : KesPackBitsEncode(8, reversed ? 1 : 8, false, output) {
        bufferSize_ = size;
    }
};

TEST(PackBits, AFullBufferIsHandedOn) {
    Pieces output;
    SmallBuffer encoder(130, false, &output);
    for (int i = 0; i < 65; ++i)
        encoder.EncodeRaw(Start("aa"), 2);
    EXPECT_TRUE(output.Get().empty());
    encoder.EncodeRaw(Start("bb"), 2);
    ASSERT_EQ(output.Get().size(), 1U);
    EXPECT_EQ(output.Get()[0].size(), 130U);
    encoder.Flush();
    EXPECT_EQ(Hex(output.Get()[1]), "FF 62");
}

TEST(PackBits, AnOpenLiteralStaysInTheBuffer) {
    Pieces output;
    SmallBuffer encoder(130, false, &output);
    encoder.EncodeRaw(Start(Singles(100)), 100);
    encoder.EncodeRaw(Start(Singles(29)), 29);
    // The second literal began at 101 and found room for 28 bytes.
    ASSERT_EQ(output.Get().size(), 1U);
    EXPECT_EQ(output.Get()[0], "\x63" + Singles(100));
    encoder.Flush();
    EXPECT_EQ(output.Get()[1], "\x1C" + Singles(29));
}

TEST(PackBits, ALiteralThatMayStillTakeTwoBytesStaysToo) {
    Pieces output;
    SmallBuffer encoder(130, false, &output);
    encoder.EncodeRaw(Start(Singles(100)), 100);
    const std::string row = Singles(26) + "\xAA\xAA\x01";  // 101 + 27 + 2 fill the buffer
    encoder.EncodeRaw(Start(row), static_cast<int>(row.size()));
    ASSERT_EQ(output.Get().size(), 1U);
    EXPECT_EQ(output.Get()[0], "\x63" + Singles(100));
    encoder.Flush();
    EXPECT_EQ(output.Get()[1], "\x1C" + row);
}

// --- Beside the slow encoder --------------------------------------------------------------------

class Random {
 public:
    explicit Random(std::uint64_t seed) : state_(seed) {}
    unsigned Below(unsigned limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>((state_ >> 33) % limit);
    }

 private:
    std::uint64_t state_;
};

// Noise of few or many values, or runs of a most length; up to 400 bytes, few most of the time.
std::string RandomRow(Random* random) {
    const unsigned length = 1 + random->Below(random->Below(16) == 0 ? 400 : 48);
    const unsigned values = random->Below(3) == 0 ? 256 : 2 + random->Below(3);
    const unsigned mostRun = random->Below(2) == 0 ? 1 : 1 + random->Below(200);
    std::string row;
    while (row.size() < length)
        row.append(1 + random->Below(mostRun), static_cast<char>(random->Below(values)));
    return row;
}

TEST(PackBits, EveryShortRowOfThreeValuesIsAsTheSlowEncoderHasIt) {
    for (int length = 0; length <= 10; ++length) {
        int rows = 1;
        for (int i = 0; i < length; ++i)
            rows *= 3;
        for (int number = 0; number < rows; ++number) {
            std::string row;
            for (int i = 0, rest = number; i < length; ++i, rest /= 3)
                row += static_cast<char>(rest % 3);
            ASSERT_EQ(Encoded(row), Stepwise(row)) << Hex(row);
        }
    }
}

TEST(PackBits, RandomRowsAreAsTheSlowEncoderHasThemInEveryBuffer) {
    Random random(1);
    for (const unsigned capacity : {130U, 131U, 150U, 257U, 1000U, 65536U}) {
        for (const bool reversed : {false, true}) {
            Pieces output;
            SmallBuffer encoder(capacity, reversed, &output);
            StepwisePackBits slow(capacity, reversed);
            for (int i = 0; i < kRandomRows / 12; ++i) {
                const std::string row = RandomRow(&random);
                const int extra = static_cast<int>(random.Below(4) == 0 ? random.Below(300) : 0);
                encoder.Encode(Start(row), static_cast<int>(row.size()), extra);
                slow.Encode(row, extra);
                if (random.Below(8) == 0) {
                    encoder.Flush();
                    slow.Flush();
                }
                ASSERT_EQ(output.Get(), slow.Get())
                    << capacity << ": " << Hex(row) << " + " << extra;
                output.Clear();
                slow.TakePieces();
            }
        }
    }
}

TEST(PackBits, RandomRowsDecodeToThemselves) {
    Random random(2);
    Pieces output;
    KesPackBitsEncode encoder(8, 8, false, &output);
    for (int i = 0; i < kRandomRows / 4; ++i) {
        const std::string row = RandomRow(&random);
        const int extra = static_cast<int>(random.Below(4) == 0 ? random.Below(300) : 0);
        encoder.Encode(Start(row), static_cast<int>(row.size()), extra);
        encoder.Flush();
        std::string decoded;
        ASSERT_TRUE(DecodePackBits(output.Joined(), &decoded)) << Hex(row);
        ASSERT_EQ(decoded, row + std::string(static_cast<std::size_t>(extra), row.back()));
        output.Clear();
    }
}

TEST(PackBits, LongRowsAreAsTheSlowEncoderHasThem) {
    Random random(3);
    for (int i = 0; i < 300; ++i) {
        std::string row;
        while (row.size() < 20000 + static_cast<std::size_t>(i))
            row += RandomRow(&random);
        ASSERT_EQ(Encoded(row), Stepwise(row));
    }
}

TEST(PackBits, NothingIsReadBehindARow) {
    for (int length = 1; length < 200; ++length) {
        const std::vector<unsigned char> exact(static_cast<std::size_t>(length), 7);
        Pieces output;
        KesPackBitsEncode encoder(8, 8, false, &output);
        encoder.EncodeRaw(exact.data(), length);
        encoder.Flush();
        std::string decoded;
        ASSERT_TRUE(DecodePackBits(output.Joined(), &decoded));
        EXPECT_EQ(decoded, std::string(static_cast<std::size_t>(length), '\x07'));
    }
}

// --- The masks ----------------------------------------------------------------------------------

TEST(EqualRuns, BothFormsTellWhereNeighboursAreEqual) {
    Random random(4);
    for (int i = 0; i < 20000; ++i) {
        unsigned char bytes[EqualRuns::kPlaces + 1];
        const unsigned values = 1 + random.Below(i % 2 == 0 ? 3 : 256);
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(random.Below(values) * (256 / values));
        std::uint64_t expected = 0;
        for (int place = 0; place < EqualRuns::kPlaces; ++place)
            if (bytes[place] == bytes[place + 1]) expected |= std::uint64_t{1} << place;
        ASSERT_EQ(EqualRuns::Mask(bytes), expected);
        ASSERT_EQ(EqualRuns::PortableMask(bytes), expected);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
