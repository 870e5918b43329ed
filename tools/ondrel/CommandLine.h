// What a command takes: its options, its operands, its help. Commands describe themselves to one of
// these, and the main program reads the words of the command line with it.
//
//   void DescribeFork(Command* command) {
//       auto options = std::make_shared<Options>();
//       command->Flag("--json", &options->json, "print JSON");
//       command->Operand("FILE", &options->file);
//       command->Run([options] { return List(*options); });
//   }
//
// An option's value is the next word or stands behind a '=': "--type TEXT", "--type=TEXT", "-o x",
// "-ox". Options may stand behind operands; "--" ends them. "--help" is everywhere.
#ifndef TOOLS_ONDREL_COMMANDLINE_H
#define TOOLS_ONDREL_COMMANDLINE_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/ondrel/Failure.h"

namespace OndrelTool {

class Command {
 public:
    // A command has either subcommands or something to run. `name` is all of its words: "preview
    // show".
    Command(std::string name, std::string summary)
        : name_(std::move(name)), summary_(std::move(summary)) {}

    // --- Describing -----------------------------------------------------------------------------

    using Describe = void (*)(Command*);
    void Subcommand(const std::string& word, const std::string& summary, Describe describe);

    // Options: "--json" or "-o,--output". What they fill in must live as long as the command.
    void Flag(const std::string& names, bool* value, const std::string& help);
    void Text(const std::string& names, const std::string& valueName,
              std::optional<std::string>* value, const std::string& help);
    void Texts(const std::string& names, const std::string& valueName,
               std::vector<std::string>* values, const std::string& help);  // may be repeated
    void Number(const std::string& names, const std::string& valueName, int least, int most,
                int* value, const std::string& help);
    void Choice(const std::string& names, const std::vector<std::string>& choices,
                std::optional<std::string>* value, const std::string& help);

    // The option described last has to be given.
    void Required();

    // Words that are no options, in this order. All are needed; the last may take many.
    void Operand(const std::string& name, std::string* value);
    void Operands(const std::string& name, std::vector<std::string>* values);

    // Paragraphs for the end of the help; examples, for instance.
    void Notes(const std::string& text) { notes_ = text; }

    void Run(std::function<Status()> run) { run_ = std::move(run); }

    // --- Using ----------------------------------------------------------------------------------

    // Reads words, the first being the command's own name, and runs what they say. Throws a Failure
    // with kUsage where they are wrong.
    Status Execute(std::vector<std::string> words) const;

    std::string Help() const;

 private:
    struct Option {
        std::string longName;   // without its dashes
        char shortName = '\0';  // '\0': none
        std::string valueName;  // empty: a flag
        std::string help;
        bool isRequired = false;
        std::function<void(const std::string&)> take;
    };
    struct OperandPlace {
        std::string name;
        std::string* value;
        std::vector<std::string>* values;
    };

    Option& AddOption(const std::string& names, const std::string& valueName,
                      const std::string& help);
    std::string Usage() const;
    void AppendOptions(std::string* help) const;
    [[noreturn]] void FailHere(const std::string& message) const;
    bool ReadOptions(std::vector<std::string>* words) const;  // false: help is wanted
    void ReadOperands(const std::vector<std::string>& words) const;
    const Command& FindSubcommand(const std::string& word) const;

    std::string name_;
    std::string summary_;
    std::string notes_;
    std::vector<Option> options_;
    std::vector<OperandPlace> operands_;
    std::vector<Command> subcommands_;
    std::function<Status()> run_;
};

}  // namespace OndrelTool

#endif
