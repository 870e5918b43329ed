// The layout language: a text that says what a document's bytes are, one form after the other.
// docs/layout-language.md is its description for users. Here: what such a text is parsed into.
//
//   "DOC1" version: u16  links: repeat u16 { name: str  block { to: refrel rest } }  end
#ifndef TOOLS_ONDREL_LAYOUT_LAYOUT_H
#define TOOLS_ONDREL_LAYOUT_LAYOUT_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace OndrelTool {

enum class Form : unsigned char {
    kU8,
    kU16,
    kU32,
    kI8,
    kI16,
    kI32,
    kLine,
    kCrLf,
    kNul,
    kStr,
    kU16Str,
    kRef,
    kRefRel,
    kBlock,
    kBlock16,
    kRepeat,
    kFixed,
    kBytes,
    kText,
    kSkip,
    kRest,
    kEnd,
    kUndescribed,  // what a layout leaves out; no text names it
};

// The word for a form: "u16"; "fixed" and "undescribed" are not in the language.
std::string_view FormName(Form form);

// Bytes of an integer form; 0 for any other.
int IntegerWidth(Form form);
bool IsSigned(Form form);

// A reference to a file: ref or refrel.
bool IsLink(Form form);

// A block that carries its length: 4 or 2 bytes; 0 for any other form.
int MarkerWidth(Form form);

inline constexpr std::size_t kNoSlot = static_cast<std::size_t>(-1);

// How many bytes, or how many times.
struct Count {
    enum class Kind : unsigned char {
        kNumber,    // `number`
        kNamed,     // the integer that was last read into `slot`
        kStored,    // an integer of the form `stored` in front of the group
        kToTheEnd,  // as often as the block or the document has bytes
    };
    Kind kind = Kind::kNumber;
    int number = 0;
    std::size_t slot = kNoSlot;
    Form stored = Form::kU16;
};

struct Item {
    Form form = Form::kEnd;
    std::string name;            // empty for none
    std::size_t slot = kNoSlot;  // where the value of a named integer goes
    Count count;                 // of bytes, text, skip and repeat
    std::string fixed;           // the bytes of kFixed
    std::vector<Item> group;     // of block, block16 and repeat
};

struct Layout {
    std::vector<Item> items;
    std::size_t slots = 0;  // of all named integers
};

// Groups inside of groups, and characters of a text: more are refused.
inline constexpr int kMostDepth = 60;
inline constexpr std::size_t kMostLayout = 1 << 20;

// Where a text is no layout.
struct LayoutFault {
    std::size_t offset = 0;  // of the byte at which it stops being one
    std::string what;
};

// Parses a text. True; or false, `layout` unspecified, with the first fault.
bool ParseLayout(std::string_view text, Layout* layout, LayoutFault* fault);

// Whether a link is anywhere in it.
bool HasLinks(const Layout& layout);

}  // namespace OndrelTool

#endif
