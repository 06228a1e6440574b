#include "cli/Completion.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "Commands.h"

namespace tool {
namespace {

/// Files that are offered as inputs; others can still be typed.
constexpr const char* kMediaKinds[] = {"mkv", "mp4",  "mov", "avi",  "mpg",  "mpeg", "m2v", "ts",  "mts",
                                       "m4v", "mxf",  "dv",  "y4m",  "webm", "yuv",  "rgb", "raw", "png",
                                       "jpg", "jpeg", "tif", "tiff", "bmp",  "ppm",  "pgm", "webp"};
constexpr const char* kClipKinds[] = {"mkv", "mov", "mp4", "y4m", "png"};

template <std::size_t kCount>
std::string Joined(const char* const (&words)[kCount], const char* between) {
    std::string text;
    for (const char* word : words) {
        text.append(text.empty() ? "" : between).append(word);
    }
    return text;
}

std::string Joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : between).append(word);
    }
    return text;
}

/// All spellings of an option, for a shell's list of words.
std::string Spellings(const std::vector<Option>& options) {
    std::vector<std::string> words;
    for (const Option& option : options) {
        if (option.letter != '\0') {
            words.push_back(std::string("-") + option.letter);
        }
        words.push_back(std::string("--") + option.name);
    }
    return Joined(words, " ");
}

bool TakesMedia(const Command& command) {
    return std::any_of(command.inputs.begin(), command.inputs.end(),
                       [](const Operand& input) { return input.isMedia; });
}

/// All words that may stand at a place of their own.
std::string WordsOf(const Command& command) {
    std::vector<std::string> words;
    for (const Operand& input : command.inputs) {
        words.insert(words.end(), input.choices.begin(), input.choices.end());
    }
    return Joined(words, " ");
}

/// For a string in single quotes: what would end it, and the colons and brackets that zsh reads, go.
std::string Plain(std::string_view text, std::string_view special) {
    std::string out;
    for (const char c : text) {
        if (c == '\'') {
            out += "'\\''";
        } else if (special.find(c) != std::string_view::npos) {
            out += std::string("\\") + c;
        } else {
            out += c;
        }
    }
    return out;
}

// ---- bash ----

/// What completes the value of an option, as a bash command.
std::string BashValue(const Option& option) {
    switch (option.kind) {
        case ValueKind::kChoice:
            return std::string("COMPREPLY=($(compgen -W '") + Joined(option.choices, " ") + "' -- \"$cur\"))";
        case ValueKind::kClip:
            return std::string("_tesselu_files '") + Joined(kClipKinds, "|") + "'";
        case ValueKind::kCube:
            return "_tesselu_files cube";
        case ValueKind::kPngPicture:
            return "_tesselu_files png";
        case ValueKind::kGreyPicture:
            return "_tesselu_files 'png|tga'";
        default:
            return "COMPREPLY=()";
    }
}

std::string BashCase(const std::vector<Option>& options, const std::string& indent) {
    std::string text;
    for (const Option& option : options) {
        if (option.NeedsValue()) {
            text += indent + (option.letter != '\0' ? std::string("-") + option.letter + "|" : "") + "--" +
                    option.name + ") " + BashValue(option) + "; return ;;\n";
        }
    }
    return text;
}

std::string Bash() {
    std::vector<std::string> names;
    for (const Command* command : AllCommands()) {
        names.push_back(command->name);
    }
    std::string text = R"(# bash completion for tesselu

_tesselu_files() {
    local IFS=$'\n'
    compopt -o filenames 2>/dev/null
    COMPREPLY=($(compgen -d -- "$cur") $(compgen -f -- "$cur" | grep -iE "\.($1)\$"))
}

_tesselu() {
    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W ')" +
                       Joined(names, " ") + " " + Spellings(GlobalOptions()) +
                       R"(' -- "$cur"))
        return
    fi
    case $command in
)";
    for (const Command* command : AllCommands()) {
        const std::vector<Option> options = OptionsOf(*command);
        text += "        " + command->name + ")\n            case $prev in\n" +
                BashCase(options, "                ") + "            esac\n            case $cur in\n" +
                "                -*) COMPREPLY=($(compgen -W '" + Spellings(options) + "' -- \"$cur\")) ;;\n";
        if (TakesMedia(*command)) {
            text += "                *) _tesselu_files '" + Joined(kMediaKinds, "|") + "' ;;\n";
        } else if (!WordsOf(*command).empty()) {
            text +=
                "                *) COMPREPLY=($(compgen -W '" + WordsOf(*command) + "' -- \"$cur\")) ;;\n";
        }
        text += "            esac\n            ;;\n";
    }
    text += "        --completion) COMPREPLY=($(compgen -W 'bash zsh fish' -- \"$cur\")) ;;\n";
    return text + "    esac\n}\n\ncomplete -F _tesselu tesselu\n";
}

// ---- zsh ----

