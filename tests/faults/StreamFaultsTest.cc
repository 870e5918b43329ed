// Whichever call of a stream's operation fails: reading, writing, records, direct access.
#include <gtest/gtest.h>

#include <filesystem>

#include "ondrel/core/FileType.h"
#include "ondrel/core/Process.h"
#include "ondrel/fil/FileOutputStream.h"
#include "ondrel/fil/direct.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

constexpr int kSize = 3 * kFilBufferSize + 1000;
constexpr unsigned int kDocumentType = 7001;

std::string Pattern(int size) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    for (int i = 0; i < size; ++i)
        bytes[static_cast<std::size_t>(i)] = static_cast<char>((i * 7 + i / 251) & 255);
    return bytes;
}

const unsigned char* AsBytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Room(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

void NoFile(const Scratch&) {}

void OneDocument(const Scratch& scratch) {
    scratch.Write("doc", Pattern(kSize));
}

void DocumentWithCodes(const Scratch& scratch) {
    scratch.Write("doc", "the old text");
    scratch.Write("._doc", Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " +
                               Bytes("00 02 00 00 00 09 00 00 00 32 00 00 00 20"
                                     "00 00 00 02 00 00 00 52 00 00 00 00") +
                               "TypeCrtr" + std::string(24, '\0'));
}

// --- Reading ------------------------------------------------------------------------------------

int ReadAround(fil* f, unsigned char* all) {
    for (int i = 0; i < 10; ++i)
        if (const int byte = filrea8(f); byte < 0) return byte;
    const int size = filgetsiz(f);
    if (size != kSize) return size < 0 ? size : -1;
    if (const int moved = filpos(f, 40000); moved != 0) return moved;
    if (const int value = filrea16(f); value < 0) return value;
    if (const int moved = filpos(f, 0); moved != 0) return moved;
    if (const int read = filrea(f, all, kSize); read != 0) return read;
    return fileof(f) ? 0 : -1;
}

template <bool armed>
void ReadDocument(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    std::string all(kSize, '\0');
    unsigned char* const room = Room(all);
    fil f;
    errtyp context;
    const int value = Armed(armed, &context, [&](errtyp* e) {
        const int opened = filope(&f, e, ref);
        return opened != 0 ? opened : ReadAround(&f, room);
    });
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
    answer->content = all;
}

void OpenThroughAlias(const Scratch&, Answer* answer) {
    fil f;
    const int opened = filope(&f, nullptr, RefTo("link"));
    Tell(&f, opened == 0 ? filrea32(&f) : opened, answer);
    CloseAndTell(&f, answer);
}

void AskWhetherItExists(const Scratch&, Answer* answer) {
    answer->succeeded = filexist(RefTo("doc"));
    answer->code = kNoCode;
}

// --- Writing ------------------------------------------------------------------------------------

// Writes values and blocks over more than two buffers, patches a marker, and flushes: only what is
// flushed is known to be written.
int WriteAround(fil* f, const unsigned char* all) {
    const int marker = filwripos(f);
    if (marker < 0) return marker;
    if (const int result = filwri(f, all, kSize); result != 0) return result;
    if (const int result = filwri16(f, 0x1234); result != 0) return result;
    if (const int result = filwrilen(f, marker); result != 0) return result;
    if (const int result = filwri32(f, 0x56789ABC); result != 0) return result;
    return filflu(f);
}

template <bool armed>
void WriteDocument(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    const std::string all = Pattern(kSize);
    const unsigned char* const bytes = AsBytes(all);
    fil f;
    errtyp context;
    const int value = Armed(armed, &context, [&](errtyp* e) {
        const int opened = filsav(&f, e, &ref, kDocumentType);
        return opened != 0 ? opened : WriteAround(&f, bytes);
    });
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

void SaveBySpecification(const Scratch&, Answer* answer) {
    FileSpec spec;
    if (RefTo("doc").convertToFileSpec(spec) != 0) {
        answer->code = kNoCode;
        return;
    }
    fil f;
    int value = saveFile(&f, nullptr, spec, 0);
    if (value == 0) value = filwri8(&f, 1);
    if (value == 0) value = filflu(&f);
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

template <bool armed>
void ChangeInPlace(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    fil f;
    errtyp context;
    const int value = Armed(armed, &context, [&](errtyp* e) {
        int result = filsavmod(&f, e, ref);
        if (result == 0) result = filpos(&f, 20000);
        if (result == 0) result = filwri32(&f, 0x01020304);
        if (result == 0) result = filpos(&f, 5);
        if (result == 0) result = filwri8(&f, 0xEE);
        return result == 0 ? filflu(&f) : result;
    });
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

void WriteThroughOutputStream(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    const std::string all = Pattern(kSize);
    fil f;
    int value = filsav(&f, nullptr, &ref, 0);
    if (value == 0) {
        FileOutputStream out(&f);
        const bool written = out.writeByte(0x41) && out.writeBytes(AsBytes(all), kSize) &&
                             out.currentPosition() == kSize + 1;
        value = written ? filflu(&f) : -1;
    }
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

// --- Records ------------------------------------------------------------------------------------

const std::string kLongText = Pattern(kFilBufferSize + 77);

template <bool armed>
void WriteRecords(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    const filref target = RefTo("sub:pic");
    const Uni16String wide(20000, 0xE9);
    fil f;
    errtyp context;
    const int value = Armed(armed, &context, [&](errtyp* e) {
        if (const int opened = filsav(&f, e, &ref, 0); opened != 0) return opened;
        int result = filwristrnul(&f, "a text");
        if (result == 0) result = filwrifmt(&f, "%d of %s\n", 12, "many");
        filwristring(&f, kLongText);
        filwriUni16String(&f, wide);
        if (result == 0) result = filwriref(&f, target);
        if (result == 0) result = filwrirefrel(&f, ref, target, 1);
        if (result == 0) result = filwrirefrel(&f, ref, target, 0);
        return result == 0 ? filflu(&f) : result;
    });
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

void DocumentOfRecords(const Scratch& scratch) {
    std::string bytes("one\ntwo\r\nthree\0", 15);
    bytes += Bytes("00 00 40 4D") + kLongText;
    bytes += Bytes("00 00 00 02 C3 A9");
    bytes += Bytes("02 00 0D") + std::string("Test:sub:pic", 13);
    scratch.Write("doc", bytes);
}

struct ReadTexts {
    char lines[3][16];
    std::string counted;
    Uni16String wide;
    filref target;
};

int ReadAllRecords(fil* f, ReadTexts* texts) {
    if (const int result = filreastr(f, texts->lines[0], 16); result != 0) return result;
    if (const int result = filreacrlf(f, texts->lines[1], 16); result != 0) return result;
    if (const int result = filreastrnul(f, texts->lines[2], 16); result != 0) return result;
    texts->counted = filreastring(f);
    texts->wide = filreaUni16String(f);
    return filrearef(f, texts->target);  // fails where a text before it could not be read
}

template <bool armed>
void ReadRecords(const Scratch&, Answer* answer) {
    const filref ref = RefTo("doc");
    ReadTexts texts{};
    fil f;
    errtyp context;
    const int value = Armed(armed, &context, [&](errtyp* e) {
        const int opened = filope(&f, e, ref);
        return opened != 0 ? opened : ReadAllRecords(&f, &texts);
    });
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
    if (!answer->succeeded) return;
    for (const char* line : texts.lines)
        answer->content.append(line).append("|");
    answer->content += texts.counted + Uni16StringToUTF8(texts.wide) + texts.target.path;
}

// --- Direct access ------------------------------------------------------------------------------

int WriteDirectly(fil* f, const unsigned char* bytes) {
    if (const int result = filasywri(f, 100, bytes, 5000); result != 0) return result;
    if (const int result = filasywri(f, 30000, bytes, 1); result != 0) return result;
    filasycacbeg(f, 4096);
    for (int i = 0; i < 100; ++i)
        (void)filasywri(f, 200 + i * 50, bytes + i * 50, 50);
    (void)filasywri(f, 60000, bytes, 9000);
    filasycacend();
    return filasydon(f) == 1 ? 0 : -1;
}

void DirectAccess(const Scratch&, Answer* answer) {
    const std::string bytes = Pattern(10000);
    answer->content.assign(2000, '\0');
    fil f;
    int value = filasyope(&f, RefTo("doc"), true);
    if (value == 0) value = WriteDirectly(&f, AsBytes(bytes));
    if (value == 0) value = filasyrea(&f, 150, Room(answer->content), 2000);
    if (value == 0)
        while ((value = filasydon(&f)) == 0)
            ;
    Tell(&f, value, answer);
    CloseAndTell(&f, answer);
}

// --- The table ----------------------------------------------------------------------------------

// A look-up that fails tells that the item is not there; what is not there is made, and is then
// there all the same.
const std::vector<OSErr> kLookUp = {fnfErr, kNoCode};
const std::vector<OSErr> kLookUpAndMake = {fnfErr, kNoCode, dupFNErr};

const Operation kOperations[] = {
    {"read a document", Leaves::kNothing, OneDocument, ReadDocument<false>, kLookUp},
    {"read a document, armed", Leaves::kNothing, OneDocument, ReadDocument<true>, kLookUp},
    {"open through a link", Leaves::kNothing,
     [](const Scratch& scratch) {
         OneDocument(scratch);
         std::filesystem::create_symlink("doc", scratch.Path("link"));
     },
     OpenThroughAlias, kLookUp},
    {"ask whether it exists", Leaves::kNothing, OneDocument, AskWhetherItExists, kLookUp},
    {"write a new document", Leaves::kPartOfTheNew, NoFile, WriteDocument<false>, kLookUpAndMake},
    {"write over a document", Leaves::kPartOfTheNew, DocumentWithCodes, WriteDocument<false>,
     kLookUpAndMake},
    {"write over a document, armed", Leaves::kPartOfTheNew, DocumentWithCodes, WriteDocument<true>,
     kLookUpAndMake},
    {"save by a specification", Leaves::kPartOfTheNew, DocumentWithCodes, SaveBySpecification,
     kLookUpAndMake},
    {"change in place", Leaves::kPartOfTheNew, OneDocument, ChangeInPlace<false>, kLookUp},
    {"change in place, armed", Leaves::kPartOfTheNew, OneDocument, ChangeInPlace<true>, kLookUp},
    {"write through an output stream", Leaves::kPartOfTheNew, NoFile, WriteThroughOutputStream,
     kLookUpAndMake},
    {"write records", Leaves::kPartOfTheNew, NoFile, WriteRecords<false>, kLookUpAndMake},
    {"write records, armed", Leaves::kPartOfTheNew, NoFile, WriteRecords<true>, kLookUpAndMake},
    {"read records", Leaves::kNothing, DocumentOfRecords, ReadRecords<false>, kLookUp},
    {"read records, armed", Leaves::kNothing, DocumentOfRecords, ReadRecords<true>, kLookUp},
    {"direct access", Leaves::kPartOfTheNew, OneDocument, DirectAccess, kLookUp},
};

class StreamFaults : public ::testing::TestWithParam<Operation> {
 protected:
    StreamFaults() { RegisterFileType({kDocumentType, 0x4D794170, 0x4D794463, ".mydc"}); }

 private:
    // Thousands of folders are made and cleared.
    const InMemory inMemory_;
};

TEST_P(StreamFaults, EveryCallFailsOnceAndNothingIsLost) {
    FailEachCall(GetParam());
}

TEST_P(StreamFaults, EveryTransferFallsShortOnceAndTheBytesAreTheSame) {
    CutEachTransfer(GetParam());
}

TEST_P(StreamFaults, EveryRequestForMemoryIsRefusedOnceAndNothingIsLost) {
    RefuseEachAllocation(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Every, StreamFaults, ::testing::ValuesIn(kOperations), NameOfOperation);

}  // namespace
}  // namespace Ondrel::Testing
