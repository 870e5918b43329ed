// ondrel links FILE --layout LAYOUT: where a document's links lead, and finding lost ones again.
#include <fmt/format.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "ondrel/platform/Bundle.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/Interrupts.h"
#include "tools/ondrel/LayoutArgument.h"
#include "tools/ondrel/Progress.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"
#include "tools/ondrel/layout/Find.h"
#include "tools/ondrel/layout/Relink.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

struct Options {
    std::string file;
    std::optional<std::string> layout;
    std::optional<std::string> folder;
    bool json = false;
};

// A document's links with what was found for the lost ones.
struct Report {
    DocumentLinks document;
    std::vector<Sought> sought;  // one for each lost path
    std::map<std::string, std::size_t> soughtAt;
    std::vector<NewTarget> targets;  // for the lost links whose files were found
    std::size_t lost = 0;            // links
    bool saved = false;
};

// What a link is looked for by: where it would lead, else where it led.
const std::string& LostPath(const Link& link) {
    return link.value.text.empty() ? link.value.stored : link.value.text;
}

const Sought* SoughtFor(const Report& report, const Link& link) {
    if (link.state != LinkState::kLost) return nullptr;
    return &report.sought[report.soughtAt.at(LostPath(link))];
}

// --- Printing -----------------------------------------------------------------------------------

std::string PathOf(const Link& link) {
    if (link.state == LinkState::kEmpty) return "no file";
    if (link.state == LinkState::kAtOldPlace || link.value.text.empty()) return link.value.stored;
    return link.value.text;
}

void PrintLink(const Report& report, const Link& link) {
    const std::string state = fmt::format("{:<16}", StateName(link.state));
    PrintLine(fmt::format("{:>8}  {}{}  {}", link.value.begin,
                          link.state == LinkState::kLost ? Styled(Style::kWarning, state) : state,
                          LabelOf(link.value), Printable(PathOf(link))));
    const Sought* const sought = SoughtFor(report, link);
    if (sought == nullptr) return;
    if (!sought->found.empty()) PrintLine("          found again:    " + Printable(sought->found));
    for (const std::string& place : sought->equal)
        PrintLine("          might be:       " + Printable(place));
}

void PrintLines(const Report& report) {
    for (const Link& link : report.document.links)
        PrintLink(report, link);
}

Json JsonOf(const Report& report, const Link& link) {
    const auto text = [](const std::string& path) {
        return path.empty() ? Json() : Json(ValidUtf8(path));
    };
    Json json;
    json["position"] = link.value.begin;
    json["size"] = link.value.end - link.value.begin;
    json["name"] = link.value.path;
    json["type"] = FormName(link.value.form);
    json["value"] = text(link.value.text);
    if (link.value.form == Form::kRefRel) json["stored"] = text(link.value.stored);
    json["state"] = StateName(link.state);
    json["place"] = text(link.place);
    if (const Sought* const sought = SoughtFor(report, link)) {
        json["found"] = text(sought->found);
        for (const std::string& place : sought->equal)
            json["candidates"].push_back(ValidUtf8(place));
    }
    return json;
}

void PrintJsonOf(const Options& options, const Report& report) {
    Json json;
    json["file"] = ValidUtf8(FullPath(options.file));
    json["links"] = Json::array();
    for (const Link& link : report.document.links)
        json["links"].push_back(JsonOf(report, link));
    json["lost"] = report.lost;
    json["saved"] = report.saved;
    PrintJson(json);
}

void PrintReport(const Options& options, const Report& report) {
    if (options.json)
        PrintJsonOf(options, report);
    else
        PrintLines(report);
}

// --- Finding and saving -------------------------------------------------------------------------

void ListLost(Report* report) {
    for (const Link& link : report->document.links) {
        if (link.state != LinkState::kLost) continue;
        ++report->lost;
        if (report->soughtAt.emplace(LostPath(link), report->sought.size()).second)
            report->sought.push_back({LostPath(link), {}, {}});
    }
}

void FindAll(const Options& options, Report* report) {
    Progress progress("Searching", 0);
    const auto step = [&](const std::string& folder) { progress.Step(folder); };
    if (!FindLost(SpecOf(*options.folder), step, &report->sought)) CheckInterrupt();
    for (std::size_t i = 0; i < report->document.links.size(); ++i) {
        const Sought* const sought = SoughtFor(*report, report->document.links[i]);
        if (sought != nullptr && !sought->found.empty())
            report->targets.push_back({i, sought->found});
    }
}

// A sentence as the first half of another one.
std::string WithoutStop(std::string sentence) {
    if (sentence.ends_with('.')) sentence.pop_back();
    return sentence;
}

// All lost links, or none.
Status Relink(const Options& options, const Layout& layout, Report* report) {
    const HoldInterrupts hold;
    SetMainBundlePackageInfo(MakeFourCC("APPL"), MakeFourCC("Ondr"));  // temporary names begin so
    FindAll(options, report);
    const std::size_t missing = report->lost - report->targets.size();
    Rewritten rewritten;
    if (missing == 0) rewritten = RewriteLinks(report->document, layout, report->targets);
    report->saved = rewritten.saved;
    PrintReport(options, *report);
    if (!rewritten.saved) CheckInterrupt();
    if (!rewritten.problem.empty())
        Fail(options.file, WithoutStop(rewritten.problem) +
                               (rewritten.saved ? "; the links are repaired, but a crash of the "
                                                  "machine might undo it"
                                                : "; nothing was changed"));
    if (missing == 0) return Status::kDone;
    throw Failure(Status::kNothing, options.file,
                  fmt::format("{} of {} lost links cannot be told below {}; nothing was changed",
                              missing, report->lost, *options.folder));
}

Status Links(const Options& options) {
    const Layout layout = LayoutOf(*options.layout);
    if (!HasLinks(layout)) throw Failure(Status::kUsage, "--layout", "no ref or refrel is in it");
    RequireReadableFile(options.file);
    if (options.folder) RequireFolder(*options.folder);
    Report report;
    const auto fault = ReadLinks(SpecOf(options.file), layout, nullptr, &report.document);
    if (fault) Fail(options.file, TextOf(*fault));
    ListLost(&report);
    if (options.folder && report.lost > 0) return Relink(options, layout, &report);
    PrintReport(options, report);
    if (options.folder)
        throw Failure(Status::kNothing, options.file, "no link is lost; nothing was changed");
    if (report.lost == 0) return Status::kDone;
    throw Failure(
        Status::kNothing, options.file,
        fmt::format("{} of {} links lead nowhere", report.lost, report.document.links.size()));
}

}  // namespace

void DescribeLinks(Command* command) {
    auto options = std::make_shared<Options>();
    TakeLayout(command, &options->layout);
    command->Text("--relink", "FOLDER", &options->folder,
                  "find lost files in FOLDER and below; save FILE with all repaired");
    command->Flag("--json", &options->json, "print JSON");
    command->Operand("FILE", &options->file);
    command->Notes(
        "The layout is that of ondrel dump; its forms ref and refrel are the links. With "
        "--relink,\n"
        "all lost links are repaired or none. Of files of one name the one is taken that lies "
        "most\n"
        "like the lost one did; where a choice is left, none. Exit code 1: links lead nowhere, or\n"
        "are not all found.");
    command->Run([options] { return Links(*options); });
}

}  // namespace OndrelTool
