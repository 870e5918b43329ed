// ondrel info FILE...: what a file holds.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "ondrel/platform/FileCodes.h"
#include "ondrel/platform/Icons.h"
#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/PathForms.h"
#include "tools/ondrel/PreviewAccess.h"
#include "tools/ondrel/ResourceAccess.h"
#include "tools/ondrel/ResourceTable.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

using namespace Ondrel;

struct Options {
    std::vector<std::string> files;
    bool json = false;
};

struct IconSize {
    int width;
    int height;
    auto operator<=>(const IconSize&) const = default;
};

// What is known of a file. What could not be read is empty, and has been complained of.
struct Facts {
    std::string path;
    std::uint64_t dataSize = 0;
    std::optional<std::uint64_t> forkSize;
    std::optional<FileCodes> codes;
    std::vector<ResourceInfo> resources;
    std::optional<PreviewSize> preview;
    std::set<IconSize> icons;
    std::vector<std::pair<std::string, std::string>> pathForms;  // by form
    Status status = Status::kDone;
};

struct Flag {
    std::uint16_t bit;
    const char* name;
};

constexpr Flag kFlags[] = {
    {kFinderFlagIsShared, "shared"},         {kFinderFlagHasNoInits, "no inits"},
    {kFinderFlagHasBeenInited, "inited"},    {kFinderFlagHasCustomIcon, "custom icon"},
    {kFinderFlagIsStationery, "stationery"}, {kFinderFlagNameLocked, "name locked"},
    {kFinderFlagHasBundle, "bundle"},        {kFinderFlagIsInvisible, "invisible"},
    {kFinderFlagIsAlias, "alias"},
};

std::vector<std::string> FlagNames(std::uint16_t flags) {
    std::vector<std::string> names;
    if (const int colour = (flags & kFinderFlagColourMask) >> 1; colour != 0)
        names.push_back(fmt::format("colour {}", colour));
    for (const Flag& flag : kFlags)
        if ((flags & flag.bit) != 0) names.emplace_back(flag.name);
    return names;
}

// --- Gathering ----------------------------------------------------------------------------------

// Runs a part of the work; where it fails, the rest goes on.
template <class Part>
void Try(Facts* facts, Part part) {
    try {
        part();
    } catch (const Failure& failure) {
        Complain(failure.Subject(), failure.what());
        facts->status = Worse(facts->status, failure.GetStatus());
    }
}

std::set<IconSize> IconSizesOf(const std::string& file) {
    std::set<IconSize> sizes;
    const auto family = ReadResource(file, kIconFamilyType, kCustomIconId);
    if (!family) return sizes;
    std::vector<IconElement> elements;
    if (ListIconElements(*family, &elements) != noErr) Fail(file, "its icon is damaged");
    for (const IconElement& element : elements)
        if (element.width != 0) sizes.insert({element.width, element.height});
    return sizes;
}

void GatherPaths(const std::string& file, Facts* facts) {
    const filref reference = ReferenceOf(file);
    for (const std::string& form : AllForms())
        if (const auto shown = ShowPath(reference, FormOfName(form)))
            facts->pathForms.emplace_back(form, *shown);
}

void GatherFork(const std::string& file, Facts* facts) {
    FileCodes codes;
    FailOnError(GetFileCodes(FullPath(file).c_str(), &codes), file);
    facts->codes = codes;
    const std::string fork = ReadFork(file);
    facts->forkSize = fork.size();
    facts->resources = ResourcesOf(file, fork);
    Try(facts, [&] { facts->preview = ReadPreviewSize(file); });
    Try(facts, [&] { facts->icons = IconSizesOf(file); });
}

Facts Gather(const std::string& file) {
    RequireFile(file);
    Facts facts;
    facts.path = FullPath(file);
    facts.dataSize = DataSize(file);
    Try(&facts, [&] { GatherFork(file, &facts); });
    Try(&facts, [&] { GatherPaths(file, &facts); });
    return facts;
}

// --- Showing ------------------------------------------------------------------------------------

void Row(const char* title, const std::string& text) {
    PrintLine(fmt::format("  {:<14} {}", title, text));
}

std::string CodeOrNone(FourCC code) {
    return code == 0 ? "none" : Printable(CodeText(code));
}

void ShowCodes(const FileCodes& codes) {
    Row("type", CodeOrNone(codes.type));
    Row("creator", CodeOrNone(codes.creator));
    if (codes.finderFlags == 0) return;
    Row("Finder flags", fmt::format("0x{:04X} ({})", codes.finderFlags,
                                    fmt::join(FlagNames(codes.finderFlags), ", ")));
}

void ShowIcons(const std::set<IconSize>& icons) {
    std::vector<std::string> sizes;
    for (const IconSize& size : icons)
        sizes.push_back(size.width == size.height
                            ? std::to_string(size.width)
                            : fmt::format("{} x {}", size.width, size.height));
    if (!sizes.empty()) Row("icon", fmt::format("{} pixels", fmt::join(sizes, ", ")));
}

void ShowFacts(const Facts& facts) {
    PrintLine(Styled(Style::kHeading, Printable(facts.path)));
    Row("data fork", ByteCount(facts.dataSize));
    if (facts.forkSize) Row("resource fork", ByteCount(*facts.forkSize));
    if (facts.codes) ShowCodes(*facts.codes);
    const char* title = "resources";
    for (const std::string& line : ResourceLines(facts.resources)) {
        Row(title, line);
        title = "";
    }
    if (facts.preview)
        Row("preview", fmt::format("{} x {} pixels (PICT {})", facts.preview->width,
                                   facts.preview->height, facts.preview->id));
    ShowIcons(facts.icons);
    for (const auto& [form, text] : facts.pathForms)
        if (form != NameOf(PathForm::kPosix)) Row((form + " path").c_str(), Printable(text));
}

Json FactsAsJson(const Facts& facts) {
    Json json;
    json["path"] = ValidUtf8(facts.path);
    json["dataForkSize"] = facts.dataSize;
    json["resourceForkSize"] = facts.forkSize ? Json(*facts.forkSize) : Json();
    const FileCodes codes = facts.codes.value_or(FileCodes{});
    json["type"] = codes.type == 0 ? Json() : Json(CodeText(codes.type));
    json["creator"] = codes.creator == 0 ? Json() : Json(CodeText(codes.creator));
    json["finderFlags"] = {{"value", codes.finderFlags}, {"names", FlagNames(codes.finderFlags)}};
    json["resources"] = ResourcesAsJson(facts.resources);
    json["preview"] = Json();
    if (facts.preview)
        json["preview"] = {{"id", facts.preview->id},
                           {"width", facts.preview->width},
                           {"height", facts.preview->height}};
    json["icons"] = Json::array();
    for (const IconSize& size : facts.icons)
        json["icons"].push_back({{"width", size.width}, {"height", size.height}});
    json["paths"] = Json::object();
    for (const auto& [form, text] : facts.pathForms)
        json["paths"][form] = ValidUtf8(text);
    return json;
}

Status Inform(const Options& options) {
    Json list = Json::array();
    const Status status = ForEachFile(options.files, [&](const std::string& file) {
        const Facts facts = Gather(file);
        if (options.json)
            list.push_back(FactsAsJson(facts));
        else
            ShowFacts(facts);
        return facts.status;
    });
    if (options.json) PrintJson(list);
    return status;
}

}  // namespace

void DescribeInfo(Command* command) {
    auto options = std::make_shared<Options>();
    command->Flag("--json", &options->json, "print a JSON array with an object for each file");
    command->Operands("FILE", &options->files);
    command->Run([options] { return Inform(*options); });
}

}  // namespace OndrelTool
