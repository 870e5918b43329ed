// ondrel COMMAND ...: the documents' forks, codes, previews and links, for the command line.
#include <exception>
#include <string>
#include <vector>

#include "ondrel/platform/Bundle.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/Failure.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"

namespace {

using namespace OndrelTool;

// What has been printed before a failure is still shown.
template <class Operation>
Status Guarded(Operation operation) {
    try {
        return operation();
    } catch (const Failure& failure) {
        Complain(failure.Subject(), failure.what());
        return failure.GetStatus();
    } catch (const Interrupted&) {
        return Status::kFailed;  // the signal ends the program where it is no longer held off
    } catch (const std::exception& failure) {
        Complain("", failure.what());
        return Status::kFailed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    GuardStandardStreams();
    PrepareSignals();
    // Names of the library's temporary files begin with the creator.
    Ondrel::SetMainBundlePackageInfo(Ondrel::MakeFourCC("APPL"), Ondrel::MakeFourCC("Ondr"));
    const std::vector<std::string> words(argv, argv + argc);
    const Status status = Guarded([&] { return AllCommands().Execute(words); });
    const Status finished = Guarded([] {
        FinishOutput();
        return Status::kDone;
    });
    return static_cast<int>(Worse(status, finished));
}
