// A sidecar out of the way: moved to a temporary name beside it while a step that may fail is
// taken, and either put back or thrown away after it. Internal to platform/.
#ifndef ONDREL_PLATFORM_SIDECARASIDE_H
#define ONDREL_PLATFORM_SIDECARASIDE_H

#include <string>

#include "ondrel/platform/Errors.h"

namespace Ondrel::Host {

class SidecarAside {
 public:
    SidecarAside() = default;
    ~SidecarAside() { PutBack(); }
    SidecarAside(const SidecarAside&) = delete;
    SidecarAside& operator=(const SidecarAside&) = delete;

    // Moves the sidecar at this path aside. Nothing there is no failure.
    OSErr Take(const std::string& sidecarPath);

    // Where Take took something: moves it back, or deletes it for good. Either is done once.
    void PutBack();
    void Discard();

 private:
    std::string original_;
    std::string aside_;  // empty: nothing is aside
};

}  // namespace Ondrel::Host

#endif
