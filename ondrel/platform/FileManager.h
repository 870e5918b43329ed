// The File Manager: references to items on disk, and forks of files opened by number, read and
// written at positions. This is the header that the layers above include; it knows nothing of them.
//
// Contracts that hold for every call here:
//  - The result is noErr or a code of Errors.h; no call raises, throws or prints.
//  - After a failure outputs are as they were, unless a call says otherwise.
//  - A file's data fork is the file. Its resource fork, codes and Finder flags live in the sidecar
//    "._name" beside it; where there is none, those of ".AppleDouble/name" are read.
//  - The calls may be made from several threads at once; one fork, and one request, belong to one
//    thread at a time.
#ifndef ONDREL_PLATFORM_FILEMANAGER_H
#define ONDREL_PLATFORM_FILEMANAGER_H

#include <string>

#include "ondrel/platform/Errors.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

// --- References ---------------------------------------------------------------------------------

// An opaque reference to an existing item: the item itself, never the target of a link. It holds no
// resource and may be copied as bytes; it means nothing to another process or a later run. It goes
// on naming its item when the item is renamed within its folder, and is refused with fnfErr when
// the item is gone, moved to another folder or replaced, or when a folder above it has another
// name. Of several names of one file in one folder it names the one that it was made of, while that
// is there.
struct FSRef {
    unsigned char hidden[80];
};
static_assert(sizeof(FSRef) == 80);

// The reference of the item at a full POSIX path (UTF-8, or any bytes that the host takes). A path
// that is not full names nothing (fnfErr).
ONDREL_EXPORT OSErr FSPathMakeRef(const char* path, FSRef* ref);

// The full POSIX path that the item has now.
ONDREL_EXPORT OSErr FSRefMakePath(const FSRef* ref, std::string* path);

// If the item is an alias (a symbolic link, or a Finder alias file whose target can be found on the
// mounted volumes), `*ref` becomes its target. `resolveChains`: go on until something that is no
// alias. `*targetIsFolder` tells of what `*ref` names at the end; `*wasAliased` is true for every
// alias, also for one that leads nowhere: then the result is fnfErr and `*ref` still names the
// alias.
ONDREL_EXPORT OSErr FSResolveAliasFile(FSRef* ref, bool resolveChains, bool* targetIsFolder,
                                       bool* wasAliased);

// --- Forks --------------------------------------------------------------------------------------

// A counted UTF-16 name of at most 255 units.
struct HFSUniStr255 {
    UniChar length;
    UniChar unicode[255];
};

// Permissions of FSOpenFork.
inline constexpr signed char fsRdPerm = 1;    // read
inline constexpr signed char fsWrPerm = 2;    // write
inline constexpr signed char fsRdWrPerm = 3;  // read and write

// Added to one of them, for a data fork: the item is opened itself. Where it is a link, of which
// the caller knows that it was none, the answer is fnfErr.
inline constexpr signed char fsItselfPerm = 64;

// Position modes: where a position counts from. pleaseSpareCacheMask may be added to any of them;
// it is a wish, granted where host and file system can (see docs/performance.md).
inline constexpr unsigned short fsAtMark = 0;     // the fork's own position; the offset is ignored
inline constexpr unsigned short fsFromStart = 1;  // the start of the fork
inline constexpr unsigned short fsFromLEOF = 2;   // the end of the fork
inline constexpr unsigned short fsFromMark = 3;   // the fork's own position
inline constexpr unsigned short pleaseSpareCacheMask = 32;

// The names of a file's two forks: empty, and "RESOURCE_FORK".
ONDREL_EXPORT OSErr FSGetDataForkName(HFSUniStr255* name);
ONDREL_EXPORT OSErr FSGetResourceForkName(HFSUniStr255* name);

