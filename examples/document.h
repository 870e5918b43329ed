// The document of the example: what it holds, and how it is written and read. A program of your own
// starts here.
#ifndef EXAMPLES_DOCUMENT_H
#define EXAMPLES_DOCUMENT_H

#include <string>
#include <vector>

#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"
#include "ondrel/filref/filref.h"

namespace Example {

// The document's file type; its codes are stored with the file.
inline constexpr unsigned int kDocumentType = 1;
void RegisterDocumentType();

// A file that the document refers to, as three records. Where the document has moved, `full` and
// `tail` are rebuilt beside it; `stored` is what the full relative record says literally.
struct Link {
    Ondrel::filref absolute;
    Ondrel::filref full;
    Ondrel::filref stored;
    Ondrel::filref tail;
};

struct Document {
    std::string heading;        // a line
    std::string author;         // a string with its NUL
    std::string remark;         // a line that another system ended with CR LF
    std::string note;           // a counted string
    Ondrel::Uni16String title;  // a counted Unicode string
    std::string text;           // a block of any length: 4 bytes say how long it is
    std::string thumbnail;      // a block of at most 65535 bytes: 2 bytes say so
    std::vector<Link> links;
};

// What a stretch of the file holds, for those who want to look at the bytes.
enum class Kind { kLine, kNul, kCrLf, kCounted, kUnicode, kLong, kShort, kAbsolute, kFull, kTail };
struct Stretch {
    Kind kind;
    int begin;
    int end;
};

// Saves a document with links to `targets`: a temporary file is written, and takes the place of the
// document that may be there when it is whole. False, the old document untouched and the sentence
// for the user in `message`, when that failed. `stretches` (may be null) receives what was written
// where.
bool SaveDocument(const Ondrel::filref& place, const Document& document,
                  const std::vector<Ondrel::filref>& targets, std::vector<Stretch>* stretches,
                  std::string* message);

// Opens a document and reads it. 0, or the negative code of the failure: the stream then has the
// message (GetFileErrorMessage) until it is closed, which is the caller's part in any case.
int ReadDocument(Ondrel::fil* f, const Ondrel::filref& place, Document* document);

}  // namespace Example

#endif
