// The table of error codes and the mapping from the host's error numbers.
#include "ondrel/platform/Errors.h"

#include <cerrno>

namespace Ondrel {
namespace {

constexpr ErrorEntry kErrorTable[] = {
    {noErr, "noErr", "no error"},
    {dskFulErr, "dskFulErr", "the disk is full"},
    {ioErr, "ioErr", "the device failed"},
    {bdNamErr, "bdNamErr", "the name is too long or is no name"},
    {eofErr, "eofErr", "the end of the file was met"},
    {posErr, "posErr", "the position lies before the start of the file"},
    {tmfoErr, "tmfoErr", "too many files are open"},
    {fnfErr, "fnfErr", "the file was not found"},
    {wPrErr, "wPrErr", "the volume is read-only"},
    {fLckdErr, "fLckdErr", "the file is locked"},
    {fBsyErr, "fBsyErr", "the file is in use"},
    {dupFNErr, "dupFNErr", "an item of that name exists already"},
    {opWrErr, "opWrErr", "the file is open for writing already"},
    {paramErr, "paramErr", "an argument or the data are wrong"},
    {rfNumErr, "rfNumErr", "the reference number is not open"},
    {permErr, "permErr", "permission was denied"},
    {memFullErr, "memFullErr", "there is no memory left"},
    {dirNFErr, "dirNFErr", "the folder was not found"},
    {CantDecompress, "CantDecompress", "the resource is compressed and cannot be read"},
    {resNotFound, "resNotFound", "the resource was not found"},
    {resFNotFound, "resFNotFound", "the file has no resource fork"},
    {mapReadErr, "mapReadErr", "the resource fork is damaged"},
    {errFSNoMoreItems, "errFSNoMoreItems", "there are no more items"},
};

}  // namespace

std::span<const ErrorEntry> ErrorTable() {
    return kErrorTable;
}

OSErr ErrorFromErrno(int number) {
    switch (number) {
        case 0:
            return noErr;
        case ENOENT:
            return fnfErr;
        case EEXIST:
            return dupFNErr;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return dskFulErr;
        case EIO:
            return ioErr;
        case EROFS:
            return wPrErr;
        case EACCES:
        case EPERM:
            return permErr;
        case ETXTBSY:
        case EBUSY:
            return fBsyErr;
        case EMFILE:
        case ENFILE:
            return tmfoErr;
        case ENOMEM:
            return memFullErr;
        case ENAMETOOLONG:
            return bdNamErr;
        case ENOTDIR:
            return dirNFErr;
        case EISDIR:
            return fnfErr;
        case EINVAL:
            return paramErr;
        default:
            return ioErr;
    }
}

}  // namespace Ondrel
