// Writing beside, flushing, and renaming.
#include "tools/ondrel/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "ondrel/platform/Errors.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Interrupts.h"

namespace OndrelTool {
namespace {

constexpr std::size_t kPiece = 1 << 20;  // bytes between two looks for interrupts

// The path that links lead to; the path itself where there are none or they lead nowhere.
std::string TargetOf(const std::string& path) {
    char* const real = realpath(path.c_str(), nullptr);
    if (real == nullptr) return path;
    std::string target = real;
    std::free(real);
    return target;
}

// "dir/.name.XXXXXX" for "dir/name". A long name is cut, so that the whole is none too long.
std::string TemporaryTemplate(const std::string& place) {
    const std::size_t nameStart = place.rfind('/') + 1;
    return place.substr(0, nameStart) + "." + place.substr(nameStart, 200) + ".XXXXXX";
}

// The permission that a new file gets from the process.
mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

NewFile::NewFile(const std::string& path) : path_(path), place_(TargetOf(path)) {
    if (path.empty()) Fail("''", "an empty text is no file name");
    struct stat status {};
    const bool exists = stat(place_.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) Fail(path_, "is a folder");
    if (exists && !S_ISREG(status.st_mode)) {
        fd_ = open(place_.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd_ < 0) FailHost();
        return;
    }
    if (exists && access(place_.c_str(), W_OK) != 0) FailHost();
    std::string name = TemporaryTemplate(place_);
    fd_ = mkostemp(name.data(), O_CLOEXEC);
    if (fd_ < 0) FailHost();
    temporary_ = name;
    if (fchmod(fd_, exists ? status.st_mode & 07777 : NewFileMode()) != 0) FailHost();
}

NewFile::~NewFile() {
    GiveUp();
}

void NewFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        CheckInterrupt();
        const ssize_t put = write(fd_, bytes.data(), std::min(bytes.size(), kPiece));
        if (put == -1 && errno != EINTR) FailHost();
        if (put > 0) bytes.remove_prefix(static_cast<std::size_t>(put));
    }
}

void NewFile::Finish() {
    CheckInterrupt();
    if (!temporary_.empty() && fsync(fd_) != 0) FailHost();
    const int closed = close(std::exchange(fd_, -1));
    if (closed != 0 && errno != EINTR) FailHost();
    if (temporary_.empty()) return;
    if (std::rename(temporary_.c_str(), place_.c_str()) != 0) FailHost();
    temporary_.clear();
}

void NewFile::GiveUp() {
    if (fd_ >= 0) close(std::exchange(fd_, -1));
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
}

// Cleans up as well: where the constructor fails there is no destructor.
void NewFile::FailHost() {
    const int error = errno;
    const std::string message = error == ENOENT  ? "its folder does not exist"
                                : error == EPIPE ? "its reader has gone"
                                                 : Explain(Ondrel::ErrorFromErrno(error));
    GiveUp();
    Fail(path_, message);
}

void WriteNewFile(const std::string& path, std::string_view bytes) {
    const HoldInterrupts hold;
    NewFile file(path);
    file.Write(bytes);
    file.Finish();
}

}  // namespace OndrelTool
