// The search at full speed: one pass over each folder, and no specification for an item that is
// neither matched nor shown to a callback. Internal to search/.
#ifndef ONDREL_SEARCH_TREEWALK_H
#define ONDREL_SEARCH_TREEWALK_H

#include <string>
#include <string_view>

#include "ondrel/core/FileSpec.h"
#include "ondrel/platform/FolderTree.h"
#include "ondrel/platform/NameMatch.h"
#include "ondrel/search/FileSearch.h"

namespace Ondrel {

// Whether an item has one of the types, as searches ask it: with an empty list everything has.
bool HasOneOfTypes(const FileSpec& item, const unsigned int* types, unsigned long typeCount);

// One search for a name, among items of a list of types.
class TreeWalk {
 public:
    TreeWalk(const std::string& name, const unsigned int* types, unsigned long typeCount);

    // Looks among the items of one folder; true when one is a match.
    bool FindInFolder(const FileSpec& folder);

    // Looks in the tree of a folder, as TreeSearch promises. True when there is a match: the folder
    // becomes the one that holds it.
    bool FindInTree(FileSpec& folder, const TreeSearch::Callback& callback);

    // The match itself, under the name that the disk has for it.
    FileSpec Match() const { return SpecOfCurrent(); }

 private:
    bool Start(const FileSpec& folder);
    bool FolderHoldsMatch(bool showsAll);
    bool IsMatch();
    bool WantsToEnter(const FileSpec& start, const TreeSearch::Callback& callback);
    bool Agrees(const FileSpec& start, const TreeSearch::Callback& callback);
    FileSpec SpecOfCurrent() const;

    SoughtName name_;
    const unsigned int* types_;
    unsigned long typeCount_;
    FolderTree tree_;
    FileSpec present_;         // the present folder, for the callback
    std::string presentPath_;  // the path that it was made of
};

}  // namespace Ondrel

#endif
