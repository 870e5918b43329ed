// Runs the registered benchmarks and prints the medians as a Markdown table: a row for each work, a
// column for each contender, each with its time and its ratio to the floor.
//
// A benchmark's name is "work/contender"; the contender "floor" is what the others are measured
// against. A benchmark that reports an error fails the whole run. A work's name begins with the
// letter of its group (see Report.cc).
#ifndef BENCH_RATIOTABLE_H
#define BENCH_RATIOTABLE_H

#include <string>
#include <vector>

namespace Bench {

// `contenders` gives the order of the columns; those in `skipped` are named below the table.
// Arguments are Google Benchmark's; --processor_time, which takes the processor's time in place of
// the clock's: work that never waits can so be measured on a machine that others use as well; and
// --results=FILE, which adds the figures to that file, for bench_report.
// The result is the program's.
int RunAndPrint(int argc, char** argv, const std::vector<std::string>& contenders,
                const std::vector<std::string>& skipped);

}  // namespace Bench

#endif
