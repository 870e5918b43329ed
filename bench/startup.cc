// What it costs a program to be linked with the libraries: the time that an empty program takes to
// start and end, with and without them, and what the dynamic linker finds in them. Markdown on
// standard output. The arguments are the two programs and the two libraries.
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace {

double MillisecondsOf(char* program) {
    char* arguments[] = {program, nullptr};
    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = 0;
    if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0)
        std::abort();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    return time.count();
}

double Median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// The number of lines that a program prints which hold a text.
int CountLines(const std::string& command, const std::string& text) {
    FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return -1;
    int count = 0;
    char line[4096];
    while (std::fgets(line, sizeof line, pipe) != nullptr)
        count += std::string(line).find(text) != std::string::npos ? 1 : 0;
    return pclose(pipe) == 0 ? count : -1;
}

void PrintLibrary(const std::string& path) {
    const std::string relocations = "readelf -rW '" + path + "'";
    const std::string name = path.substr(path.rfind('/') + 1);
    std::printf("| %s | %d | %d | %d | %d |\n", name.c_str(), CountLines(relocations, "_RELATIVE"),
                CountLines(relocations, "_GLOB_DAT") + CountLines(relocations, "R_X86_64_64 "),
                CountLines(relocations, "_JUMP_SLO"),
                CountLines("nm -C '" + path + "'", "_GLOBAL__sub_I_"));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    std::vector<double> without;
    std::vector<double> with;
    for (int run = 0; run < 200; ++run) {
        without.push_back(MillisecondsOf(argv[1]));
        with.push_back(MillisecondsOf(argv[2]));
    }
    std::printf(
        "An empty C++ program starts and ends in %.2f ms, one linked with the libraries in "
        "%.2f ms (medians of 200).\n\n",
        Median(without), Median(with));
    std::printf(
        "| library | relative relocations | symbols | calls bound at the start | static "
        "initialisers |\n|---|---:|---:|---:|---:|\n");
    PrintLibrary(argv[3]);
    PrintLibrary(argv[4]);
    return 0;
}
