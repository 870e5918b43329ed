// The sidecar of a file: the AppleDouble file "._name" beside it, which holds its codes, Finder
// flags and resource fork. Internal to libOndrel.
//
// A file server of other systems keeps it in a folder of its own, ".AppleDouble/name". Where there
// is no "._name", that one is the file's sidecar, and is read, changed and taken along in its
// place; a new sidecar is always "._name".
//
// Invariants: a sidecar is replaced in one step, so that a reader and a crash meet the old or the
// new one, whole; its permission is never wider than that of its file; a file with neither codes
// nor fork has none; one that we cannot read as AppleDouble is never overwritten (mapReadErr).
#ifndef ONDREL_PLATFORM_SIDECAR_H
#define ONDREL_PLATFORM_SIDECAR_H

#include <cstdint>
#include <string>
#include <string_view>

#include "ondrel/platform/AppleDouble.h"
#include "ondrel/platform/Errors.h"
#include "ondrel/platform/HostCalls.h"

namespace Ondrel::Host {

// "/a/._b" for "/a/b".
std::string SidecarPath(std::string_view path);

// "/a/.AppleDouble/b" for "/a/b".
std::string ServerSidecarPath(std::string_view path);

// The name of the folder of those.
inline constexpr std::string_view kServerFolder = ".AppleDouble";

// True for "._name" with a name behind the mark.
bool IsSidecarName(std::string_view name);

// noErr: the file at this path (the sidecar's own) is an AppleDouble file. fnfErr: nothing there.
// mapReadErr: something else. Otherwise the host's failure to find out. Its fork is not read.
OSErr CheckSidecarFile(const std::string& sidecarPath);

// The sidecar of a file; an empty one where there is none. mapReadErr: "._name" is no AppleDouble
// file.
OSErr ReadSidecar(const char* path, AppleDouble* sidecar);

// The resource fork of a file as it was when it was opened: the sidecar is held open, and one that
// is replaced meanwhile stays readable here.
class StoredFork {
 public:
    // Of the file at a path; empty where it has none. Codes as ReadSidecar's.
    OSErr Open(const char* path);

    std::size_t Size() const { return size_; }

    // Appends `size` bytes from `start` on. They must lie in the fork. mapReadErr: the sidecar has
    // become shorter. memFullErr. Nothing is appended after a failure.
    OSErr Read(std::size_t start, std::size_t size, std::string* bytes) const;

 private:
    Descriptor sidecar_;
    std::size_t offset_ = 0;
    std::size_t size_ = 0;
};

// Makes these bytes the resource fork of a file and sets these flags in its Finder Info, beside
// everything else that its sidecar holds. dskFulErr: they are more than AppleDouble can count.
OSErr WriteResourceFork(const char* path, std::string_view fork, std::uint16_t finderFlags);

// Makes `sidecar` the sidecar of the file at `path`, or takes the file's sidecar away when it is
// empty. paramErr: it is longer than AppleDouble can count. fnfErr: there is no such file.
OSErr WriteSidecar(const char* path, const AppleDouble& sidecar);

// The Finder Info of a file; empty where there is none. Its fork is not read.
OSErr ReadFinderInfo(const char* path, FinderInfo* info);
OSErr WriteFinderInfo(const char* path, const FinderInfo& info);

}  // namespace Ondrel::Host

#endif
