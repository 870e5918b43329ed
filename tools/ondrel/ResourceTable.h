// Resources as lines of a table and as JSON.
#ifndef TOOLS_ONDREL_RESOURCETABLE_H
#define TOOLS_ONDREL_RESOURCETABLE_H

#include <string>
#include <vector>

#include "ondrel/platform/ResourceManager.h"
#include "tools/ondrel/StandardOutput.h"

namespace OndrelTool {

// "PICT    256  4,567 bytes  Preview", in columns.
std::vector<std::string> ResourceLines(const std::vector<Ondrel::ResourceInfo>& resources);

// Objects with type, id, name (or null), size, attributes, and state ("compressed", "damaged" or
// "plain").
Json ResourcesAsJson(const std::vector<Ondrel::ResourceInfo>& resources);

}  // namespace OndrelTool

#endif
