// Aliases: symbolic links, and the alias files of the Finder. Internal to libOndrel.
#ifndef ONDREL_PLATFORM_ALIAS_H
#define ONDREL_PLATFORM_ALIAS_H

#include <string>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// Answers what the item at `path` leads to: its target when it is an alias, otherwise the item
// itself. An alias is a symbolic link, or a file with the Finder flag kFinderFlagIsAlias and an
// 'alis' resource; its target is looked for on the volume of the name that the record tells.
// `chains`: go on until something that is no alias, at most 40 times. `*targetIsFolder` tells of
// the item that `*target` names; a link is none. `*wasAliased` is set in any case.
//
// After a failure `*target` and `*targetIsFolder` are as they were. fnfErr: there is no item, or,
// with `*wasAliased` true, the alias or one behind it leads nowhere.
OSErr ResolveAlias(const std::string& path, bool chains, std::string* target, bool* targetIsFolder,
                   bool* wasAliased);

}  // namespace Ondrel::Host

#endif
