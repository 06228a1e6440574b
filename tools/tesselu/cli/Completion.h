#ifndef TESSELU_TOOLS_CLI_COMPLETION_H
#define TESSELU_TOOLS_CLI_COMPLETION_H

#include <string>

namespace tool {

/// A script that teaches `shell` ("bash", "zsh" or "fish") the commands, their options and the kinds of
/// files.
std::string CompletionFor(const std::string& shell);

}  // namespace tool

#endif  // TESSELU_TOOLS_CLI_COMPLETION_H
