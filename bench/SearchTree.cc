// Making and listing trees.
#include "bench/SearchTree.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

namespace Bench {
namespace {

constexpr std::size_t kFilesInFolder = 20;
constexpr std::size_t kFoldersInFolder = 10;
constexpr std::size_t kTransfer = std::size_t{32} * 1024;

void Require(bool held, const char* what) {
    if (held) return;
    std::perror(what);
    std::abort();
}

void MakeFiles(int folder, std::size_t first, std::size_t count) {
    for (std::size_t i = first; i < first + count; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "Report %07zu.txt", i);
        const int file = openat(folder, name, O_WRONLY | O_CREAT | O_EXCL, 0644);
        Require(file >= 0, "making a file");
        close(file);
    }
}

// One folder that is open, and how far it is read.
struct Level {
    int folder = -1;
    std::unique_ptr<char[]> transfer{new char[kTransfer]};
    ssize_t filled = 0;
    ssize_t position = 0;
};

}  // namespace

Listing ListTree(const std::string& path, bool wantsLast) {
    Listing listing;
    std::vector<Level> levels(1);
    std::string present = path;
    std::size_t depth = 0;
    levels[0].folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Require(levels[0].folder >= 0, "opening the tree");
    for (;;) {
        Level& level = levels[depth];
        if (level.position == level.filled) {
            level.filled = getdents64(level.folder, level.transfer.get(), kTransfer);
            level.position = 0;
            if (level.filled <= 0) {
                close(level.folder);
                level.filled = 0;
                if (depth-- == 0) return listing;
                if (wantsLast) present.resize(present.rfind('/'));
                continue;
            }
        }
        const auto* entry =
            reinterpret_cast<const dirent64*>(level.transfer.get() + level.position);
        level.position += entry->d_reclen;
        const char* name = entry->d_name;
        if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
        ++listing.entries;
        if (entry->d_type != DT_DIR) continue;
        const int folder =
            openat(level.folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        Require(folder >= 0, "opening a folder");
        if (wantsLast) {
            present.append("/").append(name);
            listing.lastFolder = present;
        }
        if (levels.size() == ++depth) levels.emplace_back();
        levels[depth].folder = folder;
        levels[depth].filled = levels[depth].position = 0;
    }
}

SearchTree::SearchTree(const std::string& parent, std::size_t files) {
    path_ = parent + "/ondrel-bench-XXXXXX";
    Require(mkdtemp(path_.data()) != nullptr, "making the tree");
    folders_ = (files + kFilesInFolder - 1) / kFilesInFolder;
    std::vector<std::string> paths(folders_, path_);
    for (std::size_t i = 0; i < folders_; ++i) {
        if (i > 0) {
            char name[32];
            std::snprintf(name, sizeof name, "/Folder %06zu", i);
            paths[i] = paths[(i - 1) / kFoldersInFolder] + name;
            Require(mkdir(paths[i].c_str(), 0755) == 0, "making a folder");
        }
        const int folder = open(paths[i].c_str(), O_RDONLY | O_DIRECTORY);
        Require(folder >= 0, "opening a new folder");
        const std::size_t first = i * kFilesInFolder;
        MakeFiles(folder, first, std::min(kFilesInFolder, files - first));
        close(folder);
    }
    lastFolder_ = ListTree(path_, true).lastFolder;
    if (lastFolder_.empty()) lastFolder_ = path_;
    const int file = open((lastFolder_ + "/" + kLostName).c_str(), O_WRONLY | O_CREAT, 0644);
    Require(file >= 0, "making the lost file");
    close(file);
}

SearchTree::~SearchTree() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace Bench
