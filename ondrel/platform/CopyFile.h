// Copies of files, and of what a file has besides its bytes. Internal to platform/.
#ifndef ONDREL_PLATFORM_COPYFILE_H
#define ONDREL_PLATFORM_COPYFILE_H

#include <string>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// Makes `to`, which must not exist (dupFNErr), a copy of the file `from`: its bytes, permission and
// extended attributes. The sidecar is not copied. After a failure there is no `to`.
OSErr CopyFile(const std::string& from, const std::string& to);

// Gives one file of ours the owner, permission, access control list and extended attributes of
// another. An owner or group that the host does not let us give narrows the permission instead;
// attributes of the system that it does not let us give are left out. The users' own attributes
// must arrive.
OSErr TakeOverAttributes(const std::string& from, const std::string& to);

}  // namespace Ondrel::Host

#endif
