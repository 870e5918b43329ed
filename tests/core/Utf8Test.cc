// UTF-8 and UTF-16 against slow twins that follow the Unicode Standard's table of well-formed
// sequences line by line: every code point, every short sequence, and cuts at every capacity.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ondrel/core/AsciiBlocks.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/core/Utf8.h"

namespace Ondrel {
namespace {

struct Decoded {
    int result;
    std::vector<unsigned short> units;
};

// --- The twins ----------------------------------------------------------------------------------

struct Row {
    unsigned first[2];
    unsigned second[2];
    int more;  // bytes after the second, each 80..BF
};

constexpr Row kWellFormed[] = {
    {{0xC2, 0xDF}, {0x80, 0xBF}, 0}, {{0xE0, 0xE0}, {0xA0, 0xBF}, 1},
    {{0xE1, 0xEC}, {0x80, 0xBF}, 1}, {{0xED, 0xED}, {0x80, 0x9F}, 1},
    {{0xEE, 0xEF}, {0x80, 0xBF}, 1}, {{0xF0, 0xF0}, {0x90, 0xBF}, 2},
    {{0xF1, 0xF3}, {0x80, 0xBF}, 2}, {{0xF4, 0xF4}, {0x80, 0x8F}, 2},
};

unsigned ByteAt(const std::string& text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool IsIn(unsigned byte, const unsigned (&range)[2]) {
    return byte >= range[0] && byte <= range[1];
}

// The length of the well-formed sequence at a place; 0 when there is none.
std::size_t SlowLength(const std::string& text, std::size_t at) {
    if (ByteAt(text, at) < 0x80) return 1;
    for (const Row& row : kWellFormed) {
        if (!IsIn(ByteAt(text, at), row.first)) continue;
        if (!IsIn(ByteAt(text, at + 1), row.second)) return 0;
        for (int i = 0; i < row.more; ++i)
            if (!IsIn(ByteAt(text, at + 2 + static_cast<std::size_t>(i)), {0x80, 0xBF})) return 0;
        return 2 + static_cast<std::size_t>(row.more);
    }
    return 0;
}

char32_t SlowPoint(const std::string& text, std::size_t at, std::size_t length) {
    if (length == 1) return ByteAt(text, at);
    char32_t point = ByteAt(text, at) & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i)
        point = point * 64 + (ByteAt(text, at + i) - 0x80);
    return point;
}

Decoded SlowDecode(const std::string& text, std::size_t capacity) {
    Decoded decoded{0, {}};
    for (std::size_t at = 0; at < text.size() && decoded.units.size() < capacity - 1;) {
        const std::size_t length = SlowLength(text, at);
        if (length == 0) {
            decoded.result = -1;
            return decoded;
        }
        const char32_t point = SlowPoint(text, at, length);
        if (point >= 0x10000) {
            if (decoded.units.size() + 2 > capacity - 1) break;
            decoded.units.push_back(static_cast<unsigned short>(0xD800 + (point - 0x10000) / 1024));
            decoded.units.push_back(static_cast<unsigned short>(0xDC00 + (point - 0x10000) % 1024));
        } else {
            decoded.units.push_back(static_cast<unsigned short>(point));
        }
        at += length;
    }
    decoded.result = static_cast<int>(decoded.units.size());
    return decoded;
}

std::string SlowEncodePoint(char32_t point) {
    std::string bytes;
    const auto add = [&](char32_t byte) { bytes += static_cast<char>(byte); };
    if (point < 0x80) {
        add(point);
    } else if (point < 0x800) {
        add(0xC0 + point / 64);
        add(0x80 + point % 64);
    } else if (point < 0x10000) {
        add(0xE0 + point / 4096);
        add(0x80 + point / 64 % 64);
        add(0x80 + point % 64);
    } else {
        add(0xF0 + point / 262144);
        add(0x80 + point / 4096 % 64);
        add(0x80 + point / 64 % 64);
        add(0x80 + point % 64);
    }
    return bytes;
}

std::string SlowEncode(const std::vector<unsigned short>& units, std::size_t capacity) {
    std::string text;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t point = units[i];
        const bool isHigh = point >= 0xD800 && point < 0xDC00;
        if (isHigh && i + 1 < units.size() && units[i + 1] >= 0xDC00 && units[i + 1] < 0xE000) {
            point = 0x10000 + (point - 0xD800) * 1024 + (units[i + 1] - 0xDC00U);
            ++i;
        } else if (point >= 0xD800 && point < 0xE000) {
            point = 0xFFFD;
        }
        const std::string bytes = SlowEncodePoint(point);
        if (text.size() + bytes.size() > capacity - 1) break;
        text += bytes;
    }
    return text;
}

// --- Ours, in buffers of exactly the capacity that they are told --------------------------------

Decoded Decode(const std::string& text, std::size_t capacity) {
    const std::unique_ptr<unsigned short[]> buffer(new unsigned short[capacity]);
    const int result = UTF8ToUni16Char(text.c_str(), buffer.get(), capacity);
    const std::size_t length = Uni16CharGetLength(buffer.get());
    EXPECT_LT(length, capacity);
    return {result, std::vector<unsigned short>(buffer.get(), buffer.get() + length)};
}

std::string Encode(std::vector<unsigned short> units, std::size_t capacity) {
    units.push_back(0);
    const std::unique_ptr<char[]> buffer(new char[capacity]);
    const int result = Uni16CharToUTF8(units.data(), buffer.get(), capacity);
    std::string text(buffer.get());
    EXPECT_EQ(static_cast<std::size_t>(result), text.size());
    return text;
}

bool Same(const Decoded& a, const Decoded& b) {
    return a.result == b.result && a.units == b.units;
}

// --- Tests --------------------------------------------------------------------------------------

TEST(Utf8, EveryCodePointGoesThereAndBack) {
    for (char32_t point = 1; point <= 0x10FFFF; ++point) {
        if (point >= 0xD800 && point < 0xE000) continue;
        const std::string text = SlowEncodePoint(point);
        std::array<unsigned short, 8> units;
        std::array<char, 8> back;
        const int length = UTF8ToUni16Char(text.c_str(), units.data(), units.size());
        ASSERT_EQ(length, point < 0x10000 ? 1 : 2) << std::hex << static_cast<unsigned>(point);
        ASSERT_EQ(units[0], point < 0x10000 ? point : 0xD7C0 + (point >> 10));
        ASSERT_EQ(Uni16CharToUTF8(units.data(), back.data(), back.size()),
                  static_cast<int>(text.size()));
        ASSERT_EQ(back.data(), text);
    }
}

TEST(Utf8, EveryTwoByteSequenceIsJudgedRightly) {
    std::string text(2, 0);
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            text[0] = static_cast<char>(first);
            text[1] = static_cast<char>(second);
            ASSERT_TRUE(Same(Decode(text, 4), SlowDecode(text, 4))) << first << " " << second;
        }
    }
}

