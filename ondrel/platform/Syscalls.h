// The one table of system calls that the library makes. Tests replace entries to make any call
// fail, fall short or be recorded; nothing else writes to it. Entries follow the host's own
// conventions: a failure is -1 (or a null pointer) with errno set. The platform layer retries EINTR
// where the entry is called, so a replacement may return it at any time.
//
// Replace entries only while no other thread is inside the library.
#ifndef ONDREL_PLATFORM_SYSCALLS_H
#define ONDREL_PLATFORM_SYSCALLS_H

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

#include "ondrel/platform/Export.h"

struct io_uring;
struct io_uring_cqe;

namespace Ondrel {

struct Syscalls {
    // Opening and closing.
    int (*openat)(int folder, const char* path, int flags, mode_t mode);
    int (*close)(int fd);

    // Status of an item; flags as fstatat's (AT_SYMLINK_NOFOLLOW for the link itself).
    int (*fstat)(int fd, struct stat* status);
    int (*fstatat)(int folder, const char* path, struct stat* status, int flags);
    int (*statx)(int folder, const char* path, int flags, unsigned mask, struct statx* status);

    // Transfers. The vector forms carry the RWF_ flags.
    ssize_t (*pread)(int fd, void* buffer, size_t size, off_t offset);
    ssize_t (*pwrite)(int fd, const void* buffer, size_t size, off_t offset);
    ssize_t (*preadv2)(int fd, const struct iovec* parts, int count, off_t offset, int flags);
    ssize_t (*pwritev2)(int fd, const struct iovec* parts, int count, off_t offset, int flags);
    int (*fadvise)(int fd, off_t offset, off_t length,
                   int advice);  // returns an errno, as the host's

    // Sizes and durability.
    int (*ftruncate)(int fd, off_t size);
    int (*fdatasync)(int fd);
    int (*fsync)(int fd);

    // Locks of open file descriptions: F_OFD_SETLK and F_OFD_GETLK.
    int (*fcntl_lock)(int fd, int command, struct flock* lock);

    // Folders and names.
    ssize_t (*getdents64)(int fd, void* buffer, size_t size);
    off_t (*lseek)(int fd, off_t position, int whence);
    ssize_t (*readlinkat)(int folder, const char* path, char* buffer, size_t size);
    int (*unlinkat)(int folder, const char* path, int flags);
    int (*renameat2)(int from, const char* old_path, int to, const char* new_path,
                     unsigned int flags);
    int (*mkdirat)(int folder, const char* path, mode_t mode);

    // Ownership and permission.
    int (*fchmod)(int fd, mode_t mode);
    int (*fchown)(int fd, uid_t owner, gid_t group);

    // Extended attributes, access control lists among them.
    ssize_t (*flistxattr)(int fd, char* names, size_t size);
    ssize_t (*fgetxattr)(int fd, const char* name, void* value, size_t size);
    int (*fsetxattr)(int fd, const char* name, const void* value, size_t size, int flags);
    int (*fremovexattr)(int fd, const char* name);

    // io_uring, through liburing; these return a negative errno as liburing does.
    int (*ring_init)(unsigned entries, struct io_uring* ring, unsigned flags);
    int (*ring_submit)(struct io_uring* ring);
    int (*ring_wait)(struct io_uring* ring, struct io_uring_cqe** entry);
};

// The table in use, filled with the host's calls at start.
ONDREL_EXPORT extern Syscalls syscalls;

// The host's calls, to go back to.
ONDREL_EXPORT extern const Syscalls kHostSyscalls;

}  // namespace Ondrel

#endif
