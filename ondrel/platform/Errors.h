// The platform's error codes, in one table of number, name and sentence, and the one function that
// maps the host's error numbers to them. No other code of the library reads errno.
#ifndef ONDREL_PLATFORM_ERRORS_H
#define ONDREL_PLATFORM_ERRORS_H

#include <new>
#include <span>
#include <stdexcept>
#include <string_view>

#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

inline constexpr OSErr noErr = 0;
inline constexpr OSErr dskFulErr = -34;        // no space, no quota, or the file would be too big
inline constexpr OSErr ioErr = -36;            // the device failed, or a failure without a code
inline constexpr OSErr bdNamErr = -37;         // a name or path is too long or cannot be a name
inline constexpr OSErr eofErr = -39;           // a transfer met the end of the file
inline constexpr OSErr posErr = -40;           // a position before the start of the file
inline constexpr OSErr tmfoErr = -42;          // too many files open
inline constexpr OSErr fnfErr = -43;           // no such file, or a folder where a file is wanted
inline constexpr OSErr wPrErr = -44;           // the volume is read-only
inline constexpr OSErr fLckdErr = -45;         // the file is locked
inline constexpr OSErr fBsyErr = -47;          // the file is in use
inline constexpr OSErr dupFNErr = -48;         // an item of that name exists already
inline constexpr OSErr opWrErr = -49;          // the fork is open for writing already
inline constexpr OSErr paramErr = -50;         // a wrong argument, or data that make no sense
inline constexpr OSErr rfNumErr = -51;         // no open fork has this reference number
inline constexpr OSErr permErr = -54;          // permission denied
inline constexpr OSErr memFullErr = -108;      // no memory
inline constexpr OSErr dirNFErr = -120;        // a path leads through something that is no folder
inline constexpr OSErr CantDecompress = -186;  // the resource is stored compressed
inline constexpr OSErr resNotFound = -192;     // the resource file has no such resource
inline constexpr OSErr resFNotFound = -193;    // the file has no resource fork
inline constexpr OSErr mapReadErr = -199;      // the resource fork or its map is damaged
inline constexpr OSErr errFSNoMoreItems = -1417;  // a search has come to its end

struct ErrorEntry {
    OSErr code;
    std::string_view name;
    std::string_view sentence;  // for developers; users see the messages of a stream
};

// Every code above, noErr included, in the order of the list.
ONDREL_EXPORT std::span<const ErrorEntry> ErrorTable();

// The platform code for a host error number (errno): 0 gives noErr, a number without a code of its
// own gives ioErr.
ONDREL_EXPORT OSErr ErrorFromErrno(int number);

// Makes work that answers a code answer one, too, when it runs out of memory: memFullErr.
template <class Work>
OSErr OrMemFull(const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::length_error&) {
        return memFullErr;
    }
}

}  // namespace Ondrel

#endif
