// Running a built program in a test, as a shell would: its words, its input, what it said, how it
// ended, and the surroundings in which it meets trouble.
//
//   const ProgramResult result = Program({kTool, "info", path}).Run();
//   EXPECT_EQ(result.status, 0);
#ifndef TESTS_SUPPORT_PROGRAM_H
#define TESTS_SUPPORT_PROGRAM_H

#include <sys/ioctl.h>
#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ondrel::Testing {

struct ProgramResult {
    int status = -1;     // the exit code; -1 when a signal has ended it
    int signal = 0;      // that signal
    std::string output;  // on a terminal all that it got, with its line ends
    std::string errors;
};

class Program {
 public:
    // The first word is the program's path.
    explicit Program(std::vector<std::string> words) : words_(std::move(words)) {}

    Program& Input(std::string bytes);
    Program& In(std::string folder);                     // the present folder
    Program& With(std::string name, std::string value);  // an environment variable
    Program& AsNobody();                                 // when the test runs as root
    Program& WithFilesUpTo(long bytes);                  // longer ones fail as a full disk does
    Program& WithClosedPipe();                           // nobody reads standard output
    Program& To(std::string path);  // standard output is this file or device; "" closes it
    Program& OnTerminal(int columns, int lines);  // standard output and standard error are one
    Program& WithOpenInput();                     // the input does not end before `Meanwhile` has
    Program& WithClosedInput();
    Program& Meanwhile(std::function<void(pid_t)> action);  // once it runs, in the test's process

    // Runs it to its end, or kills it after `seconds`, which is a test failure.
    ProgramResult Run(int seconds = 60) const;

 private:
    [[noreturn]] void Become() const;

    std::vector<std::string> words_;
    std::vector<std::pair<std::string, std::string>> environment_;
    std::string input_;
    std::string folder_;
    bool asNobody_ = false;
    long mostBytes_ = -1;
    bool closedPipe_ = false;
    std::optional<std::string> outputPath_;
    bool onTerminal_ = false;
    struct winsize size_ {};
    bool openInput_ = false;
    bool closedInput_ = false;
    std::function<void(pid_t)> meanwhile_;
};

}  // namespace Ondrel::Testing

#endif
