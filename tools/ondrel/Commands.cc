// The table of commands.
#include "tools/ondrel/Commands.h"

#include "tools/ondrel/StandardOutput.h"

namespace OndrelTool {
namespace {

struct Row {
    const char* word;
    const char* summary;
    Command::Describe describe;
};

constexpr Row kCommands[] = {
    {"info", "Tells what a file holds: forks, codes, resources, preview, paths.", DescribeInfo},
    {"codes", "Shows or sets a file's type and creator codes.", DescribeCodes},
    {"fork", "Lists, exports or imports a file's resource fork.", DescribeFork},
    {"preview", "Shows and sets previews, and makes contact sheets of them.", DescribePreview},
    {"pict", "Makes PNG files of the Mac's pictures.", DescribePict},
    {"path", "Writes a path in the syntaxes of other systems.", DescribePath},
    {"find", "Finds a file again that has moved.", DescribeFind},
    {"dump", "Reads a document by its layout and prints every stored value.", DescribeDump},
    {"links", "Lists a document's links, and repairs those that lead nowhere.", DescribeLinks},
    {"save", "Saves standard input as a file, safely.", DescribeSave},
};

}  // namespace

Command AllCommands() {
    Command program("ondrel",
                    "Looks at, and works on, documents with codes, resource forks, "
                    "previews and links.");
    for (const Row& row : kCommands)
        program.Subcommand(row.word, row.summary, row.describe);
    static bool version = false;
    program.Flag("--version", &version, "print the version");
    program.Run([] {
        if (!version) FailUsage("a command is missing (see ondrel --help)");
        PrintLine("ondrel " ONDREL_VERSION);
        return Status::kDone;
    });
    program.Notes(
        "ondrel COMMAND --help tells more of each. Exit codes: 0 done, 1 not found or nothing to "
        "do,\n2 wrong usage, 3 failed. An interrupt leaves nothing half done.");
    return program;
}

}  // namespace OndrelTool
