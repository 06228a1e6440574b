#ifndef TESSELU_TOOLS_RUN_INTERRUPT_H
#define TESSELU_TOOLS_RUN_INTERRUPT_H

namespace tool {

/// From here on SIGINT, SIGTERM and SIGHUP are met by a thread that waits for nothing else: it removes what
/// is unfinished and ends the process with 128 and the signal's number, whatever the others are doing. A
/// signal that the process was started to ignore stays ignored. To be called before any other thread is made.
void CatchInterrupts();

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_INTERRUPT_H
