#ifndef TESSELU_TOOLS_CLI_HELP_H
#define TESSELU_TOOLS_CLI_HELP_H

#include <string>

#include "cli/Command.h"

namespace tool {

// Help in the layout that help2man reads.

/// Of the program: its commands, exit statuses and two examples.
std::string ProgramHelp();

/// Of one command.
std::string CommandHelp(const Command& command);

/// Of everything: what the manual page is made of.
std::string WholeHelp();

/// What --version prints.
std::string VersionText();

}  // namespace tool

#endif  // TESSELU_TOOLS_CLI_HELP_H
