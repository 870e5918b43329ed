// Texts as the tool shows and takes them: control characters, four-character codes, byte counts.
#ifndef TOOLS_ONDREL_TEXT_H
#define TOOLS_ONDREL_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "ondrel/platform/Types.h"

namespace OndrelTool {

// For people: control characters, and bytes that are not UTF-8, as "\x1B"; a name from a file must
// not steer the terminal.
std::string Printable(std::string_view text);

// For data: bytes that are not UTF-8 as U+FFFD, so that JSON can hold them.
std::string ValidUtf8(std::string_view text);

// A code as text: "TEXT", bytes of MacRoman as characters; "0x00000001" where it has a control
// character in it. And back: four characters of MacRoman, or "0x" and eight digits.
std::string CodeText(Ondrel::FourCC code);
std::optional<Ondrel::FourCC> ParseCode(std::string_view text);

// Text in MacRoman, as resources' names are stored, in UTF-8.
std::string FromMacRoman(std::string_view bytes);

// "1 byte", "12,345 bytes".
std::string ByteCount(std::uint64_t bytes);

}  // namespace OndrelTool

#endif
