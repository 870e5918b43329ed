// Reading words and writing help. The C library's getopt_long takes the options apart.
#include "tools/ondrel/CommandLine.h"

#include <fmt/format.h>
#include <getopt.h>

#include <algorithm>
#include <charconv>

#include "tools/ondrel/StandardOutput.h"

namespace OndrelTool {
namespace {

constexpr int kFirstLongOption = 256;  // above every character
constexpr int kHelp = 255;
constexpr std::size_t kHelpColumn = 30;
constexpr std::size_t kHelpWidth = 80;

std::string JoinedBy(std::string_view separator, const std::vector<std::string>& words) {
    return fmt::format("{}", fmt::join(words, separator));
}

// The words of a paragraph in lines that are no wider than the help; lines behind the first begin
// at the column.
std::string Wrapped(std::string_view paragraph, std::size_t column) {
    std::string out;
    std::size_t used = column;
    while (!paragraph.empty()) {
        const std::size_t length = std::min(paragraph.find(' '), paragraph.size());
        if (used > column && used + 1 + length > kHelpWidth) {
            out += "\n" + std::string(column, ' ');
            used = column;
        } else if (used > column) {
            out += ' ';
            ++used;
        }
        out += paragraph.substr(0, length);
        used += length;
        paragraph.remove_prefix(std::min(length + 1, paragraph.size()));
    }
    return out;
}

// Texts of several paragraphs, which empty lines part; lines that begin with a blank are examples
// and stay as they are.
std::string Filled(std::string_view text) {
    std::string out;
    std::string paragraph;
    const auto end = [&] {
        if (!paragraph.empty()) out += Wrapped(paragraph, 0) + "\n";
        paragraph.clear();
    };
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, length);
        if (line.empty() || line.front() == ' ') {
            end();
            out += std::string(line) + "\n";
        } else {
            if (!paragraph.empty()) paragraph += ' ';
            paragraph += line;
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    end();
    return out;
}

int NumberIn(const std::string& option, const std::string& text, int least, int most) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end || number < least || number > most)
        FailUsage(
            fmt::format("--{} takes a number from {} to {}, not '{}'", option, least, most, text));
    return number;
}

}  // namespace

// --- Describing ---------------------------------------------------------------------------------

void Command::Subcommand(const std::string& word, const std::string& summary, Describe describe) {
    describe(&subcommands_.emplace_back(name_ + " " + word, summary));
}

Command::Option& Command::AddOption(const std::string& names, const std::string& valueName,
                                    const std::string& help) {
    Option option;
    const std::size_t comma = names.find(',');
    if (comma != std::string::npos) option.shortName = names[1];
    option.longName = names.substr(comma == std::string::npos ? 2 : comma + 3);
    option.valueName = valueName;
    option.help = help;
    return options_.emplace_back(std::move(option));
}

void Command::Flag(const std::string& names, bool* value, const std::string& help) {
    AddOption(names, "", help).take = [value](const std::string&) { *value = true; };
}

void Command::Text(const std::string& names, const std::string& valueName,
                   std::optional<std::string>* value, const std::string& help) {
    AddOption(names, valueName, help).take = [value](const std::string& text) { *value = text; };
}

void Command::Texts(const std::string& names, const std::string& valueName,
                    std::vector<std::string>* values, const std::string& help) {
    AddOption(names, valueName, help).take = [values](const std::string& text) {
        values->push_back(text);
    };
}

void Command::Number(const std::string& names, const std::string& valueName, int least, int most,
                     int* value, const std::string& help) {
    Option& option = AddOption(names, valueName, help);
    option.take = [=, name = option.longName](const std::string& text) {
        *value = NumberIn(name, text, least, most);
    };
}

void Command::Choice(const std::string& names, const std::vector<std::string>& choices,
                     std::optional<std::string>* value, const std::string& help) {
    Option& option = AddOption(names, JoinedBy("|", choices), help);
    option.take = [=, name = option.longName](const std::string& text) {
        if (std::find(choices.begin(), choices.end(), text) == choices.end())
            FailUsage(
                fmt::format("--{} is one of {}, not '{}'", name, JoinedBy(", ", choices), text));
        *value = text;
    };
}

void Command::Required() {
    options_.back().isRequired = true;
}

void Command::Operand(const std::string& name, std::string* value) {
    operands_.push_back({name, value, nullptr});
}

void Command::Operands(const std::string& name, std::vector<std::string>* values) {
    operands_.push_back({name, nullptr, values});
}

// --- Help ---------------------------------------------------------------------------------------

std::string Command::Usage() const {
    std::string usage = "usage: " + name_;
    if (!subcommands_.empty()) return usage + " COMMAND ...\n";
    for (const Option& option : options_) {
        std::string text = "--" + option.longName;
        if (option.shortName != '\0') text = std::string("-") + option.shortName;
        if (!option.valueName.empty()) text += " " + option.valueName;
        usage += option.isRequired ? " " + text : " [" + text + "]";
    }
    for (const OperandPlace& operand : operands_)
        usage += " " + operand.name + (operand.values != nullptr ? "..." : "");
    return usage + "\n";
}

