// The links of a document: the references that a layout finds in it, and where each of them leads.
#ifndef TOOLS_ONDREL_LAYOUT_LINKS_H
#define TOOLS_ONDREL_LAYOUT_LINKS_H

#include <optional>
#include <string>
#include <vector>

#include "ondrel/core/FileSpec.h"
#include "ondrel/filref/filref.h"
#include "tools/ondrel/layout/Layout.h"
#include "tools/ondrel/layout/Walk.h"

namespace OndrelTool {

enum class LinkState : unsigned char {
    kFound,       // its path leads to a file or folder
    kAtOldPlace,  // a relative one: only the path as it is stored does
    kLost,        // it leads nowhere
    kEmpty,       // it names no file
};

std::string_view StateName(LinkState state);  // "found", "at its old place", "lost", "empty"

struct Link {
    Value value;
    LinkState state = LinkState::kEmpty;
    std::string place;  // the POSIX path that it leads to; of a lost one, that it would lead to
};

// A length-marked block, for those who write the document anew.
struct Block {
    int begin = 0;  // of the marker
    int width = 0;  // of the marker
    int end = 0;    // of the content
};

struct DocumentLinks {
    Ondrel::FileSpec file;      // the document itself, links to it followed
    std::vector<Link> links;    // in the order of the document
    std::vector<Block> blocks;  // in the order of their markers
    int size = 0;               // of the document
    unsigned int date = 0;      // when it was modified last
};

// What a reference of this colon path leads to. Bare names, and paths that begin with a colon, lead
// nowhere: what they are relative to is known to the application alone.
struct Destination {
    bool isThere = false;
    bool isFolder = false;
    std::string place;  // POSIX path; empty where there is none
};
Destination DestinationOf(const std::string& colonPath);

// Reads a document's links. Nothing, or the fault at which the reading stopped. `base`: what
// relative links are rebuilt beside; null: the document itself.
std::optional<DocumentFault> ReadLinks(const Ondrel::FileSpec& document, const Layout& layout,
                                       const Ondrel::filref* base, DocumentLinks* found);

}  // namespace OndrelTool

#endif
