#ifndef TESSELU_TOOLS_CLI_ARGUMENTS_H
#define TESSELU_TOOLS_CLI_ARGUMENTS_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Command.h"
#include "media/Picture.h"

namespace tool {

/// Pictures from `first` to `last`, both among them.
struct Interval {
    long first = 0;
    std::optional<long> last;  ///< none: to the end
};

/// The most pictures that one run may have.
constexpr long kMostPictures = 10'000'000;

/// What stands on the command line after the command's name. Every value is checked against its option when
/// it is read; `UsageError` names the option and the value.
class Arguments {
public:
    Arguments(std::vector<Option> options, std::size_t inputs, const std::vector<std::string>& words);

    /// Throws `UsageError` when an input or an option that must be there is not.
    void RequireAll(const std::vector<Operand>& operands) const;

    const std::vector<std::string>& Inputs() const noexcept { return inputs; }

    /// The option was given.
    bool Has(std::string_view option) const;
    /// The value as it was written, or the option's initial one.
    std::string Text(std::string_view option) const;
    long Integer(std::string_view option) const;
    double Real(std::string_view option) const;
    std::vector<double> Reals(std::string_view option) const;
    FrameSize Size(std::string_view option) const;
    AVRational Rate(std::string_view option) const;
    Interval Pictures(std::string_view option) const;
    /// The place of the value among the option's choices.
    std::size_t Choice(std::string_view option) const;
    /// The places of the values among the option's choices; none when it was given without a value.
    std::vector<std::size_t> Choices(std::string_view option) const;

private:
    const Option& Find(std::string_view option) const;

    std::vector<Option> options;
    std::map<std::string, std::string, std::less<>> values;
    std::vector<std::string> inputs;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_CLI_ARGUMENTS_H
