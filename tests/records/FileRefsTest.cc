// Absolute file reference records: the stored bytes in both directions, odd kinds and lengths, and
// what a reference holds after each failure.
#include "ondrel/records/filerefs.h"

#include "tests/records/Allocations.h"
#include "tests/records/Streams.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Document;
using Testing::Hex;
using Testing::RaisedBy;
using Testing::Reference;
using Testing::RefuseAllocations;
using Testing::TextOf;
using Testing::Written;

constexpr char kStored[] = "02 00 0E 48 44 3A 44 6F 63 73 3A 61 2E 74 78 74 00";

// The two bytes of a stored length.
std::string Length(int value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

struct Outcome {
    int result;
    short error;
    int position;
};

bool operator==(const Outcome& a, const Outcome& b) {
    return a.result == b.result && a.error == b.error && a.position == b.position;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "result " << outcome.result << ", error " << outcome.error << ", position "
               << outcome.position;
}

// Reads a reference from the start of a document with these bytes.
Outcome Read(const std::string& bytes, filref& target) {
    const Document document(bytes);
    fil f;
    document.Open(&f);
    Outcome outcome{};
    outcome.result = filrearef(&f, target);
    outcome.error = f.sys->error;
    outcome.position = filpos(&f);
    EXPECT_EQ(filclo(&f), 0);
    return outcome;
}

TEST(FileRefs, AnAbsoluteRecordIsAKindALengthAndTheTextWithItsNul) {
    const filref ref = Reference("HD:Docs:a.txt");
    EXPECT_EQ(Hex(Written([&](fil* f) { EXPECT_EQ(filwriref(f, ref), 0); })), kStored);

    filref read;
    const Document document(Bytes(kStored) + "more");
    fil f;
    document.Open(&f);
    EXPECT_EQ(filrearef(&f, read), 0);
    EXPECT_EQ(TextOf(read), "HD:Docs:a.txt");
    EXPECT_EQ(filpos(&f), 17);
    EXPECT_EQ(filclo(&f), 0);
}

TEST(FileRefs, AReferenceWithoutTextWritesAnEmptyRecordAndFails) {
    const filref null;
    const filref empty = Reference("");
    for (const filref* const ref : {&null, &empty}) {
        EXPECT_EQ(Hex(Written([&](fil* f) {
                      EXPECT_EQ(filwriref(f, *ref), -1);
                      EXPECT_EQ(f->sys->error, 0);
                  })),
                  "02 00 00");
        EXPECT_EQ(Hex(Written([&](fil* f) {
                      EXPECT_EQ(RaisedBy(f, [&] { filwriref(f, *ref); }), -1);
                      EXPECT_EQ(f->sys->error, 0);
                  })),
                  "02 00 00");
    }
}

TEST(FileRefs, AnEmptyRecordClearsTheReference) {
    filref ref = Reference("HD:old");
    EXPECT_EQ(Read(Bytes("02 00 00") + std::string(kFilBufferSize, 'x'), ref), (Outcome{0, 0, 3}));
    EXPECT_EQ(ref.path, nullptr);
}

TEST(FileRefs, ALongestTextIsWrittenAndReadBack) {
    const std::string text = "HD:" + std::string(1020, 'x');
    const filref ref = Reference(text);
    const std::string stored = Written([&](fil* f) { EXPECT_EQ(filwriref(f, ref), 0); });
    EXPECT_EQ(Hex(stored.substr(0, 6)), "02 04 00 48 44 3A");
    EXPECT_EQ(stored.size(), 1027U);
    filref read;
    EXPECT_EQ(Read(stored + "x", read).result, 0);
    EXPECT_EQ(TextOf(read), text);
}

struct KindCase {
    const char* stored;
    Outcome outcome;
    const char* why;
};

const KindCase kKindCases[] = {
    {"00 00 00", {-1, -50, 1}, "no kind"},
    {"01 00 00", {-1, -50, 1}, "an unknown kind"},
    {"03 00 00", {-1, -50, 1}, "a relative record"},
    {"7F 00 00", {-1, -50, 1}, "the last kind that is latched"},
    {"80 00 00", {-128, 0, 1}, "the first that is given as a negative number"},
    {"82 00 00", {-126, 0, 1}, "one that is an absolute record but for its top bit"},
    {"FD 00 00", {-3, 0, 1}, "one that looks like the end of the file"},
    {"FF 00 00", {-1, 0, 1}, "one that looks like a failure"},
};

TEST(FileRefs, AWrongKindIsMinus50AndAKindOf80OrMoreANegativeNumber) {
    for (const KindCase& c : kKindCases) {
        filref ref = Reference("HD:old");
        // More bytes than a buffer, so that the end of the file is not met.
        EXPECT_EQ(Read(Bytes(c.stored) + std::string(kFilBufferSize, 'x'), ref), c.outcome)
            << c.why;
        EXPECT_EQ(TextOf(ref), "HD:old") << c.why;
    }
}

TEST(FileRefs, AWrongKindIsNotRaised) {
    for (const char* const stored : {"03 00 00", "90 00 00"}) {
        const Document document(Bytes(stored));
        fil f;
        document.Open(&f);
        filref ref;
        EXPECT_EQ(RaisedBy(&f, [&] { EXPECT_LT(filrearef(&f, ref), 0); }), 0);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(FileRefs, ALengthBeyondTheStorageIsConsumedAndRefusedWithMinus50) {
    for (const int length : {1025, 2048, 20000, 65535}) {
        const std::string bytes =
            "\x02" + Length(length) + std::string(static_cast<std::size_t>(length), 'x');
        filref ref = Reference("HD:old");
        EXPECT_EQ(Read(bytes + std::string(2UL * kFilBufferSize, 'y'), ref),
                  (Outcome{-1, -50, length + 3}));
        EXPECT_EQ(TextOf(ref), "HD:old");
        filref null;
        Read(bytes, null);
        EXPECT_EQ(null.path, nullptr);
    }
}

TEST(FileRefs, AnOverlongRecordThatIsCutFailsAsTheReadDoes) {
    filref ref;
    EXPECT_EQ(Read("\x02" + Length(2000) + std::string(1999, 'x'), ref), (Outcome{-3, -39, 2002}));
}

TEST(FileRefs, ATextWithoutItsNulIsTerminatedInsideTheStorage) {
    for (const int length : {1, 2, 1022, 1023, 1024}) {
        filref ref = Reference(std::string(1023, 'o'));
        const std::string text(static_cast<std::size_t>(length), 'x');
        EXPECT_EQ(Read("\x02" + Length(length) + text + "yyyy", ref).result, 0);
        EXPECT_EQ(TextOf(ref), text.substr(0, 1023)) << length;
    }
}

TEST(FileRefs, ATextEndsAtItsFirstNulAndTheRecordAtItsLength) {
    filref ref;
    const std::string bytes = Bytes("02 00 05 61 00 62 63 00 FF");
    const Document document(bytes);
    fil f;
    document.Open(&f);
    EXPECT_EQ(filrearef(&f, ref), 0);
    EXPECT_EQ(TextOf(ref), "a");
    EXPECT_EQ(filpos(&f), 8);
    EXPECT_EQ(filclo(&f), 0);
}

TEST(FileRefs, ARecordThatIsCutLeavesTheOldText) {
    filref ref = Reference("HD:old");
    EXPECT_EQ(Read(Bytes("02 00 0E 48 44"), ref), (Outcome{-3, -39, 5}));
    EXPECT_EQ(TextOf(ref), "HD:old");
}

TEST(FileRefs, NoMemoryForTheTextIsMinus108) {
    const Document document(Bytes(kStored));
    for (const bool armed : {false, true}) {
        fil f;
        document.Open(&f);
        filref ref;
        {
            const RefuseAllocations refuse(kFilrefSize, kFilrefSize);
            if (armed)
                EXPECT_EQ(RaisedBy(&f, [&] { filrearef(&f, ref); }), -1);
            else
                EXPECT_EQ(filrearef(&f, ref), -1);
        }
        EXPECT_EQ(f.sys->error, memFullErr);
        EXPECT_EQ(ref.path, nullptr);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(FileRefs, StreamsThatAreClosedOrOpenTheOtherWayAreMisuse) {
    filref ref = Reference("HD:a");
    const filref none;
    fil closed;
    EXPECT_EQ(filwriref(&closed, ref), -1);
    EXPECT_EQ(filwriref(&closed, none), -1);
    EXPECT_EQ(filrearef(&closed, ref), -1);
    EXPECT_EQ(filwrirefrel(&closed, ref, ref, 1), -1);
    EXPECT_EQ(filwrirefrel(&closed, ref, none, 1), -1);
    EXPECT_EQ(filrearefrel(&closed, ref, ref, nullptr), -1);

    const Document document("x");
    fil reading;
    document.Open(&reading, 1);
    EXPECT_EQ(RaisedBy(&reading,
                       [&] {
                           EXPECT_EQ(filwriref(&reading, ref), -1);
                           EXPECT_EQ(filwriref(&reading, none), -1);
                           EXPECT_EQ(filwrirefrel(&reading, ref, ref, 0), -1);
                           EXPECT_EQ(filwrirefrel(&reading, ref, none, 0), -1);
                       }),
              0);
    EXPECT_EQ(filclo(&reading), 0);
    EXPECT_EQ(document.Bytes(), "x");
}

}  // namespace
}  // namespace Ondrel
