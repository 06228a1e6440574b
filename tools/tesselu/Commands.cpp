#include "Commands.h"

#include <algorithm>

#include "run/RunOptions.h"

namespace tool {

std::span<const Command* const> AllCommands() {
#define TESSELU_COMMAND_ADDRESS(record) &record,
    static const Command* const commands[] = {TESSELU_COMMANDS(TESSELU_COMMAND_ADDRESS)};
#undef TESSELU_COMMAND_ADDRESS
    return commands;
}

const Command* FindCommand(const std::string& name) {
    for (const Command* command : AllCommands()) {
        if (command->name == name) {
            return command;
        }
    }
    return nullptr;
}

std::vector<Option> OptionsOf(const Command& command) {
    std::vector<Option> options = command.options;
    if (command.makeEffect != nullptr) {
        for (const Option& common : CommonRunOptions()) {
            const bool isReplaced = std::any_of(command.options.begin(), command.options.end(),
                                                [&](const Option& own) { return own.name == common.name; });
            const bool isMissing = std::find(command.without.begin(), command.without.end(), common.name) !=
                                   command.without.end();
            if (!isReplaced && !isMissing) {
                options.push_back(common);
            }
        }
    }
    options.push_back({.name = "verbose", .help = "let the media libraries speak too"});
    options.push_back({.name = "help", .letter = 'h', .help = "print this help"});
    return options;
}

const std::vector<Option>& GlobalOptions() {
    static const std::vector<Option> options = {
        {.name = "help", .letter = 'h', .help = "print this help; after a command, that of the command"},
        {.name = "help-all", .help = "print the help of all commands"},
        {.name = "version", .letter = 'V', .help = "print the version"},
        {.name = "completion",
         .kind = ValueKind::kChoice,
         .value = "SHELL",
         .help = "print completions for bash, zsh or fish",
         .choices = {"bash", "zsh", "fish"}},
    };
    return options;
}

}  // namespace tool
