// A walk over a tree of folders, which its caller steers: it reads the entries of the present
// folder, goes into one of them, and comes back to where it was.
//
// Folders are opened by their names in the folder above, so that no path is too long, and links are
// never entered. An entry costs no system call of its own; a folder costs those that open, read and
// close it. What a walk holds is bounded by its depth: one open folder and one transfer for each
// level, at most 64 of them. Deeper down the folders next to the start are given back, and opened
// again on the way back, where they must be the same folders as before.
//
// A walk belongs to one thread at a time.
#ifndef ONDREL_PLATFORM_FOLDERTREE_H
#define ONDREL_PLATFORM_FOLDERTREE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// What tells a folder from every other that is there at the same time.
struct FolderIdentity {
    std::uint64_t device;
    std::uint64_t inode;
    bool operator==(const FolderIdentity&) const = default;
};

class ONDREL_EXPORT FolderTree {
 public:
    // What an entry is, as its folder tells it; some file systems do not.
    enum class Kind : unsigned char { kUnknown, kFolder, kOther };

    FolderTree();
    ~FolderTree();
    FolderTree(const FolderTree&) = delete;
    FolderTree& operator=(const FolderTree&) = delete;

    // Starts a walk at a folder, or a link to one, before its first entry. After a failure there is
    // no present folder.
    OSErr Open(const char* path);

    // The present folder: its full path, what identifies it, and how many folders it lies below the
    // start.
    const std::string& Path() const { return path_; }
    std::size_t Depth() const { return depth_; }

    OSErr GetIdentity(FolderIdentity* identity) const;

    // Moves to the next entry of the present folder, in the order of the host; false at its end and
    // after a failure, which Error tells apart.
    bool Next();
    OSErr Error() const { return error_; }

    // The current entry: its name as stored, any bytes but '/', and its kind. The name stays valid
    // until the walk is moved.
    std::string_view Name() const { return name_; }
    Kind GetKind() const { return kind_; }

    // The same, but asks the host where the folder does not tell.
    Kind AskKind();

    // Whether the current entry is an item of this library: its name is UTF-8, and it is neither a
    // sidecar whose partner is there nor a file server's folder of sidecars.
    bool IsItem();

    // Goes back before the first entry of the present folder. One that came in a single transfer is
    // not read again.
    OSErr Rewind();

    // Makes the current entry the present folder. dirNFErr: it is no folder. After a failure the
    // walk is where it was.
    OSErr Enter();

    // Goes back to the folder above, behind the entry that was entered. False at the start. A
    // folder that had been given back and is not found again counts as read to its end, and Error
    // tells why it was not found.
    bool Leave();

 private:
    struct Level;

    bool Refill(Level& level);
    OSErr MakeRoom();
    OSErr GiveBackOldest();
    OSErr OpenAgain(std::size_t depth);

    std::vector<Level> levels_;  // those of the way down to the present folder, and spare ones
    std::size_t depth_ = 0;
    std::string path_;
    std::string_view name_;
    Kind kind_ = Kind::kUnknown;
    OSErr error_ = noErr;
};

}  // namespace Ondrel

#endif
