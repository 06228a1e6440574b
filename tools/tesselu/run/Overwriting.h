#ifndef TESSELU_TOOLS_RUN_OVERWRITING_H
#define TESSELU_TOOLS_RUN_OVERWRITING_H

#include <string>
#include <vector>

namespace tool {

/// Something that a run writes.
struct NamedOutput {
    std::string option;  ///< with its dashes
    std::string path;
    bool isSequence = false;
};

// Both throw `UsageError` naming the option when a file that is to be written is an input, under whatever
// name, or another output.

/// To be called before anything is opened.
void RefuseOverwritingInputs(const std::vector<std::string>& inputs, const std::vector<NamedOutput>& outputs);

/// The same for all pictures of the sequences from `first` to `last`.
void RefuseOverwritingBySequence(const std::vector<std::string>& inputs,
                                 const std::vector<NamedOutput>& outputs, long first, long last);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_OVERWRITING_H
