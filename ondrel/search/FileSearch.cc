// The search classes. A folder's items come from a FileEnumeration and carry what the folder told
// of them, so that none costs a system call. A TreeSearch as it is leaves its work to the faster
// TreeWalk; one that a caller has derived is shown the items of its start folder, as it may expect.
#include "ondrel/search/FileSearch.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "ondrel/core/FileEnumeration.h"
#include "ondrel/core/Process.h"
#include "ondrel/platform/NameMatch.h"
#include "ondrel/search/treewalk.h"

namespace Ondrel {
namespace {

bool GetItemName(const FileSpec& item, std::string& name) {
    return item.IsFolder() ? item.GetFolderName(name) : item.GetName(name);
}

}  // namespace

// --- FileSearch ---------------------------------------------------------------------------------

FileSearch::~FileSearch() = default;

int FileSearch::searchForFile(FileSpec& folder, const unsigned int* types,
                              unsigned long typeCount) {
    return searchFile(folder, types, typeCount);
}

int FileSearch::searchFile(const FileSpec& folder, const unsigned int* types,
                           unsigned long typeCount) {
    if (!folder.IsPresent()) return -1;
    FileEnumeration items(folder);
    if (!items.First()) return -3;
    const bool anyType = types == nullptr || typeCount == 0;
    do {
        const FileSpec item = items.GetItemSpecification();
        const bool fits = anyType || item.IsFolder() || HasOneOfTypes(item, types, typeCount);
        if (fits && handleFile(item) == -2) return 0;
    } while (items.Next());
    return 0;
}

// --- FolderSearch -------------------------------------------------------------------------------

FolderSearch::FolderSearch(const std::string& soughtName) : name(soughtName) {}

FolderSearch::~FolderSearch() = default;

int FolderSearch::handleFile(const FileSpec& item) {
    std::string itemName;
    if (!GetItemName(item, itemName)) return 0;
    std::replace(itemName.begin(), itemName.end(), '/', ':');
    const SoughtName sought(name.c_str(), SoughtName::Case::kFolded);
    if (!sought.Matches(itemName)) return 0;
    found = true;
    return -2;
}

// --- TreeSearch ---------------------------------------------------------------------------------

TreeSearch::TreeSearch(const std::string& soughtName, Callback itemCallback)
    : name(soughtName), callback(std::move(itemCallback)) {}

TreeSearch::~TreeSearch() = default;

int TreeSearch::searchForFile(FileSpec& folder, const unsigned int* typeList,
                              unsigned long typeListCount) {
    result = &folder;
    types = typeList;
    typeCount = typeListCount;
    if (typeid(*this) == typeid(TreeSearch)) {
        found = TreeWalk(name, types, typeCount).FindInTree(folder, callback);
        return found ? 1 : 0;
    }
    FolderSearch here(name);
    here.searchForFile(folder, types, typeCount);
    if (here.found)
        found = true;
    else
        searchFile(folder, nullptr, 0);
    return found ? 1 : 0;
}

int TreeSearch::handleFile(const FileSpec& item) {
    std::string itemName;
    if (GetItemName(item, itemName) && callback && callback(result, itemName) == 0) return 0;
    if (!item.IsFolder() || cancel(0, 0) != 0) return 0;
    FileSpec folder = item;
    TreeSearch below(name, callback);
    if (below.searchForFile(folder, types, typeCount) == 0) return 0;
    found = true;
    if (result != nullptr) *result = folder;
    return -2;
}

}  // namespace Ondrel
