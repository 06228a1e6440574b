#include "simd/Job.h"

#include <atomic>

#include "platform/Platform.h"

namespace Zan::simd {
namespace {

std::atomic<int> forced{-1};

}  // namespace

bool ExceedsCache(std::size_t bytes) noexcept {
    const int mode = forced.load(std::memory_order_relaxed);
    if (mode >= 0) [[unlikely]] {
        return mode != 0;
    }
    // Smaller than every last-level cache: spares the question.
    constexpr std::size_t kAlwaysFits = std::size_t{1} << 18;
    if (bytes <= kAlwaysFits) {
        return false;
    }
    static const std::size_t cache = LastLevelCacheBytes();
    return cache != 0 && bytes > cache / 2;
}

void ForceStreaming(int mode) noexcept {
    forced.store(mode, std::memory_order_relaxed);
}

}  // namespace Zan::simd
