#include <cstdio>

#include "platform/Platform.h"

namespace Zan {

void WriteDebugText(const char* text) noexcept {
    std::fputs(text, stderr);
}

}  // namespace Zan
