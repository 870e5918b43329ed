// Finding the file of a reference again: where the reference says that it lies, in the folders
// below that place, or anywhere on its volume.
//
// The searches read the folders as they are at this moment; there is no index that could be out of
// date. In one thread they take hardly longer than the host needs to list the folders.
#ifndef ONDREL_SEARCH_SEARCH_H
#define ONDREL_SEARCH_SEARCH_H

#include <functional>
#include <string>

#include "ondrel/filref/filref.h"
#include "ondrel/platform/Export.h"
#include "ondrel/search/FileSearch.h"

namespace Ondrel {

// Looks for a file of the reference's name in the folder where the reference says that it lies and,
// when `deep` is set, in all folders below it, as TreeSearch does; `callback` sees the items of the
// deep search only. `types` is a list of `typeCount` type identifiers, null or of length 0 for any
// type. Names compare ignoring case and composition.
//
// 1: found, and the reference names the file: where several items of its folder bear the name, the
// one that is spelt as the reference spells it, if it is of the types asked for. 0: not found, or
// found in a place whose path no reference can hold (kFilrefSize); the reference is as it was.
ONDREL_EXPORT int filsea(filref& ref, const unsigned int* types, unsigned long typeCount, bool deep,
                         std::function<int(const FileSpec*, const std::string&)> callback);

// The same for one type, or for any when `typeId` is 0.
ONDREL_EXPORT int filsea(filref& ref, unsigned int typeId, bool deep);

// Looks for every item that bears the reference's name, on the reference's volume, and calls
// `callback` with the full POSIX path of each; what it returns is ignored. Names compare ignoring
// composition; case counts. Folders that may not be read, and other volumes mounted on this one,
// are passed over (platform/Catalog.h).
//
//    0  the whole volume was searched
//    1  the volume is not mounted
//   -1  the reference has no path
//   -2  the search could not be finished, or could not tell where an item is; what it had found
//       was handed out
//   or the platform's code: the volume cannot be read
//
// The reference is not changed. An empty callback raises std::bad_function_call at the first match.
ONDREL_EXPORT int SearchVolume(filref& ref, std::function<int(const std::string&)> callback);

}  // namespace Ondrel

#endif
