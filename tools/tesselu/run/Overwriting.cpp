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

void Refuse(const char* option, const std::string& output, const std::map<Identity, std::string>& inputs) {
    const auto identity = IdentityOf(output);
    const auto found = identity ? inputs.find(*identity) : inputs.end();
    if (found != inputs.end()) {
        throw UsageError(std::string(option) + " " + output + ": is also the input " + found->second);
    }
}

}  // namespace

void RefuseOverwritingInputs(const std::vector<std::string>& inputs, const std::string& output,
                             const std::string& sheet) {
    const auto files = IdentitiesOf(inputs);
    Refuse("-o", output, files);
    if (sheet.empty()) {
        return;
    }
    Refuse("--sheet", sheet, files);
    if (output != kStandardStream && IsSameFile(output, sheet)) {
        throw UsageError("--sheet " + sheet + ": is also the output");
    }
}

void RefuseOverwritingBySequence(const std::vector<std::string>& inputs, const std::string& output,
                                 const std::string& sheet, long first, long last) {
    const NumberedName name(output);
    const auto files = IdentitiesOf(inputs);
    const auto isWritten = [&](long number) { return number >= first && number <= last; };
    for (const long number : name.NumbersThatExist()) {
        if (isWritten(number)) {
            Refuse("-o", name.At(number), files);
            if (!sheet.empty() && IsSameFile(name.At(number), sheet)) {
                throw UsageError("--sheet " + sheet + ": is also " + name.At(number) + " of the output");
            }
        }
    }
    const auto number = sheet.empty() ? std::nullopt : name.NumberIn(sheet);
    if (number && isWritten(*number)) {
        throw UsageError("--sheet " + sheet + ": is also a picture of the output");
    }
}

}  // namespace tool
