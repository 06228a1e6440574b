#ifndef TESSELU_TOOLS_RUN_RUN_H
#define TESSELU_TOOLS_RUN_RUN_H

#include "cli/Arguments.h"
#include "cli/Command.h"

namespace tool {

/// Runs a command that makes pictures, from opening its inputs to the summary.
///
///     input 1: decode, pick, scale -> queue \.
///     input 2: decode, pick, scale -> queue -> effect (this thread) -> queue -> encode, write
///
/// Every input has a thread, and so has the output. The queues hold a few pictures, so that memory does not
/// grow with the length of a run. When one stage fails the others are left where they are: a thread may wait
/// for a pipe that never speaks again. The caller is to end the process without waiting for them.
void RunCommand(const Command& command, const Arguments& arguments);

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_RUN_H
