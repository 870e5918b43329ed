// Searches over a warm tree of 100,000 files in 5,000 folders: the deep filsea for a name in the
// folder that is entered last, and SearchVolume for a name that one file has, beside what else
// finds a file by its name, and the floor, a bare listing of the tree in one thread.
//
// find and fdfind are programs: their times hold their start, and with --processor_time all that
// their threads take. Every contender has to find the one file; fts and std::filesystem compare the
// plain names, ignoring ASCII case where find does.
#include <benchmark/benchmark.h>
#include <fts.h>
#include <spawn.h>
#include <strings.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/RatioTable.h"
#include "bench/SearchTree.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/search/search.h"

extern char** environ;

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
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    int ends[2];
    if (pipe(ends) != 0) return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    pid_t child = 0;
    const int spawned =
        posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    int lines = 0;
    char buffer[4096];
    for (ssize_t got; (got = read(ends[0], buffer, sizeof buffer)) > 0;)
        for (ssize_t i = 0; i < got; ++i)
            lines += buffer[i] == '\n';
    close(ends[0]);
    int status = 0;
    if (spawned != 0 || waitpid(child, &status, 0) != child || status != 0) return -1;
    return lines;
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

bool IsInstalled(const char* program) {
    return Run({"sh", "-c", std::string("command -v ") + program}) == 1;
}

double Milliseconds(const struct timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

// The processor's time of this process and of the programs that it has run.
double ProcessorMilliseconds() {
    double sum = 0;
    for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        struct rusage usage;
        getrusage(who, &usage);
        sum += Milliseconds(usage.ru_utime) + Milliseconds(usage.ru_stime);
    }
    return sum;
}

double ClockMilliseconds() {
    const std::chrono::duration<double, std::milli> time =
        std::chrono::steady_clock::now().time_since_epoch();
    return time.count();
}

double (*presentMilliseconds)() = ClockMilliseconds;

void Register(const std::string& name, int (*search)()) {
    const auto run = [search](benchmark::State& state) {
        for (auto _ : state) {
            const double start = presentMilliseconds();
            if (search() != 1) state.SkipWithError("found another number");
            state.SetIterationTime((presentMilliseconds() - start) / 1e3);
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->UseManualTime();
}

// The table's own --processor_time would not count what other programs take.
int TakeProcessorTime(int argc, char** argv) {
    char** const kept = std::remove_if(argv + 1, argv + argc, [](const char* given) {
        return std::strcmp(given, "--processor_time") == 0;
    });
    if (kept != argv + argc) presentMilliseconds = ProcessorMilliseconds;
    return static_cast<int>(kept - argv);
}

template <Case kRule>
void RegisterWork(const std::string& work, int (*library)()) {
    Register(work + "/floor", Floor);
    Register(work + "/ondrel", library);
    Register(work + "/fts", Fts<kRule>);
    Register(work + "/filesystem", Filesystem<kRule>);
    if (IsInstalled("find")) Register(work + "/find", Find<kRule>);
    if (!IsInstalled("fdfind")) return;
    Register(work + "/fdfind -j1", Fdfind<kRule, 1>);
    Register(work + "/fdfind -j2", Fdfind<kRule, 2>);
}

int Main(int argc, char** argv) {
    argc = TakeProcessorTime(argc, argv);
    const SearchTree made(std::filesystem::temp_directory_path().string(), kFiles);
    tree = &made;
    Ondrel::MountVolume(kVolume, made.Path().c_str());
    RegisterWork<Case::kFolded>("deep filsea", Filsea);
    RegisterWork<Case::kExact>("SearchVolume", Volume);
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
