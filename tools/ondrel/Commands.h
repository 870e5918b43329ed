// The commands, one function each, each in a source of its own: it describes the command, and gives
// it what it runs.
#ifndef TOOLS_ONDREL_COMMANDS_H
#define TOOLS_ONDREL_COMMANDS_H

#include "tools/ondrel/CommandLine.h"

namespace OndrelTool {

void DescribeInfo(Command* command);

// All of them, as subcommands of the program.
Command AllCommands();

}  // namespace OndrelTool

#endif
