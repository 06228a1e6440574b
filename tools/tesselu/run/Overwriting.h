#ifndef TESSELU_TOOLS_RUN_OVERWRITING_H
#define TESSELU_TOOLS_RUN_OVERWRITING_H

#include <string>
#include <vector>

namespace tool {

// Both throw `UsageError` naming the option when a file that is to be written is an input, under whatever
// name, or another output. An empty `sheet` is none.

/// To be called before anything is opened.
void RefuseOverwritingInputs(const std::vector<std::string>& inputs, const std::string& output,
                             const std::string& sheet);

/// The same for all pictures of a sequence from `first` to `last`.
void RefuseOverwritingBySequence(const std::vector<std::string>& inputs, const std::string& output,
                                 const std::string& sheet, long first, long last);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_OVERWRITING_H
