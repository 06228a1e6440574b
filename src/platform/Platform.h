#ifndef TESSELU_SRC_PLATFORM_PLATFORM_H
#define TESSELU_SRC_PLATFORM_PLATFORM_H

#include <cstddef>

struct _SECURITY_ATTRIBUTES;

namespace Zan {

class ProcessorProbe;

// What each platform provides. Its files are the only ones that call the operating system.

/// The processor and the operating system that we run on. Lives as long as the process; may be asked while
/// the library is being loaded.
const ProcessorProbe& SystemProcessorProbe() noexcept;

/// The size of the last-level cache that one processor reaches, or 0 if it cannot be found out.
std::size_t LastLevelCacheBytes() noexcept;

/// Events by their handles, which count how often they are shared. `MakeEvent` returns null when there is
/// none to be had, and the others take null for an event that is always signalled.
void* MakeEvent(_SECURITY_ATTRIBUTES* attributes, bool isManual, bool isSignalled,
                const unsigned short* name) noexcept;
void* ShareEvent(void* handle) noexcept;
void CloseEvent(void* handle) noexcept;
void SignalEvent(void* handle) noexcept;
void ResetEvent(void* handle) noexcept;
void WaitForEvent(void* handle) noexcept;

/// What a thread of ours does first: it stays on processor `number`, if there is one for us, and leaves the
/// signals of the process to the threads of the host.
void SettleWorkerThread(std::size_t number) noexcept;

/// Hands a text for developers to whoever listens: the debugger, or the standard error stream.
void WriteDebugText(const char* text) noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_PLATFORM_PLATFORM_H
