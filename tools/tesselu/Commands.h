#ifndef TESSELU_TOOLS_COMMANDS_H
#define TESSELU_TOOLS_COMMANDS_H

#include <span>

#include "cli/Command.h"

namespace tool {

/// The table of commands, in the order of the help: the name of each command's record, which stands in a file
/// of its own in commands/.
#define TESSELU_COMMANDS(ROW) \
    ROW(kWipeCommand)         \
    ROW(kDissolveCommand)     \
    ROW(kOverCommand)         \
    ROW(kOverlayCommand)      \
    ROW(kCenterCommand)       \
    ROW(kKeyCommand)          \
    ROW(kLutCommand)          \
    ROW(kAdjustCommand)       \
    ROW(kCorrectCommand)      \
    ROW(kScopeCommand)        \
    ROW(kBlurCommand)         \
    ROW(kNoiseCommand)        \
    ROW(kDenoiseCommand)      \
    ROW(kConvertCommand)      \
    ROW(kCompareCommand)      \
    ROW(kTestCardCommand)     \
    ROW(kPatternCommand)      \
    ROW(kMaskCommand)         \
    ROW(kPatternsCommand)     \
    ROW(kFormatsCommand)      \
    ROW(kInfoCommand)

#define TESSELU_DECLARE_COMMAND(record) extern const Command record;
TESSELU_COMMANDS(TESSELU_DECLARE_COMMAND)
#undef TESSELU_DECLARE_COMMAND

std::span<const Command* const> AllCommands();

/// Null when there is no command of that name.
const Command* FindCommand(const std::string& name);

/// The command's own options, those that all of its kind have, and --help.
std::vector<Option> OptionsOf(const Command& command);

/// What may stand before a command.
const std::vector<Option>& GlobalOptions();

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_H
