// Lines and NUL-terminated strings: how far each reader reads, what it stores, and its code.
#include <vector>

#include "ondrel/records/strings.h"
#include "tests/records/Streams.h"

namespace Ondrel {
namespace {

using Testing::Bytes;
using Testing::Document;
using Testing::Hex;
using Testing::RaisedBy;

using Reader = int (*)(fil*, char*, int);

struct Call {
    const char* text;  // in hex
    int result;
    int position;  // of the stream behind the call
};

struct ReaderCase {
    const char* why;
    Reader read;
    int size;
    const char* stored;
    std::vector<Call> calls;
};

const ReaderCase kReaderCases[] = {
    {"a line", filreastr, 10, "61 62 0A 63 0A", {{"61 62", 0, 3}, {"63", 0, 5}, {"", -3, 5}}},
    {"an empty line", filreastr, 10, "0A 0A", {{"", 0, 1}, {"", 0, 2}, {"", -3, 2}}},
    {"an empty file", filreastr, 10, "", {{"", -3, 0}, {"", -3, 0}}},
    {"a CR is no line end", filreastr, 10, "61 62 63 0D 0A 64", {{"61 62 63 0D", 0, 5}}},
    {"size 1 reads nothing", filreastr, 1, "61 0A", {{"", 0, 0}, {"", 0, 0}}},
    {"size 0 reads nothing", filreastr, 0, "61 0A", {{"", 0, 0}}},
    {"a negative size reads nothing", filreastr, -7, "61 0A", {{"", 0, 0}}},
    {"size 2 reads a byte at a time",
     filreastr,
     2,
     "61 62 0A",
     {{"61", 0, 1}, {"62", 0, 2}, {"", 0, 3}, {"", -3, 3}}},
    {"a long line goes on",
     filreastr,
     4,
     "61 62 63 64 65 66 0A",
     {{"61 62 63", 0, 3}, {"64 65 66", 0, 6}, {"", 0, 7}}},
    {"no LF at the end", filreastr, 10, "61 62", {{"61 62", -3, 2}, {"", -3, 2}}},
    {"exactly size - 1 at the end", filreastr, 3, "61 62", {{"61 62", 0, 2}, {"", -3, 2}}},
    {"a NUL is a byte", filreastr, 10, "61 00 62 0A", {{"61 00 62", 0, 4}}},

    {"LF", filreacrlf, 10, "61 0A 62 0A", {{"61", 0, 2}, {"62", 0, 4}, {"", -3, 4}}},
    {"CR", filreacrlf, 10, "61 62 63 0D 64 65 66 0A", {{"61 62 63", 0, 4}, {"64 65 66", 0, 8}}},
    {"CR LF", filreacrlf, 10, "61 0D 0A 62 0D 0A", {{"61", 0, 3}, {"62", 0, 6}, {"", -3, 6}}},
    {"CR CR", filreacrlf, 10, "61 0D 0D 62", {{"61", 0, 2}, {"", 0, 3}, {"62", -3, 4}}},
    {"LF CR", filreacrlf, 10, "61 0A 0D 62", {{"61", 0, 2}, {"", 0, 3}, {"62", -3, 4}}},
    {"a CR at the end", filreacrlf, 10, "61 62 63 0D", {{"61 62 63", 0, 4}, {"", -3, 4}}},
    {"a long line is consumed",
     filreacrlf,
     4,
     "61 62 63 64 65 66 0A 67",
     {{"61 62 63", 0, 7}, {"67", -3, 8}}},
    {"a long line with CR LF",
     filreacrlf,
     3,
     "61 62 63 64 0D 0A 65 0A",
     {{"61 62", 0, 6}, {"65", 0, 8}}},
    {"size 1 consumes a line", filreacrlf, 1, "61 62 0A 63", {{"", 0, 3}}},
    {"size 0 consumes a line", filreacrlf, 0, "61 62 0A 63", {{"", 0, 3}}},
    {"a negative size too", filreacrlf, -7, "61 62 0A 63", {{"", 0, 3}}},
    {"no line end", filreacrlf, 10, "61 62", {{"61 62", -3, 2}, {"", -3, 2}}},
    {"no line end, too long", filreacrlf, 2, "61 62", {{"61", -3, 2}}},
    {"an empty file", filreacrlf, 10, "", {{"", -3, 0}}},

    {"a string", filreastrnul, 10, "61 62 00 63 00", {{"61 62", 0, 3}, {"63", 0, 5}, {"", -3, 5}}},
    {"an empty string", filreastrnul, 10, "00 61", {{"", 0, 1}, {"61", -3, 2}}},
    {"line ends are bytes", filreastrnul, 10, "0D 0A 00", {{"0D 0A", 0, 3}}},
    {"bytes of 80 and more", filreastrnul, 10, "80 FF 00", {{"80 FF", 0, 3}}},
    {"a long string is consumed", filreastrnul, 3, "61 62 63 64 00 65", {{"61 62", 0, 5}}},
    {"size 1 consumes a string", filreastrnul, 1, "61 62 00 63", {{"", 0, 3}}},
    {"size 0 consumes a string", filreastrnul, 0, "61 62 00 63", {{"", 0, 3}}},
    {"no NUL", filreastrnul, 10, "61 62", {{"61 62", -3, 2}}},
};

// What the reader stored, up to the terminator that the text must have at `length`.
std::string Stored(const char* buffer, std::size_t length) {
    EXPECT_EQ(buffer[length], 0);
    return Hex(std::string_view(buffer, length));
}

// The case's bytes behind `offset` others.
void CheckCase(const ReaderCase& c, int offset) {
    const std::string padding(static_cast<std::size_t>(offset), 'p');
    const Document document(padding + Bytes(c.stored));
    fil f;
    document.Open(&f, offset);
    for (const Call& call : c.calls) {
        char buffer[16];
        std::fill(std::begin(buffer), std::end(buffer), '#');
        EXPECT_EQ(c.read(&f, buffer, c.size), call.result);
        const std::size_t length = Bytes(call.text).size();
        EXPECT_EQ(Stored(buffer, length), call.text);
        EXPECT_EQ(buffer[length + 1], '#') << "more than the text and its NUL was written";
        EXPECT_EQ(filpos(&f), offset + call.position);
    }
    EXPECT_EQ(filclo(&f), 0);
}

TEST(Lines, EachReaderEndsItsTextAsStated) {
    for (const ReaderCase& c : kReaderCases) {
        SCOPED_TRACE(std::string(c.why) + ": " + c.stored);
        CheckCase(c, 0);
    }
}

TEST(Lines, TextsAcrossTheBuffersReadAsWithinThem) {
    for (const ReaderCase& c : kReaderCases) {
        const int length = static_cast<int>(Bytes(c.stored).size());
        for (int before = 0; before <= length; ++before) {
            SCOPED_TRACE(std::string(c.why) +
                         ", bytes in the first buffer: " + std::to_string(before));
            CheckCase(c, kFilBufferSize - before);
        }
    }
}

// What a byte at a time would give: texts of every length around the blocks that they are moved in,
// into buffers of every size around them.
TEST(Lines, TextsOfEveryLengthReadAsBytesWould) {
    const struct {
        Reader read;
        char end;
    } readers[] = {{filreastr, '\n'}, {filreacrlf, '\r'}, {filreastrnul, 0}};
    for (const auto& reader : readers) {
        for (int length = 0; length <= 70; ++length) {
            std::string text;
            for (int i = 0; i < length; ++i)
                text += static_cast<char>(0x80 + i);
            const Document document(text + reader.end + "next" + reader.end +
                                    std::string(100, 'p'));
            for (int size = 2; size <= 80; ++size) {
                SCOPED_TRACE(std::to_string(length) + " bytes into " + std::to_string(size));
                fil f;
                document.Open(&f);
                char buffer[160];
                std::fill(std::begin(buffer), std::end(buffer), '#');
                const int stored = std::min(length, size - 1);
                EXPECT_EQ(reader.read(&f, buffer, size), 0);
                EXPECT_EQ(std::string(buffer), text.substr(0, static_cast<std::size_t>(stored)));
                EXPECT_EQ(std::string(buffer + stored + 1, std::end(buffer)),
                          std::string(sizeof buffer - static_cast<std::size_t>(stored) - 1, '#'));
                const bool leavesRest = reader.read == filreastr && length >= size - 1;
                EXPECT_EQ(filpos(&f), leavesRest ? stored : length + 1);
                EXPECT_EQ(filclo(&f), 0);
            }
        }
    }
}

TEST(Lines, TheEndOfTheFileIsRaisedWithTheTextInTheBuffer) {
    for (const Reader read : {Reader(filreastr), Reader(filreacrlf), Reader(filreastrnul)}) {
        const Document document("abc");
        fil f;
        document.Open(&f);
        char buffer[10] = "#########";
        EXPECT_EQ(RaisedBy(&f, [&] { read(&f, buffer, sizeof buffer); }), -3);
        EXPECT_STREQ(buffer, "abc");
        EXPECT_EQ(f.sys->error, eofErr);
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(Lines, ACarriageReturnThatEndsTheFileRaisesNothing) {
    for (const int length : {4, kFilBufferSize, 2 * kFilBufferSize}) {
        std::string bytes(static_cast<std::size_t>(length), 'a');
        bytes.back() = '\r';
        const Document document(bytes);
        fil f;
        document.Open(&f);
        std::vector<char> buffer(static_cast<std::size_t>(length));
        EXPECT_EQ(RaisedBy(&f, [&] { EXPECT_EQ(filreacrlf(&f, buffer.data(), length), 0); }), 0)
            << length;
        EXPECT_EQ(std::string(buffer.data()), std::string(buffer.size() - 1, 'a'));
        EXPECT_EQ(RaisedBy(&f, [&] { filreacrlf(&f, buffer.data(), length); }), -3) << length;
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(Lines, ALineLongerThanSeveralBuffersIsReadWhole) {
    const std::string line(50000, 'x');
    for (const char* const end : {"\n", "\r", "\r\n"}) {
        const Document document(line + end + "next\n");
        fil f;
        document.Open(&f);
        std::vector<char> buffer(60000);
        EXPECT_EQ(filreacrlf(&f, buffer.data(), 60000), 0);
        EXPECT_EQ(line, buffer.data());
        EXPECT_EQ(filreastr(&f, buffer.data(), 60000), 0);
        EXPECT_STREQ(buffer.data(), "next");
        EXPECT_EQ(filclo(&f), 0);
    }
}

TEST(Lines, AClosedStreamAndOneBeingWrittenGiveMinus1WithoutARaise) {
    for (const Reader read : {Reader(filreastr), Reader(filreacrlf), Reader(filreastrnul)}) {
        fil closed;
        char buffer[10] = "#########";
        EXPECT_EQ(read(&closed, buffer, sizeof buffer), -1);
        EXPECT_STREQ(buffer, "");

        const Document document;
        fil writing;
        document.Save(&writing);
        writing.count = 0;  // nothing that the fast paths could take
        EXPECT_EQ(RaisedBy(&writing, [&] { EXPECT_EQ(read(&writing, buffer, sizeof buffer), -1); }),
                  0);
        writing.count = kFilBufferSize;
        EXPECT_EQ(filclo(&writing), 0);
    }
}

}  // namespace
}  // namespace Ondrel
