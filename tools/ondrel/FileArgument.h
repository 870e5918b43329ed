// A file named on the command line, checked, in the forms that the library takes.
#ifndef TOOLS_ONDREL_FILEARGUMENT_H
#define TOOLS_ONDREL_FILEARGUMENT_H

#include <cstdint>
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

// Throw a Failure that says what is wrong ("no such file", "is a folder", "permission denied" ...),
// unless the path leads to a plain file, one that may be read, or a folder that may be read.
void RequireFile(const std::string& path);
void RequireReadableFile(const std::string& path);
void RequireFolder(const std::string& path);

// The full path of the file that is to be written: through links that of their target; there or
// not, but then in a folder that is. Throws a Failure where that cannot be, or is not allowed.
std::string PlaceForWriting(const std::string& path);

// The size of the data fork.
std::uint64_t DataSize(const std::string& path);

// The whole data fork. Throws a Failure, also for one of more than `most` bytes.
std::string ReadWholeFile(const std::string& path, std::size_t most);

}  // namespace OndrelTool

#endif
