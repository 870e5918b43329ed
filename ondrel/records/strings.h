// Strings stored in documents. Part of a stream's public interface: include it beside fil/fil.h.
//
//   line                    text, 0A
//   line of any ending      text, then 0A, 0D or 0D 0A
//   NUL-terminated          text, 00                       "ab"     61 62 00
//   formatted               text
//   counted                 N in 4 bytes, N bytes          "abc"    00 00 00 03 61 62 63
//   counted Unicode         the same of the UTF-8 form     U+00E9   00 00 00 02 C3 A9
//
// Bytes are stored as they are. Integer results are 0 or the negative code of the byte that failed
// (-1, or -3 at the end of the file), raised where the stream has an error context. A text that no
// file can hold (2^31 bytes and more) is not written: it latches -50 and fails with -1. What was
// read before a failure stands in the caller's buffer, terminated, also when it is raised.
#ifndef ONDREL_RECORDS_STRINGS_H
#define ONDREL_RECORDS_STRINGS_H

#include <string>

#include "ondrel/core/Unicode.h"
#include "ondrel/platform/Export.h"

namespace Ondrel {

struct fil;

// Reads up to a 0A, which is consumed and not stored, or `size` - 1 bytes: the rest of a longer
// line is left for the next call. A `size` below 2 reads nothing. Always terminates; a line cut by
// the end of the file comes with its text and the negative code.
ONDREL_EXPORT int filreastr(fil* f, char* buffer, int size);

// Reads up to 0A, 0D or 0D 0A; always the whole line, of which `size` - 1 bytes are stored. 0 when
// a CR ended the line, also where the file ends behind it.
ONDREL_EXPORT int filreacrlf(fil* f, char* buffer, int size);

// Reads up to a NUL; always the whole string, of which `size` - 1 bytes are stored.
ONDREL_EXPORT int filreastrnul(fil* f, char* buffer, int size);

// Writes the text and its NUL; null counts as empty.
ONDREL_EXPORT int filwristrnul(fil* f, const char* text);

// Writes a text formatted as by printf, cut at 1023 bytes, without terminator or line end. A format
// that fails writes nothing, latches -50 and fails with -1.
ONDREL_EXPORT int filwrifmt(fil* f, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Reads a counted string. It never reports a failure: a record that is cut yields the declared
// length, filled with zero bytes, and a negative length an empty string. (A stream with an error
// context raises, and then holds no more memory than a few times what the document has.) An
// allocation that fails throws as the standard string does.
ONDREL_EXPORT std::string filreastring(fil* f);

// Writes a counted string; a failure shows in the stream (filerr). Nothing is written to a stream
// that is closed or has failed.
ONDREL_EXPORT void filwristring(fil* f, const std::string& text);

// The same with UTF-16 in memory and UTF-8 in the document. A unit 0 ends the stored text; stored
// bytes that are not UTF-8 come back empty.
ONDREL_EXPORT Uni16String filreaUni16String(fil* f);
ONDREL_EXPORT void filwriUni16String(fil* f, const Uni16String& text);

}  // namespace Ondrel

#endif
