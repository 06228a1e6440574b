#ifndef TESSELU_TOOLS_COMMANDS_PATTERNNAMES_H
#define TESSELU_TOOLS_COMMANDS_PATTERNNAMES_H

#include <vector>

namespace tool {

struct PatternName {
    unsigned number;
    const char* name;
};

/// The wipe codes of SMPTE 258M that have a generator or are to have one, in ascending order.
extern const std::vector<PatternName> kPatternNames;

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_PATTERNNAMES_H
