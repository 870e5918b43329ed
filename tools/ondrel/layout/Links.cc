// Reading links and following them.
#include "tools/ondrel/layout/Links.h"

#include <algorithm>
#include <limits>

#include "ondrel/filref/operations.h"

namespace OndrelTool {

using namespace Ondrel;

namespace {

void Follow(Link* link) {
    const Value& value = link->value;
    if (value.text.empty() && value.stored.empty()) return;
    const Destination rebuilt = DestinationOf(value.text);
    link->place = rebuilt.place;
    link->state = rebuilt.isThere ? LinkState::kFound : LinkState::kLost;
    if (rebuilt.isThere || value.form != Form::kRefRel || value.stored == value.text) return;
    const Destination stored = DestinationOf(value.stored);
    if (!stored.isThere) return;
    link->place = stored.place;
    link->state = LinkState::kAtOldPlace;
}

}  // namespace

std::string_view StateName(LinkState state) {
    switch (state) {
        case LinkState::kFound:
            return "found";
        case LinkState::kAtOldPlace:
            return "at its old place";
        case LinkState::kLost:
            return "lost";
        case LinkState::kEmpty:
            break;
    }
    return "empty";
}

Destination DestinationOf(const std::string& colonPath) {
    Destination destination;
    const auto colon = colonPath.find(':');
    if (colon == 0 || colon == std::string::npos) return destination;
    filref reference;
    FileSpec spec;
    if (reference.ConvertFromMacPath(colonPath.c_str()) != 0 ||
        reference.convertToFileSpec(spec) != 0)
        return destination;
    spec.GetFullPath(destination.place);
    destination.isFolder = spec.IsFolder();
    destination.isThere = destination.isFolder || spec.IsUsable();
    return destination;
}

std::optional<DocumentFault> ReadLinks(const FileSpec& document, const Layout& layout,
                                       const filref* base, DocumentLinks* found) {
    WalkOptions options;
    options.base = base;
    const auto take = [&](const Value& value) {
        found->size = value.end;
        if (IsLink(value.form)) {
            Follow(&found->links.emplace_back(Link{value, LinkState::kEmpty, {}}));
        } else if (const int width = MarkerWidth(value.form); width > 0) {
            // A block that is cut ends the walk; its length may be anything.
            const std::int64_t end =
                std::min<std::int64_t>(value.end + value.number, std::numeric_limits<int>::max());
            found->blocks.push_back({value.begin, width, static_cast<int>(end)});
        }
    };
    auto fault = WalkDocument(document, layout, options, take, &found->file);
    (void)fileModificationDate(found->file, found->date);
    return fault;
}

}  // namespace OndrelTool