TEST(Utf8, EveryThreeByteSequenceIsJudgedRightly) {
    std::string text(3, 0);
    for (int first = 0xC0; first < 256; ++first) {
        for (int second = 1; second < 256; ++second) {
            for (int third = 1; third < 256; ++third) {
                text[0] = static_cast<char>(first);
                text[1] = static_cast<char>(second);
                text[2] = static_cast<char>(third);
                std::array<unsigned short, 4> units;
                const int result = UTF8ToUni16Char(text.c_str(), units.data(), units.size());
                const std::size_t length = SlowLength(text, 0);
                if (length == 3) {
                    ASSERT_EQ(result, 1);
                    ASSERT_EQ(units[0], SlowPoint(text, 0, 3));
                } else {
                    const Decoded slow = SlowDecode(text, 4);
                    ASSERT_EQ(result, slow.result);
                    ASSERT_EQ(Uni16CharGetLength(units.data()), slow.units.size());
                }
            }
        }
    }
}

TEST(Utf8, AMillionFourByteSequencesAreJudgedRightly) {
    std::mt19937 random(8);
    std::string text(4, 0);
    for (int i = 0; i < 1000000; ++i) {
        const auto bits = random();
        text[0] = static_cast<char>(0xF0 + (bits & 7));
        for (std::size_t at = 1; at < 4; ++at) {
            const auto byte = (bits >> (8 * at)) & 0xFF;
            // One in eight anything, the others such as may follow.
            text[at] = static_cast<char>(random() % 8 == 0 ? (byte | 1) : 0x80 | (byte & 0x3F));
        }
        ASSERT_TRUE(Same(Decode(text, 6), SlowDecode(text, 6)));
    }
}

