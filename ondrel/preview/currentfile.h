// Keeps the thread's current resource file the current one. Internal to libOndrelOld.
#ifndef ONDREL_PREVIEW_CURRENTFILE_H
#define ONDREL_PREVIEW_CURRENTFILE_H

#include "ondrel/platform/ResourceManager.h"

namespace Ondrel {

// Opening or choosing a resource file makes it current; this brings the one before back.
class KeepCurrentResourceFile {
 public:
    KeepCurrentResourceFile() : current_(CurResFile()) {}
    ~KeepCurrentResourceFile() { UseResFile(current_); }
    KeepCurrentResourceFile(const KeepCurrentResourceFile&) = delete;
    KeepCurrentResourceFile& operator=(const KeepCurrentResourceFile&) = delete;

 private:
    short current_;
};

}  // namespace Ondrel

#endif
