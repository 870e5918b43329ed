// The generic path syntax: slashes, the same on every platform, and the ways from and to the local
// syntaxes.
//
//   /Disk/Dir/File   absolute; the first component is the volume, or a drive with its colon
//                    (/C:/x)
//   Dir/File         relative; "../" is a parent step, "./" at the start is dropped
//   /Disk/a\/b       a '\' takes the next byte as it is
//   Dir/             a '/' at the end marks a folder
//
// In Mac syntax parent steps are pairs of colons at the start of a relative path here: "::a" is one
// level up, "::::a" two.
#ifndef ONDREL_FILREF_GENERICPATH_H
#define ONDREL_FILREF_GENERICPATH_H

#include <cstddef>
#include <string>
#include <vector>

#include "ondrel/filref/filref.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// Rewrite `path`, a buffer of `size` bytes, in place. Generic formats are left alone by the first
// and count as unknown for the second. An unknown format empties the text; the answer is false.
// Null texts, texts of `size` bytes or more, runs of 3, 5, 7 ... leading colons, a lone '\' at the
// end and results that do not fit: false, the text unchanged. But localPathToGeneric in Mac syntax
// cuts a result at `size` - 1 bytes and answers true.
ONDREL_EXPORT bool localPathToGeneric(char* path, std::size_t size, filRefFormat format);
ONDREL_EXPORT bool genericPathToLocal(char* path, std::size_t size, filRefFormat format);

// A generic text to Mac syntax, in a buffer of which at most 1024 bytes are used. `generic` and
// `out` may be the same buffer.
ONDREL_EXPORT bool GenericPathToMacPath(const char* generic, char* out, std::size_t size);

// A reference's unresolved path in generic syntax, and back. The second leaves `ref` alone when it
// answers false.
ONDREL_EXPORT bool filrefToGeneric(const filref& ref, std::string& out);
ONDREL_EXPORT bool GenericPathToFilref(const std::string& generic, filref& ref);

// Splits a local path into the components of its generic form; an empty one at the start marks a
// relative path, one at the end a folder. Every '/' of that form parts, also an escaped one: "a/b"
// as a Mac name gives "a\" and "b". Answers their number; -1 for an empty text or one of more than
// 1024 bytes, `parts` then left alone, and for a path or format that has no generic form.
ONDREL_EXPORT int breakFilePath(const std::string& path, std::vector<std::string>& parts,
                                filRefFormat format);

}  // namespace Ondrel

#endif
