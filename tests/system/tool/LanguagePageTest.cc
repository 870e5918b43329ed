// The page on the layout language: each of its examples is run.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/Program.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

struct Example {
    int line = 0;
    std::map<std::string, std::string> parts;  // "hex", "layout", "dump", "errors"
};

// The fenced parts of the page; each "hex" begins an example.
std::vector<Example> ExamplesOf(const std::string& page) {
    std::vector<Example> examples;
    std::string* part = nullptr;
    std::istringstream lines(page);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (!line.starts_with("```")) {
            if (part != nullptr) *part += line + "\n";
        } else if (line == "```") {
            part = nullptr;
        } else {
            if (line == "```hex") examples.push_back({number, {}});
            part = &examples.at(examples.size() - 1).parts[line.substr(3)];
        }
    }
    return examples;
}

std::string WithoutLineEnds(std::string text) {
    for (char& c : text)
        if (c == '\n') c = ' ';
    return text;
}

TEST(TheLayoutPage, ShowsWhatTheToolPrints) {
    const auto examples = ExamplesOf(ReadAll(SOURCE_FOLDER "/docs/layout-language.md"));
    ASSERT_GE(examples.size(), 6U);
    for (Example example : examples) {
        SCOPED_TRACE("line " + std::to_string(example.line));
        const Scratch scratch;
        scratch.Write("document", Bytes(WithoutLineEnds(example.parts["hex"])));
        const ProgramResult result =
            Program({ONDREL_TOOL, "dump", "document", "--layout", example.parts["layout"]})
                .In(scratch.Path())
                .With("ONDREL_VOLUMES", "Vol=" + scratch.Path())
                .Run();
        EXPECT_EQ(result.output, example.parts["dump"]);
        EXPECT_EQ(result.errors, example.parts["errors"]);
        EXPECT_EQ(result.status, example.parts["errors"].empty() ? 0 : 3);
    }
}

}  // namespace
}  // namespace Ondrel::Testing
