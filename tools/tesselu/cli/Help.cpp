#include "cli/Help.h"

#include <TesselU/foundation/Version.h>

#include <algorithm>
#include <sstream>

#include "Commands.h"
#include "run/RunOptions.h"

namespace tool {
namespace {

constexpr std::size_t kWidth = 79;
constexpr std::size_t kHelpColumn = 26;

constexpr const char* kAbout =
    "Real-time video image processing on clips, stills, sequences and pipes: the operations of the TesselU "
    "library, field by field.";

/// `text` in lines of at most `kWidth` columns, all but the first after `indent` spaces.
std::string Wrapped(const std::string& text, std::size_t indent, std::size_t firstColumn) {
    std::istringstream words(text);
    std::string out;
    std::size_t column = firstColumn;
    bool isFirst = true;
    for (std::string word; words >> word;) {
        if (!isFirst && column + 1 + word.size() > kWidth) {
            out.append("\n").append(indent, ' ');
            column = indent;
            isFirst = true;
        }
        if (!isFirst) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        isFirst = false;
    }
    return out + "\n";
}

/// A term and its explanation beside it, or below when the term is long.
std::string Row(const std::string& term, const std::string& help) {
    std::string line = "  " + term;
    if (line.size() + 2 > kHelpColumn) {
        line.append("\n").append(kHelpColumn, ' ');
    } else {
        line.resize(kHelpColumn, ' ');
    }
    return line + Wrapped(help, kHelpColumn, kHelpColumn);
}

std::string Rows(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options) {
        std::string term = option.letter != '\0' ? std::string("-") + option.letter + ", " : "    ";
        term += "--" + option.name;
        if (option.NeedsValue()) {
            term += "=" + option.value;
        } else if (option.kind == ValueKind::kChoices) {
            term += "[=" + option.value + "]";
        }
        text += Row(term, option.initial.empty() ? option.help : option.help + " [" + option.initial + "]");
    }
    return text;
}

std::string Capital(std::string text) {
    if (!text.empty()) {
        text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    }
    return text;
}

std::string UsageOf(const Command& command) {
    std::string usage = "tesselu " + command.name + " [OPTION]...";
    for (const Operand& input : command.inputs) {
        usage += " " + input.name;
    }
    for (const Option& option : OptionsOf(command)) {
        if (option.isRequired) {
            usage += (option.letter != '\0' ? std::string(" -") + option.letter : " --" + option.name) + " " +
                     option.value;
        }
    }
    return usage;
}

std::string ExamplesOf(const std::vector<Example>& examples) {
    std::string text;
    for (const Example& example : examples) {
        text += "  " + example.call + "\n         " + Wrapped(example.about, 9, 9);
    }
    return text;
}

/// Those of a command, or of all that have none of their own.
std::string ExitStatuses(const Command* command = nullptr) {
    static const std::vector<std::string> usual = {
        "all is done",
        "it could not be done: an input cannot be read or is damaged, the output cannot be written",
        "the call is wrong; nothing was touched"};
    const std::vector<std::string>& said =
        command != nullptr && !command->statuses.empty() ? command->statuses : usual;
    return Row("0", said[0]) + Row("1", said[1]) + Row("2", said[2]) +
           Row("129, 130, 143", "SIGHUP, SIGINT or SIGTERM ended it");
}

std::string InputRows(const Command& command) {
    std::string text;
    for (const Operand& input : command.inputs) {
        text += Row(input.name, input.help);
    }
    return text.empty() ? "" : text + "\n";
}

constexpr const char* kAfterwards =
    "A run that fails or is interrupted leaves no output behind, and one that was there before as it was; of "
    "a "
    "sequence, the pictures that are whole stay.";

const std::vector<Example>& ProgramExamples() {
    static const std::vector<Example> examples = {
        {"tesselu wipe a.mp4 b.mp4 -o out.mkv", "a soft wipe from one clip to the other"},
        {"tesselu testcard -o - | ffplay -", "colour bars through a pipe"}};
    return examples;
}

std::string CommandList() {
    std::string text;
    for (const Command* command : AllCommands()) {
        text += Row(command->name, command->summary);
    }
    return text;
}

}  // namespace

std::string ProgramHelp() {
    return "Usage: tesselu COMMAND [OPTION]... [INPUT]...\n" + Wrapped(kAbout, 0, 0) + "\nCommands:\n" +
           CommandList() + "\nOptions:\n" + Rows(GlobalOptions()) + "\nExit status:\n" + ExitStatuses() +
           "\nExamples:\n" + ExamplesOf(ProgramExamples()) +
           "\n'tesselu COMMAND --help' tells the options of a command.\n";
}

std::string CommandHelp(const Command& command) {
    std::string text = std::string("Usage: ") + UsageOf(command) + "\n" + Capital(command.summary) + ".\n\n" +
                       Wrapped(command.description, 0, 0) + "\n" + InputRows(command) + "Options:\n" +
                       Rows(OptionsOf(command));
    if (command.makeEffect != nullptr) {
        text.append("\n").append(Wrapped(kAfterwards, 0, 0));
    }
    return text + "\nExit status:\n" + ExitStatuses(&command) + "\nExamples:\n" +
           ExamplesOf(command.examples);
}

std::string WholeHelp() {
    std::string text = "Usage: tesselu COMMAND [OPTION]... [INPUT]...\n";
    for (const Command* command : AllCommands()) {
        text.append("  or:  ").append(UsageOf(*command)).append("\n");
    }
    text += Wrapped(kAbout, 0, 0) + "\n" + Wrapped(kAfterwards, 0, 0) + "\nCommands:\n" + CommandList() +
            "\nOptions:\n" + Rows(GlobalOptions());
    for (const Command* command : AllCommands()) {
        text += "\nThe command " + command->name + ":\n\n" + Wrapped(command->description, 0, 0) + "\n" +
                InputRows(*command) + Rows(command->options);
        if (!command->statuses.empty()) {
            text += "\nIts exit statuses:\n\n" + Row("0", command->statuses[0]) +
                    Row("1", command->statuses[1]) + Row("2", command->statuses[2]);
        }
    }
    text += "\nOptions of all commands that make pictures:\n" + Rows(CommonRunOptions()) +
            "\n*Exit status*\n\n" + ExitStatuses() + "\nExamples:\n" + ExamplesOf(ProgramExamples());
    for (const Command* command : AllCommands()) {
        text += ExamplesOf(command->examples);
    }
    return text;
}

std::string VersionText() {
    return std::string("tesselu ") + Zan::Version() + "\n";
}

}  // namespace tool
