// Safe save: writing a document's new version to a temporary file, so that the old one is untouched
// until the new one is finished, and bringing it to the disk.
//
//   fil f;
//   filsavtem(&f, nullptr, &folder, type, nullptr);   ... write ...
//   if (filflu(&f) == 0 && filclo(&f) == 0) ...
//
// and then put the finished file in the document's place with FileSpecFunctions::ReplaceFile.
#ifndef ONDREL_FIL_SAFESAVE_H
#define ONDREL_FIL_SAFESAVE_H

#include "ondrel/fil/fil.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

// Creates a new file for writing, in `folder` (a reference to it or to a file in it; null or empty:
// the temporary-items folder) under `name`, taken as one Mac name or relative Mac path: an existing
// file of that name is deleted. Without a name it is made from the application's creator code and
// the clock, as in "Mine123456 Temp", and the first that is free is taken. The file gets the codes
// of `typeId`; where `folder` names a file, nobody may use the new one, from the start, who may not
// use that one (FileSpecFunctions::CreateFileLike). Results as filsav. The stream is then written,
// flushed and closed as any other.
ONDREL_EXPORT int filsavtem(fil* f, errtyp* e, const filref* folder, unsigned int typeId,
                            const char* name);

// Writes what is buffered and brings the file and its folder entry to the disk; of a temporary file
// under a made-up name the entry is left to whoever gives the file a lasting name. The position
// stays. 0; -1, raised or returned, after a failure, which is latched: the stream then refuses to
// write until it is moved or closed. On a stream to which nothing was written nothing is flushed.
ONDREL_EXPORT int filflu(fil* f);

}  // namespace Ondrel

#endif
