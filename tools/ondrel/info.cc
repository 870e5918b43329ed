// ondrel info FILE...: what a file holds.
#include <memory>

#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/StandardOutput.h"

namespace OndrelTool {
namespace {

struct Options {
    std::vector<std::string> files;
    bool json = false;
};

}  // namespace

void DescribeInfo(Command* command) {
    auto options = std::make_shared<Options>();
    command->Flag("--json", &options->json, "print JSON");
    command->Operands("FILE", &options->files);
    command->Run([options] {
        return ForEachFile(options->files, [&](const std::string& file) {
            RequireReadableFile(file);
            PrintLine(FullPath(file));
            return Status::kDone;
        });
    });
}

}  // namespace OndrelTool
