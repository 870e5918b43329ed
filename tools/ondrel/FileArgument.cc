// Paths of the command line.
#include "tools/ondrel/FileArgument.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "ondrel/platform/Errors.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

[[noreturn]] void FailHost(const std::string& path) {
    const int error = errno;
    if (error == ELOOP) Fail(path, "its links lead in a circle");
    if (error == ENOENT) throw Failure(Status::kNothing, path, Explain(fnfErr));
    if (error == ENOTDIR)
        throw Failure(Status::kNothing, path, "leads through something that is no folder");
    Fail(path, Explain(ErrorFromErrno(error)));
}

struct stat StatusOf(const std::string& path) {
    struct stat status {};
    if (path.empty()) Fail("''", "an empty text is no file name");
    if (stat(path.c_str(), &status) != 0) FailHost(path);
    return status;
}

// Owns a descriptor.
class OpenFile {
 public:
    explicit OpenFile(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
        if (fd_ < 0) FailHost(path);
    }
    ~OpenFile() { close(fd_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    ssize_t Read(char* buffer, std::size_t size) const { return read(fd_, buffer, size); }

 private:
    int fd_;
};

}  // namespace

std::string FullPath(const std::string& path) {
    if (path.empty()) Fail("''", "an empty text is no file name");
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(path, error);
    if (error) Fail(path, "the present folder is gone");
    return full.string();
}

FileSpec SpecOf(const std::string& path) {
    const std::string full = FullPath(path);
    if (ValidUtf8(full) != full) Fail(path, "the name is not UTF-8");
    FileSpec spec(UTF8ToUni16String(full));
    if (!spec.IsValid()) Fail(path, "cannot be the path of a file");
    return spec;
}

filref ReferenceOf(const std::string& path) {
    const FileSpec spec = SpecOf(path);
    filref reference;
    if (reference.convertFromFileSpec(spec) != 0) Fail(path, Explain(memFullErr));
    Uni16String colonPath;
    spec.GetHFSPath(colonPath);
    if (Uni16StringToUTF8(colonPath).size() >= kFilrefSize)
        Fail(path, fmt::format("its path is longer than the {} bytes that a reference holds",
                               kFilrefSize - 1));
    return reference;
}

void RequireFile(const std::string& path) {
    const struct stat status = StatusOf(path);
    if (S_ISDIR(status.st_mode)) Fail(path, "is a folder");
    if (!S_ISREG(status.st_mode)) Fail(path, "is no plain file");
}

void RequireReadableFile(const std::string& path) {
    RequireFile(path);
    if (access(path.c_str(), R_OK) != 0) FailHost(path);
}

void RequireFolder(const std::string& path) {
    const struct stat status = StatusOf(path);
    if (!S_ISDIR(status.st_mode)) Fail(path, "is no folder");
    if (access(path.c_str(), R_OK | X_OK) != 0) FailHost(path);
}

std::string PlaceForWriting(const std::string& path) {
    namespace fs = std::filesystem;
    std::string full = FullPath(path);
    std::error_code error;
    if (!fs::exists(fs::symlink_status(full, error))) {
        const std::string folder = fs::path(full).parent_path().string();
        if (!fs::is_directory(folder, error)) Fail(path, "its folder does not exist");
        if (access(folder.c_str(), W_OK | X_OK) != 0) FailHost(path);
        return full;
    }
    RequireFile(path);
    if (access(path.c_str(), W_OK) != 0) FailHost(path);
    const fs::path real = fs::canonical(full, error);
    if (error) Fail(path, "its links lead nowhere");
    return real.string();
}

std::uint64_t DataSize(const std::string& path) {
    return static_cast<std::uint64_t>(StatusOf(path).st_size);
}

std::string ReadWholeFile(const std::string& path, std::size_t most) {
    RequireReadableFile(path);
    const OpenFile file(path);
    std::string bytes;
    char piece[1 << 16];
    for (;;) {
        const ssize_t got = file.Read(piece, sizeof piece);
        if (got == 0) return bytes;
        if (got == -1 && errno != EINTR) FailHost(path);
        if (got > 0) bytes.append(piece, static_cast<std::size_t>(got));
        if (bytes.size() > most)
            Fail(path, fmt::format("is longer than the {} that are read", ByteCount(most)));
    }
}

}  // namespace OndrelTool
