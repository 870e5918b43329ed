// The swap at the end of a safe save. Its steps, in the order that leaves either the old document
// or the new one whenever it stops:
//
//   1. what is to be replaced is found and checked: links are followed, a read-only document, one
//   that
//      somebody writes to, and what is no file are refused;
//   2. the finished file is copied beside the document where it lies on another file system;
//   3. it gets the document's owner, mode and attributes, and is brought to the disk;
//   4. the document's sidecar gets the codes or the resource fork that came with the finished file,
//      and is brought to the disk; in the common case there are none, or the document has codes of
//      its own, and the sidecar is not touched at all;
//   5. one rename puts the new document in the old one's place, and the folder is flushed.
#include "ondrel/platform/ReplaceFile.h"

#include <string>

#include "ondrel/platform/CopyFile.h"
#include "ondrel/platform/Flush.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel::Host {
namespace {

constexpr int kMostLinks = 40;

// Follows the links at the end of a path, also to a file that is not there yet.
OSErr FollowLinks(std::string* path) {
    for (int links = 0; links < kMostLinks; ++links) {
        std::string target;
        const OSErr error = ReadLink(path->c_str(), &target);
        if (error == paramErr || error == fnfErr) return noErr;  // no link, or nothing there
        if (error != noErr) return error;
        if (target.starts_with('/'))
            *path = std::move(target);
        else
            *path = JoinPath(SplitPath(*path).folder, target);
    }
    return ErrorFromErrno(ELOOP);
}

// A document that its owner has made read-only is refused also for those whom no permission binds.
OSErr CheckWritable(const std::string& document) {
    const Descriptor file = OpenPath(document.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (!file.IsOpen()) return LastHostError();
    struct stat status;
    if (Retry([&] { return syscalls.fstat(file.Get(), &status); }) == -1) return LastHostError();
    return (status.st_mode & 0222) == 0 ? fLckdErr : noErr;
}

OSErr CheckDocument(const std::string& document, const ItemStatus& finished, bool* exists) {
    ItemStatus status;
    const OSErr error = GetItemStatus(document.c_str(), &status);
    *exists = error == noErr;
    if (error == fnfErr) return noErr;
    if (error != noErr) return error;
    if (status.kind != ItemKind::kFile) return fnfErr;
    if (status.device == finished.device && status.inode == finished.inode) return paramErr;
    if (IsWrittenElsewhere(document.c_str())) return fBsyErr;
    return CheckWritable(document);
}

OSErr CheckFinished(const char* finished, ItemStatus* status) {
    if (const OSErr error = GetItemStatus(finished, status); error != noErr) return error;
    if (status->kind != ItemKind::kFile) return fnfErr;
    const bool inUse = HasOpenFork(status->device, status->inode) || IsWrittenElsewhere(finished);
    return inUse ? fBsyErr : noErr;
}

OSErr Move(const std::string& from, const std::string& to) {
    return CodeOf(
        Retry([&] { return syscalls.renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0); }));
}

// The document's sidecar before and after: afterwards it has the codes of the finished file where
// it had none, and the fork of the finished file where that has one.
struct Sidecars {
    AppleDouble before;
    AppleDouble after;

    bool Change() const { return before.Bytes() != after.Bytes(); }
};

OSErr JoinSidecars(const char* finished, const char* document, Sidecars* sidecars) {
    AppleDouble fresh;
    if (const OSErr error = ReadSidecar(finished, &fresh); error != noErr) return error;
    if (fresh.IsEmpty()) return noErr;
    const OSErr error = ReadSidecar(document, &sidecars->before);
    if (error == mapReadErr) return noErr;  // whatever it is, it stays
    if (error != noErr) return error;
    sidecars->after = sidecars->before;
    FinderInfo info = sidecars->before.GetFinderInfo();
    if (info.Type() == 0 && info.Creator() == 0) {
        info.SetType(fresh.GetFinderInfo().Type());
        info.SetCreator(fresh.GetFinderInfo().Creator());
        sidecars->after.SetFinderInfo(info);
    }
    const std::string_view fork = fresh.GetResourceFork();
    return fork.empty() || sidecars->after.SetResourceFork(fork) ? noErr : dskFulErr;
}

class Swap {
 public:
    Swap(const char* finished, const char* document)
        : finished_(finished), staged_(finished), document_(document) {}
    ~Swap() {
        if (isCopy_) (void)DeleteFile(staged_.c_str());
    }
    Swap(const Swap&) = delete;
    Swap& operator=(const Swap&) = delete;

