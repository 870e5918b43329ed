// Alias records: any bytes are read as one, and its target is looked for on the mounted volumes.
// What is found is there. Then they are the record of a Finder alias file, which is resolved; it
// leads to what the record leads to.
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/Document.h"
#include "ondrel/platform/Alias.h"
#include "ondrel/platform/AliasTarget.h"
#include "ondrel/platform/AppleDouble.h"
#include "ondrel/platform/ComposeFork.h"
#include "ondrel/platform/HostFiles.h"

using namespace Ondrel;
using OndrelFuzz::Require;

namespace {

constexpr FourCC kAliasResource = MakeFourCC("alis");

// A file and a folder for records to lead to, composed and decomposed.
const OndrelFuzz::Document& Targets() {
    const auto& document = OndrelFuzz::TheDocument();
    static const bool made = [&] {
        std::filesystem::create_directories(document.Path("Folder/Zoe\xCC\x88"));
        document.Write("x", "Folder/Zo\xC3\xAB.txt");
        document.Write("x", "a:b");
        return true;
    }();
    (void)made;
    return document;
}

bool IsThere(const std::string& path) {
    Host::ItemStatus status;
    return Host::GetItemStatus(path.c_str(), &status) == noErr;
}

void MakeAliasFile(const OndrelFuzz::Document& document, std::string_view record) {
    std::string fork;
    Require(PutResource(kAliasResource, 0, record, &fork) == noErr);
    AppleDouble sidecar;
    FinderInfo info;
    info.SetFlags(kFinderFlagIsAlias);
    sidecar.SetFinderInfo(info);
    Require(sidecar.SetResourceFork(fork));
    document.Write({});
    document.Write(sidecar.Bytes(), "._document");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto& document = Targets();
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    AliasRecord record;
    std::string target;
    OSErr found = fnfErr;
    if (ReadAliasRecord(bytes, &record) == noErr) {
        found = Host::FindAliasTarget(record, &target);
        Require(found == noErr ? IsThere(target) : target.empty());
    }
    // A chain of aliases is another target's matter, and so is one that leads to itself.
    MakeAliasFile(document, bytes);
    std::string resolved;
    bool isFolder = false;
    bool wasAliased = false;
    const OSErr error =
        Host::ResolveAlias(document.Path(), false, &resolved, &isFolder, &wasAliased);
    Require(wasAliased);
    Require((error == noErr) == (found == noErr) && (error != noErr || resolved == target));
    (void)Host::ResolveAlias(document.Path(), true, &resolved, &isFolder, &wasAliased);
    return 0;
}
