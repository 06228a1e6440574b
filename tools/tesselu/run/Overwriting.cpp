#include "run/Overwriting.h"

#include <sys/stat.h>

#include <map>
#include <optional>
#include <utility>

#include "Errors.h"
#include "media/FileNames.h"

namespace tool {
namespace {

/// A file, whatever its name.
using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> IdentityOf(const std::string& path) {
    struct stat there = {};
    if (path == kStandardStream || stat(path.c_str(), &there) != 0 || S_ISCHR(there.st_mode)) {
        return std::nullopt;
    }
    return Identity{there.st_dev, there.st_ino};
}

std::map<Identity, std::string> IdentitiesOf(const std::vector<std::string>& inputs) {
    std::map<Identity, std::string> files;
    const auto add = [&files](const std::string& path) {
        if (const auto identity = IdentityOf(path)) {
            files.emplace(*identity, path);
        }
    };
    for (const std::string& input : inputs) {
        if (!NumberedName::Is(input)) {
            add(input);
            continue;
        }
        const NumberedName name(input);
        for (const long number : name.NumbersThatExist()) {
            add(name.At(number));
        }
    }
    return files;
}

void Refuse(const NamedOutput& output, const std::string& path,
            const std::map<Identity, std::string>& inputs) {
    const auto identity = IdentityOf(path);
    const auto found = identity ? inputs.find(*identity) : inputs.end();
    if (found != inputs.end()) {
        throw UsageError(output.option + " " + path + ": is also the input " + found->second);
    }
}

/// "the output" is that of -o.
std::string Called(const NamedOutput& output) {
    return output.option == "-o" ? "the output" : output.option;
}

}  // namespace

void RefuseOverwritingInputs(const std::vector<std::string>& inputs,
                             const std::vector<NamedOutput>& outputs) {
    const auto files = IdentitiesOf(inputs);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        Refuse(outputs[i], outputs[i].path, files);
        for (std::size_t j = 0; j < i; ++j) {
            const bool areStreams = outputs[i].path == kStandardStream && outputs[j].path == kStandardStream;
            const bool isStream = outputs[i].path == kStandardStream || outputs[j].path == kStandardStream;
            if (areStreams || (!isStream && IsSameFile(outputs[i].path, outputs[j].path))) {
                throw UsageError(outputs[i].option + " " + outputs[i].path + ": is also " +
                                 Called(outputs[j]));
            }
        }
    }
}

void RefuseOverwritingBySequence(const std::vector<std::string>& inputs,
                                 const std::vector<NamedOutput>& outputs, long first, long last) {
    const auto files = IdentitiesOf(inputs);
    const auto isWritten = [&](long number) { return number >= first && number <= last; };
    for (const NamedOutput& output : outputs) {
        if (!output.isSequence) {
            continue;
        }
        const NumberedName name(output.path);
        for (const long number : name.NumbersThatExist()) {
            if (!isWritten(number)) {
                continue;
            }
            Refuse(output, name.At(number), files);
            for (const NamedOutput& other : outputs) {
                if (!other.isSequence && other.path != kStandardStream &&
                    IsSameFile(name.At(number), other.path)) {
                    throw UsageError(other.option + " " + other.path + ": is also " + name.At(number) +
                                     " of " + Called(output));
                }
            }
        }
        for (const NamedOutput& other : outputs) {
            // Of another sequence it is the last picture that has its digits for certain.
            const std::string path = other.isSequence ? NumberedName(other.path).At(last) : other.path;
            const auto number = &other != &output ? name.NumberIn(path) : std::nullopt;
            if (number && isWritten(*number)) {
                throw UsageError(other.option + " " + other.path + ": is also a picture of " +
                                 Called(output));
            }
        }
    }
}

}  // namespace tool
