// Writing and reading the document. Failures are raised: the first one of the stream comes back to
// the setjmp, wherever it happened. The functions between hold nothing that would have to be
// destroyed: what they read goes straight into the document, which the caller owns.
#include "examples/document.h"

#include <algorithm>

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/FileSpecFunctions.h"
#include "ondrel/core/FileType.h"
#include "ondrel/fil/safesave.h"
#include "ondrel/records/filerefs.h"
#include "ondrel/records/strings.h"

using namespace Ondrel;

namespace Example {
namespace {

constexpr int kMostShort = 65535;
constexpr int kMostLinks = 1000;

const unsigned char* BytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

int SizeOf(const std::string& text) {
    return static_cast<int>(text.size());
}

// --- Writing ------------------------------------------------------------------------------------

// Remembers where each part lies.
struct Writer {
    fil* f;
    std::vector<Stretch>* stretches;
    int begin = 0;

    void Done(Kind kind) {
        const int end = filpos(f);
        if (stretches != nullptr) stretches->push_back({kind, begin, end});
        begin = end;
    }
};

void WriteStrings(Writer* out, const Document& document) {
    filwrifmt(out->f, "%s\n", document.heading.c_str());
    out->Done(Kind::kLine);
    filwristrnul(out->f, document.author.c_str());
    out->Done(Kind::kNul);
    filwrifmt(out->f, "%s\r\n", document.remark.c_str());
    out->Done(Kind::kCrLf);
    filwristring(out->f, document.note);
    out->Done(Kind::kCounted);
    filwriUni16String(out->f, document.title);
    out->Done(Kind::kUnicode);
}

void WriteBlocks(Writer* out, const Document& document) {
    const int marker = filwripos(out->f);
    filwri(out->f, BytesOf(document.text), SizeOf(document.text));
    filwrilen(out->f, marker);
    out->Done(Kind::kLong);

    const int afterMarker = filwripos16(out->f);
    filwri(out->f, BytesOf(document.thumbnail), SizeOf(document.thumbnail));
    filwrilen16(out->f, afterMarker);
    out->Done(Kind::kShort);
}

void WriteLinks(Writer* out, const filref& place, const std::vector<filref>& targets) {
    filwri16(out->f, static_cast<int>(targets.size()));
    out->begin = filpos(out->f);
    for (const filref& target : targets) {
        filwriref(out->f, target);
        out->Done(Kind::kAbsolute);
        filwrirefrel(out->f, place, target, 1);
        out->Done(Kind::kFull);
        filwrirefrel(out->f, place, target, 0);
        out->Done(Kind::kTail);
    }
}

// --- Reading ------------------------------------------------------------------------------------

void ReadStrings(fil* f, Document* document) {
    char line[256];
    filreastr(f, line, sizeof line);
    document->heading = line;
    filreastrnul(f, line, sizeof line);
    document->author = line;
    filreacrlf(f, line, sizeof line);
    document->remark = line;
    document->note = filreastring(f);
    document->title = filreaUni16String(f);
}

void ReadBlock(fil* f, int size, std::string* block) {
    block->resize(static_cast<std::size_t>(size));
    filrea(f, reinterpret_cast<unsigned char*>(block->data()), size);
}

// A length from a file is believed when the file is that long: a move behind its end fails.
void ReadBlocks(fil* f, errtyp* e, Document* document) {
    const int end = filreapos(f);
    const int begin = filpos(f);
    if (end < begin) {
        f->sys->error = paramErr;
        errgoto(e, -1);
    }
    filpos(f, end);
    filpos(f, begin);
    ReadBlock(f, end - begin, &document->text);

    ReadBlock(f, filrea16(f), &document->thumbnail);
}

void ReadLinks(fil* f, errtyp* e, const filref& place, Document* document) {
    const int count = filrea16(f);
    if (count > kMostLinks) {
        f->sys->error = paramErr;
        errgoto(e, -1);
    }
    for (int i = 0; i < count; ++i) {
        Link& link = document->links.emplace_back();
        int result = filrearef(f, link.absolute);
        if (result == 0) result = filrearefrel(f, place, link.full, &link.stored);
        if (result == 0) result = filrearefrel(f, place, link.tail, nullptr);
        if (result != 0) errgoto(e, -1);
    }
}

// The context goes with the frame that armed it: the stream must not raise into it later.
int Disarm(fil* f, int result) {
    filerr(f, nullptr);
    return result;
}

}  // namespace

void RegisterDocumentType() {
    RegisterFileType({kDocumentType, MakeFourCC("Demo"), MakeFourCC("DocT"), ".ondoc"});
}

namespace {

// Writes a temporary file beside the document's place and brings it to the disk.
int WriteDocument(fil* f, const filref& place, const Document& document,
                  const std::vector<filref>& targets, std::vector<Stretch>* stretches) {
    if (document.thumbnail.size() > kMostShort || targets.size() > kMostLinks) return -1;
    errtyp e;
    if (const int code = setjmp(e.context)) return Disarm(f, code);
    if (const int code = filsavtem(f, &e, &place, kDocumentType, nullptr)) return Disarm(f, code);
    Writer out{f, stretches};
    WriteStrings(&out, document);
    WriteBlocks(&out, document);
    WriteLinks(&out, place, targets);
    return Disarm(f, filflu(f));
}

}  // namespace

bool SaveDocument(const filref& place, const Document& document, const std::vector<filref>& targets,
                  std::vector<Stretch>* stretches, std::string* message) {
    fil f;
    const int written = WriteDocument(&f, place, document, targets, stretches);
    if (written != 0) *message = GetFileErrorMessage(&f);
    FileSpec temporary;
    f.GetFileSpec(temporary);
    const int closed = f.Close();

    FileSpec target;
    FileSpecFunctions functions;
    place.convertToFileSpec(target);
    if (written == 0 && closed == 0 && functions.ReplaceFile(temporary, target)) return true;
    if (written == 0) {
        if (closed == 0) lasterror = functions.errorCode;
        *message = GetFileErrorMessage(nullptr);
    }
    functions.DeleteFile(temporary, false);
    return false;
}

int ReadDocument(fil* f, const filref& place, Document* document) {
    errtyp e;
    if (const int code = setjmp(e.context)) return Disarm(f, code);
    if (const int code = filope(f, &e, place)) return Disarm(f, code);
    ReadStrings(f, document);
    ReadBlocks(f, &e, document);
    ReadLinks(f, &e, place, document);
    return Disarm(f, 0);
}

}  // namespace Example
