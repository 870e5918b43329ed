// How cost grows: 32-bit values written and read over files of 1 MiB to 1.9 GiB, and relative
// references of 100 to a million links, with the peak of memory that each takes. Two tables of
// Markdown on standard output. Each row runs in a process of its own, so that no other's memory
// counts; the time is the processor's, of the better of two runs.
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench/Scratch.h"
#include "ondrel/core/FileSpec.h"
#include "ondrel/fil/fil.h"
#include "ondrel/records/filerefs.h"

namespace Bench {
namespace {

struct Cost {
    double writeMilliseconds;
    double readMilliseconds;
    long kilobytes;
};

double ProcessorMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

long PeakKilobytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

template <class Work>
double Best(Work work) {
    double best = 0;
    for (int run = 0; run < 2; ++run) {
        const double start = ProcessorMilliseconds();
        work();
        const double time = ProcessorMilliseconds() - start;
        best = run == 0 ? time : std::min(best, time);
    }
    return best;
}

template <class Write, class Read>
Cost Measure(Write write, Read read) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const long before = PeakKilobytes();
        Cost cost{Best(write), Best(read), 0};
        cost.kilobytes = PeakKilobytes() - before;
        _exit(::write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
    }
    close(ends[1]);
    Cost cost{};
    const bool told = ::read(ends[0], &cost, sizeof cost) == sizeof cost;
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || !told) std::abort();
    return cost;
}

Ondrel::filref Document(const ScratchFolder& scratch) {
    Ondrel::filref ref;
    ref.convertFromFileSpec(Ondrel::FileSpec(Ondrel::UTF8ToUni16String(scratch.Path("file"))));
    return ref;
}

void Require(bool holds) {
    if (!holds) std::abort();
}

void PrintRow(const std::string& name, double count, const char* unit, const Cost& cost) {
    std::printf("| %s | %.2f ms | %.2f %s | %.2f ms | %.2f %s | %ld KiB |\n", name.c_str(),
                cost.writeMilliseconds, cost.writeMilliseconds * 1e6 / count, unit,
                cost.readMilliseconds, cost.readMilliseconds * 1e6 / count, unit, cost.kilobytes);
    std::fflush(stdout);
}

void ValuesRow(const ScratchFolder& scratch, const std::string& name, std::int64_t bytes) {
    const Ondrel::filref ref = Document(scratch);
    const auto count = static_cast<int>(bytes / 4);
    const auto write = [&] {
        Ondrel::fil f;
        Require(Ondrel::filsav(&f, nullptr, &ref, 0) == 0);
        for (int i = 0; i < count; ++i)
            Ondrel::filwri32(&f, i);
        Require(f.Close() == 0);
    };
    const auto read = [&] {
        Ondrel::fil f;
        Require(Ondrel::filope(&f, nullptr, ref) == 0);
        bool equal = true;
        for (int i = 0; i < count; ++i)
            equal &= Ondrel::filrea32(&f) == i;
        Require(equal);
        f.Close();
    };
    PrintRow(name, count, "ns", Measure(write, read));
}

void LinksRow(const ScratchFolder& scratch, int count) {
    const Ondrel::filref ref = Document(scratch);
    Ondrel::filref base;
    Ondrel::filref moved;
    Ondrel::filref target;
    base.ConvertFromMacPath("HD:Docs:Project:doc");
    moved.ConvertFromMacPath("Work:Old:Project:doc");
    target.ConvertFromMacPath("HD:Docs:Project:Folder 1:Folder 2:Picture.tif");
    const auto write = [&] {
        Ondrel::fil f;
        Require(Ondrel::filsav(&f, nullptr, &ref, 0) == 0);
        for (int i = 0; i < count; ++i)
            Ondrel::filwrirefrel(&f, base, target, 1);
        Require(f.Close() == 0);
    };
    const auto read = [&] {
        Ondrel::fil f;
        Ondrel::filref found;
        Require(Ondrel::filope(&f, nullptr, ref) == 0);
        for (int i = 0; i < count; ++i)
            Require(Ondrel::filrearefrel(&f, moved, found, nullptr) == 0);
        f.Close();
    };
    PrintRow(std::to_string(count), count, "ns", Measure(write, read));
}

}  // namespace
}  // namespace Bench

int main() {
    using namespace Bench;
    const ScratchFolder scratch("growth");
    std::printf("| 32-bit values in | write | each | read | each | memory |\n");
    std::printf("|---|---:|---:|---:|---:|---:|\n");
    ValuesRow(scratch, "1 MiB", 1 << 20);
    ValuesRow(scratch, "16 MiB", 16 << 20);
    ValuesRow(scratch, "256 MiB", 256 << 20);
    ValuesRow(scratch, "1.9 GiB", std::int64_t{19} * (1 << 30) / 10);
    std::printf("\n| links | write | each | read, moved | each | memory |\n");
    std::printf("|---|---:|---:|---:|---:|---:|\n");
    for (const int links : {100, 1000, 10000, 100000, 1000000})
        LinksRow(scratch, links);
    return 0;
}
