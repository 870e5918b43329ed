// ondrel path TEXT: a path in the syntaxes of other systems.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "tools/ondrel/Commands.h"
#include "tools/ondrel/PathForms.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using Ondrel::filref;

struct Options {
    std::string text;
    std::optional<std::string> from;
    std::optional<std::string> to;
    bool json = false;
};

Status PrintOne(const filref& reference, const Options& options) {
    const auto shown = ShowPath(reference, FormOfName(*options.to));
    if (!shown) Fail(options.text, fmt::format("has no {} form", *options.to));
    PrintLine(IsOutputTerminal() ? Printable(*shown) : *shown);
    return Status::kDone;
}

void PrintAll(const filref& reference) {
    for (const std::string& form : AllForms())
        if (const auto shown = ShowPath(reference, FormOfName(form)))
            PrintLine(fmt::format("{:<8} {}", form, Printable(*shown)));
}

void PrintAsJson(const filref& reference) {
    Json forms;
    for (const std::string& form : AllForms()) {
        const auto shown = ShowPath(reference, FormOfName(form));
        forms[form] = shown ? Json(ValidUtf8(*shown)) : Json();
    }
    PrintJson(forms);
}

Status Show(const Options& options) {
    const filref reference = ReadPath(options.text, FormOfName(options.from.value_or("posix")));
    if (options.to && !options.json) return PrintOne(reference, options);
    if (options.json)
        PrintAsJson(reference);
    else
        PrintAll(reference);
    return Status::kDone;
}

}  // namespace

void DescribePath(Command* command) {
    auto options = std::make_shared<Options>();
    command->Choice("--from", ReadableForms(), &options->from, "the form of TEXT (posix)");
    command->Choice("--to", AllForms(), &options->to, "the form wanted; without it, all of them");
    command->Flag("--json", &options->json, "print all forms as JSON");
    command->Operand("TEXT", &options->text);
    command->Notes(
        "Paths are rewritten, not looked up. A POSIX path may be relative to the present folder.\n"
        "Volumes are named as the variable ONDREL_VOLUMES says (\"Macintosh HD=/srv/mac\"); the "
        "root\nfolder is the volume Root.\n\n"
        "  ondrel path --from mac --to posix 'Root:etc:hosts'\n"
        "  ondrel path --to url 'My file.txt'");
    command->Run([options] { return Show(*options); });
}

}  // namespace OndrelTool
