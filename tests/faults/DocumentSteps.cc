// The steps over whole documents.
#include "tests/faults/DocumentSteps.h"

#include <new>

#include "ondrel/fil/safesave.h"
#include "ondrel/preview/customicon.h"
#include "ondrel/preview/pictpreview.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

int WriteNewVersion(fil* f, const filref& folder, FileSpec* finished) {
    if (const int made = filsavtem(f, nullptr, &folder, DocumentType().identifier, nullptr);
        made != 0)
        return made;
    try {
        f->GetFileSpec(*finished);
    } catch (const std::bad_alloc&) {
        f->GetFileSpec(*finished);
        return -1;
    }
    const std::string text(40000, 'n');
    const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
    if (const int result = filwri(f, bytes, static_cast<int>(text.size())); result != 0)
        return result;
    return filflu(f);
}

void SaveAndSwap(const FileSpec& document, FileSpec* finished, Answer* answer) {
    {
        fil f;
        const filref folder = RefTo("doc");
        if (folder.path == nullptr) throw std::bad_alloc();
        Tell(&f, WriteNewVersion(&f, folder, finished), answer);
        CloseAndTell(&f, answer);
    }
    FileSpecFunctions functions;
    if (answer->succeeded) {
        functions.ReplaceFile(*finished, document);
        TellCode(functions.errorCode, answer);
    };
}

}  // namespace

const FileType& DocumentType() {
    static const FileType type{7002, MakeFourCC("Crtr"), MakeFourCC("MyDc"), ".mydc"};
    return type;
}

std::string SmallFork() {
    return Bytes("00 00 00 10 00 00 00 18 00 00 00 08 00 00 00 32 00 00 00 04") + "four" +
           std::string(16, '\0') + Bytes("00 00 00 00 00 00 00 00 00 1C 00 32 00 00") + "DATA" +
           Bytes("00 00 00 0A 00 80 FF FF 00 00 00 00 00 00 00 00");
}

std::string SidecarBytes(const std::string& fork) {
    std::string length(4, '\0');
    length[3] = static_cast<char>(fork.size());
    return Bytes("00 05 16 07 00 02 00 00") + "Mac OS X        " +
           Bytes("00 02 00 00 00 09 00 00 00 32 00 00 00 20 00 00 00 02 00 00 00 52") + length +
           "TypeCrtr" + std::string(24, '\0') + fork;
}

void NothingThere(const Scratch&) {}

void OneFile(const Scratch& scratch) {
    scratch.Write("doc", "the old text");
}

void WholeDocument(const Scratch& scratch) {
    scratch.Write("doc", "the old text");
    scratch.Write("._doc", SidecarBytes(SmallFork()));
}

void DocumentAndFinished(const Scratch& scratch) {
    WholeDocument(scratch);
    scratch.Write("finished", "the new text");
}

void DocumentAndFinishedWithFork(const Scratch& scratch) {
    DocumentAndFinished(scratch);
    scratch.Write("._finished", SidecarBytes("its own"));
}

void TellCode(OSErr code, Answer* answer) {
    answer->succeeded = code == noErr;
    answer->code = code;
}

void SaveSafely(const Scratch& scratch, Answer* answer) {
    FileSpec finished;
    try {
        SaveAndSwap(SpecOf(scratch.Path("doc")), &finished, answer);
    } catch (const std::bad_alloc&) {
        answer->succeeded = false;
        answer->code = memFullErr;
    }
    if (!answer->succeeded && finished.DoesExist()) FileSpecFunctions().DeleteFile(finished, false);
}

void Swap(const Scratch& scratch, Answer* answer) {
    FileSpecFunctions functions;
    const FileSpec finished = SpecOf(scratch.Path("finished"));
    functions.ReplaceFile(finished, SpecOf(scratch.Path("doc")));
    TellCode(functions.errorCode, answer);
}

const OwnedPix& ThePicture() {
    static const OwnedPix picture = NoiseMap(40, 30, 1);
    return picture;
}

void WritePreview(const Scratch& scratch, Answer* answer) {
    answer->succeeded = true;
    filpictpreview(SpecOf(scratch.Path("doc")), ThePicture().get(), 72, nullptr);
}

void WriteIcon(const Scratch& scratch, Answer* answer) {
    answer->succeeded = true;
    AddCustomIcon(SpecOf(scratch.Path("doc")), ThePicture().get());
}

}  // namespace Ondrel::Testing
