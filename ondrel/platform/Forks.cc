// Opening, closing and measuring forks, and who else writes them. A fork is the host's file under a
// number: the data fork is the file, and for the resource fork the file is held open beside the
// content from its sidecar. A writer holds a write lock of its open file description, which other
// processes see and which goes with the descriptor.
#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "ondrel/platform/FileManager.h"
#include "ondrel/platform/FlushNotes.h"
#include "ondrel/platform/ForkTable.h"
#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/ResourceContent.h"
#include "ondrel/platform/ResourceFile.h"

namespace Ondrel {
namespace Host {
namespace {

constexpr std::u16string_view kResourceForkName = u"RESOURCE_FORK";

// Writers of the data fork lock all bytes that a file can have but the last, writers of the
// resource fork that one: neither keeps the other away.
constexpr off_t kByteOfResourceFork = std::numeric_limits<off_t>::max();

struct flock LockOf(ForkKind kind) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = kind == ForkKind::kResource ? kByteOfResourceFork : 0;
    lock.l_len = kind == ForkKind::kResource ? 1 : kByteOfResourceFork;
    return lock;
}

// Locks a file for the one writer of a fork. opWrErr: another has it. A file system that has no
// locks, or has none left, keeps nobody from writing.
OSErr LockForWriting(int fd, ForkKind kind) {
    struct flock lock = LockOf(kind);
    if (Retry([&] { return syscalls.fcntl_lock(fd, F_OFD_SETLK, &lock); }) != -1) return noErr;
    return errno == EAGAIN || errno == EACCES ? opWrErr : noErr;
}

// Opens without waiting for what may be a FIFO or a device. O_NONBLOCK stays set, where it means
// nothing to a regular file; only at a lease would it make the open fail.
OSErr OpenFile(const char* path, int flags, Descriptor* file) {
    *file = OpenPath(path, flags | O_NONBLOCK | O_NOCTTY);
    if (!file->IsOpen() && errno == EWOULDBLOCK) *file = OpenPath(path, flags | O_NOCTTY);
    if (file->IsOpen()) return noErr;
    const bool isLink = errno == ELOOP && (flags & O_NOFOLLOW) != 0;
    return errno == ENXIO || isLink ? fnfErr : LastHostError();
}

// How the file of a fork is opened. That of a resource fork is only held, and locked for a writer.
int OpenFlags(const ForkFacts& facts) {
    const int flags = facts.itself ? O_NOFOLLOW : 0;
    if (!facts.mayWrite) return flags | O_RDONLY;
    return flags | (facts.mayRead && facts.kind == ForkKind::kData ? O_RDWR : O_WRONLY);
}

OSErr Identify(const Descriptor& file, ForkFacts* facts) {
    struct stat status;
    if (Retry([&] { return syscalls.fstat(file.Get(), &status); }) == -1) return LastHostError();
    if (!S_ISREG(status.st_mode)) return fnfErr;
    facts->device = status.st_dev;
    facts->inode = status.st_ino;
    return noErr;
}

OSErr OpenWith(const std::string& path, ForkFacts facts, short* number) {
    Descriptor file;
    OSErr code = OpenFile(path.c_str(), OpenFlags(facts), &file);
    if (code == noErr) code = Identify(file, &facts);
    if (code == noErr && facts.mayWrite) code = LockForWriting(file.Get(), facts.kind);
    if (code != noErr) return code;
    if (facts.kind == ForkKind::kData) return AddFork(&file, facts, number);

    // Read behind the lock: no other writer stores anything any more.
    auto content = std::make_unique<ResourceContent>();
    code = content->Load(path, facts.mayWrite);
    if (code == noErr) code = AddFork(&file, facts, number);
    if (code == noErr) FindFork(*number)->content = content.release();
    return code;
}

}  // namespace

bool IsResourceForkName(UniCharCount length, const UniChar* name) {
    return name != nullptr &&
           std::equal(name, name + length, kResourceForkName.begin(), kResourceForkName.end());
}

OSErr OpenFork(const std::string& path, ForkKind kind, signed char permissions, short* number) {
    ForkFacts facts;
    facts.kind = kind;
    facts.itself = (permissions & fsItselfPerm) != 0;
    permissions = static_cast<signed char>(permissions & ~fsItselfPerm);
    facts.mayRead = permissions != fsWrPerm;
    facts.mayWrite = permissions != fsRdPerm;
    if (kind == ForkKind::kData) return OpenWith(path, facts, number);
    return OrMemFull([&] {
        // The sidecar stands beside the file itself, not beside a link to it.
        std::string real;
        const OSErr code = RealPath(path.c_str(), &real);
        return code != noErr ? code : OpenWith(real, facts, number);
    });
}

OSErr SizeOfFork(const Fork& fork, std::int64_t* size) {
    if (fork.content != nullptr) {
        *size = static_cast<std::int64_t>(fork.content->Size());
        return noErr;
    }
    struct stat status;
    if (Retry([&] { return syscalls.fstat(fork.Fd(), &status); }) == -1) return LastHostError();
    *size = status.st_size;
    return noErr;
}

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
        case fsFromLEOF:
            if (const OSErr code = SizeOfFork(fork, &base); code != noErr) return code;
            break;
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
    struct flock lock {};
    lock.l_type = F_RDLCK;  // of the whole file; would meet writers only
    lock.l_whence = SEEK_SET;
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

OSErr FSGetResourceForkName(HFSUniStr255* name) {
    if (name == nullptr) return paramErr;
    *name = HFSUniStr255{};
    name->length = static_cast<UniChar>(Host::kResourceForkName.size());
    std::copy(Host::kResourceForkName.begin(), Host::kResourceForkName.end(), name->unicode);
    return noErr;
}

OSErr FSOpenFork(const FSRef* ref, UniCharCount forkNameLength, const UniChar* forkName,
                 signed char permissions, short* forkRefNum) {
    const bool isResource = Host::IsResourceForkName(forkNameLength, forkName);
    if (ref == nullptr || forkRefNum == nullptr) return paramErr;
    if (forkNameLength != 0 && !isResource) return paramErr;
    const int plain = isResource ? permissions : permissions & ~fsItselfPerm;
    if (plain < fsRdPerm || plain > fsRdWrPerm) return paramErr;
    std::string path;
    if (const OSErr code = FSRefMakePath(ref, &path); code != noErr) return code;
    return Host::OpenFork(path, isResource ? Host::ForkKind::kResource : Host::ForkKind::kData,
                          permissions, forkRefNum);
}

OSErr FSCloseFork(short forkRefNum) {
    Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    Host::FinishReads(forkRefNum);
    if (fork->unflushed) Host::ForgetFlush(fork->facts.device, fork->facts.inode);
    const std::unique_ptr<Host::ResourceContent> content(std::exchange(fork->content, nullptr));
    const OSErr stored = content == nullptr ? noErr : content->Store();
    const OSErr closed = Host::RemoveFork(forkRefNum).Close();
    return stored != noErr ? stored : closed;
}

OSErr FSMarkForkTemporary(short forkRefNum) {
    Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    fork->temporary = true;
    return noErr;
}

OSErr FSGetForkSize(short forkRefNum, std::int64_t* size) {
    const Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    return size == nullptr ? paramErr : Host::SizeOfFork(*fork, size);
}

OSErr FSSetForkSize(short forkRefNum, unsigned short positionMode, std::int64_t positionOffset) {
    Host::Fork* const fork = Host::FindFork(forkRefNum);
    if (fork == nullptr) return rfNumErr;
    if (!fork->facts.mayWrite) return permErr;
    std::int64_t size = 0;
    if (const OSErr code = Host::ForkPosition(*fork, positionMode, positionOffset, &size);
        code != noErr)
        return code;
    if (fork->content != nullptr) return fork->content->Resize(size);
    Host::FinishReads(forkRefNum);
    const OSErr code =
        Host::CodeOf(Host::Retry([&] { return syscalls.ftruncate(fork->Fd(), size); }));
    if (code == noErr) fork->unflushed = true;
    return code;
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
