// Opening, closing and measuring forks, and who else writes them. The data fork is the file, so a
// fork is the host's file under a number; a writer holds a write lock of its open file description,
// which other processes see and which goes with the descriptor.
#include <sys/stat.h>

#include <string>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/ResourceManager.h"

namespace Ondrel {
namespace Host {
namespace {

struct flock WholeFile(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    return lock;
}

// Locks a file for its one writer. opWrErr: another has it. A file system that has no locks, or has
// none left, keeps nobody from writing.
OSErr LockForWriting(int fd) {
    struct flock lock = WholeFile(F_WRLCK);
    if (Retry([&] { return syscalls.fcntl_lock(fd, F_OFD_SETLK, &lock); }) != -1) return noErr;
    return errno == EAGAIN || errno == EACCES ? opWrErr : noErr;
}

// Opens without waiting for what may be a FIFO or a device. O_NONBLOCK stays set, where it means
// nothing to a regular file; only at a lease would it make the open fail.
OSErr OpenFile(const char* path, int flags, Descriptor* file) {
    *file = OpenPath(path, flags | O_NONBLOCK | O_NOCTTY);
    if (!file->IsOpen() && errno == EWOULDBLOCK) *file = OpenPath(path, flags | O_NOCTTY);
    if (file->IsOpen()) return noErr;
    return errno == ENXIO ? fnfErr : LastHostError();
}

OSErr OpenDataFork(const char* path, const ForkFacts& access, short* number) {
    ForkFacts facts = access;
    Descriptor file;
    const int flags = !facts.mayWrite ? O_RDONLY : facts.mayRead ? O_RDWR : O_WRONLY;
    if (const OSErr code = OpenFile(path, flags, &file); code != noErr) return code;

    struct stat status;
    if (Retry([&] { return syscalls.fstat(file.Get(), &status); }) == -1) return LastHostError();
    if (!S_ISREG(status.st_mode)) return fnfErr;
    facts.device = status.st_dev;
    facts.inode = status.st_ino;
    if (facts.mayWrite) {
        if (const OSErr code = LockForWriting(file.Get()); code != noErr) return code;
    }
    return AddFork(&file, facts, number);
}

}  // namespace

OSErr ForkPosition(const Fork& fork, unsigned short mode, std::int64_t offset,
                   std::int64_t* position) {
    std::int64_t base = 0;
    switch (mode & ~pleaseSpareCacheMask) {
        case fsAtMark:
            base = fork.position;
            offset = 0;
            break;
        case fsFromStart:
            break;
        case fsFromLEOF: {
            struct stat status;
            if (Retry([&] { return syscalls.fstat(fork.Fd(), &status); }) == -1)
                return LastHostError();
            base = status.st_size;
            break;
        }
        case fsFromMark:
            base = fork.position;
            break;
        default:
            return paramErr;
    }
    std::int64_t sum = 0;
    if (__builtin_add_overflow(base, offset, &sum) || sum < 0) return posErr;
    *position = sum;
    return noErr;
}

bool IsWrittenElsewhere(const char* path) {
    Descriptor file;
    if (OpenFile(path, O_RDONLY, &file) == permErr) (void)OpenFile(path, O_WRONLY, &file);
    if (!file.IsOpen()) return false;
    struct flock lock = WholeFile(F_RDLCK);  // would meet writers only
    if (Retry([&] { return syscalls.fcntl_lock(file.Get(), F_OFD_GETLK, &lock); }) == -1)
        return false;
    return lock.l_type == F_WRLCK;
}

}  // namespace Host

OSErr FSGetDataForkName(HFSUniStr255* name) {
    if (name == nullptr) return paramErr;
    *name = HFSUniStr255{};
    return noErr;
}

OSErr FSOpenFork(const FSRef* ref, UniCharCount forkNameLength, const UniChar*,
                 signed char permissions, short* forkRefNum) {
    if (ref == nullptr || forkRefNum == nullptr || forkNameLength != 0) return paramErr;
    if (permissions < fsRdPerm || permissions > fsRdWrPerm) return paramErr;
    std::string path;
    if (const OSErr code = FSRefMakePath(ref, &path); code != noErr) return code;
    Host::ForkFacts access;
    access.mayRead = permissions != fsWrPerm;
    access.mayWrite = permissions != fsRdPerm;
    return Host::OpenDataFork(path.c_str(), access, forkRefNum);
}

OSErr FSCloseFork(short forkRefNum) {
    if (Host::FindFork(forkRefNum) == nullptr) return rfNumErr;
    Host::FinishReads(forkRefNum);
    return Host::RemoveFork(forkRefNum).Close();
}

void CloseResFile(short refNum) {
    (void)FSCloseFork(refNum);
}

OSErr FSGetForkSize(short forkRefNum, std::int64_t* size) {
    const Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    if (size == nullptr) return paramErr;
    struct stat status;
    if (Host::Retry([&] { return syscalls.fstat(fork->Fd(), &status); }) == -1)
        return Host::LastHostError();
    *size = status.st_size;
    return noErr;
}

OSErr FSSetForkPosition(short forkRefNum, unsigned short positionMode,
                        std::int64_t positionOffset) {
    Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    return Host::ForkPosition(*fork, positionMode, positionOffset, &fork->position);
}

OSErr FSGetForkPosition(short forkRefNum, std::int64_t* position) {
    const Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    if (position == nullptr) return paramErr;
    *position = fork->position;
    return noErr;
}

}  // namespace Ondrel
