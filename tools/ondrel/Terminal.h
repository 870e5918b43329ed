// What the standard streams are connected to. Colours and progress are for terminals alone.
#ifndef TOOLS_ONDREL_TERMINAL_H
#define TOOLS_ONDREL_TERMINAL_H

#include <string>
#include <string_view>

namespace OndrelTool {

bool IsOutputTerminal();
bool IsErrorTerminal();

// Columns and lines of the terminal that standard output or standard error is; 80 by 24 where they
// are not known.
struct TerminalSize {
    int columns = 80;
    int lines = 24;
};
TerminalSize GetTerminalSize();

// Standard output is a terminal that takes colours (TERM is not "dumb", NO_COLOR is not set).
bool HasColours();

enum class Style : unsigned char { kHeading, kQuiet, kWarning };

// The text between the codes of a style where there are colours, else the text.
std::string Styled(Style style, std::string_view text);

// Makes sure that descriptors 0 to 2 are taken: one that the shell has closed must not become that
// of a file of ours. Reading and writing through what takes its place fails.
void GuardStandardStreams();

}  // namespace OndrelTool

#endif
