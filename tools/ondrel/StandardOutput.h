// Standard output: buffered, with every failure noticed. A reader that has gone and a full disk end
// the program with a message, also when only the close finds out.
#ifndef TOOLS_ONDREL_STANDARDOUTPUT_H
#define TOOLS_ONDREL_STANDARDOUTPUT_H

#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace OndrelTool {

// JSON whose members keep the order in which they were added.
using Json = nlohmann::ordered_json;

// These throw a Failure where the bytes cannot be written.
void Print(std::string_view text);
void PrintLine(std::string_view text);
void PrintJson(const Json& value);  // one document, indented, and a line end

// Writes what is buffered; FinishOutput closes standard output as well.
void FlushOutput();
void FinishOutput();

}  // namespace OndrelTool

#endif
