// Reading the preview that a document's resource fork holds, whoever wrote it.
//
//   drapix* preview = nullptr;
//   ReadPreviewFromPictResource(&stream, &preview, 1.0, 300, 0);
//   if (preview != nullptr) { ... drapixdea(preview); }
#ifndef ONDREL_PREVIEW_PREVIEWREADER_H
#define ONDREL_PREVIEW_PREVIEWREADER_H

#include "ondrel/fil/fil.h"
#include "ondrel/platform/Export.h"
#include "ondrel/platform/ResourceManager.h"
#include "ondrel/preview/drapix.h"

namespace Ondrel {

// The bytes of the resource 'PICT' `id` of a stream's file, detached: the caller frees them with
// DisposeHandle. Null when there are none. `record` is the stream's record, its field `sys`, under
// the type of the stream (it is not a fil):
//
//   ReadPICTResourceFromFile(reinterpret_cast<fil*>(stream.sys), 256)
//
// The file's resource fork stays open in the record until the stream is closed, so that the next
// call finds it open. The thread's current resource file stays the current one.
// Null leaves a code in the record's error field: resFNotFound without a fork or with an empty one,
// mapReadErr for a damaged one, resNotFound without that resource, CantDecompress for one that is
// stored compressed, else a code of FSOpenResourceFile or Get1Resource. A null record, and a file
// that is gone, leave none. Nothing is raised.
ONDREL_EXPORT Handle ReadPICTResourceFromFile(fil* record, int id);

// Makes a 32-bit map of the preview 'PICT' 256 + `index` of an open stream's file; for index 0 also
// of 'PICT' 128, when there is no 256. Null in `*out` when there is no preview that can be drawn;
// the caller frees the map with drapixdea.
//
// The map has the size of the picture's frame, halved as often as it takes for its height, divided
// by `scale`, to be at most `maxHeight`; then, if it is still wider than 4000 pixels, made 4000
// wide and less high in proportion. No side gets below 1. A pixel that the picture covers is
// 00 R G B, every other one FF FF FF FF. (When there is no memory to tell them apart: FF R G B and
// 00 FF FF FF.)
//
// A scale that is not above 0, a maxHeight below 1, a picture that does not begin as one, and a map
// that cannot be had give no preview. Codes are left in the stream's error field as above, and
// nothing is raised; one of 'PICT' 256 is taken back when 128 is there.
ONDREL_EXPORT void ReadPreviewFromPictResource(fil* f, drapix** out, double scale, int maxHeight,
                                               int index);

}  // namespace Ondrel

#endif
