// Reads a folder with getdents64: one pass, a few large transfers, no status call for an entry but
// to look for the partner of a sidecar that is not in the same transfer.
#include <utility>

#include "ondrel/platform/FolderEntries.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {
namespace {

ItemKind KindOfType(unsigned char type) {
    switch (type) {
        case DT_UNKNOWN:
            return ItemKind::kNone;
        case DT_REG:
            return ItemKind::kFile;
        case DT_DIR:
            return ItemKind::kFolder;
        case DT_LNK:
            return ItemKind::kLink;
        default:
            return ItemKind::kOther;
    }
}

}  // namespace

FolderReader::~FolderReader() {
    Close();
}

FolderReader::FolderReader(FolderReader&& other) noexcept {
    *this = std::move(other);
}

FolderReader& FolderReader::operator=(FolderReader&& other) noexcept {
    if (this == &other) return *this;
    Close();
    fd_ = std::exchange(other.fd_, -1);
    position_ = std::exchange(other.position_, 0);
    filled_ = std::exchange(other.filled_, 0);
    // The buffer is far longer than what a string keeps inside itself, so that its bytes, and the
    // name among them, stay where they are.
    buffer_ = std::move(other.buffer_);
    name_ = std::exchange(other.name_, {});
    kind_ = std::exchange(other.kind_, ItemKind::kNone);
    error_ = std::exchange(other.error_, noErr);
    return *this;
}

OSErr FolderReader::Open(const char* path) {
    Close();
    error_ = noErr;
    Descriptor folder = OpenPath(path, O_RDONLY | O_DIRECTORY);
    if (!folder.IsOpen()) return LastHostError();
    buffer_.resize(kFolderTransferSize);
    fd_ = folder.Release();
    return noErr;
}

bool FolderReader::Next() {
    for (;;) {
        if (position_ == filled_ && !Refill()) break;
        const HostEntry entry = EntryAt(buffer_.data(), filled_, position_);
        if (entry.size == 0) break;
        position_ += entry.size;
        if (IsDots(entry.name)) continue;
        if (entry.name == kServerFolder && entry.type == DT_DIR) continue;
        if (IsSidecarName(entry.name) && HasPartner(entry.name)) continue;
        name_ = entry.name;
        kind_ = KindOfType(entry.type);
        return true;
    }
    Close();
    return false;
}

void FolderReader::Close() {
    (void)Descriptor(std::exchange(fd_, -1)).Close();
    position_ = filled_ = 0;
    name_ = {};
    kind_ = ItemKind::kNone;
}

bool FolderReader::Refill() {
    if (fd_ < 0) return false;
    const auto got =
        Retry([&] { return syscalls.getdents64(fd_, buffer_.data(), buffer_.size()); });
    if (got == -1) error_ = LastHostError();
    position_ = 0;
    filled_ = got > 0 ? static_cast<std::size_t>(got) : 0;
    return filled_ > 0;
}

bool FolderReader::HasPartner(std::string_view sidecarName) const {
    const std::string partner(sidecarName.substr(2));
    if (HasEntry(buffer_.data(), filled_, partner)) return true;
    struct stat status;
    return Retry([&] {
               return syscalls.fstatat(fd_, partner.c_str(), &status, AT_SYMLINK_NOFOLLOW);
           }) == 0;
}

}  // namespace Ondrel::Host
