// Moving a sidecar aside and back.
#include "ondrel/platform/SidecarAside.h"

#include <utility>

#include "ondrel/platform/HostCalls.h"
#include "ondrel/platform/PathNames.h"

namespace Ondrel::Host {
namespace {

OSErr Move(const std::string& from, const std::string& to) {
    return CodeOf(
        Retry([&] { return syscalls.renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), 0); }));
}

}  // namespace

OSErr SidecarAside::Take(const std::string& sidecarPath) {
    std::string aside = TemporaryBeside(sidecarPath);
    original_ = sidecarPath;  // there is memory for the way back
    const OSErr error = Move(sidecarPath, aside);
    if (error == fnfErr) return noErr;
    if (error != noErr) return error;
    aside_ = std::move(aside);
    return noErr;
}

void SidecarAside::PutBack() {
    if (aside_.empty()) return;
    (void)Move(aside_, original_);
    aside_.clear();
}

void SidecarAside::Discard() {
    if (aside_.empty()) return;
    (void)Retry([&] { return syscalls.unlinkat(AT_FDCWD, aside_.c_str(), 0); });
    aside_.clear();
}

}  // namespace Ondrel::Host
