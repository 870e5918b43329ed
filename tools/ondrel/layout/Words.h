// The words of a layout text: names, numbers, quoted texts, bytes in hex, and the marks ':', '{',
// '}' and '*'. Blanks and line ends part words; a '#' begins a comment that ends with its line.
#ifndef TOOLS_ONDREL_LAYOUT_WORDS_H
#define TOOLS_ONDREL_LAYOUT_WORDS_H

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/ondrel/layout/Layout.h"

namespace OndrelTool {

struct Word {
    enum class Kind : unsigned char { kEnd, kName, kNumber, kBytes, kMark };
    Kind kind = Kind::kEnd;
    std::size_t offset = 0;
    std::string text;  // a name; the bytes of a quoted text or of hex; a mark
    int number = 0;
};

class Words {
 public:
    // Holds no copy of the text.
    explicit Words(std::string_view text) : text_(text) {}

    // Takes the next word. False with a fault where the text holds none.
    bool Next(Word* word, LayoutFault* fault);

    // Whether the next thing is that mark; nothing is taken.
    bool MarkFollows(char mark);

 private:
    void SkipBlanks();
    bool TakeNumber(Word* word, LayoutFault* fault);
    bool TakeQuoted(Word* word, LayoutFault* fault);
    bool TakeHex(Word* word, LayoutFault* fault);

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace OndrelTool

#endif
