#ifndef TESSELU_TOOLS_RUN_CONSOLE_H
#define TESSELU_TOOLS_RUN_CONSOLE_H

#include <string>

namespace tool::console {

// The error stream, which a progress bar may share with lines of text. All threads may call these.

/// A terminal that follows escape codes.
bool CanShowBar();

/// Draws `text` over what was drawn before.
void ShowBar(const std::string& text);

/// Leaves an empty line where a bar was.
void ClearBar();

/// "tesselu: text", in one line, whatever the text.
void Complain(const std::string& text);

/// The same for what is no error; nothing once `BeQuiet` was called.
void Note(const std::string& text);
void BeQuiet();

}  // namespace tool::console

#endif  // TESSELU_TOOLS_RUN_CONSOLE_H
