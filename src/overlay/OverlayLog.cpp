#include "overlay/OverlayLog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "platform/Platform.h"

namespace Zan {
namespace {

constinit std::mutex logMutex;
char text[kLogBytes];

}  // namespace

void WriteOverlayLog(int, const char* format, ...) noexcept {
    const std::lock_guard lock(logMutex);
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    WriteDebugText(text);
}

}  // namespace Zan