// Opens a fork of the file that `ref` names, through a symbolic link its target. The number in
// `*forkRefNum` is positive and stays taken until FSCloseFork; 0 is never a fork.
// fnfErr: no such file, or no regular one (a folder, a FIFO, a device). permErr: not allowed, also
// for reading. opWrErr: opened for writing while another writer has the same fork, in this process
// or in another that uses this library; a reader is never refused because of a writer. wPrErr: for
// writing on a read-only volume. tmfoErr: no descriptor or number left. paramErr: no fork has this
// name, or none of the permissions above. mapReadErr: the file beside it that should hold its
// resource fork is none that we can read.
//
// A resource fork is read whole when it is opened, and is there for every file: one that the file
// does not have is empty. What is written to it is kept in memory and takes the place of the old
// fork in one step when it is closed; until then, and for good when a write or the closing fails,
// every other reader has the old fork, and so has whoever opened it before.
ONDREL_EXPORT OSErr FSOpenFork(const FSRef* ref, UniCharCount forkNameLength,
                               const UniChar* forkName, signed char permissions, short* forkRefNum);

// Closes the fork; a resource fork that was written to is stored. The number is free afterwards,
// whatever the result. rfNumErr: not open; this is the answer of every call below to a number that
// is not open. Of a resource fork: the code of an earlier write that failed, or why it could not be
// stored (fnfErr: its file is gone); the fork in the file is the old one then.
ONDREL_EXPORT OSErr FSCloseFork(short forkRefNum);

ONDREL_EXPORT OSErr FSGetForkSize(short forkRefNum, std::int64_t* size);

// Makes the fork end at a position: what lies behind it is cut off, and what is missing up to it
// becomes zeros. A resource fork is stored so when it is closed. posErr: a position before the
// start. permErr: not open for writing. dskFulErr, also for a resource fork as in FSWriteFork;
// otherwise the host's failure. After a failure of a data fork the size is as it was.
ONDREL_EXPORT OSErr FSSetForkSize(short forkRefNum, unsigned short positionMode,
                                  std::int64_t positionOffset);

// The fork's own position, which fsAtMark and fsFromMark count from. A transfer that has finished
// leaves it behind the last byte that it moved. posErr: a position before the start; the position
// stays. A position behind the end is allowed.
ONDREL_EXPORT OSErr FSSetForkPosition(short forkRefNum, unsigned short positionMode,
                                      std::int64_t positionOffset);
ONDREL_EXPORT OSErr FSGetForkPosition(short forkRefNum, std::int64_t* position);

// Writes `requestCount` bytes and leaves the fork's position behind the last byte written. A short
// transfer is continued; `*actualCount` (may be null) is what arrived, also after a failure.
// dskFulErr, of a resource fork: it would be longer than 2^31 - 1 bytes.
ONDREL_EXPORT OSErr FSWriteFork(short forkRefNum, unsigned short positionMode,
                                std::int64_t positionOffset, std::size_t requestCount,
                                const void* buffer, std::size_t* actualCount);

// --- Resource files -----------------------------------------------------------------------------

// Which parts of a file's catalogue record a call is to store. This library's callers store none.
using FSCatalogInfoBitmap = std::uint32_t;
inline constexpr FSCatalogInfoBitmap kFSCatInfoNone = 0;

// Gives the file of that name in a folder an empty resource fork, one whose map lists nothing; a
// missing file is made. The name is a Mac's, where '/' is part of a name; the file may be stored
// under any canonically equivalent one. Through a symbolic link it is the target's fork. `newRef`
// may be null. The fork's name must be FSGetResourceForkName's, `whichInfo` kFSCatInfoNone and the
// two pointers behind it null: paramErr.
// dupFNErr: the file has a resource fork that is not empty, whatever it holds; or a folder has that
// name. fnfErr: the folder is gone. bdNamErr: no file can have that name. opWrErr: somebody writes
// the fork. A file that was made is gone again after a failure.
ONDREL_EXPORT OSErr FSCreateResourceFile(const FSRef* parent, UniCharCount nameLength,
                                         const UniChar* name, FSCatalogInfoBitmap whichInfo,
                                         const void* catalogInfo, UniCharCount forkNameLength,
                                         const UniChar* forkName, FSRef* newRef, void* newSpec);

