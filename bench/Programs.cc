// Running programs and timing them.
#include "bench/Programs.h"

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>

extern char** environ;

namespace Bench {
namespace {

bool hasProcessorTime = false;

double Milliseconds(const struct timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

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

int Spawn(const std::vector<std::string>& words, const int ends[2], pid_t* child) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    const int code =
        posix_spawnp(child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return code;
}

std::string ReadToEnd(int descriptor) {
    std::string output;
    char buffer[65536];
    for (ssize_t got; (got = read(descriptor, buffer, sizeof buffer)) > 0;)
        output.append(buffer, static_cast<std::size_t>(got));
    return output;
}

}  // namespace

std::optional<std::string> OutputOf(const std::vector<std::string>& words) {
    int ends[2];
    if (pipe(ends) != 0) return std::nullopt;
    pid_t child = 0;
    const int spawned = Spawn(words, ends, &child);
    close(ends[1]);
    std::string output = ReadToEnd(ends[0]);
    close(ends[0]);
    int status = 0;
    if (spawned != 0 || waitpid(child, &status, 0) != child || status != 0) return std::nullopt;
    return output;
}

bool IsInstalled(const std::string& program) {
    return OutputOf({"sh", "-c", "command -v " + program}).has_value();
}

int TakeProcessorTime(int argc, char** argv) {
    char** const kept = std::remove_if(argv + 1, argv + argc, [](const char* given) {
        return std::strcmp(given, "--processor_time") == 0;
    });
    hasProcessorTime = kept != argv + argc;
    return static_cast<int>(kept - argv);
}

double PresentMilliseconds() {
    return hasProcessorTime ? ProcessorMilliseconds() : ClockMilliseconds();
}

void RegisterTimed(const std::string& name, bool (*work)()) {
    const auto run = [work](benchmark::State& state) {
        for (auto _ : state) {
            const double start = PresentMilliseconds();
            if (!work()) state.SkipWithError("came to another result");
            state.SetIterationTime((PresentMilliseconds() - start) / 1e3);
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->UseManualTime();
}

}  // namespace Bench
