// The deep search over a FolderTree.
#include "ondrel/search/treewalk.h"

#include <algorithm>

#include "ondrel/core/Process.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/fil/fil.h"

namespace Ondrel {
namespace {

FileSpec SpecOfPath(const std::string& path) {
    return FileSpec(UTF8ToUni16String(path));
}

}  // namespace

bool HasOneOfTypes(const FileSpec& item, const unsigned int* types, unsigned long typeCount) {
    if (types == nullptr || typeCount == 0) return true;
    return std::any_of(types, types + typeCount,
                       [&](unsigned int type) { return fileHasType(item, type, false); });
}

TreeWalk::TreeWalk(const std::string& name, const unsigned int* types, unsigned long typeCount)
    : name_(name.c_str(), SoughtName::Case::kFolded), types_(types), typeCount_(typeCount) {}

FileSpec TreeWalk::SpecOfCurrent() const {
    std::string path = tree_.Path();
    if (path.back() != '/') path += '/';
    return SpecOfPath(path.append(tree_.Name()));
}

// Of the current entry, whose name is the sought one. Folders have every type.
bool TreeWalk::IsMatch() {
    if (!tree_.IsItem()) return false;
    if (types_ == nullptr || typeCount_ == 0) return true;
    if (tree_.AskKind() == FolderTree::Kind::kFolder) return true;
    return HasOneOfTypes(SpecOfCurrent(), types_, typeCount_);
}

// Reads the present folder to its match or its end. At the end the walk goes back before the first
// entry if one of them has still to be looked at: with `showsAll` all of them, else the folders.
bool TreeWalk::FolderHoldsMatch(bool showsAll) {
    bool hasMore = showsAll;
    while (tree_.Next()) {
        if (name_.Matches(tree_.Name()) && IsMatch()) return true;
        hasMore |= tree_.GetKind() != FolderTree::Kind::kOther;
    }
    if (hasMore) (void)tree_.Rewind();
    return false;
}

bool TreeWalk::Start(const FileSpec& folder) {
    return folder.IsPresent() && tree_.Open(folder) == noErr;
}

bool TreeWalk::FindInFolder(const FileSpec& folder) {
    return Start(folder) && FolderHoldsMatch(false);
}

// Shows the current entry and the folder that holds it; at the start that is the very object of the
// caller.
bool TreeWalk::Agrees(const FileSpec& start, const TreeSearch::Callback& callback) {
    std::string name(tree_.Name());
    std::replace(name.begin(), name.end(), ':', '/');
    if (tree_.Depth() == 0) return callback(&start, name) != 0;
    if (presentPath_ != tree_.Path()) {
        presentPath_ = tree_.Path();
        present_ = SpecOfPath(presentPath_);
    }
    return callback(&present_, name) != 0;
}

bool TreeWalk::WantsToEnter(const FileSpec& start, const TreeSearch::Callback& callback) {
    if (tree_.GetKind() == FolderTree::Kind::kOther && !callback) return false;
    if (!tree_.IsItem()) return false;
    if (callback && !Agrees(start, callback)) return false;
    return tree_.AskKind() == FolderTree::Kind::kFolder && cancel(0, 0) == 0;
}

bool TreeWalk::FindInTree(FileSpec& folder, const TreeSearch::Callback& callback) {
    const bool showsAll = static_cast<bool>(callback);
    const bool isInVain = !showsAll && !name_.IsName();
    if (isInVain || !Start(folder)) return false;
    if (FolderHoldsMatch(showsAll)) return true;
    for (;;) {
        if (!tree_.Next()) {
            if (!tree_.Leave()) return false;
        } else if (WantsToEnter(folder, callback) && tree_.Enter() == noErr &&
                   FolderHoldsMatch(showsAll)) {
            folder = SpecOfPath(tree_.Path());
            return true;
        }
    }
}

}  // namespace Ondrel
