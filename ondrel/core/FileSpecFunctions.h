// File operations. An object performs them one at a time and keeps the platform error code of the
// last.
#ifndef ONDREL_CORE_FILESPECFUNCTIONS_H
#define ONDREL_CORE_FILESPECFUNCTIONS_H

#include "ondrel/core/FileSpec.h"
#include "ondrel/core/FileType.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

class ONDREL_EXPORT FileSpecFunctionsBase {
 public:
    // What a rename does when its target exists: refuse it with -48, or replace it in one step.
    enum OverwriteMode { kRefuse = 0, kReplace = 1 };

    OSErr errorCode = noErr;  // of the last operation; noErr on success
};

class ONDREL_EXPORT FileSpecFunctions : public FileSpecFunctionsBase {
 public:
    // Every operation answers whether it succeeded and sets errorCode; a failure leaves everything
    // as it was. An empty specification gives fnfErr.

    // Deletes a file or link, never its target, and its sidecar. fnfErr: not there, or a folder,
    // which stays. fBsyErr: open in this process, or open for writing in another. The second
    // argument is reserved; pass false.
    bool DeleteFile(const FileSpec& spec, bool reserved);

    // Renames or moves an item with its codes and resource fork, within one volume. dupFNErr: the
    // target exists and the mode is kRefuse.
    bool RenameFile(const FileSpec& from, const FileSpec& to, OverwriteMode mode);

    // Creates an empty file with the type's codes; a null type, or one without codes, makes a plain
    // file. dupFNErr: an item is there already, and is left alone. The name is created precomposed.
    bool CreateFileWithType(const FileSpec& spec, const FileType* type);
};

}  // namespace Ondrel

#endif
