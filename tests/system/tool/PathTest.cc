// ondrel path, as users run it.
#include "tests/system/tool/ToolFixture.h"

namespace OndrelTool::Testing {
namespace {

class ThePath : public ToolTest {};

struct Row {
    const char* text;
    const char* from;
    const char* to;
    const char* shown;
};

constexpr Row kRows[] = {
    {"Vol:Docs:a.txt", "mac", "mac", "Vol:Docs:a.txt"},
    {"Vol:Docs:a.txt", "mac", "windows", "\\\\Vol\\Docs\\a.txt"},
    {"Vol:Docs:a.txt", "mac", "generic", "/Vol/Docs/a.txt"},
    {"Vol:a b:\xC3\xA9", "mac", "url", "/Vol/a%20b/%C3%A9"},
    {"Root:etc:a/b", "mac", "posix", "/etc/a:b"},
    {"::a:b", "mac", "posix", "../a/b"},
    {":a", "mac", "generic", "a"},
    {"Nowhere:a", "mac", "posix", "/Volumes/Nowhere/a"},
    {"C:\\dir\\f", "windows", "mac", "C:dir:f"},
    {"\\\\Server\\Share\\f", "windows", "mac", "Server:Share:f"},
    {"/Vol/a\\/b", "generic", "mac", "Vol:a/b"},
    {"../up", "generic", "mac", "::up"},
    {"/etc/hosts", "posix", "mac", "Root:etc:hosts"},
    {"/etc/../usr/./x:y", "posix", "mac", "Root:usr:x/y"},
};

TEST_F(ThePath, IsWrittenInEverySyntax) {
    for (const Row& row : kRows)
        ExpectRun({"path", "--from", row.from, "--to", row.to, row.text}, 0,
                  std::string(row.shown) + "\n", "");
}

TEST_F(ThePath, ThatIsRelativeIsTakenFromThePresentFolder) {
    ExpectRun({"path", "sub/a b", "--to", "mac"}, 0, "Vol:sub:a b\n", "");
}

TEST_F(ThePath, IsShownInAllFormsUnlessOneIsAskedFor) {
    ExpectRun({"path", "a b"}, 0,
              "mac      Vol:a b\n"
              "windows  \\\\Vol\\a b\n"
              "generic  /Vol/a b\n"
              "posix    " +
                  Path("a b") +
                  "\n"
                  "url      /Vol/a%20b\n",
              "");
    ExpectRun({"path", "--json", "--from=mac", "Root:x\"y"}, 0,
              "{\n"
              "  \"mac\": \"Root:x\\\"y\",\n"
              "  \"windows\": \"\\\\\\\\Root\\\\x\\\"y\",\n"
              "  \"generic\": \"/Root/x\\\"y\",\n"
              "  \"posix\": \"/x\\\"y\",\n"
              "  \"url\": \"/Root/x%22y\"\n"
              "}\n",
              "");
}

TEST_F(ThePath, ThatIsNoneIsRefused) {
    ExpectRun({"path", ""}, 3, "", "ondrel: '': an empty text is no file name\n");
    for (const char* form : {"mac", "windows", "generic"})
        ExpectRun({"path", "--from", form, ""}, 3, "", "ondrel: '': an empty text is no path\n");
    ExpectRun({"path", "--from", "mac", "a\xFF"}, 3, "", "ondrel: a\\xFF: is not UTF-8\n");
    ExpectRun({"path", "--from", "generic", "a\\"}, 3, "", "ondrel: a\\: is no generic path\n");
}

TEST_F(ThePath, ThatIsTooLongIsRefusedAndNotCut) {
    const std::string name(200, 'n');
    std::string path;
    for (int i = 0; i < 6; ++i)
        path += "/" + name;
    ExpectRun(
        {"path", path}, 3, "",
        "ondrel: " + path + ": its path is longer than the 1023 bytes that a reference holds\n");
    ExpectRun({"path", "--from", "generic", path}, 3, "",
              "ondrel: " + path + ": is longer than the 1023 bytes that a reference holds\n");
}

TEST_F(ThePath, OnATerminalShowsControlCharacters) {
    const ProgramResult result =
        Ondrel({"path", "--to", "mac", "/\x1B[1mx"}).OnTerminal(80, 24).Run();
    EXPECT_EQ(result.output, "Root:\\x1B[1mx\r\n");
    ExpectRun({"path", "--to", "mac", "/\x1B[1mx"}, 0, "Root:\x1B[1mx\n", "");
}

}  // namespace
}  // namespace OndrelTool::Testing
