// File references stored in documents.
//
// An absolute record holds a path as it is. HD:Docs:a.txt:
//   02                          kind
//   00 0E                       length of the text with its NUL; 0 for a reference without text
//   48 44 3A ... 74 78 74 00    the text
//
// A relative record can be rebuilt when the document has moved together with the file. Base (the
// document) HD:Docs:Proj:doc, target HD:Docs:Pics:a.tif:
//   03                          kind
//   00 02                       leading components that both share: HD, Docs
//   00 02                       the base's components behind them: Proj, doc
//   00 13                       length of the text with its NUL; 0 for a record without text
//   48 44 3A ... 74 69 66 00    the target's full text
// or, in the relative-only form, 03 00 01 00 02 00 11 and "dummy:Pics:a.tif" with its NUL: the
// target from its first component that is not shared, behind one component to be skipped.
//
// Read from a document that is now Work:Moved:Proj:doc, both give Work:Moved:Pics:a.tif. The text
// is read up to its NUL, whatever its length says. A component ends with a ':' or with its text, so
// that Docs is shared by HD:Docs and HD:Docs:a. A file is no folder of another one, so that such a
// pair names a document and a folder above it, or something kept inside of it: the full form then
// leads to the folder or the document itself, and the relative-only form nowhere.
//
// A target without text is written as an empty record, and the write then fails. The empty absolute
// record, 02 00 00, can be read back. The empty relative record is just 03 00 00: it lacks the
// other two counts, so that what follows it would be taken for them; it is a mark of the failure,
// not a record to go on from.
//
// A wrong kind byte latches -50 in the stream and gives -1, never raised. No memory for a
// reference's storage latches -108 and gives -1; that, a target without text, and the failures of
// the stream itself are raised where the stream has an error context.
#ifndef ONDREL_RECORDS_FILEREFS_H
#define ONDREL_RECORDS_FILEREFS_H

#include "ondrel/filref/filref.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

struct fil;

// Writes an absolute record. A reference without text writes 02 00 00 and then fails with -1.
ONDREL_EXPORT int filwriref(fil* f, const filref& target);

// Reads one. A record without text clears `target`. A kind byte of 80 or more is returned as the
// negative number that it is, and nothing is latched. A length beyond the storage is consumed,
// latches -50 and gives -1, `target` unchanged.
ONDREL_EXPORT int filrearef(fil* f, filref& target);

// Writes a relative record: the full form when `keepFull` is nonzero, else the relative-only one. A
// target without text writes 03 00 00 and then fails with -1.
ONDREL_EXPORT int filwrirefrel(fil* f, const filref& base, const filref& target, int keepFull);

// Reads one and rebuilds the target beside `base`, the document being read (which may be `target`).
// Where the base has too few components, or nothing was shared, the stored text is taken as it is.
// `full` (may be null) receives the stored text. A length of 0 clears `target` and leaves `full`
// alone. A text of more than 1021 bytes makes its reference empty and gives -1, for `target` only
// when `full` is null. The stream is left behind the record. A record that is cut changes no text.
ONDREL_EXPORT int filrearefrel(fil* f, const filref& base, filref& target, filref* full);

}  // namespace Ondrel

#endif
