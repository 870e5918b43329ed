// Writing a document anew with other links in it: all of them, or the document stays as it is.
//
// The new document is written beside the old one, read again by the layout and compared, brought to
// the disk, and put in the old one's place in one step. What is no link is copied byte for byte,
// but for the lengths of the blocks around a link that has grown or shrunk.
#ifndef TOOLS_ONDREL_LAYOUT_RELINK_H
#define TOOLS_ONDREL_LAYOUT_RELINK_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/ondrel/layout/Links.h"

namespace OndrelTool {

// A link of the document, by its place among them, and the colon path that it shall lead to.
struct NewTarget {
    std::size_t link = 0;
    std::string colonPath;
};

struct Rewritten {
    bool saved = false;   // the new document is in the place of the old one
    std::string problem;  // what went wrong, for the user; empty where nothing did
};

// Rewrites the document whose links were read by `layout`. `targets` stand in the order of the
// links. Only the last step, bringing the folder to the disk, can go wrong and the document be
// saved all the same. A relative link keeps its form, the stored path with it or not, but where it
// leads to another volume.
Rewritten RewriteLinks(const DocumentLinks& document, const Layout& layout,
                       const std::vector<NewTarget>& targets);

}  // namespace OndrelTool

#endif
