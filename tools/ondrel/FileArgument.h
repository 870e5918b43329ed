// A file named on the command line, checked, in the forms that the library takes.
#ifndef TOOLS_ONDREL_FILEARGUMENT_H
#define TOOLS_ONDREL_FILEARGUMENT_H

#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/filref/filref.h"

namespace OndrelTool {

// The full path of a POSIX path, relative to the present folder. Links stay as they are.
std::string FullPath(const std::string& path);

// The specification of what is there or not. Throws a Failure where the path cannot be held by one:
// it is empty, or not UTF-8.
Ondrel::FileSpec SpecOf(const std::string& path);

// The reference. Throws a Failure also where the colon path is too long for one.
Ondrel::filref ReferenceOf(const std::string& path);

// Throws a Failure that says what is wrong, unless the path leads to a file that may be read: "no
// such file", "is a folder", "is no plain file", "permission denied".
void RequireReadableFile(const std::string& path);
void RequireFolder(const std::string& path);

// The whole data fork. Throws a Failure, also for one of more than `most` bytes.
std::string ReadWholeFile(const std::string& path, std::size_t most);

}  // namespace OndrelTool

#endif
