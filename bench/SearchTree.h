// Trees of folders to be searched, and the floor of every search: listing them.
#ifndef BENCH_SEARCHTREE_H
#define BENCH_SEARCHTREE_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace Bench {

// What the searches look for; nothing else in a tree has this name or one of its letters' case.
inline constexpr const char* kLostName = "Lost Picture.tiff";

// A tree in a folder of its own, gone with everything in it when the object goes: a folder for each
// 20 files, ten folders in a folder, and one file more, the lost one, in the folder that a search
// in the order of the host enters last.
class SearchTree {
 public:
    SearchTree(const std::string& parent, std::size_t files);
    ~SearchTree();
    SearchTree(const SearchTree&) = delete;
    SearchTree& operator=(const SearchTree&) = delete;

    const std::string& Path() const { return path_; }
    const std::string& LastFolder() const { return lastFolder_; }
    std::size_t Folders() const { return folders_; }

 private:
    std::string path_;
    std::string lastFolder_;
    std::size_t folders_ = 0;
};

// What any search in one thread has to do: every folder is opened in its parent, read with
// getdents64 in transfers of 32 KiB and closed, in the order of the host. Counts the entries, and
// leaves the names of the folders on the way to the one that was entered last.
struct Listing {
    std::size_t entries = 0;
    std::string lastFolder;
};
Listing ListTree(const std::string& path, bool wantsLast);

}  // namespace Bench

#endif
