// Codes by path, in the sidecar's Finder Info.
#include "ondrel/platform/FileCodes.h"

#include <string>

#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/Sidecar.h"

namespace Ondrel {
namespace {

// The path of the file itself: a sidecar stands beside it, not beside a link to it.
OSErr RealFile(const char* path, std::string* real) {
    if (path == nullptr || *path != '/') return fnfErr;
    Host::ItemStatus status;
    if (const OSErr error = Host::RealPath(path, real); error != noErr) return error;
    if (const OSErr error = Host::GetItemStatus(real->c_str(), &status); error != noErr)
        return error;
    return status.kind == Host::ItemKind::kFile ? noErr : fnfErr;
}

}  // namespace

OSErr GetFileCodes(const char* path, FileCodes* codes) {
    if (codes == nullptr) return paramErr;
    return OrMemFull([&] {
        std::string real;
        FinderInfo info;
        OSErr error = RealFile(path, &real);
        if (error == noErr) error = Host::ReadFinderInfo(real.c_str(), &info);
        if (error == noErr) *codes = {info.Type(), info.Creator(), info.Flags()};
        return error;
    });
}

OSErr SetFileCodes(const char* path, const FileCodes& codes) {
    return OrMemFull([&] {
        std::string real;
        FinderInfo info;
        OSErr error = RealFile(path, &real);
        if (error == noErr) error = Host::ReadFinderInfo(real.c_str(), &info);
        if (error != noErr) return error;
        info.SetType(codes.type);
        info.SetCreator(codes.creator);
        info.SetFlags(codes.finderFlags);
        return Host::WriteFinderInfo(real.c_str(), info);
    });
}

}  // namespace Ondrel