// A text of one kind of character or a mixture, with whole runs of ASCII.
std::string RandomText(std::mt19937& random, std::size_t characters) {
    std::string text;
    const auto oneOf = [&](char32_t first, unsigned count) {
        return first + static_cast<char32_t>(random() % count);
    };
    const auto kind = random() % 6;
    while (characters > 0) {
        const auto choice = kind < 5 ? kind : random() % 5;
        char32_t point = oneOf('a', 26);
        if (choice == 1) point = random() % 4 == 0 ? oneOf(0xE0, 32) : point;
        if (choice == 2) point = oneOf(0x3041, 80);
        if (choice == 3) point = oneOf(0x1F600, 64);
        if (choice == 4) point = oneOf(0x80, 0x780);
        for (auto run = kind == 5 ? random() % 20 : 0; run > 0 && characters > 1; --run) {
            text += 'x';
            --characters;
        }
        text += SlowEncodePoint(point);
        --characters;
    }
    return text;
}

TEST(Utf8, RandomTextsAgreeWithTheTwinAtEveryCapacity) {
    std::mt19937 random(20240612);
    for (int i = 0; i < 600; ++i) {
        const std::string text = RandomText(random, random() % 90);
        const std::vector<unsigned short> units = SlowDecode(text, 1000).units;
        for (std::size_t capacity = 1; capacity <= units.size() + 20; ++capacity)
            ASSERT_TRUE(Same(Decode(text, capacity), SlowDecode(text, capacity))) << text;
        for (std::size_t capacity = 1; capacity <= text.size() + 20; ++capacity)
            ASSERT_EQ(Encode(units, capacity), SlowEncode(units, capacity)) << text;
        EXPECT_EQ(Encode(units, 3 * units.size() + 1), text) << "what always suffices";
    }
}

TEST(Utf8, AFaultIsFoundWhereverItStands) {
    std::mt19937 random(20240613);
    for (int i = 0; i < 20000; ++i) {
        std::string text = RandomText(random, 1 + random() % 60);
        text[random() % text.size()] = static_cast<char>(0x80 | random() % 128);
        ASSERT_TRUE(Same(Decode(text, 1000), SlowDecode(text, 1000)));
        const std::size_t capacity = 1 + random() % 60;
        ASSERT_TRUE(Same(Decode(text, capacity), SlowDecode(text, capacity)));
    }
}

TEST(Utf8, WhatIsNotValidGivesMinusOneAndThePartBeforeIt) {
    const std::string kFaults[] = {
        "\x80",
        "\xBF",
        "\xC0\xAF",
        "\xC1\xBF",
        "\xE0\x9F\xBF",
        "\xED\xA0\x80",
        "\xED\xBF\xBF",
        "\xF0\x8F\xBF\xBF",
        "\xF5\x80\x80\x80",
        "\xF4\x90\x80\x80",
        "\xFE",
        "\xFF",
        "\xC3",
        "\xE3\x81",
        "\xF0\x9F\x98",
        "\xE3\x81\x28",
    };
    for (const std::string& fault : kFaults) {
        for (const std::string before : {"", "ab", "0123456789012345", "01234567890123456789"}) {
            const Decoded decoded = Decode(before + fault + "zz", 64);
            EXPECT_EQ(decoded.result, -1);
            EXPECT_EQ(decoded.units, std::vector<unsigned short>(before.begin(), before.end()));
        }
    }
}

TEST(Utf8, AFaultBehindACutIsNotSeen) {
    EXPECT_EQ(Decode("abc\xFF", 4).result, 3);
    EXPECT_EQ(Decode("abc\xFF", 5).result, -1);
}

TEST(Utf8, AnEmptyTextGivesNothing) {
    EXPECT_EQ(Decode("", 1).result, 0);
    EXPECT_EQ(Encode({}, 1), "");
}

TEST(Utf8, WithoutCapacityNothingIsWritten) {
    unsigned short unit = 0xABCD;
    char byte = 'x';
    const unsigned short text[] = {'a', 0};
    EXPECT_EQ(UTF8ToUni16Char("a", &unit, 0), 0);
    EXPECT_EQ(UTF8ToUni16Char("\xFF", &unit, 0), 0);
    EXPECT_EQ(Uni16CharToUTF8(text, &byte, 0), 0);
    EXPECT_EQ(unit, 0xABCD);
    EXPECT_EQ(byte, 'x');
}

