// The table of medians.
#include "bench/RatioTable.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

namespace Bench {
namespace {

class Collector : public benchmark::BenchmarkReporter {
 public:
    explicit Collector(bool processorTime) : processorTime_(processorTime) {}

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.run_name.function_name.c_str(),
                             run.error_message.c_str());
                failed_ = true;
            } else if (run.aggregate_name == "median") {
                works_[run.family_index] =
                    Keep(run.run_name.function_name,
                         processorTime_ ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime());
            }
        }
    }

    bool Failed() const { return failed_; }

    // A line for each: work, contender, milliseconds. Behind what other benchmarks have written.
    bool Append(const std::string& path) const {
        std::FILE* const file = std::fopen(path.c_str(), "a");
        if (file == nullptr) return false;
        std::set<std::string> written;
        for (const auto& [index, work] : works_) {
            if (!written.insert(work).second) continue;
            for (const auto& [contender, median] : medians_.at(work))
                std::fprintf(file, "%s\t%s\t%.6f\n", work.c_str(), contender.c_str(), median);
        }
        return std::fclose(file) == 0;
    }

    void Print(const std::vector<std::string>& contenders) const {
        std::printf("| work |");
        for (const std::string& contender : contenders)
            std::printf(" %s |", contender.c_str());
        std::printf("\n|---|");
        for (std::size_t i = 0; i < contenders.size(); ++i)
            std::printf("---:|");
        std::printf("\n");
        std::set<std::string> printed;
        for (const auto& [index, work] : works_)
            if (printed.insert(work).second) PrintRow(work, contenders);
    }

 private:
    // Answers the work that the benchmark's name begins with.
    std::string Keep(const std::string& name, double milliseconds) {
        const std::size_t slash = name.find('/');
        std::string work = name.substr(0, slash);
        medians_[work][name.substr(slash + 1)] = milliseconds;
        return work;
    }

    void PrintRow(const std::string& work, const std::vector<std::string>& contenders) const {
        const std::map<std::string, double>& row = medians_.at(work);
        const auto floor = row.find("floor");
        std::printf("| %s |", work.c_str());
        for (const std::string& contender : contenders) {
            const auto median = row.find(contender);
            if (median == row.end())
                std::printf(" |");
            else if (floor == row.end())
                std::printf(" %.1f ms |", median->second);
            else
                std::printf(" %.2f (%.1f ms) |", median->second / floor->second, median->second);
        }
        std::printf("\n");
    }

    const bool processorTime_;
    std::map<std::int64_t, std::string> works_;  // by the order in which they were registered
    std::map<std::string, std::map<std::string, double>> medians_;
    bool failed_ = false;
};

// Takes an argument of ours out of those for the benchmark library.
bool TakeArgument(int* argc, char** argv, const char* name) {
    char** const end = argv + *argc;
    char** const kept = std::remove_if(
        argv + 1, end, [&](const char* given) { return std::strcmp(given, name) == 0; });
    const bool found = kept != end;
    *argc = static_cast<int>(kept - argv);
    return found;
}

// What an argument of ours of the form "--name=value" says; empty where it is not given.
std::string TakeValue(int* argc, char** argv, const std::string& start) {
    for (int i = 1; i < *argc; ++i) {
        std::string argument = argv[i];
        if (argument.compare(0, start.size(), start) != 0) continue;
        TakeArgument(argc, argv, argument.c_str());
        return argument.substr(start.size());
    }
    return {};
}

}  // namespace

int RunAndPrint(int argc, char** argv, const std::vector<std::string>& contenders,
                const std::vector<std::string>& skipped) {
    const bool processorTime = TakeArgument(&argc, argv, "--processor_time");
    const std::string results = TakeValue(&argc, argv, "--results=");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    Collector collector(processorTime);
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::Shutdown();
    collector.Print(contenders);
    for (const std::string& peer : skipped)
        std::printf("\nSkipped, for it is not installed: %s.\n", peer.c_str());
    if (!results.empty() && !collector.Append(results)) {
        std::fprintf(stderr, "%s cannot be written\n", results.c_str());
        return 1;
    }
    return collector.Failed() ? 1 : 0;
}

}  // namespace Bench
