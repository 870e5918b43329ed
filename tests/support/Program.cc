// Programs run by tests. Their streams are files, so that no reader is needed while they run.
#include "tests/support/Program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
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

// A terminal, and a thread that reads what is written to it until everyone has closed it.
class Terminal {
 public:
    explicit Terminal(const struct winsize& size) {
        EXPECT_EQ(openpty(&master_, &slave_, nullptr, nullptr, &size), 0);
    }
    ~Terminal() {
        if (slave_ >= 0) close(slave_);
        if (reader_.joinable()) reader_.join();
        close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int Descriptor() const { return slave_; }

    // For the parent: the child has the terminal now.
    void Watch() {
        close(std::exchange(slave_, -1));
        reader_ = std::thread([this] {
            char piece[4096];
            for (ssize_t got; (got = read(master_, piece, sizeof piece)) > 0;)
                bytes_.append(piece, static_cast<std::size_t>(got));
        });
    }

    // For when the child is gone.
    std::string Bytes() {
        reader_.join();
        return bytes_;
    }

 private:
    int master_ = -1;
    int slave_ = -1;
    std::string bytes_;
    std::thread reader_;
};

// The writing end of a pipe that nobody reads.
int ClosedPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return -1;
    close(ends[0]);
    return ends[1];
}

// A pipe that holds some bytes and does not end until it is told to.
class OpenPipe {
 public:
    explicit OpenPipe(const std::string& bytes) {
        EXPECT_EQ(pipe2(ends_, O_CLOEXEC | O_NONBLOCK), 0);
        const std::size_t size = std::min<std::size_t>(bytes.size(), 1 << 15);
        EXPECT_EQ(write(ends_[1], bytes.data(), size), static_cast<ssize_t>(size));
        EXPECT_EQ(fcntl(ends_[0], F_SETFL, 0), 0);
    }
    ~OpenPipe() {
        close(ends_[0]);
        End();
    }
    OpenPipe(const OpenPipe&) = delete;
    OpenPipe& operator=(const OpenPipe&) = delete;

    int Reader() const { return ends_[0]; }
    void End() {
        if (ends_[1] >= 0) close(std::exchange(ends_[1], -1));
    }

 private:
    int ends_[2] = {-1, -1};
};

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

Program& Program::To(std::string path) {
    outputPath_ = std::move(path);
    return *this;
}

Program& Program::OnTerminal(int columns, int lines) {
    onTerminal_ = true;
    size_.ws_col = static_cast<unsigned short>(columns);
    size_.ws_row = static_cast<unsigned short>(lines);
    return *this;
}

Program& Program::WithOpenInput() {
    openInput_ = true;
    return *this;
}

Program& Program::WithClosedInput() {
    closedInput_ = true;
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
    if (closedInput_) close(STDIN_FILENO);
    if (outputPath_) {
        close(STDOUT_FILENO);
        if (!outputPath_->empty() && open(outputPath_->c_str(), O_WRONLY) != STDOUT_FILENO)
            _exit(126);
    }
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
    std::optional<Terminal> terminal;
    if (onTerminal_) terminal.emplace(size_);
    const int pipe = closedPipe_ ? ClosedPipe() : -1;
    OpenPipe held(input_);
    const pid_t child = fork();
    if (child == 0) {
        dup2(openInput_ ? held.Reader() : input.Descriptor(), STDIN_FILENO);
        dup2(terminal      ? terminal->Descriptor()
             : closedPipe_ ? pipe
                           : output.Descriptor(),
             STDOUT_FILENO);
        dup2(terminal ? terminal->Descriptor() : errors.Descriptor(), STDERR_FILENO);
        Become();
    }
    EXPECT_GT(child, 0);
    if (terminal) terminal->Watch();
    if (pipe >= 0) close(pipe);
    if (meanwhile_) meanwhile_(child);
    held.End();
    const int status = WaitFor(child, seconds);
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    result.output = terminal ? terminal->Bytes() : output.Bytes();
    result.errors = errors.Bytes();
    return result;
}

}  // namespace Ondrel::Testing
