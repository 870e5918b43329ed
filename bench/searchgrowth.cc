// searchgrowth [FOLDER]: how the cost of the searches grows, over trees of 1,000 to 1,000,000 files
// in a folder that should lie in memory (/dev/shm). Each search runs in a process of its own, so
// that its peak memory can be told: after one that is not measured, the best of nine, in processor
// time, which what else runs on the machine disturbs least.
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/SearchTree.h"
#include "ondrel/core/Volumes.h"
#include "ondrel/search/search.h"

namespace Bench {
namespace {

constexpr const char* kVolume = "Bench";
constexpr int kRuns = 9;

struct Cost {
    double milliseconds;
    long kilobytes;  // at the peak, above what the process had before
};

long PeakKilobytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

double ProcessorMilliseconds() {
    struct timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

template <class Work>
Cost MeasureHere(Work work) {
    const long before = PeakKilobytes();
    double best = 0;
    for (int run = 0; run <= kRuns; ++run) {
        const double start = ProcessorMilliseconds();
        if (!work()) std::abort();
        const double time = ProcessorMilliseconds() - start;
        if (run > 0) best = run == 1 ? time : std::min(best, time);
    }
    return {best, PeakKilobytes() - before};
}

template <class Work>
Cost Measure(Work work) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const Cost cost = MeasureHere(work);
        _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
    }
    close(ends[1]);
    Cost cost{};
    const bool told = read(ends[0], &cost, sizeof cost) == sizeof cost;
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || !told) std::abort();
    return cost;
}

Ondrel::filref LostReference() {
    Ondrel::filref ref;
    ref.ConvertFromMacPath((std::string(kVolume) + ":" + kLostName).c_str());
    return ref;
}

bool Filsea() {
    Ondrel::filref ref = LostReference();
    return Ondrel::filsea(ref, 0, true) == 1;
}

bool Volume() {
    Ondrel::filref ref = LostReference();
    int found = 0;
    return Ondrel::SearchVolume(ref, [&](const std::string&) { return ++found; }) == 0 &&
           found == 1;
}

void Row(const std::string& parent, std::size_t files) {
    const SearchTree tree(parent, files);
    Ondrel::MountVolume(kVolume, tree.Path().c_str());
    const Cost floor = Measure([&] { return ListTree(tree.Path(), false).entries > files; });
    const Cost deep = Measure(Filsea);
    const Cost volume = Measure(Volume);
    std::printf("| %zu | %zu | %.2f ms | %.2f (%.2f ms, %ld KiB) | %.2f (%.2f ms, %ld KiB) |\n",
                files, tree.Folders(), floor.milliseconds, deep.milliseconds / floor.milliseconds,
                deep.milliseconds, deep.kilobytes, volume.milliseconds / floor.milliseconds,
                volume.milliseconds, volume.kilobytes);
    std::fflush(stdout);
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    std::string parent = "/dev/shm";
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] != '-') parent = argv[i];  // the others are for the other benchmarks
    std::printf("| files | folders | floor | deep filsea | SearchVolume |\n");
    std::printf("|---:|---:|---:|---:|---:|\n");
    std::fflush(stdout);
    for (const std::size_t files : {1000U, 10000U, 100000U, 1000000U})
        Bench::Row(parent, files);
    return 0;
}
