// ondrel codes FILE: type and creator, shown and set.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "ondrel/platform/FileCodes.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

struct Options {
    std::string file;
    std::optional<std::string> type;
    std::optional<std::string> creator;
    bool json = false;
};

FourCC CodeOption(const char* name, const std::string& text) {
    const auto code = ParseCode(text);
    if (!code)
        FailUsage(fmt::format("--{} takes four characters, or 0x and eight digits, not '{}'", name,
                              text));
    return *code;
}

FileCodes CodesOf(const std::string& file) {
    FileCodes codes;
    FailOnError(GetFileCodes(FullPath(file).c_str(), &codes), file);
    return codes;
}

Json AsJson(FourCC code) {
    return code == 0 ? Json() : Json(CodeText(code));
}

Status Show(const Options& options) {
    const FileCodes codes = CodesOf(options.file);
    const bool hasSome = codes.type != 0 || codes.creator != 0;
    if (options.json) {
        PrintJson({{"type", AsJson(codes.type)}, {"creator", AsJson(codes.creator)}});
    } else if (hasSome) {
        PrintLine(fmt::format("type     {}", codes.type == 0 ? "none" : CodeText(codes.type)));
        PrintLine(
            fmt::format("creator  {}", codes.creator == 0 ? "none" : CodeText(codes.creator)));
    } else {
        Complain(options.file, "has no codes");
    }
    return hasSome ? Status::kDone : Status::kNothing;
}

Status Set(const Options& options) {
    const HoldInterrupts hold;
    FileCodes codes = CodesOf(options.file);
    if (options.type) codes.type = CodeOption("type", *options.type);
    if (options.creator) codes.creator = CodeOption("creator", *options.creator);
    FailOnError(SetFileCodes(FullPath(options.file).c_str(), codes), options.file);
    return Status::kDone;
}

}  // namespace

void DescribeCodes(Command* command) {
    auto options = std::make_shared<Options>();
    command->Text("--type", "XXXX", &options->type, "give the file this type");
    command->Text("--creator", "XXXX", &options->creator, "give the file this creator");
    command->Flag("--json", &options->json, "print JSON");
    command->Operand("FILE", &options->file);
    command->Notes(
        "A code is four characters (\"TEXT\"), or 0x and eight digits; 0x00000000 takes it away.\n"
        "What is not given stays as it is.");
    command->Run([options] {
        RequireFile(options->file);
        return options->type || options->creator ? Set(*options) : Show(*options);
    });
}

}  // namespace OndrelTool
