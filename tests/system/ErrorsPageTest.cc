// The tables of docs/errors.md are those of the code.
#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "ondrel/fil/fil.h"
#include "ondrel/platform/Errors.h"
#include "tests/support/Scratch.h"

namespace Ondrel::Testing {
namespace {

// The lines of the table whose head begins so.
std::vector<std::string> Table(const std::string& head) {
    std::istringstream page(ReadAll(SOURCE_FOLDER "/docs/errors.md"));
    std::vector<std::string> rows;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("| " + head))
            inside = true;
        else if (!line.starts_with("|"))
            inside = false;
        else if (inside && !line.starts_with("|-"))
            rows.push_back(line);
    }
    return rows;
}

TEST(TheErrorsPage, ListsEveryCode) {
    std::vector<std::string> expected;
    for (const ErrorEntry& entry : ErrorTable())
        expected.push_back("| " + std::to_string(entry.code) + " | `" + std::string(entry.name) +
                           "` | " + std::string(entry.sentence) + " |");
    EXPECT_EQ(Table("code | name"), expected);
}

TEST(TheErrorsPage, TellsWhatBecomesOfTheHostsErrors) {
    const std::map<std::string, int> numbers = {
        {"ENOENT", ENOENT},       {"EISDIR", EISDIR}, {"EEXIST", EEXIST},
        {"ENOSPC", ENOSPC},       {"EDQUOT", EDQUOT}, {"EFBIG", EFBIG},
        {"EROFS", EROFS},         {"EACCES", EACCES}, {"EPERM", EPERM},
        {"ETXTBSY", ETXTBSY},     {"EBUSY", EBUSY},   {"EMFILE", EMFILE},
        {"ENFILE", ENFILE},       {"ENOMEM", ENOMEM}, {"ENAMETOOLONG", ENAMETOOLONG},
        {"ENOTDIR", ENOTDIR},     {"EINVAL", EINVAL}, {"EIO", EIO},
        {"anything else", ELOOP},
    };
    std::map<std::string, int> told;
    for (const std::string& row : Table("host | code")) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(row, match, std::regex("\\| (.*) \\| (-\\d+) \\|"))) << row;
        std::istringstream names(match[1].str());
        for (std::string name; std::getline(names, name, ',');)
            told[name.substr(name.find_first_not_of(' '))] = std::stoi(match[2].str());
    }
    EXPECT_EQ(told.size(), numbers.size());
    for (const auto& [name, number] : numbers)
        EXPECT_EQ(told[name], ErrorFromErrno(number)) << name;
}

TEST(TheErrorsPage, TellsHowMessagesBegin) {
    const std::vector<std::string> rows = Table("code | the sentence");
    ASSERT_EQ(rows.size(), 9U);
    for (const std::string& row : rows) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(row, match, std::regex("\\| (.*) \\| (.*) \\|"))) << row;
        const std::string code = match[1].str();
        lasterror = code == "any other" ? paramErr : static_cast<short>(std::stoi(code));
        EXPECT_EQ(GetFileErrorMessage(nullptr), match[2].str() + " while handling a file.");
    }
    lasterror = noErr;
}

}  // namespace
}  // namespace Ondrel::Testing
