#ifndef TESSELU_SRC_PLATFORM_PLATFORM_H
#define TESSELU_SRC_PLATFORM_PLATFORM_H

#include <cstddef>

namespace Zan {

class ProcessorProbe;

// What each platform provides. Its files are the only ones that call the operating system.

/// The processor and the operating system that we run on. Lives as long as the process; may be asked while
/// the library is being loaded.
const ProcessorProbe& SystemProcessorProbe() noexcept;

/// The size of the last-level cache that one processor reaches, or 0 if it cannot be found out.
std::size_t LastLevelCacheBytes() noexcept;

}  // namespace Zan

#endif  // TESSELU_SRC_PLATFORM_PLATFORM_H
