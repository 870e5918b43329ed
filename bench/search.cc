// Searches over a warm tree of 100,000 files in 5,000 folders: the deep filsea for a name in the
// folder that is entered last, and SearchVolume for a name that one file has, beside what else
// finds a file by its name, and the floor, a bare listing of the tree in one thread.
//
// find and fdfind are programs: their times hold their start, and with --processor_time all that
// their threads take. Every contender has to find the one file; fts and std::filesystem compare the
// plain names, ignoring ASCII case where find does.
#include <fts.h>
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/Programs.h"
#include "bench/RatioTable.h"
#include "bench/SearchTree.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/search/search.h"

namespace Bench {
namespace {

constexpr std::size_t kFiles = 100000;
constexpr const char* kVolume = "Bench";

const SearchTree* tree = nullptr;

enum class Case { kFolded, kExact };

// --- The library --------------------------------------------------------------------------------

// The reference of a file that is no longer at the top of the tree.
Ondrel::filref LostReference() {
    Ondrel::filref ref;
    ref.ConvertFromMacPath((std::string(kVolume) + ":" + kLostName).c_str());
    return ref;
}

int Filsea() {
    Ondrel::filref ref = LostReference();
    return Ondrel::filsea(ref, 0, true);
}

int Volume() {
    Ondrel::filref ref = LostReference();
    int found = 0;
    const int result = Ondrel::SearchVolume(ref, [&](const std::string&) { return ++found; });
    return result == 0 ? found : -1;
}

// --- Peers in this process ----------------------------------------------------------------------

// Not a search: nothing is compared.
int Floor() {
    return ListTree(tree->Path(), false).entries == kFiles + tree->Folders() ? 1 : -1;
}

bool IsLost(const char* name, Case rule) {
    return (rule == Case::kFolded ? strcasecmp(name, kLostName) : std::strcmp(name, kLostName)) ==
           0;
}

template <Case kRule>
int Fts() {
    std::string path = tree->Path();
    char* const paths[] = {path.data(), nullptr};
    FTS* walk = fts_open(paths, FTS_PHYSICAL | FTS_NOSTAT, nullptr);
    int found = 0;
    while (const FTSENT* entry = fts_read(walk))
        found += entry->fts_info != FTS_DP && IsLost(entry->fts_name, kRule);
    fts_close(walk);
    return found;
}

template <Case kRule>
int Filesystem() {
    int found = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(tree->Path()))
        found += IsLost(entry.path().filename().c_str(), kRule);
    return found;
}

// --- Peers that are programs --------------------------------------------------------------------

// Runs a program and counts the lines that it prints; -1 when it fails.
int Run(const std::vector<std::string>& words) {
    const auto output = OutputOf(words);
    return output ? static_cast<int>(std::count(output->begin(), output->end(), '\n')) : -1;
}

template <Case kRule>
int Find() {
    return Run({"find", tree->Path(), kRule == Case::kFolded ? "-iname" : "-name", kLostName});
}

template <Case kRule, int kThreads>
int Fdfind() {
    return Run({"fdfind", "--unrestricted", "--glob",
                kRule == Case::kFolded ? "--ignore-case" : "--case-sensitive",
                "--threads=" + std::to_string(kThreads), kLostName, tree->Path()});
}

// --- The table ----------------------------------------------------------------------------------

template <int (*kSearch)()>
bool FindsOne() {
    return kSearch() == 1;
}

template <int (*kSearch)()>
void Register(const std::string& name) {
    RegisterTimed(name, FindsOne<kSearch>);
}

template <Case kRule, int (*kLibrary)()>
void RegisterWork(const std::string& work) {
    Register<Floor>(work + "/floor");
    Register<kLibrary>(work + "/ondrel");
    Register<Fts<kRule>>(work + "/fts");
    Register<Filesystem<kRule>>(work + "/filesystem");
    if (IsInstalled("find")) Register<Find<kRule>>(work + "/find");
    if (!IsInstalled("fdfind")) return;
    Register<Fdfind<kRule, 1>>(work + "/fdfind -j1");
    Register<Fdfind<kRule, 2>>(work + "/fdfind -j2");
}

int Main(int argc, char** argv) {
    argc = TakeProcessorTime(argc, argv);
    const SearchTree made(std::filesystem::temp_directory_path().string(), kFiles);
    tree = &made;
    Ondrel::MountVolume(kVolume, made.Path().c_str());
    RegisterWork<Case::kFolded, Filsea>("H. deep search");
    RegisterWork<Case::kExact, Volume>("H. volume search");
    std::vector<std::string> skipped;
    for (const char* program : {"find", "fdfind"})
        if (!IsInstalled(program)) skipped.emplace_back(program);
    return RunAndPrint(argc, argv,
                       {"floor", "ondrel", "find", "fdfind -j1", "fdfind -j2", "fts", "filesystem"},
                       skipped);
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    return Bench::Main(argc, argv);
}
