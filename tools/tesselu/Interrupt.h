#ifndef TESSELU_TOOLS_INTERRUPT_H
#define TESSELU_TOOLS_INTERRUPT_H

namespace tool {

/// From here on SIGINT, SIGTERM and SIGHUP only leave a mark, so that unfinished outputs can be removed.
void CatchInterrupts();

bool WasInterrupted() noexcept;

/// Throws `Interrupted` once a signal has come. To be called between pictures.
void StopIfInterrupted();

}  // namespace tool

#endif  // TESSELU_TOOLS_INTERRUPT_H
