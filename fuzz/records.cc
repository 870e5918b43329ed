// What documents store: texts of every kind, file references, length markers. The first byte says
// how much of a buffer of the stream lies in front of the document, so that a short one crosses
// buffers too; the next eight what is read and into how much room, again and again. Texts stay in
// their buffers and are terminated, references stay in their storage, a failure leaves a stream
// that can be moved and closed, and what was read is the same again when it has been written.
#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/Document.h"
#include "ondrel/core/Process.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"

using namespace Ondrel;
using OndrelFuzz::Document;
using OndrelFuzz::Require;

namespace {

constexpr std::size_t kChoices = 8;
constexpr int kMostReads = 200;
constexpr std::uint8_t kManyCopies = 255;  // for the first byte
constexpr int kRooms[] = {0, 1, 2, 3, 4, 5, 8, 16, 17, 64, 100, 256, 1000, 1024, 2000, 20000};

// One choice: what is read, with how much room, and whether a failure is raised.
struct Choice {
    int kind;
    int detail;
    bool raises;
    explicit Choice(unsigned char byte)
        : kind(byte % 8), detail(byte / 8 % 16), raises(byte >= 128) {}
    int Room() const { return kRooms[detail]; }
};

// What was read whole, to be written and read again.
struct Kept {
    int copies = 1;  // that the smaller block has
    std::vector<std::string> strings;
    std::vector<filref> references;
};

// No object lives between here and where a failure is raised.
template <class Read>
void Raised(fil* f, bool raises, Read read) {
    errtyp context;
    filerr(f, raises ? &context : nullptr);
    if (setjmp(context.context) == 0) read();
    filerr(f, nullptr);
}

// A buffer of exactly that size, so that a byte behind it is seen. Room for less than one byte is
// taken for one.
template <class Read>
void ReadText(fil* f, const Choice& choice, Read read) {
    const auto size = static_cast<std::size_t>(std::max(choice.Room(), 1));
    const std::unique_ptr<char[]> buffer(new char[size]);
    std::memset(buffer.get(), 'x', size);
    Raised(f, choice.raises, [&] { (void)read(f, buffer.get(), choice.Room()); });
    Require(std::memchr(buffer.get(), 0, size) != nullptr);
}

// A false length is believed where no failure can be raised; then only those that cost little are
// tried. The move forgets a failure before, as the one behind it does.
bool IsLongString(fil* f) {
    constexpr int kLong = 1 << 20;
    const int position = filpos(f);
    (void)filpos(f, position);
    const int length = filrea32(f);
    (void)filpos(f, position);
    return length > kLong;
}

void ReadString(fil* f, const Choice& choice, Kept* kept) {
    const bool raises = choice.raises || IsLongString(f);
    std::string text;
    Uni16String units;
    if (choice.kind == 3)
        Raised(f, raises, [&] { text = filreastring(f); });
    else
        Raised(f, raises, [&] { units = filreaUni16String(f); });
    kept->strings.push_back(choice.kind == 3 ? text : Uni16StringToUTF8(units));
}

void CheckReference(const filref& ref) {
    Require(ref.path == nullptr || std::memchr(ref.path, 0, kFilrefSize) != nullptr);
}

void ReadReference(fil* f, const Choice& choice, Kept* kept) {
    filref target;
    int result = -1;
    Raised(f, choice.raises, [&] { result = filrearef(f, target); });
    CheckReference(target);
    if (result == 0) kept->references.push_back(target);
}

void ReadRelativeReference(fil* f, const Choice& choice, Kept* kept) {
    static constexpr const char* kBases[] = {"Fuzz:a:b:c:document", "Fuzz:document", "document",
                                             "Fuzz:"};
    filref base;
    filref target;
    filref full;
    base.ConvertFromMacPath(kBases[choice.detail % 4]);
    if (choice.detail / 4 % 2 != 0) target.ConvertFromMacPath("Fuzz:before");
    filref* const wanted = choice.detail / 8 != 0 ? &full : nullptr;
    int result = -1;
    Raised(f, choice.raises, [&] { result = filrearefrel(f, base, target, wanted); });
    CheckReference(target);
    CheckReference(full);
    if (result != 0) return;
    kept->references.push_back(target);
    if (wanted != nullptr) kept->references.push_back(full);
}

// Length markers: the end that a marker tells is moved to, or refused.
void ReadMarker(fil* f, const Choice& choice) {
    int end = -1;
    Raised(f, choice.raises, [&] { end = filreapos(f); });
    const int before = filpos(f);
    if (choice.detail % 2 == 0) return;
    if (filpos(f, end) == 0)
        Require(filpos(f) == end);
    else
        (void)filpos(f, before);
}

void ReadOne(fil* f, const Choice& choice, Kept* kept) {
    switch (choice.kind) {
        case 0:
            return ReadText(f, choice, filreastr);
        case 1:
            return ReadText(f, choice, filreacrlf);
        case 2:
            return ReadText(f, choice, filreastrnul);
        case 3:
        case 4:
            return ReadString(f, choice, kept);
        case 5:
            return ReadReference(f, choice, kept);
        case 6:
            return ReadRelativeReference(f, choice, kept);
        default:
            return ReadMarker(f, choice);
    }
}

// Reads up to there in steps that go through the buffers.
void PassFront(fil* f, int start) {
    constexpr int kStep = 1024;
    unsigned char passed[kStep];
    for (int at = 0; at < start; at += kStep)
        Require(filrea(f, passed, std::min(start - at, kStep)) == 0);
}

void ReadAll(const std::uint8_t* choices, int start, Kept* kept) {
    fil f;
    Require(filope(&f, nullptr, Document::Reference()) == 0);
    PassFront(&f, start);
    for (int i = 0; i < kMostReads && !fileof(&f); ++i)
        ReadOne(&f, Choice(choices[static_cast<std::size_t>(i) % kChoices]), kept);
    Require(filpos(&f, 0) == 0);
    Require(filclo(&f) == 0);
}

// --- Writing what was read ----------------------------------------------------------------------

constexpr int kSmallBlock = 65535;
constexpr std::size_t kLongestFormatted = 1023;

bool HasText(const filref& ref) {
    return ref.path != nullptr && ref.path[0] != 0;
}

// A relative record without text has no form that can be read again.
void WriteReference(fil* f, const filref& base, const filref& ref) {
    Require(filwriref(f, ref) == (HasText(ref) ? 0 : -1));
    if (!HasText(ref)) return;
    Require(filwrirefrel(f, base, ref, 1) == 0);
    Require(filwrirefrel(f, base, ref, 0) == 0);
}

// Everything in one block with a length marker of each size. The answer is whether the smaller one
// could tell the length.
bool WriteAll(const filref& to, const Kept& kept) {
    fil f;
    Require(filsav(&f, nullptr, &to, 0) == 0);
    const int marker = filwripos(&f);
    for (const std::string& text : kept.strings) {
        filwristring(&f, text);
        filwriUni16String(&f, UTF8ToUni16String(text));
        Require(filwristrnul(&f, text.c_str()) == 0);
        Require(filwrifmt(&f, "%s\n", text.c_str()) == 0);
    }
    for (const filref& ref : kept.references)
        WriteReference(&f, to, ref);
    filwrilen(&f, marker);
    const int small = filwripos16(&f);
    for (int i = 0; i < kept.copies; ++i)
        for (const std::string& text : kept.strings)
            filwristring(&f, text);
    const bool fits = filwrilen16(&f, small);
    Require(fits ? filpos(&f) - small <= kSmallBlock : filpos(&f) == small);
    Require(filerr(&f) == 0 && filclo(&f) == 0);
    return fits;
}

void CheckStrings(fil* f, const Kept& kept) {
    for (const std::string& text : kept.strings) {
        Require(filreastring(f) == text);
        Require(filreaUni16String(f) == UTF8ToUni16String(text.c_str()));
        const std::size_t length = std::strlen(text.c_str());
        std::string buffer(length + 1, 'x');
        Require(filreastrnul(f, buffer.data(), static_cast<int>(buffer.size())) == 0);
        Require(buffer.substr(0, length) == text.c_str());
        buffer.assign(std::min(length + 1, kLongestFormatted), 'x');
        auto* const formatted = reinterpret_cast<unsigned char*>(buffer.data());
        Require(filrea(f, formatted, static_cast<int>(buffer.size())) == 0);
        Require(buffer == (text.c_str() + std::string("\n")).substr(0, kLongestFormatted));
    }
}

bool HasSameText(const filref& a, const filref& b) {
    return HasText(a) == HasText(b) && (!HasText(a) || a == b);
}

// A relative record gives back the stored path where it was kept, if it is short enough for one.
void CheckReferences(fil* f, const filref& base, const Kept& kept) {
    constexpr std::size_t kLongestRelative = 1021;
    for (const filref& ref : kept.references) {
        filref read;
        Require(filrearef(f, read) == 0 && HasSameText(read, ref));
        if (!HasText(ref)) continue;
        const bool isShort = std::strlen(ref.path) <= kLongestRelative;
        filref rebuilt;
        filref stored;
        Require((filrearefrel(f, base, rebuilt, &stored) == 0) == isShort);
        Require(!isShort || HasSameText(stored, ref));
        (void)filrearefrel(f, base, rebuilt, nullptr);
        CheckReference(rebuilt);
    }
}

void ReadAgain(const filref& from, const Kept& kept, bool fits) {
    fil f;
    Require(filope(&f, nullptr, from) == 0);
    const int end = filreapos(&f);
    CheckStrings(&f, kept);
    CheckReferences(&f, from, kept);
    Require(filpos(&f) == end);
    const int length = filrea16(&f);
    if (fits) {
        for (int i = 0; i < kept.copies; ++i)
            for (const std::string& text : kept.strings)
                Require(filreastring(&f) == text);
        Require(filpos(&f) == end + 2 + length);
    } else {
        Require(length == 0);
    }
    Require(filclo(&f) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1 + kChoices) return 0;
    SetDebugHandler([](const char*) {});
    const int start = data[0] == 0 ? 0 : 2 * kFilBufferSize - data[0];
    std::string document(static_cast<std::size_t>(start), '\0');
    document.append(reinterpret_cast<const char*>(data) + 1 + kChoices, size - 1 - kChoices);
    OndrelFuzz::TheDocument().Write(document);
    Kept kept;
    if (data[0] == kManyCopies) kept.copies = 300;
    ReadAll(data + 1, start, &kept);
    const filref copy = Document::Reference("copy");
    ReadAgain(copy, kept, WriteAll(copy, kept));
    return 0;
}
