#ifndef TESSELU_SRC_OVERLAY_OVERLAYLOG_H
#define TESSELU_SRC_OVERLAY_OVERLAYLOG_H

#include <cstddef>

// The one switch of the log: 1 where messages are wanted (a program of the tests).
#ifndef TESSELU_OVERLAY_LOG
#define TESSELU_OVERLAY_LOG 0
#endif

namespace Zan {

inline constexpr bool kOverlayLogs = TESSELU_OVERLAY_LOG != 0;

/// Refusals and what surprises; everything else.
inline constexpr int kLogWarning = 2, kLogTrace = 4;

/// Bytes of a message with its terminator; longer ones are cut.
inline constexpr std::size_t kLogBytes = 2048;

#if defined(__GNUC__)
__attribute__((format(printf, 2, 3)))
#endif
void WriteOverlayLog(int level, const char* format, ...) noexcept;

/// A text that a family of renderers does not have is null.
template <class... Arguments>
void Log([[maybe_unused]] int level, [[maybe_unused]] const char* format,
         [[maybe_unused]] Arguments... arguments) noexcept {
    if constexpr (kOverlayLogs) {
        if (format != nullptr) {
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#endif
            WriteOverlayLog(level, format, arguments...);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
        }
    }
}

}  // namespace Zan

#endif  // TESSELU_SRC_OVERLAY_OVERLAYLOG_H
