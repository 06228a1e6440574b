#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "Commands.h"
#include "Errors.h"
#include "cli/Arguments.h"
#include "cli/Completion.h"
#include "cli/Help.h"
#include "run/Console.h"
#include "run/Interrupt.h"
#include "run/OutputFile.h"
#include "run/Run.h"

namespace {

using tool::UsageError;

/// The words before the command.
void RunGlobal(const std::vector<std::string>& words) {
    const tool::Arguments arguments(tool::GlobalOptions(), 0, words);
    if (arguments.Has("help")) {
        std::fputs(tool::ProgramHelp().c_str(), stdout);
    } else if (arguments.Has("help-all")) {
        std::fputs(tool::WholeHelp().c_str(), stdout);
    } else if (arguments.Has("version")) {
        std::fputs(tool::VersionText().c_str(), stdout);
    } else if (arguments.Has("completion")) {
        std::fputs(tool::CompletionFor(arguments.Text("completion")).c_str(), stdout);
    }
}

std::string NamesOfCommands() {
    std::string names;
    for (const tool::Command* command : tool::AllCommands()) {
        names += (names.empty() ? "" : ", ") + command->name;
    }
    return names;
}

int Run(std::vector<std::string> words) {
    if (words.empty()) {
        throw UsageError("a command is needed: " + NamesOfCommands());
    }
    if (words[0].size() > 1 && words[0][0] == '-') {
        RunGlobal(words);
        return tool::kExitSuccess;
    }
    const tool::Command* command = tool::FindCommand(words[0]);
    if (command == nullptr) {
        throw UsageError(words[0] + ": no such command; there are " + NamesOfCommands());
    }
    words.erase(words.begin());
    const auto asksForHelp = [](const std::string& word) { return word == "--help" || word == "-h"; };
    if (std::any_of(words.begin(), words.end(), asksForHelp)) {
        std::fputs(tool::CommandHelp(*command).c_str(), stdout);
        return tool::kExitSuccess;
    }
    const tool::Arguments arguments(tool::OptionsOf(*command), command->inputs.size(), words);
    arguments.RequireAll(command->inputs);
    av_log_set_level(arguments.Has("verbose") ? AV_LOG_INFO : AV_LOG_QUIET);
    if (command->makeEffect == nullptr) {
        return command->execute(arguments);
    }
    tool::RunCommand(*command, arguments);
    return tool::kExitSuccess;
}

int Guarded(const std::vector<std::string>& words) {
    try {
        const int status = Run(words);
        if (std::fflush(stdout) != 0) {
            throw tool::Failure("standard output: cannot be written");
        }
        return status;
    } catch (const UsageError& error) {
        tool::console::Complain(std::string(error.what()) + " (see tesselu --help)");
        return tool::kExitUsage;
    } catch (const tool::NoVerdict& error) {
        tool::console::Complain(error.what());
        return tool::kExitUsage;
    } catch (const std::bad_alloc&) {
        tool::console::Complain("out of memory");
        return tool::kExitFailure;
    } catch (const std::exception& error) {
        tool::console::Complain(error.what());
        return tool::kExitFailure;
    }
}

}  // namespace

int main(int argc, char** argv) {
    tool::CatchInterrupts();
    const int status = Guarded({argv + 1, argv + argc});
    // Threads of a run may still wait for something, so nothing is torn down.
    tool::OutputFile::RemoveUnfinished();
    std::fflush(nullptr);
    _exit(status);
}
