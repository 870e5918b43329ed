// Finding lost files again in a folder and the folders below it, all of them in one walk.
//
// Names compare ignoring case and composition. Where several files bear a name, the one is taken
// that lies most like the lost one did: whose path ends in the most equal components; of such, one
// that is spelt like the lost one. Where that leaves more than one, none is taken.
#ifndef TOOLS_ONDREL_LAYOUT_FIND_H
#define TOOLS_ONDREL_LAYOUT_FIND_H

#include <functional>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"

namespace OndrelTool {

struct Sought {
    std::string lost;                // its colon path; ":x" at the end: a folder is wanted
    std::string found;               // the colon path of what was taken; empty for nothing
    std::vector<std::string> equal;  // the POSIX paths between which there was no choice
};

// Fills in `found` and `equal`. `step` is called with each folder that is entered. False when the
// user has asked to stop.
bool FindLost(const Ondrel::FileSpec& folder, const std::function<void(const std::string&)>& step,
              std::vector<Sought>* sought);

}  // namespace OndrelTool

#endif
