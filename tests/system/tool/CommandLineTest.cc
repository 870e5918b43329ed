// What holds for every command: help, options, exit codes, and standard output in trouble.
#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

class TheCommandLine : public ToolTest {};

// All commands, each with what makes a right line of it.
const std::vector<std::string> kCommands[] = {
    {"info"},           {"codes"},
    {"fork"},           {"fork", "list"},
    {"fork", "export"}, {"fork", "import"},
    {"preview"},        {"preview", "show"},
    {"preview", "set"}, {"preview", "sheet"},
    {"pict"},           {"path"},
    {"find"},           {"dump"},
    {"links"},          {"save"},
};

TEST_F(TheCommandLine, EveryCommandHasItsHelp) {
    for (std::vector<std::string> words : kCommands) {
        std::string name = "ondrel";
        for (const std::string& word : words)
            name += " " + word;
        words.emplace_back("--help");
        const ProgramResult result = Ondrel(words).Run();
        EXPECT_EQ(result.status, 0) << name;
        EXPECT_TRUE(result.output.starts_with("usage: " + name + " ")) << result.output;
        EXPECT_NE(result.output.find("-h, --help"), std::string::npos) << name;
        EXPECT_EQ(result.errors, "") << name;
    }
}

TEST_F(TheCommandLine, TheProgramsHelpNamesEveryCommand) {
    const ProgramResult result = Ondrel({"--help"}).Run();
    EXPECT_EQ(result.status, 0);
    for (const auto& words : kCommands)
        EXPECT_NE(result.output.find("\n  " + words[0] + " "), std::string::npos) << words[0];
}

TEST_F(TheCommandLine, NoLineOfTheHelpIsTooLongForATerminal) {
    for (std::vector<std::string> words : kCommands) {
        words.emplace_back("-h");
        std::string text = Ondrel(words).Run().output;
        text = text.substr(text.find('\n'));  // the usage line may be
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at);
            EXPECT_LE(end - at, 100U) << text.substr(at, end - at);
            at = end + 1;
        }
    }
}

struct Row {
    std::vector<std::string> words;
    std::string errors;
};

TEST_F(TheCommandLine, WrongUsageIsToldInOneLineAndExitsWithTwo) {
    const Row kRows[] = {
        {{}, "a command is missing (see ondrel --help)"},
        {{"nope"}, "there is no command 'nope' (see ondrel --help)"},
        {{"--nope"}, "--nope is no option, or short for several (see ondrel --help)"},
        {{"inf", "x"}, "there is no command 'inf' (see ondrel --help)"},
        {{"fork"}, "a command is missing (see ondrel fork --help)"},
        {{"fork", "x"}, "there is no command 'x' (see ondrel fork --help)"},
        {{"info"}, "FILE is missing (see ondrel info --help)"},
        {{"info", "--nope", "x"},
         "--nope is no option, or short for several (see ondrel info --help)"},
        {{"info", "-x"}, "there is no option -x (see ondrel info --help)"},
        {{"info", "--json=1", "x"}, "--json=1 takes no value (see ondrel info --help)"},
        {{"codes", "x", "--type"}, "--type needs a value (see ondrel codes --help)"},
        {{"codes", "x", "y"}, "'y' is one word too many (see ondrel codes --help)"},
        {{"pict", "x"}, "--output is missing (see ondrel pict --help)"},
        {{"pict", "x", "-o"}, "-o needs a value (see ondrel pict --help)"},
        {{"pict", "x", "-o", "y", "--size", "0"}, "--size takes a number from 1 to 32766, not '0'"},
        {{"pict", "x", "-o", "y", "--size=4x"}, "--size takes a number from 1 to 32766, not '4x'"},
        {{"path", "x", "--to", "dos"},
         "--to is one of mac, windows, generic, posix, url, not 'dos'"},
        {{"path", "x", "--from", "url"},
         "--from is one of mac, windows, generic, posix, not 'url'"},
    };
    for (const Row& row : kRows)
        ExpectRun(row.words, 2, "", "ondrel: " + row.errors + "\n");
}

