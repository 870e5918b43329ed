// Relative file reference records: both stored forms, rebuilding beside a document that has moved,
// the arithmetic of the counts, and the limit of 1021 characters.
#include <vector>

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

constexpr int kFull = 1;
constexpr int kRelativeOnly = 0;

std::string Write(const char* base, const char* target, int form) {
    const filref baseRef = Reference(base);
    const filref targetRef = Reference(target);
    return Written([&](fil* f) { EXPECT_EQ(filwrirefrel(f, baseRef, targetRef, form), 0); });
}

// A record with these counts; `text` with its NUL where it has one.
std::string Record(int shared, int up, int length, const std::string& text) {
    std::string bytes = "\x03";
    for (const int value : {shared, up, length}) {
        bytes += static_cast<char>(value >> 8);
        bytes += static_cast<char>(value);
    }
    return bytes + text;
}

std::string Terminated(const std::string& text) {
    return text + '\0';
}

struct Outcome {
    int result;
    std::string target;
    std::string full;
    int position;
    short error;
};

// Reads a record from the start of a document with these bytes.
Outcome Read(const std::string& bytes, const filref& base, bool wantFull) {
    const Document document(bytes);
    fil f;
    document.Open(&f);
    filref target = Reference("HD:old");
    filref full = Reference("HD:old");
    Outcome outcome{};
    outcome.result = filrearefrel(&f, base, target, wantFull ? &full : nullptr);
    outcome.target = TextOf(target);
    outcome.full = TextOf(full);
    outcome.position = filpos(&f);
    outcome.error = f.sys->error;
    EXPECT_EQ(filclo(&f), 0);
    return outcome;
}

struct StoredCase {
    const char* why;
    const char* base;
    const char* target;
    const char* full;
    const char* relativeOnly;
};

constexpr StoredCase kStoredCases[] = {
    {"beside each other's folder", "HD:Docs:Proj:doc", "HD:Docs:Pics:a.tif",
     "03 00 02 00 02 00 13 48 44 3A 44 6F 63 73 3A 50 69 63 73 3A 61 2E 74 69 66 00",
     "03 00 01 00 02 00 11 64 75 6D 6D 79 3A 50 69 63 73 3A 61 2E 74 69 66 00"},
    {"in one folder", "HD:doc", "HD:a", "03 00 01 00 01 00 05 48 44 3A 61 00",
     "03 00 01 00 01 00 08 64 75 6D 6D 79 3A 61 00"},
    {"on different volumes", "HD:doc", "Ex:a", "03 00 00 00 02 00 05 45 78 3A 61 00",
     "03 00 01 00 02 00 0B 64 75 6D 6D 79 3A 45 78 3A 61 00"},
    {"case tells components apart", "hd:doc", "HD:a", "03 00 00 00 02 00 05 48 44 3A 61 00",
     "03 00 01 00 02 00 0B 64 75 6D 6D 79 3A 48 44 3A 61 00"},
    {"half a component is none", "HD:ab:d", "HD:ac:e",
     "03 00 01 00 02 00 08 48 44 3A 61 63 3A 65 00",
     "03 00 01 00 02 00 0B 64 75 6D 6D 79 3A 61 63 3A 65 00"},
    {"a component that goes on in the target", "HD:a:d", "HD:ab:e",
     "03 00 01 00 02 00 08 48 44 3A 61 62 3A 65 00",
     "03 00 01 00 02 00 0B 64 75 6D 6D 79 3A 61 62 3A 65 00"},
    {"the target is a folder above", "HD:D:P:d", "HD:D", "03 00 02 00 02 00 05 48 44 3A 44 00",
     "03 00 01 00 02 00 08 64 75 6D 6D 79 3A 44 00"},
    {"the base leads the target", "HD:D", "HD:D:a", "03 00 02 00 00 00 07 48 44 3A 44 3A 61 00",
     "03 00 01 00 00 00 0A 64 75 6D 6D 79 3A 44 3A 61 00"},
    {"one leads the other up to its ':'", "HD:D:", "HD:D:a",
     "03 00 02 00 01 00 07 48 44 3A 44 3A 61 00", "03 00 01 00 01 00 08 64 75 6D 6D 79 3A 61 00"},
    {"the same text", "HD:D", "HD:D", "03 00 02 00 00 00 05 48 44 3A 44 00",
     "03 00 01 00 00 00 08 64 75 6D 6D 79 3A 44 00"},
    {"a base without text", "", "HD:a", "03 00 00 00 01 00 05 48 44 3A 61 00",
     "03 00 01 00 01 00 0B 64 75 6D 6D 79 3A 48 44 3A 61 00"},
    {"relative texts", ":D:doc", ":D:a", "03 00 02 00 01 00 05 3A 44 3A 61 00",
     "03 00 01 00 01 00 08 64 75 6D 6D 79 3A 61 00"},
};

