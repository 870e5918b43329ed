// Every record cut behind each of its bytes, and laid over the boundary of the buffers in every
// way: the codes, that the stream closes, and that no descriptor stays open. Under the sanitizers
// this shows that a raise leaves nothing behind.
#include <cerrno>

#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "tests/records/Streams.h"
#include "tests/support/FaultPlan.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Document;
using Testing::FaultPlan;
using Testing::Hex;
using Testing::OpenDescriptors;
using Testing::RaisedBy;
using Testing::Reference;
using Testing::TextOf;
using Testing::Written;

// What a read gave: its code, and the text in hex.
struct Outcome {
    int code = 0;
    std::string text;
};

bool operator==(const Outcome& a, const Outcome& b) {
    return a.code == b.code && a.text == b.text;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    return out << "code " << outcome.code << ", text " << outcome.text;
}

Outcome ReadCounted(fil* f) {
    return {0, Hex(filreastring(f))};
}

Outcome ReadUnicode(fil* f) {
    return {0, Hex(Uni16StringToUTF8(filreaUni16String(f)))};
}

template <int (*kRead)(fil*, char*, int)>
Outcome ReadLine(fil* f) {
    char buffer[100];
    const int code = kRead(f, buffer, sizeof buffer);
    return {code, Hex(buffer)};
}

// Holds its text without an owner, so that a raise skips nothing.
filref& Target() {
    static filref ref;
    return ref;
}

filref& Full() {
    static filref ref;
    return ref;
}

const filref& Base() {
    static const filref ref = Reference("Work:Moved:Proj:doc");
    return ref;
}

Outcome ReadAbsolute(fil* f) {
    const int code = filrearef(f, Target());
    return {code, Hex(TextOf(Target()))};
}

Outcome ReadRelative(fil* f) {
    const int code = filrearefrel(f, Base(), Target(), nullptr);
    return {code, Hex(TextOf(Target()))};
}

Outcome ReadRelativeAndFull(fil* f) {
    const int code = filrearefrel(f, Base(), Target(), &Full());
    return {code, Hex(TextOf(Target()) + "|" + TextOf(Full()))};
}

struct Record {
    const char* name;
    const char* stored;
    const char* text;
    Outcome (*read)(fil*);
    bool codes;  // the function answers with codes
};

constexpr Record kRecords[] = {
    {"counted", "00 00 00 05 61 00 62 0A FF", "61 00 62 0A FF", ReadCounted, false},
    {"Unicode", "00 00 00 05 61 E2 82 AC 7A", "61 E2 82 AC 7A", ReadUnicode, false},
    {"line", "61 62 63 0A", "61 62 63", ReadLine<filreastr>, true},
    {"line by LF", "61 62 63 0A", "61 62 63", ReadLine<filreacrlf>, true},
    {"NUL", "61 62 63 00", "61 62 63", ReadLine<filreastrnul>, true},
    {"absolute", "02 00 05 48 44 3A 61 00", "48 44 3A 61", ReadAbsolute, true},
    {"relative", "03 00 02 00 02 00 08 48 3A 44 3A 50 3A 61 00",
     "57 6F 72 6B 3A 4D 6F 76 65 64 3A 50 3A 61", ReadRelative, true},
    {"relative with full", "03 00 01 00 03 00 08 48 3A 44 3A 50 3A 61 00",
     "57 6F 72 6B 3A 44 3A 50 3A 61 7C 48 3A 44 3A 50 3A 61", ReadRelativeAndFull, true},
};

// Reads the record behind `skip` others bytes and expects it whole, with the stream behind it.
void CheckWhole(const Record& record, int skip) {
    const std::string stored = Bytes(record.stored);
    const Document document(std::string(static_cast<std::size_t>(skip), 'p') + stored + "zz");
    fil f;
    document.Open(&f, skip);
    EXPECT_EQ(record.read(&f), (Outcome{0, record.text}));
    EXPECT_EQ(filpos(&f), skip + static_cast<int>(stored.size()));
    EXPECT_EQ(filrea16(&f), 'z' << 8 | 'z');
    EXPECT_EQ(filclo(&f), 0);
}

