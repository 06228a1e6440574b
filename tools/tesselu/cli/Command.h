#ifndef TESSELU_TOOLS_CLI_COMMAND_H
#define TESSELU_TOOLS_CLI_COMMAND_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace tool {

class Arguments;
class Effect;

/// What may stand after an option. It decides how the value is checked, and what a shell offers for it.
enum class ValueKind {
    kNone,        ///< the option is a switch
    kText,        ///< checked by whoever uses it
    kInteger,     ///< decimal digits, from `least` to `most`
    kReal,        ///< a number from `least` to `most`
    kReals,       ///< such numbers with commas between
    kChoice,      ///< one of `choices`
    kChoices,     ///< some of `choices` with commas between, or no value at all
    kSize,        ///< WIDTHxHEIGHT, both even
    kRate,        ///< pictures a second: 25, 23.976 or 30000/1001
    kInterval,    ///< A-B or A-
    kMedia,       ///< a clip, still or sequence to read
    kCube,        ///< a .cube file to read
    kClip,        ///< a clip or sequence to write
    kPngPicture,  ///< a PNG file to write
    kGreyPicture  ///< a PNG or TGA file to write
};

struct Option {
    std::string name;    ///< without its dashes
    char letter = '\0';  ///< the short form
    ValueKind kind = ValueKind::kNone;
    std::string value = {};  ///< what the help calls the value
    std::string help = {};
    std::string initial = {};  ///< what counts when the option is not given
    double least = 0, most = 0;
    std::vector<std::string> choices = {};
    bool isRequired = false;

    /// It is no complete option without its value.
    bool NeedsValue() const { return kind != ValueKind::kNone && kind != ValueKind::kChoices; }
};

/// What a command is told by its place on the command line.
struct Operand {
    std::string name;
    std::string help;
    bool isMedia = true;  ///< a clip, still or sequence to read
    std::vector<std::string> choices = {};
};

struct Example {
    std::string call;
    std::string about;
};

/// One command of the program: all that help, manual, completions, parser and run know about it.
///
/// A command that makes pictures has `makeEffect`; it gets the options of a run beside its own, of which an
/// option of its own may take the place, and all of opening, timing, writing and reporting done for it.
/// Another has `execute` and does its work itself.
struct Command {
    std::string name;
    std::string summary;      ///< one line, without a capital and a full stop
    std::string description;  ///< a paragraph
    std::vector<Operand> inputs = {};
    std::vector<Option> options = {};
    /// Further inputs, which options name. They follow those above.
    std::vector<std::string> (*moreInputs)(const Arguments&) = nullptr;
    std::vector<Example> examples = {};
    /// Where in the run a picture stands decides what becomes of it, so the run's length must be known.
    bool needsLength = false;
    /// `--to` and `--from` are sample formats of the library, and the output has the samples asked for.
    bool ofSamples = false;
    /// The input that gives a run its size and shape.
    std::size_t frameInput = 0;
    /// Options of a run that make no sense here.
    std::vector<std::string> without = {};
    /// What the exit statuses 0, 1 and 2 say, where it is not what those of others do.
    std::vector<std::string> statuses = {};
    std::unique_ptr<Effect> (*makeEffect)(const Arguments&) = nullptr;
    /// Returns the exit status.
    int (*execute)(const Arguments&) = nullptr;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_CLI_COMMAND_H
