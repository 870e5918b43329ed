// Operations on references: making them from folders, names and streams, and acting on the files
// that they name.
//
// The folder part of a reference is its text up to and including its last ':', all of it when it
// ends with one, nothing when it holds none. In what is built here, each extra ':' is a step to the
// parent folder: "a:b::c" is "a:c".
#ifndef ONDREL_FILREF_OPERATIONS_H
#define ONDREL_FILREF_OPERATIONS_H

#include "ondrel/filref/filref.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

class FileSpec;
struct fil;

// From an internal path: filref::ConvertFromMacPath.
ONDREL_EXPORT int filrefnew(filref* out, const char* macPath);

// From the path of a stream's record. 0 with lasterror 0; -1 for a stream without a record; -1 with
// lasterror -108 without memory.
ONDREL_EXPORT int filrefnew(filref* out, const fil* f);

// From a folder (or a file in it) and a name or path as a user or a document gives it.
//
//   folder Disk:Dir:doc     name f           Disk:Dir:f
//                           :sub:f           Disk:Dir:sub:f
//                           ::f              Disk:f
//                           Other:a::f       Other:f
//   and, unless macSyntaxOnly:
//                           sub/f            Disk:Dir:sub:f
//                           /Disk/dir/f      Disk:dir:f
//                           C:\dir\f         C::dir:f
//
// 0 with lasterror 0. 1 for a null name; 1, `out` cleared, for a relative name and a null folder or
// one that is null inside; 1 with lasterror -108 without memory. A result of more than 1023 bytes
// is cut, and "filref buffer overflow Quit!" reported through `debug`; the result is still 0.
ONDREL_EXPORT int filrefnew(filref* out, const filref* folder, const char* name,
                            bool macSyntaxOnly);

// From a new name and a rule for its extension: `out` supplies the old name. `extension` is an
// extension with its dot, perhaps with '+' and a replacement behind it (".bak+.txt"), up to a
// blank. Without `folder` the old folder stays; without `name` the old base name up to its first
// dot. Old extensions are kept, but for the tail that equals the rule's, ignoring ASCII case: it is
// dropped, or replaced. Without a rule all of them are dropped.
//
//   out Disk:Dir:doc.txt    no name, ".TXT+.bak"   Disk:Dir:doc.bak
//                           no name, ".pdf"        Disk:Dir:doc.txt
//                           "new", no rule         Disk:Dir:new
//
// 0, or -1, `out` unchanged, when there is no name to take. -1 with lasterror -108 without memory.
// A result is cut at 1023 bytes.
ONDREL_EXPORT int filrefnew(filref* out, const filref* folder, const char* name,
                            const char* extension);

// The folder part with the folder mark: Disk:Dir:doc gives Disk:Dir:x. Always 0.
ONDREL_EXPORT int folderfromfilref(const filref* ref, filref* out);

// The modification date in seconds since 1904-01-01, modulo 2^32. 0; -1 with lasterror -1 when
// there is no such item, or with lasterror the host's error number when it cannot be asked. `date`
// is 0 then.
ONDREL_EXPORT int filmoddat(const filref& ref, unsigned int* date);
ONDREL_EXPORT int fileModificationDate(const FileSpec& spec, unsigned int& date);

// Renames or moves a file with its codes and resource fork; an existing target is refused with -48.
// 0 or a platform error code.
ONDREL_EXPORT int filrename(const filref& from, const filref& to);

// Re-encode a reference's text from the platform's C-string encoding to UTF-8, and back. 0; -1 when
// `in` has no text, `out` unchanged. Without memory lasterror is -108 and `out` null; only the
// second then answers -1. `in` and `out` may be the same.
ONDREL_EXPORT int platformFilRefToUTF8(const filref* in, filref* out);
ONDREL_EXPORT int utf8FilRefToPlatform(const filref* in, filref* out);

}  // namespace Ondrel

#endif
