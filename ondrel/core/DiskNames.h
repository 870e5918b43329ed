// Finds items on disk whose names may be stored in another composition than the path that asks for
// them: a disk that came from a Mac holds decomposed names, the library's paths are precomposed.
// Internal to core.
//
// An item whose path is there byte for byte costs one system call and no listing of any folder.
// Only folders where the missing component can have an equivalent name are listed.
#ifndef ONDREL_CORE_DISKNAMES_H
#define ONDREL_CORE_DISKNAMES_H

#include <string>
#include <string_view>

#include "ondrel/platform/HostFiles.h"

namespace Ondrel::Core {

struct DiskItem {
    std::string path;         // as the host has it
    Host::ItemStatus status;  // of the item itself, never of the target of a link
};

// The item at a clean path (PosixPaths.h): the one of exactly that path, else the one that is found
// component by component by canonical equivalence; case always counts. When the item is missing,
// `item->path` is where it is to be created: in the folder as found, under its precomposed name.
// After any other failure it is the path as given.
OSErr FindOnDisk(const std::string& path, DiskItem* item);

// FindOnDisk did not find the item, and nothing worse: it may be created.
bool IsMissing(OSErr code);

// The name of the item in a folder that equals `name` under the options of
// Uni16CharCompareWithOptions, as it is stored; the precomposed one where several do, else the
// first. fnfErr: there is none, or no folder that we may list.
OSErr FindNameInFolder(const std::string& folder, std::string_view name, int options,
                       std::string* found);

// The clean form of any full POSIX path in UTF-8; empty for what is none. ".." behind a link is the
// parent of the link's target, as it is for the host; where nothing is on disk it takes one
// component away.
std::string CleanPath(std::string_view path);

}  // namespace Ondrel::Core

#endif
