// The two halves of a flush. Internal to platform/.
#ifndef ONDREL_PLATFORM_FLUSH_H
#define ONDREL_PLATFORM_FLUSH_H

#include <string>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

enum class FlushWhen { kAlways, kUnlessFlushed };

// Brings a regular file's bytes to the disk, and what is needed to find them. kUnlessFlushed: not
// when they were flushed before and the file has not changed since. `*temporary` (may be null)
// tells whether an open fork marks it as a temporary file. fnfErr: no such file, or no regular one.
OSErr FlushContents(const char* path, FlushWhen when, bool* temporary);

// Brings a folder's entries to the disk. A file system that has no such thing answers EINVAL, which
// is no failure.
OSErr FlushFolder(const std::string& path);

}  // namespace Ondrel::Host

#endif
