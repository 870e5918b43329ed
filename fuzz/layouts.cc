// The tool's layout language, and documents read by it: the bytes up to the first NUL are a layout,
// those behind it a document. A text that is no layout tells where. The values that are handed out
// follow one another without gap or overlap, and a walk without a fault has handed out the whole
// document. Links of such a document can be led elsewhere, and are then all there.
#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "fuzz/Document.h"
#include "ondrel/core/Process.h"
#include "tools/ondrel/layout/Links.h"
#include "tools/ondrel/layout/Relink.h"
#include "tools/ondrel/layout/Walk.h"

using namespace OndrelTool;
using OndrelFuzz::Require;

namespace {

// True when the document follows the layout to its end.
bool Walk(const Ondrel::FileSpec& document, int size, const Layout& layout) {
    int at = 0;
    const auto fault = WalkDocument(document, layout, {}, [&](const Value& value) {
        Require(value.begin == at && value.begin <= value.end && value.end <= size);
        Require(value.depth >= 0 && value.depth <= kMostDepth);
        at = value.end;
    });
    if (!fault) {
        Require(at == size);
        return true;
    }
    Require(0 <= fault->position && fault->position <= size && !fault->what.empty());
    return false;
}

// Leads every other link to a new place, and reads what was written.
void Relink(const Ondrel::FileSpec& document, const Layout& layout) {
    DocumentLinks old;
    Require(!ReadLinks(document, layout, nullptr, &old));
    std::vector<NewTarget> targets;
    for (std::size_t i = 0; i < old.links.size(); i += 2)
        targets.push_back({i, i % 4 == 0 ? "Fuzz:moved" : "Other volume:Folder:moved"});
    for (const Link& link : old.links)
        Require(StateName(link.state) != "empty" || link.place.empty());
    if (targets.empty()) return;
    const Rewritten result = RewriteLinks(old, layout, targets);
    Require(result.saved || !result.problem.empty());
    DocumentLinks now;
    Require(!ReadLinks(document, layout, nullptr, &now));
    Require(now.links.size() == old.links.size());
    if (!result.saved) return;
    for (const NewTarget& target : targets)
        Require(now.links[target.link].value.text == target.colonPath);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Ondrel::SetDebugHandler([](const char*) {});
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t nul = std::min(input.find('\0'), size);
    Layout layout;
    LayoutFault fault;
    if (!ParseLayout(input.substr(0, nul), &layout, &fault)) {
        Require(fault.offset <= nul && !fault.what.empty());
        return 0;
    }
    const std::string_view bytes = input.substr(std::min(nul + 1, size));
    const auto& document = OndrelFuzz::TheDocument();
    document.Write(bytes);
    const Ondrel::FileSpec file = document.Spec();
    if (Walk(file, static_cast<int>(bytes.size()), layout) && HasLinks(layout))
        Relink(file, layout);
    return 0;
}
