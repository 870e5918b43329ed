// What specifications know of names.
#include "ondrel/core/DiskNames.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/core/PosixPaths.h"
#include "ondrel/platform/MountTable.h"

namespace Ondrel {
namespace {

bool IsFolderPath(const std::string& path) {
    Core::DiskItem item;
    return Core::FindOnDisk(path, &item) == noErr && item.status.kind == Host::ItemKind::kFolder;
}

// The name of the item in a folder that a name is to mean; empty when there is no such folder, and
// never will be: something else stands there.
std::string NameToMean(const std::string& folder, const std::string& name) {
    Core::DiskItem item;
    const OSErr code = Core::FindOnDisk(Core::JoinPath(folder, name), &item);
    if (code == noErr) return std::string(Core::LastComponent(item.path));
    if (code == dirNFErr) return {};
    std::string found;
    if (Core::IsMissing(code) &&
        Core::FindNameInFolder(std::string(Core::ParentOf(item.path)), name,
                               kCompareIgnoreCase | kCompareCanonical, &found) == noErr)
        return found;
    return name;
}

}  // namespace

FileSpecBase::~FileSpecBase() = default;

bool FileSpecBase::GetName(std::string& name) const {
    if (path_.empty()) return false;
    if (seen_ == Seen::kNothing) {
        const Host::Mount mount = Host::MountOfPath(path_);
        if (mount.root == path_) {
            name = mount.name;
            return true;
        }
    }
    name = Core::PosixNameToMac(Core::LastComponent(path_));
    return true;
}

bool FileSpecBase::GetName(Uni16String& name) const {
    std::string text;
    if (!GetName(text)) return false;
    name = UTF8ToUni16String(text);
    return true;
}

bool FileSpecBase::GetFolderName(std::string& name) const {
    return IsExistingFolder() && GetName(name);
}

bool FileSpecBase::GetFolderName(Uni16String& name) const {
    return IsExistingFolder() && GetName(name);
}

void FileSpecBase::ToFile(const std::string& name) {
    std::string posixName;
    if (!path_.empty() && Core::MacNameToPosix(name, &posixName))
        posixName = NameToMean(path_, posixName);
    else
        posixName.clear();
    SetPath(posixName.empty() ? std::string() : Core::JoinPath(path_, posixName));
}

void FileSpecBase::SetPath(std::string cleanPath, Seen seen) {
    path_ = std::move(cleanPath);
    seen_ = seen;
}

bool FileSpecBase::IsExistingFolder() const {
    if (seen_ == Seen::kFolder || seen_ == Seen::kOther) return seen_ == Seen::kFolder;
    return !path_.empty() && IsFolderPath(path_);
}

}  // namespace Ondrel
