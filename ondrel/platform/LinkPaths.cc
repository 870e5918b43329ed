// Symbolic links as texts, and paths with every link followed.
#include <limits.h>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/HostFiles.h"
#include "ondrel/platform/PathNames.h"

namespace Ondrel::Host {
namespace {

// How many links one path may lead through, as the kernel has it.
constexpr int kMostLinks = 40;

constexpr std::size_t kLongestPath = PATH_MAX;

// Takes the first component off the text; empty when only slashes are left.
std::string TakeComponent(std::string* text) {
    const std::size_t start = text->find_first_not_of('/');
    if (start == std::string::npos) {
        text->clear();
        return {};
    }
    const std::size_t end = text->find('/', start);
    std::string component = text->substr(start, end == std::string::npos ? end : end - start);
    text->erase(0, end);
    return component;
}

// Puts a component behind an absolute path without links. A link is not put there: its text goes
// before what is still to be walked.
OSErr Walk(const std::string& component, std::string* done, std::string* rest, int* links) {
    if (component == "..") {
        done->erase(done->rfind('/') == 0 ? 1 : done->rfind('/'));
        return noErr;
    }
    const std::string path = JoinPath(*done, component);
    if (path.size() >= kLongestPath) return bdNamErr;
    std::string target;
    const OSErr error = ReadLink(path.c_str(), &target);
    if (error == paramErr) {  // it is there, and no link
        *done = path;
        return noErr;
    }
    if (error != noErr) return error;
    if (target.size() + rest->size() >= kLongestPath) return bdNamErr;
    if (++*links > kMostLinks) return fnfErr;
    if (target.starts_with('/')) done->resize(1);
    *rest = target + "/" + *rest;
    return noErr;
}

}  // namespace

OSErr ReadLink(const char* path, std::string* target) {
    std::string buffer(256, '\0');
    for (;;) {
        const auto size = Retry(
            [&] { return syscalls.readlinkat(AT_FDCWD, path, buffer.data(), buffer.size()); });
        if (size == -1) return LastHostError();
        if (static_cast<std::size_t>(size) < buffer.size()) {
            buffer.resize(static_cast<std::size_t>(size));
            *target = std::move(buffer);
            return noErr;
        }
        if (buffer.size() > kLongestPath) return bdNamErr;
        buffer.resize(buffer.size() * 4);
    }
}

std::string ProgramFolder() {
    std::string program;
    if (ReadLink("/proc/self/exe", &program) != noErr) return {};
    const std::size_t slash = program.rfind('/');
    if (slash == std::string::npos) return {};
    return program.substr(0, slash == 0 ? 1 : slash);
}

OSErr RealPath(const char* path, std::string* real) {
    if (path[0] != '/') return paramErr;
    std::string done = "/";
    std::string rest = path;
    int links = 0;
    for (;;) {
        const std::string component = TakeComponent(&rest);
        if (component.empty()) break;
        if (component == ".") continue;
        if (const OSErr error = Walk(component, &done, &rest, &links); error != noErr) return error;
    }
    *real = std::move(done);
    return noErr;
}

}  // namespace Ondrel::Host