void Command::AppendOptions(std::string* help) const {
    const auto line = [&](std::string left, const std::string& right) {
        left = "  " + left;
        if (left.size() + 2 > kHelpColumn) left += "\n";
        const std::size_t column = left.size() - (left.rfind('\n') + 1);
        *help += left + std::string(kHelpColumn - column, ' ') + Wrapped(right, kHelpColumn) + "\n";
    };
    if (!subcommands_.empty()) {
        *help += "\nCommands:\n";
        for (const Command& command : subcommands_)
            line(command.name_.substr(name_.size() + 1), command.summary_);
    }
    *help += "\nOptions:\n";
    for (const Option& option : options_) {
        std::string names = "--" + option.longName;
        if (option.shortName != '\0') names.insert(0, {'-', option.shortName, ',', ' '});
        line(names + (option.valueName.empty() ? "" : " " + option.valueName), option.help);
    }
    line("-h, --help", "print this");
}

std::string Command::Help() const {
    std::string help = Usage() + "\n" + Filled(summary_);
    AppendOptions(&help);
    if (!notes_.empty()) help += "\n" + Filled(notes_);
    return help;
}

// --- Reading words ------------------------------------------------------------------------------

void Command::FailHere(const std::string& message) const {
    FailUsage(fmt::format("{} (see {} --help)", message, name_));
}

bool Command::ReadOptions(std::vector<std::string>* words) const {
    // A '+' stops at the first operand, which is a subcommand; a ':' tells apart what is missing.
    std::string shortOptions = subcommands_.empty() ? ":h" : "+:h";
    std::vector<option> longOptions = {{"help", no_argument, nullptr, 'h'}};
    for (std::size_t i = 0; i < options_.size(); ++i) {
        const bool takesValue = !options_[i].valueName.empty();
        longOptions.push_back({options_[i].longName.c_str(),
                               takesValue ? required_argument : no_argument, nullptr,
                               kFirstLongOption + static_cast<int>(i)});
        if (options_[i].shortName == '\0') continue;
        shortOptions += options_[i].shortName;
        if (takesValue) shortOptions += ':';
    }
    longOptions.push_back({nullptr, 0, nullptr, 0});
    std::vector<char*> pointers;
    for (std::string& word : *words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const int count = static_cast<int>(words->size());

    std::vector<bool> given(options_.size());
    opterr = 0;
    optind = 0;
    for (;;) {
        const int code =
            getopt_long(count, pointers.data(), shortOptions.c_str(), longOptions.data(), nullptr);
        if (code == -1) break;
        if (code == 'h') return false;
        const std::string word = optind > 0 ? pointers[static_cast<std::size_t>(optind) - 1] : "";
        if (code == ':') FailHere(fmt::format("{} needs a value", word));
        if (code == '?' && optopt > 0 && optopt < kHelp)
            FailHere(fmt::format("there is no option -{}", static_cast<char>(optopt)));
        if (code == '?' && optopt >= kFirstLongOption)
            FailHere(fmt::format("{} takes no value", word));
        if (code == '?') FailHere(fmt::format("{} is no option, or short for several", word));
        const auto found = code >= kFirstLongOption
                               ? options_.begin() + (code - kFirstLongOption)
                               : std::find_if(options_.begin(), options_.end(),
                                              [&](const Option& o) { return o.shortName == code; });
        given[static_cast<std::size_t>(found - options_.begin())] = true;
        found->take(optarg != nullptr ? optarg : "");
    }
    const std::vector<std::string> operands(pointers.begin() + optind, pointers.end() - 1);
    for (std::size_t i = 0; i < options_.size(); ++i)
        if (options_[i].isRequired && !given[i])
            FailHere(fmt::format("--{} is missing", options_[i].longName));
    *words = operands;
    return true;
}

void Command::ReadOperands(const std::vector<std::string>& words) const {
    std::size_t next = 0;
    for (const OperandPlace& operand : operands_) {
        if (next == words.size()) FailHere(fmt::format("{} is missing", operand.name));
        if (operand.values != nullptr) {
            operand.values->assign(words.begin() + static_cast<std::ptrdiff_t>(next), words.end());
            next = words.size();
        } else {
            *operand.value = words[next++];
        }
    }
    if (next < words.size()) FailHere(fmt::format("'{}' is one word too many", words[next]));
}

const Command& Command::FindSubcommand(const std::string& word) const {
    for (const Command& command : subcommands_)
        if (command.name_ == name_ + " " + word) return command;
    FailHere(fmt::format("there is no command '{}'", word));
}

Status Command::Execute(std::vector<std::string> words) const {
    if (!ReadOptions(&words)) {
        Print(Help());
        return Status::kDone;
    }
    if (!subcommands_.empty() && !words.empty()) return FindSubcommand(words[0]).Execute(words);
    if (!run_) FailHere("a command is missing");
    ReadOperands(words);
    return run_();
}

}  // namespace OndrelTool
