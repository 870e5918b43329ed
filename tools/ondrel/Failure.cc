// Messages and statuses.
#include "tools/ondrel/Failure.h"

#include <unistd.h>

#include "ondrel/platform/Errors.h"
#include "tools/ondrel/Progress.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {

using namespace Ondrel;

void Fail(std::string_view subject, const std::string& message) {
    throw Failure(Status::kFailed, std::string(subject), message);
}

void FailUsage(const std::string& message) {
    throw Failure(Status::kUsage, "", message);
}

void FailOnError(OSErr code, std::string_view subject) {
    if (code != noErr) Fail(subject, Explain(code));
}

// One write a line, so that the lines of several programs do not mix.
void Complain(std::string_view subject, std::string_view message) {
    HideProgress();
    std::string line = "ondrel: ";
    if (!subject.empty()) line += Printable(subject) + ": ";
    line += Printable(message) + "\n";
    (void)!write(STDERR_FILENO, line.data(), line.size());
}

std::string Explain(OSErr code) {
    switch (code) {
        case fnfErr:
            return "no such file";
        case permErr:
            return "permission denied";
        case dskFulErr:
            return "the disk is full, or the file would be too large";
        case dirNFErr:
            return "no such folder";
        case opWrErr:
            return "another program is writing it";
        case mapReadErr:
            return "its resource fork or its sidecar is damaged";
        case resFNotFound:
            return "it has no resource fork";
        default:
            break;
    }
    for (const ErrorEntry& entry : ErrorTable())
        if (entry.code == code)
            return std::string(entry.sentence) + " (" + std::to_string(code) + ")";
    return "error " + std::to_string(code);
}

Status ForEachFile(const std::vector<std::string>& files,
                   const std::function<Status(const std::string& file)>& operation) {
    Status worst = Status::kDone;
    for (const std::string& file : files) {
        try {
            worst = Worse(worst, operation(file));
        } catch (const OutputFailure&) {
            throw;
        } catch (const Failure& failure) {
            Complain(failure.Subject(), failure.what());
            worst = Worse(worst, failure.GetStatus());
        }
    }
    return worst;
}

}  // namespace OndrelTool
