// One walk for many names. It keeps the folders to come in a list of its own, so that deep trees
// cost no stack.
#include "tools/ondrel/layout/Find.h"

#include <deque>

#include "ondrel/core/Process.h"
#include "ondrel/core/Unicode.h"
#include "ondrel/filref/filref.h"
#include "ondrel/search/FileSearch.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

constexpr int kSameName = kCompareIgnoreCase | kCompareCanonical;

bool IsSame(const Uni16String& a, const Uni16String& b, int options) {
    return Uni16CharCompareWithOptions(a.c_str(), b.c_str(), options) == 0;
}

// The components of a colon path, without a folder's mark or colon at its end.
std::vector<Uni16String> ComponentsOf(const std::string& colonPath, bool isFolder) {
    std::string text = colonPath;
    if (isFolder && text.ends_with(":x")) text.pop_back();
    if (text.ends_with(':')) text.pop_back();
    std::vector<Uni16String> components;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(':', begin), text.size());
        components.push_back(UTF8ToUni16String(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return components;
}

// A lost file, and the best that has been found of it so far.
struct Search {
    explicit Search(Sought* soughtFile)
        : sought(soughtFile),
          isFolder(soughtFile->lost.ends_with(":x")),
          components(ComponentsOf(soughtFile->lost, isFolder)) {}

    Sought* sought;
    bool isFolder;
    std::vector<Uni16String> components;
    std::size_t bestRank = 0;
};

// Twice the components that are equal from the end on, and one more where the name is spelt alike.
std::size_t RankOf(const std::vector<Uni16String>& lost, const std::vector<Uni16String>& found) {
    std::size_t equal = 0;
    while (equal < lost.size() && equal < found.size() &&
           IsSame(lost[lost.size() - 1 - equal], found[found.size() - 1 - equal], kSameName))
        ++equal;
    return 2 * equal + (IsSame(lost.back(), found.back(), kCompareCanonical) ? 1 : 0);
}

// The colon path of what a reference to this item holds; empty where it is longer than one can be.
std::string ColonPathOf(const FileSpec& item, bool isFolder) {
    filref reference;
    Uni16String whole;
    if (reference.convertFromFileSpec(item) != 0 || !item.GetHFSPath(whole)) return {};
    std::string text = reference.path;
    if (isFolder) text += text.ends_with(':') ? "x" : ":x";
    const bool fits = Uni16StringToUTF8(whole).size() + 2 < static_cast<std::size_t>(kFilrefSize);
    return fits ? text : std::string();
}

class Walker : public FileSearch {
 public:
    explicit Walker(std::vector<Search>* searches) : searches_(searches) {}

    std::deque<FileSpec> folders;  // that are still to be entered

    int handleFile(const FileSpec& item) override {
        const bool isFolder = item.IsFolder();
        if (isFolder) folders.push_back(item);
        Uni16String name;
        if (!(isFolder ? item.GetFolderName(name) : item.GetName(name))) return 0;
        for (Search& search : *searches_)
            if (search.isFolder == isFolder && IsSame(search.components.back(), name, kSameName))
                Take(item, &search);
        return 0;
    }

 private:
    static void Take(const FileSpec& item, Search* search) {
        // A link whose target is gone is no find.
        if (!search->isFolder && !item.IsUsable()) return;
        const std::string path = ColonPathOf(item, search->isFolder);
        if (path.empty()) return;
        const std::size_t rank = RankOf(search->components, ComponentsOf(path, search->isFolder));
        if (rank < search->bestRank) return;
        Sought* const sought = search->sought;
        if (rank > search->bestRank) sought->equal.clear();
        search->bestRank = rank;
        item.GetFullPath(sought->equal.emplace_back());
        sought->found = path;
    }

    std::vector<Search>* searches_;
};

}  // namespace

bool FindLost(const FileSpec& folder, const std::function<void(const std::string&)>& step,
              std::vector<Sought>* sought) {
    std::vector<Search> searches;
    for (Sought& one : *sought)
        searches.emplace_back(&one);
    Walker walker(&searches);
    walker.folders.push_back(folder);
    while (!walker.folders.empty()) {
        if (cancel(0, 0) != 0) return false;
        const FileSpec next = walker.folders.front();
        walker.folders.pop_front();
        std::string path;
        next.GetFullPath(path);
        step(path);
        walker.searchFile(next, nullptr, 0);
    }
    for (Sought& one : *sought) {
        if (one.equal.size() > 1) one.found.clear();
        if (one.equal.size() == 1) one.equal.clear();
    }
    return true;
}

}  // namespace OndrelTool