// Opens the resource fork as FSOpenFork does, reads its map, and makes it the calling thread's
// current resource file (see ResourceManager.h). The number is a fork's: the calls above read,
// write and close it. After a failure `*refNum` is -1, and ResError answers the result too.
// resFNotFound: the file has no resource fork, or an empty one. mapReadErr: it is no resource fork
// that we can read, or damaged. Otherwise as FSOpenFork.
ONDREL_EXPORT OSErr FSOpenResourceFile(const FSRef* ref, UniCharCount forkNameLength,
                                       const UniChar* forkName, signed char permissions,
                                       short* refNum);

// --- Asynchronous transfers ---------------------------------------------------------------------

// A request for one transfer. The caller owns it and the buffer, and keeps both in place until the
// request has finished. Zero-filled is a valid request that has finished with noErr.
struct FSForkIOParam {
    void (*ioCompletion)(FSForkIOParam*);  // must be null: no completion routine is ever called
    volatile short ioResult;               // kRequestInProgress until finished; read it through
                                           // PBForkResult, which makes it move
    short forkRefNum;
    unsigned short positionMode;
    bool readAhead;  // reads: the bytes are not wanted yet, see PBReadForkAsync
    std::int64_t positionOffset;
    std::size_t requestCount;  // bytes
    std::size_t actualCount;   // bytes that arrived; valid when finished
    void* buffer;

    // The library's own. Zero-fill a request before its first use, and leave this alone.
    struct Progress {
        FSForkIOParam* next;  // among the reads that the kernel has
        std::int64_t start;   // where the first byte stands in the fork
        unsigned int serial;  // which opening of the number
        int answer;           // the kernel's, once `answered`
        bool answered;
        unsigned char stage;
    } progress;
};

inline constexpr short kRequestInProgress = 1;

// Transfers of resource forks are always finished when the call returns.

// Starts a read. What the page cache holds arrives inside the call; what must come from the disk is
// left to the kernel (io_uring), or read in the call where that is missing. With `readAhead` set
// the transfer may be put off until PBForkResult or PBWaitFork asks for it. The result is also
// stored in ioResult, unless the request is still in progress. eofErr: the end of the fork was met,
// and actualCount is what there was. A failed transfer has actualCount 0.
ONDREL_EXPORT OSErr PBReadForkAsync(FSForkIOParam* request);

// Starts a write; it is finished when the call returns. A short transfer is continued until it is
// complete or failed; a failed one has the count that arrived in actualCount.
ONDREL_EXPORT OSErr PBWriteForkAsync(FSForkIOParam* request);

// The request's result, or kRequestInProgress. Looking makes progress: what the kernel has finished
// is taken in, and a read that was put off is started.
ONDREL_EXPORT short PBForkResult(FSForkIOParam* request);

// Waits until the request has finished, without burning the processor, and answers its result.
ONDREL_EXPORT short PBWaitFork(FSForkIOParam* request);

// Makes sure that the request is no longer in progress: a read that was put off is dropped at no
// cost (noErr, actualCount 0), one under way is waited for.
ONDREL_EXPORT void PBDropFork(FSForkIOParam* request);

// --- Durability ---------------------------------------------------------------------------------

// Brings the file at a full POSIX path, and the folder entry that names it, to the disk. Nothing
// else of the volume is flushed. Both are tried; the result is the first failure. fnfErr: no such
// file, or no regular one.
ONDREL_EXPORT OSErr FSFlushFile(const char* path);

// Tells that an open fork is that of a temporary file, under a name that nobody will look for:
// while it is open FSFlushFile leaves the file's folder entry alone. Whoever gives the file its
// lasting name flushes the folder then, and the disk is waited for once less.
ONDREL_EXPORT OSErr FSMarkForkTemporary(short forkRefNum);

}  // namespace Ondrel

#endif
