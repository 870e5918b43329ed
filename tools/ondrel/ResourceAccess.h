// The resource fork of a file, for the commands: read and written whole, and as resources.
#ifndef TOOLS_ONDREL_RESOURCEACCESS_H
#define TOOLS_ONDREL_RESOURCEACCESS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/ResourceManager.h"
#include "ondrel/platform/Types.h"

namespace OndrelTool {

// The bytes of a file's resource fork; empty where it has none. Throws a Failure.
std::string ReadFork(const std::string& file);

// Makes these bytes the file's resource fork, in one step; empty ones take it away. Throws a
// Failure, and the fork is the old one then.
void WriteFork(const std::string& file, std::string_view bytes);

// Throws a Failure where the fork could not be written, which is not tried.
void RequireWritableFork(const std::string& file);

// The resources of a fork. Throws a Failure that names the file where the fork is damaged; an empty
// fork has none.
std::vector<Ondrel::ResourceInfo> ResourcesOf(const std::string& file, std::string_view fork);

// The bytes of one resource of a file; nothing where it has none of that type and ID, or one that
// cannot be read.
std::optional<std::string> ReadResource(const std::string& file, Ondrel::FourCC type, short id);

}  // namespace OndrelTool

#endif
