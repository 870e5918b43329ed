// Which files were flushed lately and have not changed since, so that a flush that follows at once,
// and would wait for the disk for nothing, can be left out. Internal to platform/.
//
// A file counts as unchanged while its size and its change time are those of the flush and no fork
// of this process has written to it. A few files are remembered; one that is forgotten is flushed
// again.
#ifndef ONDREL_PLATFORM_FLUSHNOTES_H
#define ONDREL_PLATFORM_FLUSHNOTES_H

#include <sys/stat.h>

#include <cstdint>

namespace Ondrel::Host {

// `status` is that of the file after the flush.
void RememberFlush(const struct stat& status);

bool WasFlushed(const struct stat& status);

// To be called when the file was written to since.
void ForgetFlush(std::uint64_t device, std::uint64_t inode);

}  // namespace Ondrel::Host

#endif
