// Programs run by tests. Their streams are files, so that no reader is needed while they run.
#include "tests/support/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace Ondrel::Testing {
namespace {

constexpr unsigned kNobody = 65534;

// A file in memory: the child's stream, whose bytes stay when the child is gone.
class Stream {
 public:
    explicit Stream(const std::string& bytes = {}) : fd_(memfd_create("stream", MFD_CLOEXEC)) {
        EXPECT_GE(fd_, 0);
        EXPECT_EQ(pwrite(fd_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }
    ~Stream() { close(fd_); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    int Descriptor() const { return fd_; }

    std::string Bytes() const {
        std::string bytes(static_cast<std::size_t>(lseek(fd_, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(fd_, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        return bytes;
    }

 private:
    int fd_;
};

// The writing end of a pipe that nobody reads.
int ClosedPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return -1;
    close(ends[0]);
    return ends[1];
}

bool DropPrivileges() {
    return geteuid() != 0 ||
           (setresgid(kNobody, kNobody, kNobody) == 0 && setresuid(kNobody, kNobody, kNobody) == 0);
}

int WaitFor(pid_t child, int seconds) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << "the program does not end";
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return status;
}

}  // namespace

Program& Program::Input(std::string bytes) {
    input_ = std::move(bytes);
    return *this;
}

Program& Program::In(std::string folder) {
    folder_ = std::move(folder);
    return *this;
}

Program& Program::With(std::string name, std::string value) {
    environment_.emplace_back(std::move(name), std::move(value));
    return *this;
}

Program& Program::AsNobody() {
    asNobody_ = true;
    return *this;
}

Program& Program::WithFilesUpTo(long bytes) {
    mostBytes_ = bytes;
    return *this;
}

Program& Program::WithClosedPipe() {
    closedPipe_ = true;
    return *this;
}

Program& Program::Meanwhile(std::function<void(pid_t)> action) {
    meanwhile_ = std::move(action);
    return *this;
}

// In the child: the surroundings, and then the program. 126 and 127 are as a shell's.
void Program::Become() const {
    for (const auto& [name, value] : environment_)
        setenv(name.c_str(), value.c_str(), 1);
    if (!folder_.empty() && chdir(folder_.c_str()) != 0) _exit(126);
    if (mostBytes_ >= 0) {
        const struct rlimit limit = {static_cast<rlim_t>(mostBytes_),
                                     static_cast<rlim_t>(mostBytes_)};
        signal(SIGXFSZ, SIG_IGN);
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(126);
    }
    if (asNobody_ && !DropPrivileges()) _exit(126);
    std::vector<char*> words;
    for (const std::string& word : words_)
        words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

ProgramResult Program::Run(int seconds) const {
    const Stream input(input_);
    const Stream output;
    const Stream errors;
    const int pipe = closedPipe_ ? ClosedPipe() : -1;
    const pid_t child = fork();
    if (child == 0) {
        dup2(input.Descriptor(), STDIN_FILENO);
        dup2(closedPipe_ ? pipe : output.Descriptor(), STDOUT_FILENO);
        dup2(errors.Descriptor(), STDERR_FILENO);
        Become();
    }
    EXPECT_GT(child, 0);
    if (pipe >= 0) close(pipe);
    if (meanwhile_) meanwhile_(child);
    const int status = WaitFor(child, seconds);
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.output = output.Bytes();
    result.errors = errors.Bytes();
    return result;
}

}  // namespace Ondrel::Testing