TEST(RelativeRefs, BothFormsAreStoredAsStated) {
    for (const StoredCase& c : kStoredCases) {
        EXPECT_EQ(Hex(Write(c.base, c.target, kFull)), c.full) << c.why;
        EXPECT_EQ(Hex(Write(c.base, c.target, kRelativeOnly)), c.relativeOnly) << c.why;
        EXPECT_EQ(Hex(Write(c.base, c.target, -1)), c.full) << "any flag but 0 keeps the full text";
    }
}

TEST(RelativeRefs, ANullBaseIsWrittenAsAnEmptyOne) {
    const filref none;
    const filref target = Reference("HD:a");
    EXPECT_EQ(Hex(Written([&](fil* f) { EXPECT_EQ(filwrirefrel(f, none, target, kFull), 0); })),
              "03 00 00 00 01 00 05 48 44 3A 61 00");
}

// What the full form gives beside its own document: the target, or, where one text leads the other,
// the shorter of the two; a folder above with the ':' that ends it in the base.
std::string Beside(const std::string& base, const std::string& target) {
    if (base.starts_with(target + ":")) return target + ":";
    return target.starts_with(base + ":") ? base : target;
}

TEST(RelativeRefs, ReadBesideTheSameDocumentTheyGiveTheSameTarget) {
    for (const StoredCase& c : kStoredCases) {
        const std::string stored = Bytes(c.full);
        const Outcome outcome = Read(stored, Reference(c.base), true);
        EXPECT_EQ(outcome.result, 0) << c.why;
        EXPECT_EQ(outcome.target, Beside(c.base, c.target)) << c.why;
        EXPECT_EQ(outcome.full, c.target) << c.why;
        EXPECT_EQ(outcome.position, static_cast<int>(stored.size())) << c.why;
    }
}

struct MovedCase {
    const char* why;
    const char* base;
    const char* target;
    const char* movedBase;
    const char* full;          // the target rebuilt from the full form
    const char* relativeOnly;  // and from the other one
};

constexpr MovedCase kMovedCases[] = {
    {"moved together", "HD:Docs:Proj:doc", "HD:Docs:Pics:a.tif", "Work:Moved:Proj:doc",
     "Work:Moved:Pics:a.tif", "Work:Moved:Pics:a.tif"},
    {"moved deeper", "HD:Docs:Proj:doc", "HD:Docs:Pics:a.tif", "W:a:b:c:Proj:doc",
     "W:a:b:c:Pics:a.tif", "W:a:b:c:Pics:a.tif"},
    {"in one folder", "HD:doc", "HD:a", "W:x:doc", "W:x:a", "W:x:a"},
    {"different volumes", "HD:doc", "Ex:a", "W:doc", "Ex:a", "dummy:Ex:a"},
    {"too few components", "HD:Docs:Proj:doc", "HD:Docs:Pics:a", "W:doc", "HD:Docs:Pics:a",
     "dummy:Pics:a"},
    {"a folder above", "HD:D:P:d", "HD:D", "W:E:P:d", "W:E:", "W:E:D"},
    {"the document itself", "HD:D:doc", "HD:D:doc", "W:E:new", "W:E:new", "W:E:new"},
    {"the base leads the target", "HD:D", "HD:D:a", "W:D", "W:D", "W:D"},
};

