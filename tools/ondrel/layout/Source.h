// A document that is read by a layout: the stream, and what the reading needs of it. Failures of
// the stream are told by its own message.
#ifndef TOOLS_ONDREL_LAYOUT_SOURCE_H
#define TOOLS_ONDREL_LAYOUT_SOURCE_H

#include <cstddef>
#include <string>

#include "ondrel/core/FileSpec.h"
#include "ondrel/fil/fil.h"

namespace OndrelTool {

class Source {
 public:
    // Opens a document; a link or an alias leads to its target. False: Message() says why.
    bool Open(const Ondrel::FileSpec& document);

    // The file that was opened.
    Ondrel::FileSpec File() const;

    int Size() const { return size_; }
    Ondrel::fil* Stream() { return &stream_; }

    // Moves to a position, and forgets a failure.
    bool MoveTo(int position);
    int Position() { return Ondrel::filpos(&stream_); }

    // The `n` bytes from `begin` on.
    bool Read(int begin, std::size_t n, std::string* bytes);

    // Fails as a read behind the end of the document does.
    void MeetTheEnd();

    // Whether something has failed since the last move.
    bool HasFailed() const;

    // The library's sentence about the last failure.
    std::string Message() const;

 private:
    Ondrel::fil stream_;
    int size_ = 0;
};

}  // namespace OndrelTool

#endif
