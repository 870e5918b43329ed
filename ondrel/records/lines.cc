// Texts that an ending byte closes: lines and NUL-terminated strings. What lies in the stream's
// buffer is moved in blocks; whatever these leave is searched for its end and copied. The caller's
// buffer is terminated before every read that may fail, so that it holds the text so far also when
// the failure is raised.
#include <algorithm>

#include "ondrel/records/streamruns.h"
#include "ondrel/records/strings.h"
#include "ondrel/records/textblocks.h"

namespace Ondrel {

using namespace Records;

namespace {

// A caller's buffer; what does not fit is dropped.
class Storage {
 public:
    Storage(char* buffer, int size) : next_(buffer), room_(RoomFor(size)) { *next_ = 0; }

    // The bytes that a buffer holds beside a NUL.
    static int RoomFor(int size) { return size < 1 ? 0 : size - 1; }

    int Room() const { return room_; }

    void Add(const unsigned char* bytes, int n) {
        const int fitting = std::min(n, room_);
        std::memcpy(next_, bytes, static_cast<std::size_t>(fitting));
        next_ += fitting;
        room_ -= fitting;
        *next_ = 0;
    }

 private:
    char* next_;
    int room_;
};

// For ReadUntil: the first LF or CR. It goes in steps, so that a text which knows only one of the
// two is not searched to the end of the buffer for the other one at every line.
int FindLineEnd(const unsigned char* bytes, int n) {
    constexpr int kStep = 256;
    for (int at = 0; at < n; at += kStep) {
        const int step = std::min(kStep, n - at);
        const int lf = FindByte(bytes + at, step, '\n');
        const int end = FindByte(bytes + at, lf, '\r');
        if (end < step) return at + end;
    }
    return n;
}

// Behind a CR: passes an LF. Whether the file ends here is asked first, because a read would raise.
// A byte that a switch of buffers brought is given back by a move: a cursor at the start of a
// buffer would be taken for one at the end of the buffer before it.
void PassLineFeed(fil* f) {
    if (f->count > 0) {
        if (*f->cursor == '\n') Consume(f, 1);
    } else if (!fileof(f)) {
        const int byte = filrea8(f);
        if (byte >= 0 && byte != '\n') filpos(f, filpos(f) - 1);
    }
}

// Moves what blocks can take. A text that did not end goes on behind its `length`.
template <unsigned char... kEnds>
MovedText TakeBlocks(fil* f, char* buffer, int size) {
    const MovedText text = MoveText<kEnds...>(f->cursor, f->count, buffer, Storage::RoomFor(size));
    Consume(f, text.end < 0 ? text.length : text.length + 1);
    return text;
}

// The rest of a line that LF alone ends.
[[gnu::noinline]] int ReadLine(fil* f, Storage line) {
    while (line.Room() > 0) {
        if (const int failure = Refill(f); failure < 0) return failure;
        const int window = std::min(f->count, line.Room());
        const int run = FindByte(f->cursor, window, '\n');
        line.Add(f->cursor, run);
        if (run < window) {
            Consume(f, run + 1);
            return 0;
        }
        Consume(f, window);
    }
    return 0;
}

// The rest of any other text: as ReadUntil.
template <typename Find>
[[gnu::noinline]] int ReadText(fil* f, const Find& find, Storage text) {
    return ReadUntil(f, find, [&text](const unsigned char* bytes, int n) { text.Add(bytes, n); });
}

}  // namespace

int filreastr(fil* f, char* buffer, int size) {
    const MovedText text = TakeBlocks<'\n'>(f, buffer, size);
    if (text.end >= 0) return 0;
    return ReadLine(f, Storage(buffer + text.length, size - text.length));
}

int filreacrlf(fil* f, char* buffer, int size) {
    const MovedText text = TakeBlocks<'\n', '\r'>(f, buffer, size);
    const int end =
        text.end >= 0 ? text.end
                      : ReadText(f, FindLineEnd, Storage(buffer + text.length, size - text.length));
    if (end < 0) return end;
    if (end == '\r') PassLineFeed(f);
    return 0;
}

int filreastrnul(fil* f, char* buffer, int size) {
    const MovedText text = TakeBlocks<0>(f, buffer, size);
    if (text.end >= 0) return 0;
    return ReadText(f, FindNul, Storage(buffer + text.length, size - text.length));
}

}  // namespace Ondrel