TEST(RelativeRefs, ADocumentThatMovedWithItsFilesFindsThem) {
    for (const MovedCase& c : kMovedCases) {
        for (const bool wantFull : {false, true}) {
            const filref moved = Reference(c.movedBase);
            const Outcome full = Read(Write(c.base, c.target, kFull), moved, wantFull);
            EXPECT_EQ(full.result, 0) << c.why;
            EXPECT_EQ(full.target, c.full) << c.why;
            EXPECT_EQ(full.full, wantFull ? c.target : "HD:old") << c.why;
            const Outcome relative = Read(Write(c.base, c.target, kRelativeOnly), moved, wantFull);
            EXPECT_EQ(relative.result, 0) << c.why;
            EXPECT_EQ(relative.target, c.relativeOnly) << c.why;
        }
    }
}

TEST(RelativeRefs, TheRelativeOnlyFormHandsBackItsStoredText) {
    const Outcome outcome = Read(Write("HD:Docs:Proj:doc", "HD:Docs:Pics:a.tif", kRelativeOnly),
                                 Reference("Work:Moved:Proj:doc"), true);
    EXPECT_EQ(outcome.full, "dummy:Pics:a.tif");
}

TEST(RelativeRefs, ATargetWithoutTextWritesThreeBytesAndFails) {
    const filref base = Reference("HD:doc");
    const filref null;
    const filref empty = Reference("");
    for (const filref* const target : {&null, &empty}) {
        for (const int form : {kFull, kRelativeOnly}) {
            EXPECT_EQ(Hex(Written([&](fil* f) {
                          EXPECT_EQ(filwrirefrel(f, base, *target, form), -1);
                          EXPECT_EQ(f->sys->error, 0);
                      })),
                      "03 00 00");
            EXPECT_EQ(Hex(Written([&](fil* f) {
                          EXPECT_EQ(RaisedBy(f, [&] { filwrirefrel(f, base, *target, form); }), -1);
                      })),
                      "03 00 00");
        }
    }
}

TEST(RelativeRefs, AnEmptyRecordIsNoWholeRecord) {
    const filref base = Reference("HD:doc");
    EXPECT_EQ(Read(Bytes("03 00 00"), base, false).result, -3);
    // What follows is taken for the other counts.
    EXPECT_EQ(Read(Bytes("03 00 00 00 01 00 00"), base, false).target, "(null)");
}

TEST(RelativeRefs, ALengthOf0ClearsTheTargetOnly) {
    const Outcome outcome = Read(Bytes("03 00 02 00 02 00 00 61 00"), Reference("HD:doc"), true);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.target, "(null)");
    EXPECT_EQ(outcome.full, "HD:old");
    EXPECT_EQ(outcome.position, 7);
}

