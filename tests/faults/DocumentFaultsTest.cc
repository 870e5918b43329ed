// Whichever call fails of an operation on a whole document: saving it safely, swapping, making,
// renaming and deleting it, its codes, its resource fork, its preview and its icon.
#include <gtest/gtest.h>

#include <filesystem>

#include "ondrel/core/FileSupport.h"
#include "ondrel/filref/operations.h"
#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/Workspace.h"
#include "ondrel/preview/ResourceFork.h"
#include "tests/core/SpecHelpers.h"
#include "tests/faults/DocumentSteps.h"
#include "tests/faults/StreamSteps.h"

namespace Ondrel::Testing {
namespace {

// --- Files --------------------------------------------------------------------------------------

void Create(const Scratch& scratch, Answer* answer) {
    FileSpecFunctions functions;
    functions.CreateFileWithType(SpecOf(scratch.Path("doc")), &DocumentType());
    TellCode(functions.errorCode, answer);
}

void Delete(const Scratch& scratch, Answer* answer) {
    FileSpecFunctions functions;
    functions.DeleteFile(SpecOf(scratch.Path("doc")), false);
    TellCode(functions.errorCode, answer);
}

template <FileSpecFunctionsBase::OverwriteMode mode>
void Rename(const Scratch& scratch, Answer* answer) {
    FileSpecFunctions functions;
    const FileSpec to = SpecOf(scratch.Path("renamed"));
    functions.RenameFile(SpecOf(scratch.Path("doc")), to, mode);
    TellCode(functions.errorCode, answer);
}

void RenameReference(const Scratch&, Answer* answer) {
    TellCode(static_cast<OSErr>(filrename(RefTo("doc"), RefTo("renamed"))), answer);
}

void DeleteReference(const Scratch&, Answer* answer) {
    answer->succeeded = fildel(RefTo("doc")) == 0;
    answer->code = lasterror;
    if (!answer->succeeded) answer->message = GetFileErrorMessage(nullptr);
}

void FindTemporaryFolder(const Scratch&, Answer* answer) {
    FileSpec folder;
    TellCode(FileSupport::GetPredefinedFolder(folder, FileSupport::kTemporaryItems, true), answer);
}

void MakeChildFolder(const Scratch& scratch, Answer* answer) {
    FileSpec folder = SpecOf(scratch.Path());
    folder.ToChildFolder(U("new folder"), true);
    answer->succeeded = folder.IsValid();
    answer->code = kNoCode;
}

void HideByTemporaryFolder(const Scratch&, Answer* answer) {
    filref ref = RefTo("doc");
    ref.hideFromSpotlight(true);
    answer->succeeded = ref.path != nullptr;
    answer->code = kNoCode;
    if (answer->succeeded) answer->content = ref.path;
}

void Flush(const Scratch& scratch, Answer* answer) {
    TellCode(FSFlushFile(scratch.Path("doc").c_str()), answer);
}

// --- Codes and forks ----------------------------------------------------------------------------

void ReadCodes(const Scratch& scratch, Answer* answer) {
    FileCodes codes;
    TellCode(GetFileCodes(scratch.Path("doc").c_str(), &codes), answer);
    answer->content = std::to_string(codes.type) + " " + std::to_string(codes.creator);
}

void WriteCodes(const Scratch& scratch, Answer* answer) {
    FileCodes codes;
    OSErr code = GetFileCodes(scratch.Path("doc").c_str(), &codes);
    codes.type = MakeFourCC("TEXT");
    if (code == noErr) code = SetFileCodes(scratch.Path("doc").c_str(), codes);
    TellCode(code, answer);
}

OSErr OpenResourceFork(const std::string& path, signed char permission, bool asResourceFile,
                       short* number) {
    FSRef ref;
    HFSUniStr255 name;
    if (const OSErr code = FSPathMakeRef(path.c_str(), &ref); code != noErr) return code;
    if (const OSErr code = FSGetResourceForkName(&name); code != noErr) return code;
    return asResourceFile ? FSOpenResourceFile(&ref, name.length, name.unicode, permission, number)
                          : FSOpenFork(&ref, name.length, name.unicode, permission, number);
}

void WriteFork(const Scratch& scratch, Answer* answer) {
    short number = 0;
    OSErr code = OpenResourceFork(scratch.Path("doc"), fsRdWrPerm, false, &number);
    if (code == noErr) {
        code = FSWriteFork(number, fsFromStart, 3, 5, "bytes", nullptr);
        const OSErr closed = FSCloseFork(number);
        if (code == noErr) code = closed;
    }
    TellCode(code, answer);
}

void CreateFork(const Scratch& scratch, Answer* answer) {
    FSRef folder;
    HFSUniStr255 name;
    const unsigned short doc[] = {'d', 'o', 'c'};
    OSErr code = FSPathMakeRef(scratch.Path().c_str(), &folder);
    if (code == noErr) code = FSGetResourceForkName(&name);
    if (code == noErr)
        code = FSCreateResourceFile(&folder, 3, doc, kFSCatInfoNone, nullptr, name.length,
                                    name.unicode, nullptr, nullptr);
    TellCode(code, answer);
}

void ReadResource(const Scratch& scratch, Answer* answer) {
    short number = 0;
    OSErr code = OpenResourceFork(scratch.Path("doc"), fsRdPerm, true, &number);
    if (code == noErr) {
        const Handle handle = Get1Resource(kDataType, 128);
        code = ResError();
        if (handle != nullptr) answer->content.assign(*handle, GetHandleSize(handle));
        CloseResFile(number);
    }
    TellCode(code, answer);
}

void ListThem(const Scratch& scratch, Answer* answer) {
    short number = 0;
    OSErr code = OpenResourceFork(scratch.Path("doc"), fsRdPerm, true, &number);
    if (code == noErr) {
        std::vector<ResourceInfo> resources;
        try {
            code = ListResources(number, &resources);
        } catch (...) {
            CloseResFile(number);
            throw;
        }
        CloseResFile(number);
        answer->value = static_cast<int>(resources.size());
    }
    TellCode(code, answer);
}

// --- Previews and icons -------------------------------------------------------------------------

void WriteForkOfPreviews(const Scratch& scratch, Answer* answer) {
    answer->succeeded = true;
    ResourceFork fork(U(scratch.Path("doc")));
    fork.NewResource(kDataType, 1, "a name");
    fork.Append("new bytes", 9);
    fork.CloseResource();
}

void SetIcon(const Scratch& scratch, Answer* answer) {
    const drapix& map = *ThePicture();
    const Image image{map.base, map.width, map.height, static_cast<std::size_t>(map.rowBytes),
                      AlphaInfo::kNoneSkipFirst};
    TellCode(SetIconForFile(scratch.Path("doc").c_str(), image), answer);
}

// --- The table ----------------------------------------------------------------------------------

// A look-up that fails tells that the item is not there.
const std::vector<OSErr> kLookUp = {fnfErr};

// Of filsavtem: what is not seen to be there is made, and is then there all the same; and a path
// that cannot be looked up is none.
const std::vector<OSErr> kSaving = {fnfErr, dupFNErr, kNoCode, -1};

const Operation kOperations[] = {
    {"save safely", Leaves::kOldOrNew, WholeDocument, SaveSafely, kSaving},
    {"save a new document safely", Leaves::kOldOrNew, NothingThere, SaveSafely, kSaving},
    {"swap", Leaves::kOldOrNew, DocumentAndFinished, Swap, kLookUp},
    {"swap with a fork of its own", Leaves::kOldOrNew, DocumentAndFinishedWithFork, Swap, kLookUp},
    {"swap where nothing was", Leaves::kOldOrNew,
     [](const Scratch& scratch) { scratch.Write("finished", "the new text"); }, Swap, kLookUp},
    {"swap behind a link", Leaves::kOldOrNew,
     [](const Scratch& scratch) {
         scratch.Write("sub/target", "the old text");
         scratch.Write("finished", "the new text");
         std::filesystem::create_symlink("sub/target", scratch.Path("doc"));
     },
     Swap, kLookUp},
    {"create", Leaves::kOldState, NothingThere, Create, kLookUp},
    {"delete", Leaves::kOldState, WholeDocument, Delete, kLookUp},
    {"delete by a reference", Leaves::kOldState, WholeDocument, DeleteReference, kLookUp},
    {"rename", Leaves::kOldState, WholeDocument, Rename<FileSpecFunctionsBase::kRefuse>, kLookUp},
    {"rename over another", Leaves::kOldState,
     [](const Scratch& scratch) {
         WholeDocument(scratch);
         scratch.Write("renamed", "another");
         scratch.Write("._renamed", SidecarBytes("another fork"));
     },
     Rename<FileSpecFunctionsBase::kReplace>, kLookUp},
    {"rename by a reference", Leaves::kOldState, WholeDocument, RenameReference, {fnfErr, -1}},
    {"find the temporary folder", Leaves::kOldOrNew, NothingThere, FindTemporaryFolder, kLookUp},
    {"make a child folder", Leaves::kOldState, NothingThere, MakeChildFolder, {kNoCode}},
    {"hide by the temporary folder",
     Leaves::kPartOfTheNew,
     OneFile,
     HideByTemporaryFolder,
     {kNoCode},
     true},
    {"flush", Leaves::kNothing, WholeDocument, Flush},
    {"read codes", Leaves::kNothing, WholeDocument, ReadCodes},
    {"write codes", Leaves::kOldOrNew, WholeDocument, WriteCodes},
    {"write a fork", Leaves::kOldOrNew, WholeDocument, WriteFork},
    {"create a fork", Leaves::kOldOrNew, OneFile, CreateFork},
    {"create a fork and its file", Leaves::kOldOrNew, NothingThere, CreateFork},
    {"read a resource", Leaves::kNothing, WholeDocument, ReadResource},
    {"list the resources", Leaves::kNothing, WholeDocument, ListThem},
    {"write a fork of resources", Leaves::kOldOrNew, WholeDocument, WriteForkOfPreviews, {}, true},
    {"write a preview", Leaves::kPartOfTheNew, WholeDocument, WritePreview, {}, true},
    {"write an icon", Leaves::kOldOrNew, WholeDocument, WriteIcon, {}, true},
    {"set an icon", Leaves::kOldOrNew, WholeDocument, SetIcon, {}},
};

class DocumentFaults : public ::testing::TestWithParam<Operation> {
 protected:
    DocumentFaults() {
        RegisterFileType(DocumentType());
        (void)ThePicture();
    }

 private:
    // Thousands of folders are made and cleared.
    const InMemory inMemory_;
};

TEST_P(DocumentFaults, EveryCallFailsOnceAndTheOldOrTheNewIsThere) {
    FailEachCall(GetParam());
}

TEST_P(DocumentFaults, EveryTransferFallsShortOnceAndTheOutcomeIsTheSame) {
    CutEachTransfer(GetParam());
}

TEST_P(DocumentFaults, EveryRequestForMemoryIsRefusedOnceAndTheOldOrTheNewIsThere) {
    RefuseEachAllocation(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Every, DocumentFaults, ::testing::ValuesIn(kOperations), NameOfOperation);

}  // namespace
}  // namespace Ondrel::Testing
