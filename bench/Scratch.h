// What the benchmarks have in common: registering a work, and a file of their own.
#ifndef BENCH_SCRATCH_H
#define BENCH_SCRATCH_H

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace Bench {

// Registers a benchmark under the name that the table expects.
template <class Run>
void AddWork(const std::string& work, const std::string& contender, Run run) {
    benchmark::RegisterBenchmark((work + "/" + contender).c_str(), run)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->UseRealTime();
}

// A folder in TMPDIR that goes with the object.
class ScratchFolder {
 public:
    explicit ScratchFolder(const std::string& name)
        : path_(std::filesystem::canonical(std::filesystem::temp_directory_path()) /
                ("ondrel-" + name + "-" + std::to_string(::getpid()))) {
        std::filesystem::create_directory(path_);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    std::string Path(const std::string& name) const { return (path_ / name).string(); }

 private:
    std::filesystem::path path_;
};

// As far from regular as one multiplication makes it, and the same in every run.
class Random {
 public:
    unsigned Below(unsigned limit) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<unsigned>((state_ >> 33) % limit);
    }

 private:
    unsigned long state_ = 1;
};

}  // namespace Bench

#endif
