// The two halves of a flush. Internal to platform/.
#ifndef ONDREL_PLATFORM_FLUSH_H
#define ONDREL_PLATFORM_FLUSH_H

#include <string>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

// Brings a regular file's bytes to the disk, and what is needed to find them. fnfErr: no such file,
// or no regular one.
OSErr FlushContents(const char* path);

// Brings a folder's entries to the disk. A file system that has no such thing answers EINVAL, which
// is no failure.
OSErr FlushFolder(const std::string& path);

}  // namespace Ondrel::Host

#endif
