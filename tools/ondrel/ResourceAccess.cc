// Forks and resources through the library's File and Resource Managers.
#include "tools/ondrel/ResourceAccess.h"

#include <utility>

#include "ondrel/platform/FileManager.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/FileArgument.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

// Owns an open fork.
class OpenFork {
 public:
    OpenFork(const std::string& file, signed char permission) : file_(file) {
        FSRef ref;
        HFSUniStr255 name;
        FailOnError(FSPathMakeRef(FullPath(file).c_str(), &ref), file_);
        FailOnError(FSGetResourceForkName(&name), file_);
        FailOnError(FSOpenFork(&ref, name.length, name.unicode, permission, &number_), file_);
    }
    ~OpenFork() {
        if (number_ != 0) (void)FSCloseFork(number_);
    }
    OpenFork(const OpenFork&) = delete;
    OpenFork& operator=(const OpenFork&) = delete;

    short Number() const { return number_; }

    // What was written is stored now.
    void Close() { FailOnError(FSCloseFork(std::exchange(number_, short{0})), file_); }

 private:
    const std::string& file_;
    short number_ = 0;
};

// Owns an open resource file; closed where it could not be opened.
class OpenResources {
 public:
    explicit OpenResources(const std::string& file) {
        FSRef ref;
        HFSUniStr255 name;
        if (FSPathMakeRef(FullPath(file).c_str(), &ref) != noErr ||
            FSGetResourceForkName(&name) != noErr)
            return;
        if (FSOpenResourceFile(&ref, name.length, name.unicode, fsRdPerm, &number_) != noErr)
            number_ = 0;
    }
    ~OpenResources() {
        if (number_ > 0) CloseResFile(number_);
    }
    OpenResources(const OpenResources&) = delete;
    OpenResources& operator=(const OpenResources&) = delete;

    bool IsOpen() const { return number_ > 0; }

 private:
    short number_ = 0;
};

}  // namespace

std::string ReadFork(const std::string& file) {
    const OpenFork fork(file, fsRdPerm);
    std::int64_t size = 0;
    FailOnError(FSGetForkSize(fork.Number(), &size), file);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    FSForkIOParam request{};
    request.forkRefNum = fork.Number();
    request.positionMode = fsFromStart;
    request.requestCount = bytes.size();
    request.buffer = bytes.data();
    (void)PBReadForkAsync(&request);
    FailOnError(PBWaitFork(&request), file);
    return bytes;
}

void WriteFork(const std::string& file, std::string_view bytes) {
    OpenFork fork(file, fsRdWrPerm);
    FailOnError(FSWriteFork(fork.Number(), fsFromStart, 0, bytes.size(), bytes.data(), nullptr),
                file);
    FailOnError(FSSetForkSize(fork.Number(), fsFromStart, static_cast<std::int64_t>(bytes.size())),
                file);
    fork.Close();
}

void RequireWritableFork(const std::string& file) {
    const OpenFork fork(file, fsRdWrPerm);
}

std::vector<ResourceInfo> ResourcesOf(const std::string& file, std::string_view fork) {
    std::vector<ResourceInfo> resources;
    const OSErr error = ListForkResources(fork, &resources);
    if (error != resFNotFound) FailOnError(error, file);
    return resources;
}

std::optional<std::string> ReadResource(const std::string& file, FourCC type, short id) {
    const OpenResources resources(file);
    if (!resources.IsOpen()) return std::nullopt;
    const Handle handle = Get1Resource(type, id);
    if (handle == nullptr) return std::nullopt;
    return std::string(*handle, GetHandleSize(handle));
}

}  // namespace OndrelTool
