// Colon paths and POSIX paths.
//
//   Disk:Docs:a.txt    <volume Disk>/Docs/a.txt
//   Root:etc:hosts     /etc/hosts
//   Root:a/b           /a:b            a '/' inside a Mac name is a ':' in the POSIX name
//
// A volume that is not mounted lies at /Volumes/<name>, so that its paths survive the way there and
// back. A path that begins with ':' is relative and stays so.
#ifndef ONDREL_CORE_MACPATHS_H
#define ONDREL_CORE_MACPATHS_H

#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

struct MacPaths {
    // The POSIX path of a colon path. A colon at the end (a folder) leaves no slash there; further
    // ones are parent steps: "a:b::c" is "a/c". An empty path stays empty.
    ONDREL_EXPORT static Uni16String HFSToPOSIX(const Uni16String& path);

    // The colon path of a full POSIX path, without a colon at its end, except after a volume alone:
    // "/" is "Root:". A path that is not full gives an empty text.
    ONDREL_EXPORT static Uni16String POSIXToHFS(const Uni16String& path);
};

}  // namespace Ondrel

#endif
