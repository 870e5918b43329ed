// What `dump` and `links` have in common: the layout on the command line, and documents that do not
// follow it.
#ifndef TOOLS_ONDREL_LAYOUTARGUMENT_H
#define TOOLS_ONDREL_LAYOUTARGUMENT_H

#include <optional>
#include <string>

#include "tools/ondrel/CommandLine.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/layout/Layout.h"
#include "tools/ondrel/layout/Walk.h"

namespace OndrelTool {

// Describes the option --layout, which is required.
void TakeLayout(Command* command, std::optional<std::string>* text);

// The layout that the option gives: the text itself, or "@FILE", which holds it. Throws a Failure
// with kUsage that tells the place where it is none.
Layout LayoutOf(const std::string& argument);

// "at 12, links[0].to: the document ends at 14: Unexpected end of file ...".
std::string TextOf(const DocumentFault& fault);
Json JsonOf(const DocumentFault& fault);

// "links[0].to: refrel", or "links[0].refrel" for a value without a name.
std::string LabelOf(const Value& value);

}  // namespace OndrelTool

#endif
