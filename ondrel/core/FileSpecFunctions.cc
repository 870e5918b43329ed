// File operations, by specification: the items are found on disk, and the host's own operations do
// the rest, sidecars included.
#include "ondrel/core/FileSpecFunctions.h"

#include "ondrel/core/DiskNames.h"
#include "ondrel/platform/ReplaceFile.h"

namespace Ondrel {
namespace {

OSErr FindItem(const FileSpec& spec, Core::DiskItem* item) {
    std::string path;
    return spec.GetFullPath(path) ? Core::FindOnDisk(path, item) : fnfErr;
}

OSErr DeleteItem(const FileSpec& spec) {
    Core::DiskItem item;
    const OSErr code = FindItem(spec, &item);
    return code == noErr ? Host::DeleteFile(item.path.c_str()) : code;
}

OSErr RenameItem(const FileSpec& from, const FileSpec& to, Host::WhenTargetExists policy) {
    if (!to.IsValid()) return fnfErr;
    Core::DiskItem source;
    Core::DiskItem target;
    const OSErr code = FindItem(from, &source);
    if (code != noErr) return code;
    const OSErr targetCode = FindItem(to, &target);
    if (targetCode != noErr && !Core::IsMissing(targetCode)) return targetCode;
    return Host::RenameItem(source.path.c_str(), target.path.c_str(), policy);
}

OSErr ReplaceItem(const FileSpec& finished, const FileSpec& document) {
    if (!document.IsValid()) return fnfErr;
    Core::DiskItem source;
    Core::DiskItem target;
    const OSErr code = FindItem(finished, &source);
    if (code != noErr) return code;
    const OSErr targetCode = FindItem(document, &target);
    if (targetCode != noErr && !Core::IsMissing(targetCode)) return targetCode;
    return Host::ReplaceFile(source.path.c_str(), target.path.c_str());
}

OSErr CreateItem(const FileSpec& spec, const FileType* type, const FileSpec& like) {
    if (!spec.IsValid()) return fnfErr;
    Core::DiskItem item;
    const OSErr code = FindItem(spec, &item);
    if (code == noErr) return dupFNErr;
    if (!Core::IsMissing(code)) return code;
    const FileType plain;
    const FileType& wanted = type == nullptr ? plain : *type;
    if (!like.IsValid()) return Host::CreateFile(item.path.c_str(), wanted.creator, wanted.type);
    Core::DiskItem other;
    const OSErr otherCode = FindItem(like, &other);
    if (otherCode != noErr && !Core::IsMissing(otherCode)) return otherCode;
    return Host::CreateFile(item.path.c_str(), wanted.creator, wanted.type, other.path.c_str());
}

}  // namespace

bool FileSpecFunctions::DeleteFile(const FileSpec& spec, bool /*reserved*/) {
    errorCode = OrMemFull([&] { return DeleteItem(spec); });
    return errorCode == noErr;
}

bool FileSpecFunctions::RenameFile(const FileSpec& from, const FileSpec& to, OverwriteMode mode) {
    const auto policy =
        mode == kReplace ? Host::WhenTargetExists::kReplace : Host::WhenTargetExists::kRefuse;
    errorCode = OrMemFull([&] { return RenameItem(from, to, policy); });
    return errorCode == noErr;
}

bool FileSpecFunctions::CreateFileWithType(const FileSpec& spec, const FileType* type) {
    return CreateFileLike(spec, type, FileSpec());
}

bool FileSpecFunctions::CreateFileLike(const FileSpec& spec, const FileType* type,
                                       const FileSpec& like) {
    errorCode = OrMemFull([&] { return CreateItem(spec, type, like); });
    return errorCode == noErr;
}

bool FileSpecFunctions::ReplaceFile(const FileSpec& finished, const FileSpec& document) {
    errorCode = OrMemFull([&] { return ReplaceItem(finished, document); });
    return errorCode == noErr;
}

}  // namespace Ondrel
