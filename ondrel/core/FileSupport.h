// Predefined folders.
#ifndef ONDREL_CORE_FILESUPPORT_H
#define ONDREL_CORE_FILESUPPORT_H

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/Types.h"

namespace Ondrel {

class ONDREL_EXPORT FileSupportBase {
 public:
    enum EFolderType : unsigned int { kTemporaryItems = MakeFourCC("temp") };
};
static_assert(FileSupportBase::kTemporaryItems == 1952804208);

class ONDREL_EXPORT FileSupport : public FileSupportBase {
 public:
    // The folder of the given kind, in `out`; `create` makes a missing one. The answer is a
    // platform error code, and `out` is empty after a failure: permErr where something stands at
    // the place that is not ours, fnfErr where it is missing, paramErr for a kind that this host
    // does not have.
    static OSErr GetPredefinedFolder(FileSpec& out, EFolderType type, bool create);

    // The folder that relative references are resolved against: the running program's, unless set.
    static OSErr GetApplicationFolder(FileSpec& out);
};

// For hosts and tests: makes `folder` the application folder; an empty specification goes back to
// the running program's. Not while other threads ask.
ONDREL_EXPORT void SetApplicationFolder(const FileSpec& folder);

}  // namespace Ondrel

#endif
