// Sidecars on disk. Reading trusts nothing of what stands at the name: it may be a link, a pipe, or
// a file that grows. Writing goes to a temporary file beside it, which takes its place once it is
// whole and on the disk.
#include "ondrel/platform/Sidecar.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/PathNames.h"
#include "ondrel/platform/SidecarPermission.h"

namespace Ondrel::Host {
namespace {

constexpr std::string_view kMark = "._";

// Enough for the table of every sidecar of macOS, and for its Finder Info.
constexpr std::size_t kStartSize = 4096;

// A sidecar open for reading.
struct OpenSidecar {
    Descriptor file;
    std::uint64_t size = 0;
};

OSErr Open(const std::string& path, OpenSidecar* sidecar) {
    sidecar->file = OpenPath(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!sidecar->file.IsOpen())
        return errno == ELOOP || errno == ENXIO ? mapReadErr : LastHostError();
    struct stat status;
    if (Retry([&] { return syscalls.fstat(sidecar->file.Get(), &status); }) == -1)
        return LastHostError();
    if (!S_ISREG(status.st_mode)) return mapReadErr;
    sidecar->size = static_cast<std::uint64_t>(status.st_size);
    return noErr;
}

// What a file is made of; nothing is copied to put it together.
struct FileParts {
    std::string_view start;
    std::string_view end;
};

// Appends up to `size` bytes at `offset`; fewer where the file ends, and none after a failure.
OSErr ReadOn(const Descriptor& file, std::uint64_t offset, std::size_t size, std::string* bytes) {
    const std::size_t before = bytes->size();
    try {
        bytes->resize(before + size);
    } catch (const std::bad_alloc&) {
        return memFullErr;
    } catch (const std::length_error&) {
        return memFullErr;
    }
    std::size_t done = 0;
    OSErr error = noErr;
    while (done < size) {
        const auto got = Retry([&] {
            return syscalls.pread(file.Get(), bytes->data() + before + done, size - done,
                                  static_cast<off_t>(offset + done));
        });
        if (got == -1) error = LastHostError();
        if (got < 1) break;
        done += static_cast<std::size_t>(got);
    }
    bytes->resize(before + (error == noErr ? done : 0));
    return error;
}

// Reads up to `size` bytes at `offset`; fewer where the file ends.
OSErr Read(const OpenSidecar& sidecar, std::uint64_t offset, std::size_t size, std::string* bytes) {
    bytes->clear();
    return ReadOn(sidecar.file, offset, size, bytes);
}

// Reads the table alone: the start of the file, and all of it only for a table of unusual length.
OSErr ReadTable(const OpenSidecar& sidecar, std::vector<AppleDoubleEntry>* entries) {
    constexpr std::size_t kLongestTable = 26 + 12 * 0xFFFF;
    std::string start;
    for (const std::size_t most : {kStartSize, kLongestTable}) {
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(sidecar.size, most));
        if (const OSErr error = Read(sidecar, 0, size, &start); error != noErr) return error;
        if (auto table = ReadAppleDoubleTable(start, sidecar.size)) {
            *entries = std::move(*table);
            return noErr;
        }
        if (size == sidecar.size) break;
    }
    return mapReadErr;
}

bool IsMissing(OSErr error) {
    return error == fnfErr || error == bdNamErr;
}

// Opens the sidecar of a file and reads its table, wherever it is. What stands at the server's
// place and is no AppleDouble file is none. fnfErr: the file has no sidecar.
OSErr OpenSidecarOf(const char* path, OpenSidecar* sidecar,
                    std::vector<AppleDoubleEntry>* entries) {
    OSErr error = Open(SidecarPath(path), sidecar);
    if (error == noErr) return ReadTable(*sidecar, entries);
    if (!IsMissing(error)) return error;
    error = Open(ServerSidecarPath(path), sidecar);
    if (error == noErr) error = ReadTable(*sidecar, entries);
    return IsMissing(error) || error == dirNFErr || error == mapReadErr ? fnfErr : error;
}

// Where the sidecar of a file is, or is to be made. `*isThere` tells which.
OSErr PlaceOfSidecar(const char* path, std::string* place, bool* isThere) {
    *place = SidecarPath(path);
    OSErr found = CheckSidecarFile(*place);
    *isThere = found == noErr;
    if (!IsMissing(found)) return found;
    found = CheckSidecarFile(ServerSidecarPath(path));
    *isThere = found == noErr;
    if (*isThere) *place = ServerSidecarPath(path);
    return IsMissing(found) || found == dirNFErr || found == mapReadErr ? noErr : found;
}

OSErr ReadAndParse(const OpenSidecar& open, std::size_t size, AppleDouble* sidecar) {
    std::string bytes;
    if (const OSErr error = Read(open, 0, size, &bytes); error != noErr) return error;
    auto parsed = AppleDouble::Parse(std::move(bytes));
    if (!parsed) return mapReadErr;
    *sidecar = std::move(*parsed);
    return noErr;
}

// Reads what a new fork is to stand beside. The old fork is passed over where it can be.
OSErr ReadAllButFork(const char* path, AppleDouble* sidecar) {
    OpenSidecar open;
    std::vector<AppleDoubleEntry> entries;
    const OSErr found = OpenSidecarOf(path, &open, &entries);
    if (found == fnfErr) *sidecar = AppleDouble();
    if (found != noErr) return found == fnfErr ? noErr : found;
    const auto start = AppleDouble::StartOfLastFork(entries);
    if (!start) return ReadAndParse(open, static_cast<std::size_t>(open.size), sidecar);
    std::string bytes;
    if (const OSErr error = Read(open, 0, *start, &bytes); error != noErr) return error;
    auto parsed = AppleDouble::ParseWithoutFork(std::move(bytes), open.size);
    if (!parsed) return mapReadErr;
    *sidecar = std::move(*parsed);
    return noErr;
}

OSErr Unlink(const std::string& path) {
    return CodeOf(Retry([&] { return syscalls.unlinkat(AT_FDCWD, path.c_str(), 0); }));
}

// Fills a new file and brings it to the disk. It is closed afterwards, whatever the result.
OSErr Fill(Descriptor file, const FileParts& parts, const SidecarPermission& permission) {
    OSErr error = permission.Apply(file);
    if (error == noErr) error = WriteAll(file, parts.start, 0);
    if (error == noErr) error = WriteAll(file, parts.end, static_cast<off_t>(parts.start.size()));
    if (error == noErr) error = CodeOf(Retry([&] { return syscalls.fdatasync(file.Get()); }));
    const OSErr closed = file.Close();
    return error != noErr ? error : closed;
}

// Makes the parts the file at `path` in one step.
OSErr Replace(const std::string& path, const FileParts& parts,
              const SidecarPermission& permission) {
    const std::string temporary = TemporaryBeside(path);
    Descriptor file = OpenPath(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!file.IsOpen()) return LastHostError();
    OSErr error = OrMemFull([&] { return Fill(std::move(file), parts, permission); });
    if (error == noErr)
        error = CodeOf(Retry([&] {
            return syscalls.renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), 0);
        }));
    if (error != noErr) (void)Unlink(temporary);
    return error;
}

