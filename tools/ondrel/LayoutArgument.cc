// The option --layout, and faults in words.
#include "tools/ondrel/LayoutArgument.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/ondrel/FileArgument.h"

namespace OndrelTool {
namespace {

// Where a byte of a text stands: "line 2, column 5"; of a single line, the column alone.
std::string PlaceIn(const std::string& text, std::size_t offset) {
    const std::string before = text.substr(0, offset);
    const std::size_t lineStart = before.rfind('\n') + 1;  // npos + 1 is 0
    std::string column = fmt::format("column {}", before.size() - lineStart + 1);
    if (text.find('\n') == std::string::npos) return column;
    return fmt::format("line {}, {}", 1 + std::count(before.begin(), before.end(), '\n'), column);
}

}  // namespace

void TakeLayout(Command* command, std::optional<std::string>* text) {
    command->Text("--layout", "LAYOUT", text,
                  "what FILE is made of, as in 'u16 str refrel'; @TEXTFILE holds it");
    command->Required();
}

Layout LayoutOf(const std::string& argument) {
    std::string text = argument;
    std::string subject = "--layout";
    if (argument.starts_with('@')) {
        subject = argument.substr(1);
        text = ReadWholeFile(subject, kMostLayout);
    }
    Layout layout;
    LayoutFault fault;
    if (!ParseLayout(text, &layout, &fault))
        throw Failure(Status::kUsage, subject, PlaceIn(text, fault.offset) + ": " + fault.what);
    return layout;
}

std::string TextOf(const DocumentFault& fault) {
    std::string text;
    if (!fault.path.empty()) text = fmt::format("at {}, {}: ", fault.position, fault.path);
    text += fault.what;
    if (!fault.message.empty()) text += ": " + fault.message;
    return text;
}

Json JsonOf(const DocumentFault& fault) {
    Json json;
    json["position"] = fault.position;
    json["name"] = fault.path;
    json["what"] = fault.what;
    if (!fault.message.empty()) json["message"] = fault.message;
    return json;
}

std::string LabelOf(const Value& value) {
    const std::string form(FormName(value.form));
    const std::size_t last = value.path.rfind('.') + 1;  // npos + 1 is 0
    const std::string own = value.path.substr(last, value.path.find('[', last) - last);
    return own == form ? value.path : value.path + ": " + form;
}

}  // namespace OndrelTool
