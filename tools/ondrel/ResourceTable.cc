// Resources, shown.
#include "tools/ondrel/ResourceTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/ondrel/Text.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

const char* StateOf(const ResourceInfo& resource) {
    if (resource.isDamaged) return "damaged";
    return resource.isCompressed ? "compressed" : "plain";
}

}  // namespace

std::vector<std::string> ResourceLines(const std::vector<ResourceInfo>& resources) {
    std::size_t width = 0;
    for (const ResourceInfo& resource : resources)
        width = std::max(width, ByteCount(resource.size).size());
    std::vector<std::string> lines;
    for (const ResourceInfo& resource : resources) {
        std::string line = fmt::format("{:<4} {:>6}  {:>{}}", CodeText(resource.type), resource.id,
                                       ByteCount(resource.size), width);
        if (resource.isDamaged || resource.isCompressed)
            line += fmt::format("  ({})", StateOf(resource));
        if (resource.hasName) line += "  " + Printable(FromMacRoman(resource.name));
        lines.push_back(line);
    }
    return lines;
}

Json ResourcesAsJson(const std::vector<ResourceInfo>& resources) {
    Json list = Json::array();
    for (const ResourceInfo& resource : resources) {
        list.push_back({{"type", CodeText(resource.type)},
                        {"id", resource.id},
                        {"name", resource.hasName ? Json(FromMacRoman(resource.name)) : Json()},
                        {"size", resource.size},
                        {"attributes", resource.attributes},
                        {"state", StateOf(resource)}});
    }
    return list;
}

}  // namespace OndrelTool
