#include "cli/Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <utility>

#include "Errors.h"
#include "media/FileNames.h"
#include "media/Rates.h"

namespace tool {
namespace {

/// How an option is called in a complaint: as it is usually written.
std::string Spelled(const Option& option) {
    return option.letter == 'o' ? "-o" : "--" + option.name;
}

[[noreturn]] void Refuse(const Option& option, const std::string& value, const std::string& why) {
    throw UsageError(Spelled(option) + " " + value + ": " + why);
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
    Number number = {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

/// "2", "2.5": a bound as a person would write it.
std::string Plain(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", number);
    return text;
}

long ParseInteger(const Option& option, const std::string& value) {
    const auto number = ParseNumber<long>(value);
    if (!number || static_cast<double>(*number) < option.least ||
        static_cast<double>(*number) > option.most) {
        Refuse(option, value, "a whole number from " + Plain(option.least) + " to " + Plain(option.most));
    }
    return *number;
}

double ParseReal(const Option& option, const std::string& value) {
    const auto number = ParseNumber<double>(value);
    if (!number || !(*number >= option.least && *number <= option.most)) {
        Refuse(option, value, "a number from " + Plain(option.least) + " to " + Plain(option.most));
    }
    return *number;
}

/// The words between commas.
std::vector<std::string> Listed(const std::string& value) {
    std::vector<std::string> words;
    std::size_t at = 0;
    for (std::size_t comma = 0; (comma = value.find(',', at)) != std::string::npos; at = comma + 1) {
        words.push_back(value.substr(at, comma - at));
    }
    words.push_back(value.substr(at));
    return words;
}

std::vector<double> ParseReals(const Option& option, const std::string& value) {
    std::vector<double> numbers;
    for (const std::string& word : Listed(value)) {
        const auto number = ParseNumber<double>(word);
        if (!number || !(*number >= option.least && *number <= option.most)) {
            Refuse(option, value,
                   "of the form " + option.value + ", numbers from " + Plain(option.least) + " to " +
                       Plain(option.most));
        }
        numbers.push_back(*number);
    }
    return numbers;
}

std::size_t ParseChoice(const Option& option, const std::string& value) {
    const auto found = std::find(option.choices.begin(), option.choices.end(), value);
    if (found == option.choices.end()) {
        std::string known;
        for (const std::string& choice : option.choices) {
            known += (known.empty() ? "" : ", ") + choice;
        }
        Refuse(option, value, "unknown; there are " + known);
    }
    return static_cast<std::size_t>(found - option.choices.begin());
}

/// The word can only be the value of an option that may go without one.
bool AreChoices(const Option& option, const std::string& word) {
    for (const std::string& each : Listed(word)) {
        if (std::find(option.choices.begin(), option.choices.end(), each) == option.choices.end()) {
            return false;
        }
    }
    return true;
}

FrameSize ParseSize(const Option& option, const std::string& value) {
    const std::size_t times = value.find('x');
    const auto width = ParseNumber<unsigned>(std::string_view(value).substr(0, times));
    const auto height = times == std::string::npos
                            ? std::nullopt
                            : ParseNumber<unsigned>(std::string_view(value).substr(times + 1));
    if (!width || !height) {
        Refuse(option, value, "not of the form WIDTHxHEIGHT");
    }
    const auto fits = [](unsigned side) {
        return side >= kSmallestSide && side <= kLargestSide && side % 2 == 0;
    };
    if (!fits(*width) || !fits(*height)) {
        Refuse(option, value,
               "width and height must be even, from " + std::to_string(kSmallestSide) + " to " +
                   std::to_string(kLargestSide));
    }
    return {*width, *height};
}

AVRational ParseRate(const Option& option, const std::string& value) {
    constexpr double kSlowest = 0.001, kFastest = 1000;
    AVRational rate = {0, 1};
    const std::size_t slash = value.find('/');
    if (slash != std::string::npos) {
        const auto above = ParseNumber<int>(std::string_view(value).substr(0, slash));
        const auto below = ParseNumber<int>(std::string_view(value).substr(slash + 1));
        if (above && below && *below > 0) {
            rate = {*above, *below};
        }
    } else if (const auto number = ParseNumber<double>(value); number && *number <= kFastest) {
        rate = StandardRate(*number);
    }
    if (!(av_q2d(rate) >= kSlowest && av_q2d(rate) <= kFastest)) {
        Refuse(option, value, "a rate such as 25, 29.97 or 30000/1001, from 0.001 to 1000");
    }
    return rate;
}

Interval ParseInterval(const Option& option, const std::string& value) {
    const std::size_t dash = value.find('-');
    const auto first = ParseNumber<long>(std::string_view(value).substr(0, dash));
    const std::string_view rest = dash == std::string::npos ? "" : std::string_view(value).substr(dash + 1);
    const auto last = ParseNumber<long>(rest);
    if (dash == std::string::npos || !first || (!rest.empty() && !last)) {
        Refuse(option, value,
               "of the form A-B or A-, counted from 0; the number of frames of a run is --length");
    }
    if (*first < 0 || *first >= kMostPictures || (last && (*last < *first || *last >= kMostPictures))) {
        Refuse(option, value, "0 <= A <= B < " + std::to_string(kMostPictures));
    }
    return {*first, last};
}

void Check(const Option& option, const std::string& value) {
    if (value.empty()) {
        throw UsageError(Spelled(option) + ": the value is empty");
    }
    switch (option.kind) {
        case ValueKind::kInteger:
            ParseInteger(option, value);
            break;
        case ValueKind::kReal:
            ParseReal(option, value);
            break;
        case ValueKind::kReals:
            ParseReals(option, value);
            break;
        case ValueKind::kChoice:
            ParseChoice(option, value);
            break;
        case ValueKind::kChoices:
            for (const std::string& word : Listed(value)) {
                ParseChoice(option, word);
            }
            break;
        case ValueKind::kSize:
            ParseSize(option, value);
            break;
        case ValueKind::kRate:
            ParseRate(option, value);
            break;
        case ValueKind::kInterval:
            ParseInterval(option, value);
            break;
        case ValueKind::kPngPicture:
            if (ExtensionOf(value) != ".png") {
                Refuse(option, value, "it is a PNG picture, so its name must end in .png");
            }
            break;
        case ValueKind::kGreyPicture:
            if (ExtensionOf(value) != ".png" && ExtensionOf(value) != ".tga") {
                Refuse(option, value, "it is a picture, so its name must end in .png or .tga");
            }
            break;
        default:
            break;
    }
}

}  // namespace

Arguments::Arguments(std::vector<Option> newOptions, std::size_t inputCount,
                     const std::vector<std::string>& words)
    : options(std::move(newOptions)) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (optionsEnded || word.size() < 2 || word[0] != '-') {
            if (inputs.size() == inputCount) {
                throw UsageError(word + ": one argument too many");
            }
            if (word.empty()) {
                throw UsageError("the name of an input is empty");
            }
            inputs.push_back(word);
            continue;
        }
        if (word == "--") {
            optionsEnded = true;
            continue;
        }
        const bool isLong = word[1] == '-';
        const std::size_t equals = isLong ? word.find('=') : std::string::npos;
        const std::string name = isLong ? word.substr(2, equals - 2) : word.substr(1, 1);
        const auto option = std::find_if(options.begin(), options.end(), [&](const Option& known) {
            return isLong ? known.name == name : known.letter == name[0];
        });
        if (option == options.end()) {
            throw UsageError(word + ": no such option");
        }
        std::optional<std::string> value;
        if (equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (!isLong && word.size() > 2) {
            value = word.substr(2);
        }
        if (option->kind == ValueKind::kNone) {
            if (value) {
                throw UsageError(word + ": takes no value");
            }
            values[option->name] = "";
            continue;
        }
        const bool isBare =
            !value && !option->NeedsValue() && (i + 1 == words.size() || !AreChoices(*option, words[i + 1]));
        if (!value && !isBare) {
            if (i + 1 == words.size()) {
                throw UsageError(word + ": a value is missing");
            }
            value = words[++i];
        }
        if (values.count(option->name) > 0) {
            throw UsageError(Spelled(*option) + (value ? " " + *value : "") + ": given twice");
        }
        if (value) {
            Check(*option, *value);
        }
        values[option->name] = value.value_or("");
    }
}

void Arguments::RequireAll(const std::vector<Operand>& operands) const {
    if (inputs.size() < operands.size()) {
        throw UsageError("the input " + operands[inputs.size()].name + " is missing");
    }
    for (const Option& option : options) {
        if (option.isRequired && !Has(option.name)) {
            throw UsageError(Spelled(option) + " " + option.value + " is missing");
        }
    }
}

bool Arguments::Has(std::string_view option) const {
    return values.find(option) != values.end();
}

const Option& Arguments::Find(std::string_view name) const {
    const auto option =
        std::find_if(options.begin(), options.end(), [&](const Option& known) { return known.name == name; });
    if (option == options.end()) {
        throw std::logic_error("no option is called " + std::string(name));
    }
    return *option;
}

std::string Arguments::Text(std::string_view option) const {
    const auto given = values.find(option);
    return given != values.end() ? given->second : Find(option).initial;
}

long Arguments::Integer(std::string_view option) const {
    return ParseInteger(Find(option), Text(option));
}

double Arguments::Real(std::string_view option) const {
    return ParseReal(Find(option), Text(option));
}

std::vector<double> Arguments::Reals(std::string_view option) const {
    return ParseReals(Find(option), Text(option));
}

FrameSize Arguments::Size(std::string_view option) const {
    return ParseSize(Find(option), Text(option));
}

AVRational Arguments::Rate(std::string_view option) const {
    return ParseRate(Find(option), Text(option));
}

Interval Arguments::Pictures(std::string_view option) const {
    return ParseInterval(Find(option), Text(option));
}

std::size_t Arguments::Choice(std::string_view option) const {
    return ParseChoice(Find(option), Text(option));
}

std::vector<std::size_t> Arguments::Choices(std::string_view option) const {
    const std::string value = Text(option);
    std::vector<std::size_t> places;
    if (!value.empty()) {
        for (const std::string& word : Listed(value)) {
            places.push_back(ParseChoice(Find(option), word));
        }
    }
    return places;
}

}  // namespace tool
