// Random records, with a fixed seed, against plain implementations that work a byte or a component
// at a time.
#include <random>
#include <vector>

#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "tests/records/Streams.h"

namespace Ondrel {
namespace {

using Testing::Document;
using Testing::Reference;
using Testing::TextOf;
using Testing::Written;

using Random = std::mt19937;

int Below(Random& random, int limit) {
    return static_cast<int>(random() % static_cast<unsigned int>(limit));
}

// Bytes of few values, so that ends of lines and of texts are frequent.
std::string RandomBytes(Random& random, int length) {
    constexpr char kBytes[] = {'a', 'b', 'c', '\r', '\n', '\0', ':', '\xFF'};
    const int common = 2 + Below(random, 7);
    std::string bytes;
    for (int i = 0; i < length; ++i)
        bytes += kBytes[Below(random, 40) == 0 ? Below(random, 8) : Below(random, common)];
    return bytes;
}

// --- Reading byte by byte -----------------------------------------------------------------------

struct PlainReader {
    std::string bytes;
    std::size_t position = 0;

    int Byte() {
        return position < bytes.size() ? static_cast<unsigned char>(bytes[position++]) : -3;
    }

    // The three readers in one: `ends` are the ending bytes; `whole` reads on when `room` is used.
    int Text(const std::string& ends, bool whole, int size, std::string* text) {
        text->clear();
        const std::size_t room = size < 2 ? 0 : static_cast<std::size_t>(size) - 1;
        while (whole || text->size() < room) {
            const int byte = Byte();
            if (byte < 0) return byte;
            if (ends.find(static_cast<char>(byte)) != std::string::npos) {
                const bool feed = position < bytes.size() && bytes[position] == '\n';
                if (byte == '\r' && feed) ++position;
                return 0;
            }
            if (text->size() < room) *text += static_cast<char>(byte);
        }
        return 0;
    }

