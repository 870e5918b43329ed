// Lines of a walk.
#include "tests/tools/WalkSupport.h"

#include <gtest/gtest.h>

#include "ondrel/core/Unicode.h"

namespace OndrelTool::Testing {

using namespace Ondrel;
using namespace Ondrel::Testing;

namespace {

bool IsNumber(Form form) {
    return IntegerWidth(form) > 0 || MarkerWidth(form) > 0 || form == Form::kRepeat;
}

bool IsRaw(Form form) {
    return form == Form::kBytes || form == Form::kSkip || form == Form::kRest ||
           form == Form::kUndescribed;
}

std::string LineOf(const Value& value) {
    std::string line = std::to_string(value.begin) + "-" + std::to_string(value.end) + " ";
    line += value.form == Form::kUndescribed ? "undescribed" : value.path;
    line += " " + Hex(value.bytes);
    if (IsNumber(value.form))
        line += " = " + std::to_string(value.number);
    else if (!IsRaw(value.form))
        line += " = '" + value.text + "'";
    if (value.form == Form::kRefRel)
        line += " from '" + value.stored + "' " + std::to_string(value.shared) + " " +
                std::to_string(value.up);
    if (!value.note.empty()) line += " ! " + value.note;
    return line;
}

std::string LineOf(const DocumentFault& fault) {
    std::string line =
        "AT " + std::to_string(fault.position) + " " + fault.path + ": " + fault.what;
    if (fault.message.empty()) return line;
    std::string message = fault.message;
    if (const auto at = message.rfind(" file "); at != std::string::npos)
        message.replace(at + 6, std::string::npos, "...");
    return line + " | " + message;
}

}  // namespace

WalkedDocument::WalkedDocument(std::string_view hex)
    : path_(scratch_.Write("document", Bytes(hex))) {}

Lines WalkedDocument::Walk(std::string_view layout, const char* base) const {
    Layout parsed;
    LayoutFault layoutFault;
    EXPECT_TRUE(ParseLayout(layout, &parsed, &layoutFault)) << layoutFault.what;
    filref reference;
    WalkOptions options;
    options.mostBytes = 64;
    if (base != nullptr) {
        reference.ConvertFromMacPath(base);
        options.base = &reference;
    }
    Lines lines;
    const auto fault = WalkDocument(FileSpec(UTF8ToUni16String(path_)), parsed, options,
                                    [&](const Value& value) { lines.push_back(LineOf(value)); });
    if (fault) lines.push_back(LineOf(*fault));
    return lines;
}

Lines Walked(std::string_view hex, std::string_view layout, const char* base) {
    return WalkedDocument(hex).Walk(layout, base);
}

}  // namespace OndrelTool::Testing