TEST(Utf8, ASurrogateWithoutItsPartnerBecomesU_FFFD) {
    EXPECT_EQ(Encode({0xD800}, 8), "\xEF\xBF\xBD");
    EXPECT_EQ(Encode({0xDC00, 'a'}, 8),
              "\xEF\xBF\xBD"
              "a");
    EXPECT_EQ(Encode({'a', 0xDBFF, 'b'}, 8),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(Encode({0xDC00, 0xD800}, 8), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(Encode({0xD800, 0xD800, 0xDC00}, 8), "\xEF\xBF\xBD\xF0\x90\x80\x80");
    EXPECT_EQ(Encode({'a', 0xD800}, 4), "a") << "it is cut as a whole";
    std::mt19937 random(5);
    for (int i = 0; i < 20000; ++i) {
        std::vector<unsigned short> units(1 + random() % 40);
        for (unsigned short& unit : units)
            unit = static_cast<unsigned short>(random() % 2 == 0 ? 'a' : 0xD700 + random() % 0xA00);
        ASSERT_EQ(Encode(units, 200), SlowEncode(units, 200));
        const std::size_t capacity = 1 + random() % 100;
        ASSERT_EQ(Encode(units, capacity), SlowEncode(units, capacity));
    }
}

TEST(Utf8, BlocksOfAsciiAreTheSameInRegistersAndWithout) {
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::array<unsigned char, 16> bytes;
        std::array<unsigned short, 16> units;
        for (std::size_t at = 0; at < 16; ++at) {
            bytes[at] = static_cast<unsigned char>(random() % 16 == 0 ? random() : random() % 128);
            units[at] = static_cast<unsigned short>(random() % 16 == 0 ? random() : random() % 128);
        }
        std::array<unsigned short, 16> wide{};
        std::array<unsigned short, 16> widePlain{};
        const std::size_t wideCount = Core::WidenAscii16(bytes.data(), wide.data());
        EXPECT_EQ(wideCount, Core::WidenAsciiPlain<16>(bytes.data(), widePlain.data()));
        EXPECT_TRUE(std::equal(wide.begin(), wide.begin() + wideCount, widePlain.begin()));
        EXPECT_EQ(Core::StartsWithAscii8(bytes.data()), wideCount >= 8);
        EXPECT_EQ(Core::WidenAscii8(bytes.data(), wide.data()),
                  std::min<std::size_t>(wideCount, 8));

        std::array<unsigned char, 16> narrow{};
        std::array<unsigned char, 16> narrowPlain{};
        const std::size_t narrowCount = Core::NarrowAscii16(units.data(), narrow.data());
        EXPECT_EQ(narrowCount, Core::NarrowAsciiPlain<16>(units.data(), narrowPlain.data()));
        EXPECT_TRUE(std::equal(narrow.begin(), narrow.begin() + narrowCount, narrowPlain.begin()));
        EXPECT_EQ(Core::StartsWithAscii8(units.data()), narrowCount >= 8);
        EXPECT_EQ(Core::NarrowAscii8(units.data(), narrow.data()),
                  std::min<std::size_t>(narrowCount, 8));
    }
}

TEST(Utf8, WholeStringsAreConvertedWhateverTheirLengthNulsIncluded) {
    std::mt19937 random(11);
    for (const std::size_t characters : {0U, 1U, 5U, 100U, 511U, 512U, 513U, 2000U}) {
        const std::string text =
            RandomText(random, characters) + '\0' + RandomText(random, characters);
        const Uni16String units = UTF8ToUni16String(text);
        EXPECT_EQ(Uni16StringToUTF8(units), text);
        const std::vector<unsigned short> slow = SlowDecode(text, 10000).units;
        EXPECT_EQ(units, Uni16String(slow.data(), slow.size()));
    }
}

TEST(Utf8, AWholeStringIsConvertedAsFarAsItIsValid) {
    EXPECT_EQ(Uni16StringToUTF8(UTF8ToUni16String("ab\xFF"
                                                  "cd")),
              "ab");
    const std::string valid(600, 'x');
    EXPECT_EQ(Uni16StringToUTF8(UTF8ToUni16String(valid + "\xFF"
                                                          "cd")),
              valid);
    const unsigned short kLone[] = {'a', 0xD800, 'b'};
    EXPECT_EQ(Uni16StringToUTF8(Uni16String(kLone, 3)),
              "a\xEF\xBF\xBD"
              "b");
}

}  // namespace
}  // namespace Ondrel