TEST(CutRecords, ARecordReadsTheSameAcrossTheBuffers) {
    for (const Record& record : kRecords) {
        const int length = static_cast<int>(Bytes(record.stored).size());
        for (int before = 0; before <= length; ++before) {
            SCOPED_TRACE(std::string(record.name) +
                         ", bytes in the first buffer: " + std::to_string(before));
            CheckWhole(record, kFilBufferSize - before);
            CheckWhole(record, 2 * kFilBufferSize - before);
        }
    }
}

TEST(CutRecords, ACutRecordIsMinus3OrZerosAndTheStreamCloses) {
    const int descriptors = OpenDescriptors();
    for (const Record& record : kRecords) {
        const std::string stored = Bytes(record.stored);
        for (std::size_t length = 0; length < stored.size(); ++length) {
            for (const int skip : {0, kFilBufferSize - 3}) {
                SCOPED_TRACE(std::string(record.name) + " cut at " + std::to_string(length));
                const std::string padding(static_cast<std::size_t>(skip), 'p');
                const Document document(padding + stored.substr(0, length));
                fil f;
                document.Open(&f, skip);
                const Outcome outcome = record.read(&f);
                EXPECT_EQ(outcome.code, record.codes ? -3 : 0);
                EXPECT_EQ(f.sys->error, eofErr);
                EXPECT_EQ(filpos(&f), skip + static_cast<int>(length));
                EXPECT_EQ(filclo(&f), 0);
            }
        }
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST(CutRecords, ACutRecordIsRaisedWithMinus3AndTheStreamCloses) {
    const int descriptors = OpenDescriptors();
    for (const Record& record : kRecords) {
        const std::string stored = Bytes(record.stored);
        for (std::size_t length = 0; length < stored.size(); ++length) {
            for (const int skip : {0, kFilBufferSize - 3}) {
                SCOPED_TRACE(std::string(record.name) + " cut at " + std::to_string(length));
                const std::string padding(static_cast<std::size_t>(skip), 'p');
                const Document document(padding + stored.substr(0, length));
                fil f;
                document.Open(&f, skip);
                EXPECT_EQ(RaisedBy(&f, [&] { record.read(&f); }), -3);
                EXPECT_EQ(filpos(&f), skip + static_cast<int>(length));
                EXPECT_EQ(filclo(&f), 0);
            }
        }
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

const std::string kText = Bytes("61 00 62 0A FF");
const Uni16String kUnits = UTF8ToUni16String(Bytes("61 E2 82 AC 7A"));
const filref kDocument = Reference("H:D:R:d");
const filref kTarget = Reference("H:D:P:a");

struct Writer {
    const char* stored;
    int (*write)(fil*);
};

const Writer kWriters[] = {
    {"00 00 00 05 61 00 62 0A FF",
     [](fil* f) {
         filwristring(f, kText);
         return 0;
     }},
    {"00 00 00 05 61 E2 82 AC 7A",
     [](fil* f) {
         filwriUni16String(f, kUnits);
         return 0;
     }},
    {"61 62 63 00", [](fil* f) { return filwristrnul(f, "abc"); }},
    {"2D 31 3B 61", [](fil* f) { return filwrifmt(f, "%d;%s", -1, "a"); }},
    {"02 00 08 48 3A 44 3A 50 3A 61 00", [](fil* f) { return filwriref(f, kTarget); }},
    {"03 00 02 00 02 00 08 48 3A 44 3A 50 3A 61 00",
     [](fil* f) { return filwrirefrel(f, kDocument, kTarget, 1); }},
    {"03 00 01 00 02 00 0A 64 75 6D 6D 79 3A 50 3A 61 00",
     [](fil* f) { return filwrirefrel(f, kDocument, kTarget, 0); }},
};

TEST(CutRecords, ARecordIsWrittenTheSameAcrossTheBuffers) {
    for (const Writer& writer : kWriters) {
        const int length = static_cast<int>(Bytes(writer.stored).size());
        for (int before = 0; before <= length; ++before) {
            const auto write = [&](fil* f) {
                EXPECT_EQ(writer.write(f), 0);
                filwri16(f, 'z' << 8 | 'z');
            };
            for (const int skip : {kFilBufferSize - before, 2 * kFilBufferSize - before})
                EXPECT_EQ(Hex(Written(write, skip)), std::string(writer.stored) + " 7A 7A");
        }
    }
}

// Writes every record several times over, three full buffers and more: whether anything failed.
bool WriteAllRecords(fil* f) {
    bool failed = false;
    for (int i = 0; i < 900; ++i) {
        for (const Writer& writer : kWriters) {
            const int result = writer.write(f);
            EXPECT_TRUE(result == 0 || result == -1);
            failed = failed || result != 0;
        }
    }
    return failed || f->sys->error != 0;
}

std::string AllRecords() {
    std::string once;
    for (const Writer& writer : kWriters)
        once += Bytes(writer.stored);
    std::string all;
    for (int i = 0; i < 900; ++i)
        all += once;
    return all;
}

TEST(CutRecords, WhicheverWriteFailsItIsReportedOrRaisedAndNothingLeaks) {
    const std::string expected = AllRecords();
    const int fullBuffers = static_cast<int>(expected.size()) / kFilBufferSize;
    ASSERT_GE(fullBuffers, 3);
    for (const bool armed : {false, true}) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE("write " + std::to_string(n) + (armed ? ", armed" : ""));
            const int descriptors = OpenDescriptors();
            const Document document;
            fil f;
            document.Save(&f);
            bool failed = false;
            const FaultPlan plan(n, ENOSPC, "pwrite");
            if (armed)
                failed = RaisedBy(&f, [&] { WriteAllRecords(&f); }) == -1;
            else
                failed = WriteAllRecords(&f);
            const bool fired = plan.Fired();
            // A write is reported when the buffer behind it is full; the last ones never are.
            EXPECT_EQ(failed, n < fullBuffers);
            EXPECT_EQ(filclo(&f), 0);
            EXPECT_EQ(OpenDescriptors(), descriptors);
            if (fired) continue;
            EXPECT_EQ(document.Bytes() == expected, !plan.Fired());
            if (!plan.Fired()) break;
        }
    }
}

TEST(CutRecords, WhicheverReadFailsItIsReportedOrRaisedAndNothingLeaks) {
    std::string bytes;
    for (int i = 0; i < 1200; ++i)
        for (const Record& record : kRecords)
            bytes += Bytes(record.stored);
    const Document document(bytes);
    for (const bool armed : {false, true}) {
        for (int n = 1;; ++n) {
            SCOPED_TRACE("call " + std::to_string(n) + (armed ? ", armed" : ""));
            const int descriptors = OpenDescriptors();
            fil f;
            document.Open(&f);
            bool whole = true;
            const auto read = [&] {
                for (int i = 0; i < 1200; ++i) {
                    for (const Record& record : kRecords) {
                        const Outcome outcome = record.read(&f);  // nothing else lives at a raise
                        whole = whole && outcome == Outcome{0, record.text};
                    }
                }
            };
            const FaultPlan plan(n, EIO);
            int raised = 0;
            if (armed)
                raised = RaisedBy(&f, read);
            else
                read();
            if (f.sys->error != 0 && f.sys->error != eofErr) {
                EXPECT_EQ(f.sys->error, ioErr);
                EXPECT_TRUE(armed ? raised == -1 : !whole);
            } else {
                EXPECT_TRUE(whole);
                EXPECT_EQ(raised, 0);
            }
            filclo(&f);
            EXPECT_EQ(OpenDescriptors(), descriptors);
            if (!plan.Fired()) break;
        }
    }
}

}  // namespace
}  // namespace Ondrel