TEST(RelativeRefs, AnyOtherKindIsMinus50AndNotRaised) {
    for (const char* const stored : {"02 00 00", "00", "80", "FF", "FD"}) {
        const filref base = Reference("HD:doc");
        const Outcome outcome = Read(Bytes(stored), base, true);
        EXPECT_EQ(outcome.result, -1) << stored;
        EXPECT_EQ(outcome.error, paramErr) << stored;
        EXPECT_EQ(outcome.target, "HD:old") << stored;
        EXPECT_EQ(outcome.full, "HD:old") << stored;

        const Document document(Bytes(stored));
        fil f;
        document.Open(&f);
        filref target;
        EXPECT_EQ(RaisedBy(&f, [&] { EXPECT_EQ(filrearefrel(&f, base, target, nullptr), -1); }), 0);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(RelativeRefs, AnEmptyFileIsTheEndOfTheFile) {
    EXPECT_EQ(Read("", Reference("HD:doc"), true).result, -3);
}

struct CountCase {
    const char* why;
    int shared;
    int up;
    const char* text;
    const char* base;
    const char* target;
};

constexpr CountCase kCountCases[] = {
    {"nothing shared takes the text whole", 0, 1, "HD:a:b", "W:d", "HD:a:b"},
    {"nothing shared, though the base is longer", 0, 0, "HD:a:b", "W:d", "HD:a:b"},
    {"as many up as the base has", 1, 2, "HD:a:b", "W:d", "HD:a:b"},
    {"more up than the base has", 1, 65535, "HD:a:b", "W:d", "HD:a:b"},
    {"the volume is kept", 1, 1, "HD:a:b", "W:d", "W:a:b"},
    {"more is kept than is skipped", 1, 1, "HD:a:b", "W:x:y:d", "W:x:y:a:b"},
    {"more is skipped than is kept", 2, 1, "HD:a:b", "W:d", "W:b"},
    {"every component is skipped", 3, 1, "HD:a:b", "W:x:d", "W:x:"},
    {"more than every component", 4, 1, "HD:a:b", "W:x:d", "W:x:"},
    {"the largest shared count", 65535, 1, "HD:a:b", "W:x:d", "W:x:"},
    {"an empty text", 1, 1, "", "W:x:d", "W:x:"},
    {"an empty text, nothing shared", 0, 1, "", "W:x:d", ""},
    {"the whole base ends the text", 2, 0, "HD:a:b", "W:x:d", "W:x:d"},
    {"the whole base, all skipped", 3, 0, "HD:a:b", "W:x:d", "W:x:d"},
    {"empty components count", 2, 1, "::a", ":x:d", ":x:a"},
    {"a base without text, one up", 1, 1, "HD:a", "", "HD:a"},
    {"a base without text, none up", 1, 0, "HD:a", "", ""},
    {"a base that ends with a colon", 1, 1, "HD:a", "W:x:", "W:x:a"},
};

TEST(RelativeRefs, TheCountsKeepAndSkipComponents) {
    for (const CountCase& c : kCountCases) {
        const int length = static_cast<int>(std::string(c.text).size()) + 1;
        const std::string bytes = Record(c.shared, c.up, length, Terminated(c.text));
        for (const bool wantFull : {false, true}) {
            const Outcome outcome = Read(bytes + "x", Reference(c.base), wantFull);
            EXPECT_EQ(outcome.result, 0) << c.why;
            EXPECT_EQ(outcome.target, c.target) << c.why;
            EXPECT_EQ(outcome.full, wantFull ? c.text : "HD:old") << c.why;
            EXPECT_EQ(outcome.position, static_cast<int>(bytes.size())) << c.why;
        }
    }
}

TEST(RelativeRefs, TheTextIsReadUpToItsNulWhateverItsLengthSays) {
    for (const int length : {1, 3, 4, 5, 200, 65535}) {
        const std::string bytes = Record(1, 1, length, Terminated("HD:a"));
        for (const bool wantFull : {false, true}) {
            const Outcome outcome = Read(bytes + Terminated("HD:b"), Reference("W:d"), wantFull);
            EXPECT_EQ(outcome.result, 0) << length;
            EXPECT_EQ(outcome.target, "W:a") << length;
            EXPECT_EQ(outcome.position, static_cast<int>(bytes.size())) << length;
        }
    }
}

TEST(RelativeRefs, ATextOf1021CharactersIsReadAndOneOf1022IsNot) {
    for (const std::size_t length : {1020U, 1021U, 1022U, 1023U, 5000U, 40000U}) {
        const bool fits = length <= 1021;
        const std::string text = "HD:" + std::string(length - 3, 'x');
        const std::string bytes = Record(0, 1, 1, Terminated(text));
        for (const bool wantFull : {false, true}) {
            const Outcome outcome = Read(bytes + "behind", Reference("W:d"), wantFull);
            EXPECT_EQ(outcome.result, fits ? 0 : -1) << length;
            EXPECT_EQ(outcome.target, fits ? text : "") << length;
            EXPECT_EQ(outcome.full, !wantFull ? "HD:old" : fits ? text : "") << length;
            EXPECT_EQ(outcome.position, static_cast<int>(bytes.size())) << length;
            EXPECT_NE(outcome.error, paramErr) << length;
        }
    }
}

TEST(RelativeRefs, TheBaseCountsAgainstTheSameLimit) {
    const std::string kept = "W:" + std::string(500, 'k') + ":";
    for (const std::size_t tail : {518U, 519U}) {
        const bool fits = kept.size() + tail <= 1021;
        const std::string rest(tail, 'x');
        const std::string bytes = Record(1, 1, 1, Terminated("HD:" + rest));
        const Outcome outcome = Read(bytes, Reference(kept + "doc"), false);
        EXPECT_EQ(outcome.result, fits ? 0 : -1) << tail;
        EXPECT_EQ(outcome.target, fits ? kept + rest : "") << tail;
    }
}

TEST(RelativeRefs, ABaseThatDoesNotFitAloneGivesAnEmptyTarget) {
    const std::string base(1023, 'b');
    const std::string bytes = Record(1, 0, 1, Terminated("HD:a"));
    const Outcome outcome = Read(bytes + "x", Reference(base), false);
    EXPECT_EQ(outcome.result, -1);
    EXPECT_EQ(outcome.target, "");
    EXPECT_EQ(outcome.position, static_cast<int>(bytes.size()));
}

TEST(RelativeRefs, WithAFullReferenceOnlyItsTextDecidesTheResult) {
    const std::string kept = "W:" + std::string(1000, 'k') + ":";
    const std::string bytes = Record(1, 1, 1, Terminated("HD:" + std::string(100, 'x')));
    const Outcome outcome = Read(bytes, Reference(kept + "doc"), true);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.target, "");
    EXPECT_EQ(outcome.full.size(), 103U);

    // And the reverse: what is skipped makes the target fit.
    const std::string shared(1100, 's');
    const std::string longBytes = Record(1, 1, 1, Terminated(shared + ":a"));
    const Outcome reverse = Read(longBytes, Reference("W:doc"), true);
    EXPECT_EQ(reverse.result, -1);
    EXPECT_EQ(reverse.target, "W:a");
    EXPECT_EQ(reverse.full, "");
    EXPECT_EQ(reverse.position, static_cast<int>(longBytes.size()));
}

TEST(RelativeRefs, ATooLongTextIsNotRaised) {
    const Document document(Record(0, 1, 1, Terminated(std::string(1022, 'x'))));
    fil f;
    document.Open(&f);
    const filref base = Reference("W:d");
    filref target;
    EXPECT_EQ(RaisedBy(&f, [&] { EXPECT_EQ(filrearefrel(&f, base, target, nullptr), -1); }), 0);
    EXPECT_EQ(TextOf(target), "");
    EXPECT_EQ(filclo(&f), 0);
}

TEST(RelativeRefs, TheBaseMayBeTheTargetAlsoAcrossTheBuffers) {
    const std::string record = Record(1, 1, 1, Terminated("HD:a"));
    const int length = static_cast<int>(record.size());
    for (int before = 0; before <= length + 1; ++before) {
        const int skip = kFilBufferSize - before;
        const Document document(std::string(static_cast<std::size_t>(skip), 'p') + record);
        fil f;
        document.Open(&f, skip);
        filref ref = Reference("W:x:doc");
        EXPECT_EQ(filrearefrel(&f, ref, ref, nullptr), 0);
        EXPECT_EQ(TextOf(ref), "W:x:a") << before;
        EXPECT_EQ(filpos(&f), skip + length);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(RelativeRefs, ATextWithoutItsNulIsTheEndOfTheFile) {
    for (const std::size_t length : {0U, 4U, 1021U, 1022U, 40000U}) {
        const Outcome outcome =
            Read(Record(0, 1, 9, std::string(length, 'x')), Reference("W:d"), true);
        EXPECT_EQ(outcome.result, -3) << length;
        EXPECT_EQ(outcome.target, "HD:old") << length;
        EXPECT_EQ(outcome.full, "HD:old") << length;
    }
}

TEST(RelativeRefs, NoMemoryForAReferenceIsMinus108) {
    const Document document(Record(1, 1, 5, Terminated("HD:a")));
    const filref base = Reference("W:d");
    for (const bool armed : {false, true}) {
        for (const bool targetHasStorage : {false, true}) {
            fil f;
            document.Open(&f);
            filref target;
            filref full;
            if (targetHasStorage) target.allocate();
            const auto read = [&] {
                EXPECT_EQ(filrearefrel(&f, base, target, &full), -1);
                EXPECT_FALSE(armed) << "it was to be raised";
            };
            {
                const RefuseAllocations refuse(kFilrefSize, kFilrefSize);
                if (armed)
                    EXPECT_EQ(RaisedBy(&f, read), -1);
                else
                    read();
            }
            EXPECT_EQ(f.sys->error, memFullErr);
            EXPECT_EQ(TextOf(target), targetHasStorage ? "W:a" : "(null)");
            EXPECT_EQ(full.path, nullptr);
            EXPECT_EQ(filclo(&f), 0);
        }
    }
}

}  // namespace
}  // namespace Ondrel
