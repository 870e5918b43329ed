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

    // The same for a file that is to take the place of another: where `like` is a file, nobody may
    // use the new file, from the start, who may not use that one. It has its permission, access
    // control list, owner and group as far as the host lets us give them (where not, less is
    // allowed than there, never more), and its owner may read and write it in any case.
    bool CreateFileLike(const FileSpec& spec, const FileType* type, const FileSpec& like);

    // The end of a safe save: puts a finished file in the place of a document, and flushes both it
    // and the folder, so that whatever fails, and whenever the process is killed, the old document
    // or the new one is there, whole.
    //
    // The document keeps its permission, access control list and extended attributes, its owner and
    // group where the host lets us give them (where not, the permission is narrowed, never
    // widened), its codes and Finder flags, and its resource fork unless the finished file has one
    // of its own. A document without codes gets those of the finished file. A symbolic link stays,
    // and the file it leads to is replaced. Other hard links of the old document keep the old one.
    // A document that is not there yet is made of the finished file as it is.
    //
    // The two may lie on different file systems: then the finished file is copied beside the
    // document first (under a name that begins with a dot, which a killed process leaves behind).
    // The finished file and its sidecar are gone afterwards; after a failure they are still there.
    //
    //   fnfErr   no such finished file, no folder to put it in, or one of the two is no file
    //   fBsyErr  the finished file is still open, or somebody has the document open for writing
    //   fLckdErr, permErr, wPrErr   the document is read-only, may not be written, or lies on a
    //            read-only volume
    //   paramErr the two are one file
    //   Any other code is the host's. When the folder could not be flushed, the new document is in
    //   its place all the same.
    bool ReplaceFile(const FileSpec& finished, const FileSpec& document);
};

}  // namespace Ondrel

#endif
