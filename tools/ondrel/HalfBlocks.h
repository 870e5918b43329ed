// Pictures on a terminal: two pixels a character, the upper half block in front of the lower one's
// colour.
#ifndef TOOLS_ONDREL_HALFBLOCKS_H
#define TOOLS_ONDREL_HALFBLOCKS_H

#include <string>

#include "tools/ondrel/Pixels.h"

namespace OndrelTool {

// Lines of the picture's width, one for each two of its rows. In true colour, where pixels of less
// than half alpha show the terminal's own ground; without colours in four shades of blocks.
std::string HalfBlocks(const Pixels& picture, bool colours);

}  // namespace OndrelTool

#endif
