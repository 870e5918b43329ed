// Sidecars beside a file, in both of the places where they are looked for: any bytes are one, whose
// codes are read and changed, whose fork is opened, listed, and written to. What could be read is
// there again afterwards, and a refusal leaves the sidecar as it was.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Document.h"
#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/Images.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/ResourceMap.h"
#include "ondrel/platform/Workspace.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

struct ForkName : HFSUniStr255 {
    ForkName() : HFSUniStr255() { Require(FSGetResourceForkName(this) == noErr); }
};

FSRef ReferenceOf(const std::string& path) {
    FSRef ref;
    Require(FSPathMakeRef(path.c_str(), &ref) == noErr);
    return ref;
}

// The resource fork through the File Manager; the result says whether there is one that can be
// read.
OSErr ReadFork(const FSRef& ref, std::string* bytes) {
    const ForkName name;
    short fork = 0;
    if (const OSErr error = FSOpenFork(&ref, name.length, name.unicode, fsRdPerm, &fork);
        error != noErr)
        return error;
    std::int64_t size = -1;
    Require(FSGetForkSize(fork, &size) == noErr && size >= 0);
    bytes->resize(static_cast<std::size_t>(size));
    FSForkIOParam request{};
    request.forkRefNum = fork;
    request.positionMode = fsFromStart;
    request.requestCount = bytes->size();
    request.buffer = bytes->data();
    Require(PBReadForkAsync(&request) == noErr && request.actualCount == bytes->size());
    Require(FSCloseFork(fork) == noErr);
    return noErr;
}

// Every resource of the list can be had as it is in the fork, or is one that cannot.
void FetchResources(short file, const std::string& fork) {
    std::vector<ResourceInfo> list;
    ResourceMap map;
    Require(ListResources(file, &list) == noErr && map.Read(fork) == noErr);
    for (const ResourceInfo& resource : list) {
        const Handle handle = Get1Resource(resource.type, resource.id);
        if (handle == nullptr) {
            Require(ResError() == mapReadErr || ResError() == CantDecompress);
            continue;
        }
        Require(Get1Resource(resource.type, resource.id) == handle);
        std::string_view data;
        Require(map.Data(*map.Find(resource.type, resource.id), &data) == noErr);
        Require(data == std::string_view(*handle, GetHandleSize(handle)));
        if (resource.id % 2 != 0) continue;  // the file frees it
        DetachResource(handle);
        DisposeHandle(handle);
    }
}

void OpenResources(const FSRef& ref) {
    const ForkName name;
    short file = 0;
    if (FSOpenResourceFile(&ref, name.length, name.unicode, fsRdPerm, &file) != noErr) {
        Require(file == -1 && ResError() != noErr);
        return;
    }
    std::string fork;
    Require(ReadFork(ref, &fork) == noErr);
    FetchResources(file, fork);
    UseResFile(0);
    Require(CurResFile() == 0 && Get1Resource(MakeFourCC("PICT"), 0) == nullptr);
    UseResFile(file);
    UseResFile(-1);
    Require(CurResFile() == file && ResError() == resFNotFound);
    CloseResFile(file);
    Require(ResError() == noErr);
}

// A change of the codes leaves the fork, and a change of the fork the codes.
void Change(const std::string& path, const FSRef& ref) {
    std::string before;
    FileCodes codes;
    if (ReadFork(ref, &before) != noErr || GetFileCodes(path.c_str(), &codes) != noErr) return;
    codes.creator ^= 1;
    Require(SetFileCodes(path.c_str(), codes) == noErr);
    std::string after;
    Require(ReadFork(ref, &after) == noErr && after == before);

    const ForkName name;
    short fork = 0;
    Require(FSOpenFork(&ref, name.length, name.unicode, fsRdWrPerm, &fork) == noErr);
    Require(FSWriteFork(fork, fsFromLEOF, 0, 3, "end", nullptr) == noErr);
    Require(FSCloseFork(fork) == noErr);
    Require(ReadFork(ref, &after) == noErr && after == before + "end");
    FileCodes codesAfter;
    Require(GetFileCodes(path.c_str(), &codesAfter) == noErr && codesAfter == codes);
}

std::string Contents(const std::string& path) {
    std::string bytes(std::filesystem::file_size(path), '\0');
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    Require(file != nullptr && std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size());
    std::fclose(file);
    return bytes;
}

void GiveIcon(const std::string& path, const std::string& sidecar) {
    static constexpr unsigned char kPixels[4 * 4] = {255, 1, 2, 3, 255, 4, 5, 6};
    const std::string before = Contents(sidecar);
    const OSErr error = SetIconForFile(path.c_str(), {kPixels, 2, 2, 8, AlphaInfo::kFirst});
    if (error != noErr) {
        Require(Contents(sidecar) == before);
        return;
    }
    FileCodes codes;
    Require(GetFileCodes(path.c_str(), &codes) == noErr);
    Require((codes.finderFlags & kFinderFlagHasCustomIcon) != 0);
}

void TryAll(const OndrelFuzz::Document& document, const std::string& sidecar,
            std::string_view bytes) {
    document.Write("data");
    document.Write(bytes, sidecar);
    const FSRef ref = ReferenceOf(document.Path());
    FileCodes codes;
    (void)GetFileCodes(document.Path().c_str(), &codes);
    FSRef target = ref;
    bool isFolder = false;
    bool wasAliased = false;
    (void)FSResolveAliasFile(&target, true, &isFolder, &wasAliased);
    OpenResources(ref);
    GiveIcon(document.Path(), document.Path(sidecar));
    document.Write(bytes, sidecar);
    Change(document.Path(), ref);
    document.Remove(sidecar);
    document.Remove("._document");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto& document = OndrelFuzz::TheDocument();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    TryAll(document, "._document", bytes);
    std::filesystem::create_directories(document.Path(".AppleDouble"));
    TryAll(document, ".AppleDouble/document", bytes);
    return 0;
}