    OSErr Run() {
        OSErr error = Check();
        if (error == noErr) error = Stage();
        if (error == noErr && exists_) error = TakeOverAttributes(document_, staged_);
        if (error == noErr)
            error = FlushContents(staged_.c_str(), FlushWhen::kUnlessFlushed, nullptr);
        if (error == noErr) error = exists_ ? PublishOver() : PublishNew();
        if (error != noErr) return error;
        (void)OrMemFull([&] { return CleanUp(); });
        return FlushFolder(FolderOf(document_));
    }

 private:
    static std::string FolderOf(const std::string& path) {
        return JoinPath(SplitPath(path).folder, ".");
    }

    OSErr Check() {
        if (const OSErr error = CheckFinished(finished_, &status_); error != noErr) return error;
        if (const OSErr error = FollowLinks(&document_); error != noErr) return error;
        return CheckDocument(document_, status_, &exists_);
    }

    // A rename reaches only as far as the file system.
    OSErr Stage() {
        ItemStatus folder;
        const OSErr error = GetTargetStatus(FolderOf(document_).c_str(), &folder);
        if (error != noErr || folder.device == status_.device) return error;
        staged_ = TemporaryBeside(document_);
        isCopy_ = true;
        if (const OSErr copied = CopyFile(finished_, staged_); copied != noErr) return copied;
        if (exists_) return noErr;
        AppleDouble sidecar;
        const OSErr read = ReadSidecar(finished_, &sidecar);
        return read != noErr ? read : WriteSidecar(staged_.c_str(), sidecar);
    }

    OSErr PublishNew() {
        return RenameItem(staged_.c_str(), document_.c_str(), WhenTargetExists::kReplaceDurably);
    }

    // It is on the disk before the document is: a power cut leaves no new document without what
    // belongs to it.
    OSErr PublishSidecar(const char* document, const AppleDouble& sidecar) {
        return OrMemFull([&] {
            const OSErr error = WriteSidecar(document, sidecar);
            return error == noErr ? FlushFolder(FolderOf(document_)) : error;
        });
    }

    // When the rename fails, the document's sidecar is again what it was.
    OSErr PublishOver() {
        const char* const document = document_.c_str();
        Sidecars sidecars;
        if (const OSErr error = JoinSidecars(finished_, document, &sidecars); error != noErr)
            return error;
        OSErr moved = sidecars.Change() ? PublishSidecar(document, sidecars.after) : noErr;
        if (moved == noErr) moved = Move(staged_, document_);
        if (moved != noErr && sidecars.Change())
            (void)OrMemFull([&] { return WriteSidecar(document, sidecars.before); });
        return moved;
    }

    // The new document is in its place; what is left of the finished file goes.
    OSErr CleanUp() {
        if (isCopy_) (void)DeleteFile(finished_);
        isCopy_ = false;
        const std::string sidecar = SidecarPath(finished_);
        if (CheckSidecarFile(sidecar) == noErr)
            (void)Retry([&] { return syscalls.unlinkat(AT_FDCWD, sidecar.c_str(), 0); });
        return noErr;
    }

    const char* finished_;
    std::string staged_;    // what is renamed: the finished file, or a copy beside the document
    std::string document_;  // with the links at its end followed
    ItemStatus status_;     // of the finished file
    bool exists_ = false;   // the document
    bool isCopy_ = false;
};

}  // namespace

OSErr ReplaceFile(const char* finished, const char* document) {
    return OrMemFull([&] { return Swap(finished, document).Run(); });
}

}  // namespace Ondrel::Host
