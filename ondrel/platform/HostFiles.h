// Items of the host's file system by POSIX path: what they are, making, deleting and renaming them
// together with their sidecars. Internal to libOndrel: core is built on it, nobody else calls it.
//
// Paths are the host's own bytes, absolute. A failure is a code of Errors.h and leaves everything
// as it was, also when the second of two steps fails.
#ifndef ONDREL_PLATFORM_HOSTFILES_H
#define ONDREL_PLATFORM_HOSTFILES_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Types.h"

namespace Ondrel::Host {

enum class ItemKind : unsigned char { kNone, kFile, kFolder, kLink, kOther };

struct ItemStatus {
    ItemKind kind = ItemKind::kNone;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;  // bytes of the data fork
};

// The status of the item itself; a link is kLink. fnfErr: nothing there.
OSErr GetItemStatus(const char* path, ItemStatus* status);

// The status of what a path leads to in the end, links followed; never kLink.
OSErr GetTargetStatus(const char* path, ItemStatus* status);

// Makes an empty file. dupFNErr: an item is there already, and is left alone. Codes that are not
// both 0 are stored with it; a sidecar left behind by a file long gone does not become its own.
// mapReadErr: codes were given, and a file that is no sidecar has the sidecar's name. bdNamErr: a
// name, or that of the sidecar that the codes want, is too long.
//
// Where `like` is the path of a file, links followed, nobody may use the new file who may not use
// that one: it has its permission, access control list, owner and group from the start, and less
// where the host does not let us give all of that. Its owner may read and write it in any case.
OSErr CreateFile(const char* path, FourCC creator, FourCC type, const char* like = nullptr);

// Deletes a file or link and its sidecar. fnfErr: nothing there, or a folder, which stays. fBsyErr:
// a fork of it is open in this process, or open for writing in another that uses this library. Once
// the file is gone the result is noErr: a sidecar that could not be deleted belongs to nothing, and
// CreateFile and RenameItem clear it away.
OSErr DeleteFile(const char* path);

// kReplaceDurably: as kReplace, and the sidecar is on the disk under its new name before the item
// takes its own, so that a power cut leaves no item without what belongs to it.
enum class WhenTargetExists { kRefuse, kReplace, kReplaceDurably };

// Renames or moves an item within its file system, its sidecar with it. kRefuse: an existing target
// gives dupFNErr and nothing changes. kReplace: the target is replaced in one step. A sidecar of
// the target never stays to be taken for the item's own. Two names of one item (the same path, or
// one that the file system takes for the same) are no rename: noErr, and nothing changes; with
// kRefuse a second hard link counts as a target. mapReadErr: the item has a sidecar, and a file
// that is none has the name for it.
OSErr RenameItem(const char* from, const char* to, WhenTargetExists policy);

// Makes a folder of the given permission bits. dupFNErr: something is there already.
OSErr CreateFolder(const char* path, unsigned int mode);

// --- Folders ------------------------------------------------------------------------------------

// Reads the entries of one folder in the order of the host, each once, with a few large transfers.
// "." and "..", sidecars whose partner is there, and a file server's folder of sidecars are left
// out.
class FolderReader {
 public:
    FolderReader() = default;
    ~FolderReader();
    FolderReader(const FolderReader&) = delete;
    FolderReader& operator=(const FolderReader&) = delete;
    FolderReader(FolderReader&& other) noexcept;
    FolderReader& operator=(FolderReader&& other) noexcept;

    // Starts at the first entry; may be called again, also for another folder.
    OSErr Open(const char* path);

    // Moves to the next entry; false at the end and after a failure.
    bool Next();

    // After the last Next: noErr at the end of the folder, or the code of the failure.
    OSErr Error() const { return error_; }

    // The current entry: its name as stored (it stays valid until the next call of Next), and its
    // kind as the folder knows it, kNone where the file system does not tell.
    std::string_view Name() const { return name_; }
    ItemKind Kind() const { return kind_; }

 private:
    void Close();
    bool Refill();
    bool HasPartner(std::string_view sidecarName) const;

    int fd_ = -1;
    std::size_t position_ = 0;
    std::size_t filled_ = 0;
    std::string buffer_;
    std::string_view name_;
    ItemKind kind_ = ItemKind::kNone;
    OSErr error_ = noErr;
};

// --- Small services -----------------------------------------------------------------------------

// The target text of a symbolic link.
OSErr ReadLink(const char* path, std::string* target);

// The folder of the running program. Empty where the host does not tell.
std::string ProgramFolder();

// The absolute path with every link in it followed. fnfErr: it leads nowhere, or round and round.
OSErr RealPath(const char* path, std::string* real);

// The folder for temporary items: "TemporaryItems-<uid>" in $TMPDIR or /tmp. With `create` it is
// made where it is missing, with permission 0700. permErr: something stands there that is not a
// folder of ours, or that others may enter; it is left alone.
OSErr TemporaryItemsFolder(bool create, std::string* path);

// Sixtieths of a second of a clock that never goes back.
std::uint32_t MonotonicTicks();

// Puts the calling thread to sleep, also across signals.
void SleepMilliseconds(int milliseconds);

}  // namespace Ondrel::Host

#endif
