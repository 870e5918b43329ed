// Colon paths and POSIX paths.
//
//   Disk:Docs:a.txt    <volume Disk>/Docs/a.txt
//   Root:etc:hosts     /etc/hosts
//   Root:a/b           /a:b            a '/' inside a Mac name is a ':' in the POSIX name
//
// A volume that is not mounted lies at /Volumes/<name>, so that its paths survive the way there and
// back; a path below /Volumes that is there on disk is one of the volume around it. A path that
// begins with ':', and a name without any, is relative and stays so. Names are not composed or
// decomposed on the way; a volume's name is found in either form.
#ifndef ONDREL_CORE_MACPATHS_H
#define ONDREL_CORE_MACPATHS_H

#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

struct MacPaths {
    // The POSIX path of a colon path. A colon at the end (a folder) leaves no slash there; further
    // ones are parent steps: "a:b::c" is "a/c". They end at the root of a volume, and lead out of
    // a relative path: "::a" is "../a". An empty path stays empty, ":" is ".".
    ONDREL_EXPORT static Uni16String HFSToPOSIX(const Uni16String& path);

    // The colon path of a full POSIX path, without a colon at its end, except after a volume alone:
    // "/" is "Root:". Doubled slashes and "." do not count; ".." is a name like any other. A path
    // that is not full, or that holds half a surrogate pair, gives an empty text.
    ONDREL_EXPORT static Uni16String POSIXToHFS(const Uni16String& path);
};

}  // namespace Ondrel

#endif
