// ondrel fork list|export|import FILE: the resource fork of a file.
#include <fmt/format.h>
#include <unistd.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/NewFile.h"
#include "tools/ondrel/ResourceAccess.h"
#include "tools/ondrel/ResourceTable.h"
#include "tools/ondrel/StandardInput.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

constexpr std::size_t kMostForkBytes = 0x7FFFFFFF;

struct Options {
    std::string file;
    std::optional<std::string> place;  // of the fork outside of the file
    bool json = false;
    bool force = false;
};

// --- list ---------------------------------------------------------------------------------------

Status List(const Options& options) {
    RequireFile(options.file);
    const std::string fork = ReadFork(options.file);
    const std::vector<ResourceInfo> resources = ResourcesOf(options.file, fork);
    if (options.json) {
        PrintJson({{"size", fork.size()}, {"resources", ResourcesAsJson(resources)}});
    } else if (fork.empty()) {
        Complain(options.file, "has no resource fork");
    } else {
        for (const std::string& line : ResourceLines(resources))
            PrintLine(line);
    }
    return fork.empty() ? Status::kNothing : Status::kDone;
}

void DescribeList(Command* command) {
    auto options = std::make_shared<Options>();
    command->Flag("--json", &options->json, "print JSON");
    command->Operand("FILE", &options->file);
    command->Run([options] { return List(*options); });
}

// --- export -------------------------------------------------------------------------------------

Status Export(const Options& options) {
    RequireFile(options.file);
    const std::string place = options.place.value_or("-");
    if (place == "-" && IsOutputTerminal())
        FailUsage("a resource fork is no text for a terminal; say where to with -o");
    const std::string fork = ReadFork(options.file);
    if (fork.empty()) {
        Complain(options.file, "has no resource fork");
        return Status::kNothing;
    }
    if (place == "-")
        Print(fork);
    else
        WriteNewFile(place, fork);
    return Status::kDone;
}

void DescribeExport(Command* command) {
    auto options = std::make_shared<Options>();
    command->Text("-o,--output", "OUT", &options->place, "write here (standard output)");
    command->Operand("FILE", &options->file);
    command->Run([options] { return Export(*options); });
}

// --- import -------------------------------------------------------------------------------------

std::string ReadNewFork(const Options& options) {
    const std::string place = options.place.value_or("-");
    return place == "-" ? ReadStandardInput(kMostForkBytes) : ReadWholeFile(place, kMostForkBytes);
}

Status Import(const Options& options) {
    RequireFile(options.file);
    const HoldInterrupts hold;
    const std::string fork = ReadNewFork(options);
    const std::string source = options.place.value_or("standard input");
    std::vector<ResourceInfo> resources;
    if (!options.force && ListForkResources(fork, &resources) != noErr)
        Fail(source, fork.empty() ? "is empty (--force takes the fork away)"
                                  : "is no resource fork (--force takes it all the same)");
    CheckInterrupt();
    WriteFork(options.file, fork);
    return Status::kDone;
}

void DescribeImport(Command* command) {
    auto options = std::make_shared<Options>();
    command->Text("-i,--input", "IN", &options->place, "read the fork from here (standard input)");
    command->Flag("--force", &options->force, "take bytes that are no resource fork, or none");
    command->Operand("FILE", &options->file);
    command->Notes("The file's old resource fork is replaced in one step; codes and data stay.");
    command->Run([options] { return Import(*options); });
}

}  // namespace

void DescribeFork(Command* command) {
    command->Subcommand("list", "Lists the resources of a file.", DescribeList);
    command->Subcommand("export", "Writes a file's resource fork as it is.", DescribeExport);
    command->Subcommand("import", "Gives a file a resource fork.", DescribeImport);
}

}  // namespace OndrelTool
