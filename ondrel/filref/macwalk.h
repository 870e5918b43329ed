// From the text of a reference to the place on disk that it leads to: the two steps behind
// refToMacSpec and filref::convertToFileSpec. Internal to filref/.
#ifndef ONDREL_FILREF_MACWALK_H
#define ONDREL_FILREF_MACWALK_H

#include <cstdint>

namespace Ondrel {

class FileSpec;

// Writes the absolute form of a colon path to `full`, which holds kFilrefSize units; a longer text
// is cut. A relative path (a bare name, or one that begins with ':') is put behind the application
// folder's; where that is unknown it stays relative.
void MakeFullMacText(const std::uint16_t* ref, std::uint16_t* full);

// Makes `spec` denote what an absolute colon path leads to: from the volume's root folder down, one
// component at a time, each alias replaced by its target before the next one is taken. The path
// ends at ":" or ":x" (a folder), and at an empty component.
//
// All but the last component must be folders, or aliases of folders. Where that fails, or where
// there is no such volume, the answer is false and `spec` is empty: an alias that leads nowhere
// must not stand for what was looked for behind it. The last component need not exist, and an alias
// there that leads nowhere is what the path names.
bool WalkMacPath(const std::uint16_t* path, FileSpec& spec);

}  // namespace Ondrel

#endif
