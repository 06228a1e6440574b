#ifndef TESSELU_TOOLS_INFO_H
#define TESSELU_TOOLS_INFO_H

namespace tool {

/// Prints what a report about a fault needs: version, build, processor, and the code paths in use.
void RunInfo();

}  // namespace tool

#endif  // TESSELU_TOOLS_INFO_H
