#ifndef TESSELU_TOOLS_COMMANDS_PATTERNS_H
#define TESSELU_TOOLS_COMMANDS_PATTERNS_H

#include <TesselU/image/Image.h>

namespace tool {

/// True when the library draws this wipe code.
bool IsDrawn(unsigned pattern);

/// Throws `UsageError`, naming the codes that there are, unless `IsDrawn`. `called` is how the user says it.
void RequireDrawn(unsigned pattern, const char* called = "--pattern");

/// Draws the map of a wipe into an 8-bit plane. `aspect` is width over height of the picture as it is shown.
void DrawPattern(Zan::Image& key, unsigned pattern, double aspect);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_PATTERNS_H
