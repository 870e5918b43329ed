// How commands fail: a status for the shell, and one line on standard error that names the file.
#ifndef TOOLS_ONDREL_FAILURE_H
#define TOOLS_ONDREL_FAILURE_H

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "ondrel/platform/Types.h"

namespace OndrelTool {

// Exit codes, the worse ones higher.
enum class Status : int {
    kDone = 0,
    kNothing = 1,  // a file, or what it should hold, is not there; nothing to do
    kUsage = 2,    // the command line is wrong
    kFailed = 3,
};

inline Status Worse(Status a, Status b) {
    return a < b ? b : a;
}

// What a command throws to give up. `subject` is the file (or whatever) that it could not deal
// with; empty where there is none.
class Failure : public std::runtime_error {
 public:
    Failure(Status status, std::string subject, const std::string& message)
        : std::runtime_error(message), status_(status), subject_(std::move(subject)) {}

    Status GetStatus() const { return status_; }
    const std::string& Subject() const { return subject_; }

 private:
    Status status_;
    std::string subject_;
};

// Standard output cannot be written: no other file is to have its turn.
class OutputFailure : public Failure {
 public:
    using Failure::Failure;
};

[[noreturn]] void Fail(std::string_view subject, const std::string& message);
[[noreturn]] void FailUsage(const std::string& message);

// Throws where a call of the library answered a code: "FILE: permission denied".
void FailOnError(Ondrel::OSErr code, std::string_view subject);

// "ondrel: SUBJECT: MESSAGE" on standard error, control characters made visible.
void Complain(std::string_view subject, std::string_view message);

// The library's code in words for the user: "permission denied".
std::string Explain(Ondrel::OSErr code);

// Runs an operation on each file. One that throws a Failure is complained of, and the others have
// their turn. The worst status of all is the answer.
Status ForEachFile(const std::vector<std::string>& files,
                   const std::function<Status(const std::string& file)>& operation);

}  // namespace OndrelTool

#endif
