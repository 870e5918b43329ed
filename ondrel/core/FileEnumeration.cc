// Enumeration of one folder's direct items. The items carry what the folder told of their kind, so
// that a walk asks the host for no item by itself.
#include "ondrel/core/FileEnumeration.h"

#include "ondrel/core/DiskNames.h"
#include "ondrel/core/PosixPaths.h"

namespace Ondrel {

struct FileEnumeration::State {
    std::string folder;  // clean path; empty for no folder
    Host::FolderReader reader;
    bool onItem = false;
};

namespace {

// Opens the folder; its path becomes the one on disk.
OSErr OpenFolder(std::string* folder, Host::FolderReader* reader) {
    const OSErr code = reader->Open(folder->c_str());
    if (!Core::IsMissing(code)) return code;
    Core::DiskItem item;
    const OSErr found = Core::FindOnDisk(*folder, &item);
    if (found != noErr) return found;
    *folder = item.path;
    return reader->Open(folder->c_str());
}

}  // namespace

FileEnumeration::FileEnumeration(const FileSpec& folder) : state_(std::make_unique<State>()) {
    state_->folder = folder.path_;
}

FileEnumeration::~FileEnumeration() = default;

bool FileEnumeration::First() {
    state_->onItem = false;
    if (state_->folder.empty() || OpenFolder(&state_->folder, &state_->reader) != noErr)
        return false;
    state_->onItem = true;
    return Next();
}

bool FileEnumeration::Next() {
    // What is not UTF-8 has no name in this library.
    do {
        state_->onItem = state_->onItem && state_->reader.Next();
    } while (state_->onItem && !Core::IsUtf8(state_->reader.Name()));
    return state_->onItem;
}

FileSpec FileEnumeration::GetItemSpecification() const {
    FileSpec item;
    if (!state_->onItem) return item;
    FileSpec::Seen seen = FileSpec::Seen::kOther;
    if (state_->reader.Kind() == Host::ItemKind::kFolder) seen = FileSpec::Seen::kFolder;
    if (state_->reader.Kind() == Host::ItemKind::kNone) seen = FileSpec::Seen::kName;
    item.SetPath(Core::JoinPath(state_->folder, state_->reader.Name()), seen);
    return item;
}

}  // namespace Ondrel