std::string ZshValue(const Option& option) {
    switch (option.kind) {
        case ValueKind::kNone:
        case ValueKind::kChoices:
            return "";
        case ValueKind::kChoice:
            return std::string(":") + option.value + ":(" + Joined(option.choices, " ") + ")";
        case ValueKind::kClip:
            return std::string(":") + option.value + ":_files -g \"*.(#i)(" + Joined(kClipKinds, "|") + ")\"";
        case ValueKind::kCube:
            return std::string(":") + Plain(option.value, ":") + ":_files -g \"*.(#i)cube\"";
        case ValueKind::kPngPicture:
            return std::string(":") + Plain(option.value, ":") + ":_files -g \"*.(#i)png\"";
        case ValueKind::kGreyPicture:
            return std::string(":") + Plain(option.value, ":") + ":_files -g \"*.(#i)(png|tga)\"";
        default:
            return std::string(":") + option.value + ": ";
    }
}

std::string ZshOptions(const std::vector<Option>& options) {
    std::string text;
    for (const Option& option : options) {
        const std::string about = std::string("[") + Plain(option.help, "[]:") + "]";
        const std::string value = ZshValue(option);
        const char* equals = option.NeedsValue() ? "=" : "";
        if (option.letter != '\0') {
            text += std::string("                '-") + option.letter + about + value + "' \\\n";
        }
        text += "                '--" + option.name + equals + about + value + "' \\\n";
    }
    return text;
}

std::string Zsh() {
    std::string text = R"(#compdef tesselu

_tesselu() {
    local -a commands
    commands=(
)";
    for (const Command* command : AllCommands()) {
        text += "        '" + command->name + ":" + Plain(command->summary, ":") + "'\n";
    }
    text += R"(    )
    if (( CURRENT == 2 )); then
        _describe command commands
        _arguments \
)" + ZshOptions(GlobalOptions()) +
            R"(                '*: :'
        return
    fi
    local command=$words[2]
    shift words
    (( CURRENT-- ))
    case $command in
)";
    for (const Command* command : AllCommands()) {
        text += "        " + command->name + ")\n            _arguments -s \\\n" +
                ZshOptions(OptionsOf(*command));
        for (const Operand& input : command->inputs) {
            const std::string offered =
                input.isMedia ? std::string("_files -g \"*.(#i)(") + Joined(kMediaKinds, "|") + ")\""
                : input.choices.empty() ? std::string(" ")
                                        : std::string("(") + Joined(input.choices, " ") + ")";
            text += std::string("                ':") + Plain(input.name, ":") + ":" + offered + "' \\\n";
        }
        text += "                && return\n            ;;\n";
    }
    return text + "    esac\n}\n\n_tesselu \"$@\"\n";
}

// ---- fish ----

std::string FishSuffixes(const char* const* kinds, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += std::string(i == 0 ? "" : " ") + "." + kinds[i];
    }
    return text;
}

std::string FishValue(const Option& option) {
    switch (option.kind) {
        case ValueKind::kNone:
        case ValueKind::kChoices:
            return "";
        case ValueKind::kChoice:
            return " -x -a '" + Joined(option.choices, " ") + "'";
        case ValueKind::kClip:
            return " -x -a '(__tesselu_files " + FishSuffixes(kClipKinds, std::size(kClipKinds)) + ")'";
        case ValueKind::kCube:
            return " -x -a '(__tesselu_files .cube)'";
        case ValueKind::kPngPicture:
            return " -x -a '(__tesselu_files .png)'";
        case ValueKind::kGreyPicture:
            return " -x -a '(__tesselu_files .png .tga)'";
        default:
            return " -x";
    }
}

std::string FishOptions(const std::vector<Option>& options, const std::string& condition) {
    std::string text;
    for (const Option& option : options) {
        text += "complete -c tesselu -n '" + condition + "'" +
                (option.letter != '\0' ? std::string(" -s ") + option.letter : "") + " -l " + option.name +
                FishValue(option) + " -d '" + Plain(option.help, "") + "'\n";
    }
    return text;
}

std::string Fish() {
    std::string text = R"(# fish completion for tesselu

function __tesselu_files
    for suffix in $argv
        __fish_complete_suffix $suffix | string match -ri -- '(?:.*/|.*'(string escape --style=regex -- $suffix)')(?:\t.*)?$'
    end
end

complete -c tesselu -f
)";
    for (const Command* command : AllCommands()) {
        text += "complete -c tesselu -n __fish_use_subcommand -a " + command->name + " -d '" +
                Plain(command->summary, "") + "'\n";
    }
    text += FishOptions(GlobalOptions(), "__fish_use_subcommand");
    for (const Command* command : AllCommands()) {
        const std::string condition = "__fish_seen_subcommand_from " + command->name;
        text += FishOptions(OptionsOf(*command), condition);
        if (!TakesMedia(*command) && !WordsOf(*command).empty()) {
            text += "complete -c tesselu -n '" + condition + "' -a '" + WordsOf(*command) + "'\n";
        }
        if (TakesMedia(*command)) {
            text += "complete -c tesselu -n '" + condition + "' -a '(__tesselu_files " +
                    FishSuffixes(kMediaKinds, std::size(kMediaKinds)) + ")'\n";
        }
    }
    return text;
}

}  // namespace

std::string CompletionFor(const std::string& shell) {
    return shell == "bash" ? Bash() : shell == "zsh" ? Zsh() : Fish();
}

}  // namespace tool