// Makes `sidecar`, with `fork` behind its bytes, the sidecar of a file.
OSErr StoreSidecar(const char* path, const AppleDouble& sidecar, std::string_view fork) {
    std::string place;
    bool isThere = false;
    if (const OSErr error = PlaceOfSidecar(path, &place, &isThere); error != noErr) return error;
    if (fork.empty() && sidecar.IsEmpty()) return isThere ? Unlink(place) : noErr;
    SidecarPermission permission;
    if (const OSErr error = permission.TakeFrom(path); error != noErr) return error;
    return Replace(place, {sidecar.Bytes(), fork}, permission);
}

}  // namespace

std::string SidecarPath(std::string_view path) {
    const PathParts parts = SplitPath(path);
    std::string sidecar(parts.folder);
    return sidecar.append(kMark).append(parts.name);
}

std::string ServerSidecarPath(std::string_view path) {
    const PathParts parts = SplitPath(path);
    std::string sidecar(parts.folder);
    return sidecar.append(kServerFolder).append("/").append(parts.name);
}

bool IsSidecarName(std::string_view name) {
    return name.size() > kMark.size() && name.starts_with(kMark);
}

OSErr CheckSidecarFile(const std::string& sidecarPath) {
    OpenSidecar sidecar;
    if (const OSErr error = Open(sidecarPath, &sidecar); error != noErr) return error;
    std::vector<AppleDoubleEntry> entries;
    return ReadTable(sidecar, &entries);
}

