// ondrel dump FILE --layout LAYOUT: every stored value of a document.
#include <fmt/format.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "tools/ondrel/Commands.h"
#include "tools/ondrel/FileArgument.h"
#include "tools/ondrel/LayoutArgument.h"
#include "tools/ondrel/StandardOutput.h"
#include "tools/ondrel/Terminal.h"
#include "tools/ondrel/Text.h"

namespace OndrelTool {
namespace {

struct Options {
    std::string file;
    std::optional<std::string> layout;
    bool json = false;
};

// Bytes of a value that are shown: in a line, and in JSON.
constexpr std::size_t kBytesInLine = 12;
constexpr std::size_t kBytesInJson = 1 << 16;

constexpr std::size_t kTextInLine = 200;

std::string HexOf(std::string_view bytes, const char* between) {
    std::string hex;
    for (const char byte : bytes)
        hex +=
            fmt::format("{}{:02X}", hex.empty() ? "" : between, static_cast<unsigned char>(byte));
    return hex;
}

std::uint64_t SizeOf(const Value& value) {
    return static_cast<std::uint64_t>(value.end - value.begin);
}

// --- Lines --------------------------------------------------------------------------------------

// In quotes, and cut at a character where it is long.
std::string Quoted(const std::string& text) {
    if (text.size() <= kTextInLine) return "\"" + Printable(text) + "\"";
    std::size_t end = kTextInLine;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return "\"" + Printable(text.substr(0, end)) + "\"..., " + ByteCount(text.size());
}

std::string ReferenceText(const Value& value) {
    if (value.text.empty() && value.stored.empty()) return "no file";
    std::string text = Printable(value.text);
    if (value.form == Form::kRefRel)
        text += fmt::format(" (stored {}, skip {}, up {})", Printable(value.stored), value.shared,
                            value.up);
    return text;
}

std::string MeaningOf(const Value& value) {
    switch (value.form) {
        case Form::kU8:
        case Form::kU16:
        case Form::kU32:
        case Form::kI8:
        case Form::kI16:
        case Form::kI32:
            return std::to_string(value.number);
        case Form::kLine:
        case Form::kCrLf:
        case Form::kNul:
        case Form::kStr:
        case Form::kU16Str:
        case Form::kText:
        case Form::kFixed:
            return Quoted(value.text);
        case Form::kRef:
        case Form::kRefRel:
            return ReferenceText(value);
        case Form::kBlock:
        case Form::kBlock16:
            return ByteCount(static_cast<std::uint64_t>(value.number)) + ", to " +
                   std::to_string(value.end + value.number);
        case Form::kRepeat:
            return fmt::format("{} time{}", value.number, value.number == 1 ? "" : "s");
        case Form::kBytes:
        case Form::kSkip:
        case Form::kRest:
        case Form::kUndescribed:
        case Form::kEnd:
            break;
    }
    return ByteCount(SizeOf(value));
}

void PrintValue(const Value& value) {
    std::string bytes = HexOf(value.bytes, " ");
    if (SizeOf(value) > value.bytes.size()) bytes += " ...";
    std::string line = fmt::format("{:>8}  {}  ", value.begin,
                                   Styled(Style::kQuiet, fmt::format("{:<39}", bytes)));
    line += value.form == Form::kUndescribed ? "(not described)" : LabelOf(value);
    line += "  " + MeaningOf(value);
    if (!value.note.empty()) line += "  " + Styled(Style::kWarning, "(" + value.note + ")");
    PrintLine(line);
}

Status DumpLines(const Options& options, const Layout& layout) {
    const WalkOptions walk{kBytesInLine, nullptr};
    const auto fault = WalkDocument(SpecOf(options.file), layout, walk, PrintValue);
    if (fault) Fail(options.file, TextOf(*fault));
    return Status::kDone;
}

// --- JSON ---------------------------------------------------------------------------------------

void AddMeaning(const Value& value, Json* json) {
    if (IntegerWidth(value.form) > 0) {
        (*json)["value"] = value.number;
    } else if (MarkerWidth(value.form) > 0) {
        (*json)["length"] = value.number;
    } else if (value.form == Form::kRepeat) {
        (*json)["count"] = value.number;
    } else if (IsLink(value.form)) {
        (*json)["value"] = value.text.empty() ? Json() : Json(ValidUtf8(value.text));
        if (value.form == Form::kRef) return;
        (*json)["stored"] = value.stored.empty() ? Json() : Json(ValidUtf8(value.stored));
        (*json)["skip"] = value.shared;
        (*json)["up"] = value.up;
    } else if (value.form < Form::kRef || value.form == Form::kText || value.form == Form::kFixed) {
        (*json)["value"] = ValidUtf8(value.text);
    }
}

std::string JsonTextOf(const Value& value) {
    Json json;
    json["position"] = value.begin;
    json["size"] = SizeOf(value);
    json["name"] = value.form == Form::kUndescribed ? Json() : Json(value.path);
    json["type"] = FormName(value.form);
    json["depth"] = value.depth;
    json["bytes"] = HexOf(value.bytes, "");
    AddMeaning(value, &json);
    if (!value.note.empty()) json["note"] = value.note;
    return json.dump();
}

// One document, printed as it is read: nothing is kept.
Status DumpJson(const Options& options, const Layout& layout) {
    Print("{\n  \"file\": " + Json(ValidUtf8(FullPath(options.file))).dump() +
          ",\n  \"values\": [");
    const WalkOptions walk{kBytesInJson, nullptr};
    const char* between = "\n    ";
    const auto fault = WalkDocument(SpecOf(options.file), layout, walk, [&](const Value& value) {
        Print(between + JsonTextOf(value));
        between = ",\n    ";
    });
    Print("\n  ]");
    if (fault) Print(",\n  \"fault\": " + JsonOf(*fault).dump());
    PrintLine("\n}");
    if (fault) Fail(options.file, TextOf(*fault));
    return Status::kDone;
}

Status Dump(const Options& options) {
    const Layout layout = LayoutOf(*options.layout);
    RequireReadableFile(options.file);
    return options.json ? DumpJson(options, layout) : DumpLines(options, layout);
}

}  // namespace

void DescribeDump(Command* command) {
    auto options = std::make_shared<Options>();
    TakeLayout(command, &options->layout);
    command->Flag("--json", &options->json, "print JSON");
    command->Operand("FILE", &options->file);
    command->Notes(
        "A layout names what is stored, one form after the other: u8 u16 u32 i8 i16 i32 line crlf\n"
        "nul str u16str ref refrel \"text\" <0D 0A> bytes N text N skip N rest end, block{ ... } "
        "and\n"
        "block16{ ... } with their length in front, and repeat N{ ... }, where N is a number, the\n"
        "name of an integer, an integer form or *. A form may have a name, as in version: u16.\n\n"
        "  ondrel dump june.letter --layout '\"LETT\" n: u16 repeat n { title: str to: refrel } "
        "rest'");
    command->Run([options] { return Dump(*options); });
}

}  // namespace OndrelTool
