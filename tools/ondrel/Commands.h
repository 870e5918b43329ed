// The commands, one function each, each in a source of its own: it describes the command, and gives
// it what it runs.
#ifndef TOOLS_ONDREL_COMMANDS_H
#define TOOLS_ONDREL_COMMANDS_H

#include "tools/ondrel/CommandLine.h"

namespace OndrelTool {

void DescribeCodes(Command* command);
void DescribeDump(Command* command);
void DescribeFind(Command* command);
void DescribeFork(Command* command);
void DescribeInfo(Command* command);
void DescribeLinks(Command* command);
void DescribePath(Command* command);
void DescribePict(Command* command);
void DescribePreview(Command* command);
void DescribeSave(Command* command);
void DescribeSheet(Command* command);  // of preview

// All of them, as subcommands of the program.
Command AllCommands();

}  // namespace OndrelTool

#endif