OSErr ReadSidecar(const char* path, AppleDouble* sidecar) {
    OpenSidecar open;
    std::vector<AppleDoubleEntry> entries;
    const OSErr found = OpenSidecarOf(path, &open, &entries);
    if (found == fnfErr) *sidecar = AppleDouble();
    if (found != noErr) return found == fnfErr ? noErr : found;
    return ReadAndParse(open, static_cast<std::size_t>(open.size), sidecar);
}

OSErr StoredFork::Open(const char* path) {
    *this = {};
    OpenSidecar open;
    std::vector<AppleDoubleEntry> entries;
    const OSErr found = OpenSidecarOf(path, &open, &entries);
    if (found != noErr) return found == fnfErr ? noErr : found;
    const AppleDoubleEntry* const entry = FindEntry(entries, kEntryResourceFork);
    if (entry == nullptr || entry->length == 0) return noErr;
    sidecar_ = std::move(open.file);
    offset_ = entry->offset;
    size_ = entry->length;
    return noErr;
}

OSErr StoredFork::Read(std::size_t start, std::size_t size, std::string* bytes) const {
    if (size == 0) return noErr;
    const std::size_t before = bytes->size();
    const OSErr error = ReadOn(sidecar_, offset_ + start, size, bytes);
    if (error != noErr || bytes->size() - before == size) return error;
    bytes->resize(before);
    return mapReadErr;
}

OSErr WriteResourceFork(const char* path, std::string_view fork, std::uint16_t finderFlags) {
    AppleDouble sidecar;
    if (const OSErr error = ReadAllButFork(path, &sidecar); error != noErr) return error;
    if (finderFlags != 0) {
        FinderInfo info = sidecar.GetFinderInfo();
        info.SetFlags(info.Flags() | finderFlags);
        sidecar.SetFinderInfo(info);
    }
    if (!sidecar.AnnounceResourceFork(fork.size())) return dskFulErr;
    return StoreSidecar(path, sidecar, fork);
}

OSErr WriteSidecar(const char* path, const AppleDouble& sidecar) {
    return StoreSidecar(path, sidecar, {});
}

OSErr ReadFinderInfo(const char* path, FinderInfo* info) {
    *info = {};
    OpenSidecar sidecar;
    std::vector<AppleDoubleEntry> entries;
    const OSErr found = OpenSidecarOf(path, &sidecar, &entries);
    if (found != noErr) return found == fnfErr ? noErr : found;
    const AppleDoubleEntry* entry = FindEntry(entries, kEntryFinderInfo);
    if (entry == nullptr) return noErr;
    std::string stored;
    const std::size_t size = std::min<std::size_t>(entry->length, kFinderInfoSize);
    if (const OSErr error = Read(sidecar, entry->offset, size, &stored); error != noErr)
        return error;
    std::copy(stored.begin(), stored.end(), info->bytes.begin());
    return noErr;
}

OSErr WriteFinderInfo(const char* path, const FinderInfo& info) {
    AppleDouble sidecar;
    if (const OSErr error = ReadSidecar(path, &sidecar); error != noErr) return error;
    sidecar.SetFinderInfo(info);
    return WriteSidecar(path, sidecar);
}

}  // namespace Ondrel::Host
