// Contenders that are programs of their own: running them, and the time they take.
#ifndef BENCH_PROGRAMS_H
#define BENCH_PROGRAMS_H

#include <optional>
#include <string>
#include <vector>

namespace Bench {

// Runs a program and answers what it prints; none when it fails.
std::optional<std::string> OutputOf(const std::vector<std::string>& words);

bool IsInstalled(const std::string& program);

// Takes --processor_time out of the arguments: the table's own would not count what other programs
// take. Answers how many arguments are left.
int TakeProcessorTime(int argc, char** argv);

// The present time by the clock; after --processor_time what this process and the programs that it
// has run have used so far of all processors.
double PresentMilliseconds();

// Registers a benchmark of that time. A work that answers false fails it.
void RegisterTimed(const std::string& name, bool (*work)());

}  // namespace Bench

#endif
