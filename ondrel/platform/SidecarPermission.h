// Who may use a new file that belongs to another, its sidecar or its next version: nobody who may
// not use that one. Internal to platform/.
#ifndef ONDREL_PLATFORM_SIDECARPERMISSION_H
#define ONDREL_PLATFORM_SIDECARPERMISSION_H

#include <sys/types.h>

#include <string>

#include "ondrel/platform/HostCalls.h"

namespace Ondrel::Host {

class SidecarPermission {
 public:
    // Learns owner, these bits of the mode, and access control list of the file or folder at a
    // path. fnfErr: there is none.
    OSErr TakeFrom(const char* path, mode_t bits = 0666);

    // Lets the owner read and write in any case.
    void LetOwnerWrite();

    // Gives them to a new file of ours. What the host does not let us give narrows the permission:
    // it is never an error, and never lets more people in.
    OSErr Apply(const Descriptor& file) const;

 private:
    mode_t mode_ = 0;  // the bits asked for
    uid_t owner_ = 0;
    gid_t group_ = 0;
    std::string list_;            // the stored access control list; empty without one
    bool listIsUnknown_ = false;  // there may be one that we cannot read
};

}  // namespace Ondrel::Host

#endif
