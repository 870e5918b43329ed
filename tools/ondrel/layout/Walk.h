// Reading a document by a layout: every stored value goes to a visitor, in the order of the
// document, and nothing is kept, so that a document may be as large as a stream can read.
//
// A block limits what is in it, and so does the end of the document. Bytes that a layout leaves
// over at the end of a block or of the document are handed out as undescribed; they are no fault.
#ifndef TOOLS_ONDREL_LAYOUT_WALK_H
#define TOOLS_ONDREL_LAYOUT_WALK_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/filref/filref.h"
#include "tools/ondrel/layout/Layout.h"

namespace OndrelTool {

struct Value {
    Form form = Form::kEnd;
    std::string path;   // "links[2].to": names, or forms where there is none
    int depth = 0;      // of the groups around it
    int begin = 0;      // positions in the document; of a block, those of its marker
    int end = 0;        //
    std::string bytes;  // as stored; of long values the first ones

    // The meaning, by form:
    std::int64_t number = 0;  // integers; the count of a repeat; how many bytes a block says it has
    std::string text;         // strings without count and terminator (u16str: what is valid of it);
                              // a reference's path, of refrel the one rebuilt beside the document
    std::string stored;       // refrel: the path as it is stored
    int shared = 0;           // refrel: components of it to be skipped
    int up = 0;               // refrel: components of the document's path to be dropped

    std::string note;  // what is odd about it, though it can be read; else empty
};

// Where a document does not follow its layout, or cannot be read.
struct DocumentFault {
    int position = 0;     // of the value that cannot be read
    std::string path;     // its name, as in Value
    std::string what;     // what is wrong
    std::string message;  // the library's own sentence; empty where the library finds no fault
};

struct WalkOptions {
    std::size_t mostBytes = 16;  // of Value::bytes

    // What relative references are rebuilt beside; null: the document itself.
    const Ondrel::filref* base = nullptr;
};

using Visitor = std::function<void(const Value&)>;

// Reads a document. Nothing, or the fault at which the reading stopped: what stands in front of it
// has been handed out. `file` (may be null) becomes the file that was opened: links and aliases
// lead to their target.
std::optional<DocumentFault> WalkDocument(const Ondrel::FileSpec& document, const Layout& layout,
                                          const WalkOptions& options, const Visitor& visitor,
                                          Ondrel::FileSpec* file = nullptr);

}  // namespace OndrelTool

#endif