TEST_F(TheCommandLine, AFileMayHaveAnyNameAndStandAnywhere) {
    for (const char* name :
         {"a", "[a]", "[a,b]", "-o", "--json", "%%", "{x}", "a b", "\"q\"", "+"}) {
        Write(name, "data");
        const std::string line = std::string("ondrel: ") + name + ": has no codes\n";
        ExpectRun({"codes", "--", name}, 1, "", line);
        if (name[0] != '-') ExpectRun({"codes", name}, 1, "", line);
    }
    ExpectRun({"codes", "a", "--type=TEXT"}, 0, "", "");
    ExpectRun({"codes", "--type", "ttxt", "a", "--creator", "ab-c"}, 0, "", "");
    ExpectRun({"codes", "a"}, 0, "type     ttxt\ncreator  ab-c\n", "");
}

TEST_F(TheCommandLine, AnEmptyWordIsNoFile) {
    ExpectRun({"info", ""}, 3, "", "ondrel: '': an empty text is no file name\n");
    ExpectRun({"codes", "x", "--type="}, 1, "", "ondrel: x: no such file\n");
    Write("x", "");
    ExpectRun({"codes", "x", "--type="}, 2, "",
              "ondrel: --type takes four characters, or 0x and eight digits, not ''\n");
}

TEST_F(TheCommandLine, TheVersionIsTheProjects) {
    ExpectRun({"--version"}, 0, "ondrel " ONDREL_VERSION "\n", "");
}

TEST_F(TheCommandLine, NamesInMessagesDoNotSteerTheTerminal) {
    ExpectRun({"info", "\x1B[31mred\n\xFF"}, 1, "",
              "ondrel: \\x1B[31mred\\x0A\\xFF: no such file\n");
}

TEST_F(TheCommandLine, TroubleWithStandardOutputIsToldAndExitsWithThree) {
    Write("a", "data");
    Expect(Ondrel({"path", "a"}).WithClosedPipe().Run(), 3, "",
           "ondrel: standard output: its reader has gone\n");
    Expect(Ondrel({"path", "a"}).To("/dev/full").Run(), 3, "",
           "ondrel: standard output: the disk is full, or the file would be too large\n");
    Expect(Ondrel({"path", "a"}).To("").Run(), 3, "", "ondrel: standard output: is closed\n");
    Expect(Ondrel({"--help"}).To("/dev/full").Run(), 3, "",
           "ondrel: standard output: the disk is full, or the file would be too large\n");
}

TEST_F(TheCommandLine, AReaderThatGoesEndsALongOutputAtOnce) {
    std::vector<std::string> words = {"info"};
    Write("a", "data");
    for (int i = 0; i < 400; ++i)
        words.emplace_back("a");
    Expect(Ondrel(words).WithClosedPipe().Run(), 3, "",
           "ondrel: standard output: its reader has gone\n");
}

TEST_F(TheCommandLine, ATerminalSeesColoursAndAPipeDoesNot) {
    Write("a", "data");
    const std::string onTerminal =
        Ondrel({"info", "a"}).OnTerminal(80, 24).With("TERM", "xterm").Run().output;
    EXPECT_TRUE(onTerminal.starts_with("\x1B[1m" + Path("a") + "\x1B[0m\r\n")) << onTerminal;
    EXPECT_EQ(Ondrel({"info", "a"}).Run().output.find('\x1B'), std::string::npos);
    for (const auto& [name, value] : {std::pair{"NO_COLOR", "1"}, std::pair{"TERM", "dumb"}}) {
        const std::string plain = Ondrel({"info", "a"})
                                      .OnTerminal(80, 24)
                                      .With("TERM", "xterm")
                                      .With(name, value)
                                      .Run()
                                      .output;
        EXPECT_EQ(plain.find('\x1B'), std::string::npos) << name;
    }
}

}  // namespace
}  // namespace OndrelTool::Testing
