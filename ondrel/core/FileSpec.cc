// File specifications. They keep nothing but a clean path: whatever depends on the disk is looked
// up when it is asked for.
#include "ondrel/core/FileSpec.h"

#include "ondrel/core/DiskNames.h"
#include "ondrel/core/MacPaths.h"
#include "ondrel/core/PosixPaths.h"
#include "ondrel/platform/MountTable.h"

namespace Ondrel {
namespace {

// Permission bits of a folder made for a caller; the process's mask takes from them.
constexpr unsigned int kFolderMode = 0777;

std::string CleanPathOfText(const Uni16String& text) {
    std::string path;
    return Core::ToUtf8Exactly(text, &path) ? Core::CleanPath(path) : std::string();
}

std::string CleanPathOfRef(const FSRef& ref) {
    std::string path;
    return FSRefMakePath(&ref, &path) == noErr ? Core::CleanPath(path) : std::string();
}

Host::ItemKind TargetKind(const std::string& path) {
    Core::DiskItem item;
    if (Core::FindOnDisk(path, &item) != noErr) return Host::ItemKind::kNone;
    if (item.status.kind != Host::ItemKind::kLink) return item.status.kind;
    Host::ItemStatus target;
    const OSErr code = Host::GetTargetStatus(item.path.c_str(), &target);
    return code == noErr ? target.kind : Host::ItemKind::kNone;
}

// The path of a child; empty for what cannot be a name.
std::string ChildPath(const std::string& folder, const Uni16String& name) {
    std::string macName;
    std::string posixName;
    if (folder.empty() || !Core::ToUtf8Exactly(name, &macName) ||
        !Core::MacNameToPosix(macName, &posixName))
        return {};
    return Core::JoinPath(folder, posixName);
}

}  // namespace

// --- Making -------------------------------------------------------------------------------------

FileSpec::FileSpec() = default;

FileSpec::FileSpec(const FileSpec& other) : FileSpecBase(other) {}

FileSpec::FileSpec(const Uni16String& posixPath) {
    SetPath(CleanPathOfText(posixPath));
}

FileSpec::FileSpec(const FSRef& ref) {
    SetPath(CleanPathOfRef(ref));
}

FileSpec::~FileSpec() = default;

FileSpec& FileSpec::operator=(const FileSpec& other) {
    FileSpecBase::operator=(other);
    return *this;
}

FileSpec& FileSpec::operator=(const FSRef& ref) {
    SetPath(CleanPathOfRef(ref));
    return *this;
}

FileSpec& FileSpec::operator=(const unsigned short* posixPath) {
    SetPath(posixPath == nullptr ? std::string() : CleanPathOfText(Uni16String(posixPath)));
    return *this;
}

// --- Asking -------------------------------------------------------------------------------------

FileSpec::operator const FSRef&() const {
    (void)static_cast<const FSRef*>(*this);
    return ref_;
}

FileSpec::operator const FSRef*() const {
    if (!path_.empty()) {
        if (FSPathMakeRef(path_.c_str(), &ref_) == noErr) return &ref_;
        Core::DiskItem item;
        if (Core::FindOnDisk(path_, &item) == noErr &&
            FSPathMakeRef(item.path.c_str(), &ref_) == noErr)
            return &ref_;
    }
    ref_ = FSRef{};
    return nullptr;
}

FileSpec::operator const char*() const {
    // An enumeration has seen the name byte for byte.
    if (path_.empty() || seen_ != Seen::kNothing) return path_.c_str();
    Core::DiskItem item;
    (void)Core::FindOnDisk(path_, &item);
    diskPath_ = std::move(item.path);
    return diskPath_.c_str();
}

bool FileSpec::GetHFSPath(Uni16String& path) const {
    path.clear();
    if (path_.empty()) return false;
    path = MacPaths::POSIXToHFS(UTF8ToUni16String(path_));
    if (!path.empty() && path.back() != ':' && IsExistingFolder()) path += ':';
    return true;
}

bool FileSpec::GetFullPath(std::string& path) const {
    path = path_;
    return !path_.empty();
}

bool FileSpec::GetName(unsigned short* buffer, unsigned int capacity) const {
    Uni16String name;
    const bool named = GetName(name);
    Uni16CharCopy(buffer, name.c_str(), capacity);
    return named;
}

bool FileSpec::IsValid() const {
    return !path_.empty();
}

bool FileSpec::DoesExist() const {
    Core::DiskItem item;
    return !path_.empty() && Core::FindOnDisk(path_, &item) == noErr;
}

// --- Moving -------------------------------------------------------------------------------------

void FileSpec::ToPartition(const Uni16String& volumeName) {
    std::string name;
    std::string root;
    const bool mounted = Core::ToUtf8Exactly(volumeName, &name) && Host::FindMount(name, &root);
    SetPath(mounted ? Core::CleanPath(root) : std::string());
}

void FileSpec::ToEnclosingFolderOfFile() {
    const bool hasParent = !path_.empty() && path_ != "/";
    SetPath(hasParent ? std::string(Core::ParentOf(path_)) : std::string());
}

// --- The virtual operations ---------------------------------------------------------------------

bool FileSpec::IsUsable() const {
    return !path_.empty() && TargetKind(path_) == Host::ItemKind::kFile;
}

bool FileSpec::IsPresent() const {
    return seen_ != Seen::kNothing || DoesExist();
}

bool FileSpec::IsFolder() const {
    return IsExistingFolder();
}

void FileSpec::ToChildFile(const Uni16String& name) {
    std::string child = ChildPath(path_, name);
    if (!child.empty()) {
        // A child that is there needs no look at its folder.
        Core::DiskItem item;
        const OSErr code = Core::FindOnDisk(child, &item);
        if (code != noErr && TargetKind(path_) != Host::ItemKind::kFolder) child.clear();
    }
    SetPath(std::move(child));
}

void FileSpec::ToChildFolder(const Uni16String& name, bool create) {
    std::string child = ChildPath(path_, name);
    if (!child.empty()) {
        Core::DiskItem item;
        OSErr code = Core::FindOnDisk(child, &item);
        if (Core::IsMissing(code) && create)
            code = Host::CreateFolder(item.path.c_str(), kFolderMode);
        if (code != noErr) child.clear();
    }
    SetPath(std::move(child));
}

bool FileSpec::GetPathUni16(Uni16String& path) const {
    path = UTF8ToUni16String(path_);
    return !path_.empty();
}

bool FileSpec::GetPOSIXPathUtf8(std::string& path) const {
    return GetFullPath(path);
}

}  // namespace Ondrel
