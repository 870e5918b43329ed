// The host's calls, as the table's entries want them.
#include "ondrel/platform/Syscalls.h"

#include <dirent.h>
#include <liburing.h>
#include <stdio.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace Ondrel {
namespace {

int HostOpenAt(int folder, const char* path, int flags, mode_t mode) {
    return ::openat(folder, path, flags, mode);
}

int HostFcntlLock(int fd, int command, struct flock* lock) {
    return ::fcntl(fd, command, lock);
}

int HostRingInit(unsigned entries, struct io_uring* ring, unsigned flags) {
    return io_uring_queue_init(entries, ring, flags);
}

int HostRingSubmit(struct io_uring* ring) {
    return io_uring_submit(ring);
}

int HostRingWait(struct io_uring* ring, struct io_uring_cqe** entry) {
    return io_uring_wait_cqe(ring, entry);
}

constexpr Syscalls MakeHostSyscalls() {
    Syscalls table{};
    table.openat = HostOpenAt;
    table.close = ::close;
    table.fstat = ::fstat;
    table.fstatat = ::fstatat;
    table.statx = ::statx;
    table.pread = ::pread;
    table.pwrite = ::pwrite;
    table.preadv2 = ::preadv2;
    table.pwritev2 = ::pwritev2;
    table.fadvise = ::posix_fadvise;
    table.ftruncate = ::ftruncate;
    table.fdatasync = ::fdatasync;
    table.fsync = ::fsync;
    table.fcntl_lock = HostFcntlLock;
    table.getdents64 = ::getdents64;
    table.lseek = ::lseek;
    table.readlinkat = ::readlinkat;
    table.unlinkat = ::unlinkat;
    table.renameat2 = ::renameat2;
    table.mkdirat = ::mkdirat;
    table.fchmod = ::fchmod;
    table.fchown = ::fchown;
    table.flistxattr = ::flistxattr;
    table.fgetxattr = ::fgetxattr;
    table.fsetxattr = ::fsetxattr;
    table.fremovexattr = ::fremovexattr;
    table.ring_init = HostRingInit;
    table.ring_submit = HostRingSubmit;
    table.ring_wait = HostRingWait;
    return table;
}

}  // namespace

constinit const Syscalls kHostSyscalls = MakeHostSyscalls();
constinit Syscalls syscalls = MakeHostSyscalls();

}  // namespace Ondrel