    std::string Counted() {
        int length = 0;
        for (int i = 0; i < 4; ++i) {
            const int byte = Byte();
            if (byte < 0) return {};
            length = length << 8 | byte;
        }
        std::string text;
        for (int i = 0; i < length; ++i) {
            const int byte = Byte();
            text += byte < 0 ? '\0' : static_cast<char>(byte);
        }
        return text;
    }
};

// Counted strings need lengths that make sense.
std::string RandomDocument(Random& random) {
    std::string bytes;
    const int records = 1 + Below(random, 40);
    for (int i = 0; i < records; ++i) {
        const int length = Below(random, 4) == 0 ? Below(random, 40000) : Below(random, 200);
        bytes += '\0';
        bytes += '\0';
        bytes += static_cast<char>(length >> 8);
        bytes += static_cast<char>(length);
        bytes += RandomBytes(random, length);
    }
    bytes.resize(bytes.size() - static_cast<std::size_t>(Below(random, 10)) % bytes.size());
    return bytes;
}

// Reads the document to its end with `kind` of readers; 4 takes any of the first three each time.
void CompareReading(Random& random, const std::string& bytes, int kind) {
    const Document document(bytes);
    fil f;
    document.Open(&f);
    PlainReader plain{bytes};
    std::vector<char> buffer(50000);
    for (int result = 0; result == 0;) {
        const int size = Below(random, 5) == 0 ? Below(random, 50000) : Below(random, 90);
        std::string expected;
        int expectedResult = 0;
        switch (kind == 4 ? Below(random, 3) : kind) {
            case 0:
                result = filreastr(&f, buffer.data(), size + 2);
                expectedResult = plain.Text("\n", false, size + 2, &expected);
                break;
            case 1:
                result = filreacrlf(&f, buffer.data(), size);
                expectedResult = plain.Text("\r\n", true, size, &expected);
                break;
            case 2:
                result = filreastrnul(&f, buffer.data(), size);
                expectedResult = plain.Text(std::string(1, '\0'), true, size, &expected);
                break;
            default: {
                const std::string text = filreastring(&f);
                ASSERT_EQ(text, plain.Counted());
                result = expectedResult = f.sys->error != 0 && f.count == 0 ? -3 : 0;
            }
        }
        ASSERT_EQ(result, expectedResult);
        if (kind != 3) {
            ASSERT_EQ(std::string(buffer.data(), expected.size() + 1), expected + '\0');
        }
        ASSERT_EQ(filpos(&f), static_cast<int>(plain.position));
    }
    EXPECT_EQ(plain.position, bytes.size());
    EXPECT_EQ(filclo(&f), 0);
}

TEST(RoundTrips, ReadersGiveWhatReadingByteByByteGives) {
    Random random(20240611);
    for (int round = 0; round < 25; ++round) {
        const std::string bytes = RandomDocument(random);
        for (int kind = 0; kind <= 4; ++kind) {
            SCOPED_TRACE("round " + std::to_string(round) + ", kind " + std::to_string(kind));
            CompareReading(random, bytes, kind);
        }
    }
}

TEST(RoundTrips, WritersGiveWhatWritingByteByByteGives) {
    Random random(7);
    for (int round = 0; round < 40; ++round) {
        std::string expected;
        const auto write = [&](fil* f) {
            for (int i = 0; i < 80; ++i) {
                const int length =
                    Below(random, 10) == 0 ? Below(random, 40000) : Below(random, 70);
                const std::string bytes = RandomBytes(random, length);
                const std::string text = bytes.c_str();
                switch (Below(random, 3)) {
                    case 0:
                        filwristring(f, bytes);
                        expected +=
                            {'\0', '\0', static_cast<char>(length >> 8), static_cast<char>(length)};
                        expected += bytes;
                        break;
                    case 1:
                        EXPECT_EQ(filwristrnul(f, text.c_str()), 0);
                        expected += text + '\0';
                        break;
                    default:
                        EXPECT_EQ(filwrifmt(f, "%.1000s;%d", text.c_str(), i), 0);
                        expected += text.substr(0, 1000) + ';' + std::to_string(i);
                }
            }
        };
        const std::string written = Written(write);
        ASSERT_EQ(written.size(), expected.size());
        EXPECT_TRUE(written == expected) << "round " << round;
    }
}

// --- References component by component ----------------------------------------------------------

std::vector<std::string> Split(const std::string& text) {
    std::vector<std::string> components(1);
    for (const char c : text) {
        if (c == ':')
            components.emplace_back();
        else
            components.back() += c;
    }
    return components;
}

// The components from `first` to before `last`, with colons between them.
std::string Join(const std::vector<std::string>& components, std::size_t first, std::size_t last) {
    std::string text;
    for (std::size_t i = first; i < last; ++i)
        text += (i == first ? "" : ":") + components[i];
    return text;
}

std::string Stored16(std::size_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::size_t Shared(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    std::size_t shared = 0;
    while (shared < a.size() && shared < b.size() && a[shared] == b[shared])
        ++shared;
    return shared;
}

std::string PlainRecord(const std::string& base, const std::string& target, bool full) {
    const std::vector<std::string> from = Split(base);
    const std::vector<std::string> to = Split(target);
    const std::size_t shared = Shared(from, to);
    // The tail begins with the component in which the texts part: with the last shared one where
    // one text leads the other.
    const bool leads = shared == from.size() || shared == to.size();
    const std::size_t tail = leads ? shared - 1 : shared;
    const std::string text = full ? target : "dummy:" + Join(to, tail, to.size());
    return '\x03' + Stored16(full ? shared : 1) + Stored16(from.size() - shared) +
           Stored16(text.size() + 1) + text + '\0';
}

std::string PlainRebuilt(const std::string& record, const std::string& base) {
    const auto count = [&](std::size_t at) {
        return static_cast<std::size_t>(static_cast<unsigned char>(record[at]) << 8 |
                                        static_cast<unsigned char>(record[at + 1]));
    };
    std::string text = record.substr(7, record.size() - 8);
    const std::size_t shared = count(1);
    const std::size_t up = count(3);
    const std::vector<std::string> from = Split(base);
    const std::vector<std::string> stored = Split(text);
    if (from.size() <= up || shared == 0) return text;
    if (up == 0) return base;
    return Join(from, 0, from.size() - up) + ":" + Join(stored, shared, stored.size());
}

std::string RandomPath(Random& random) {
    std::string path;
    const int components = 1 + Below(random, 6);
    for (int i = 0; i < components; ++i) {
        if (i > 0) path += ':';
        const int length = Below(random, 3);
        for (int j = 0; j < length; ++j)
            path += static_cast<char>('a' + Below(random, 2));
    }
    return path.empty() ? "a" : path;
}

// A path that often goes along with another for a while.
std::string RandomPathNear(Random& random, const std::string& path) {
    const std::size_t kept = static_cast<std::size_t>(Below(random, 12));
    return path.substr(0, kept) + RandomPath(random);
}

TEST(RoundTrips, RelativeReferencesAreStoredAndRebuiltAsComponentByComponent) {
    Random random(99);
    for (int round = 0; round < 100; ++round) {
        struct Case {
            std::string base, target, moved;
            bool full;
        };
        std::vector<Case> cases;
        std::string expected;
        for (int i = 0; i < 100; ++i) {
            const std::string base = RandomPath(random);
            const std::string target = RandomPathNear(random, base);
            cases.push_back({base, target, RandomPath(random), Below(random, 2) == 0});
            expected += PlainRecord(base, target, cases.back().full);
        }
        const std::string written = Written([&](fil* f) {
            for (const Case& c : cases)
                EXPECT_EQ(filwrirefrel(f, Reference(c.base), Reference(c.target), c.full), 0);
        });
        ASSERT_TRUE(written == expected) << "round " << round;

        const Document document(written);
        fil f;
        document.Open(&f);
        for (const Case& c : cases) {
            const std::string record = PlainRecord(c.base, c.target, c.full);
            filref target;
            filref full;
            ASSERT_EQ(filrearefrel(&f, Reference(c.moved), target, &full), 0);
            ASSERT_EQ(TextOf(target), PlainRebuilt(record, c.moved))
                << c.base << " " << c.target << " " << c.moved;
            ASSERT_EQ(TextOf(full), record.substr(7, record.size() - 8));
        }
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(RoundTrips, AReferenceReadBesideItsOwnDocumentIsTheReferenceThatWasWritten) {
    Random random(3);
    for (int i = 0; i < 150; ++i) {
        const std::string base = RandomPath(random);
        const std::string target = RandomPathNear(random, base);
        // Of a pair in which one leads the other the shorter comes back.
        if (base.starts_with(target + ":") || target.starts_with(base + ":")) continue;
        const Document document(Written([&](fil* f) {
            EXPECT_EQ(filwrirefrel(f, Reference(base), Reference(target), 1), 0);
            EXPECT_EQ(filwriref(f, Reference(target)), 0);
        }));
        fil f;
        document.Open(&f);
        filref relative;
        filref absolute;
        EXPECT_EQ(filrearefrel(&f, Reference(base), relative, nullptr), 0);
        EXPECT_EQ(filrearef(&f, absolute), 0);
        EXPECT_EQ(TextOf(relative), target) << base;
        EXPECT_EQ(TextOf(absolute), target);
        EXPECT_EQ(filclo(&f), 0);
    }
}

}  // namespace
}  // namespace Ondrel
