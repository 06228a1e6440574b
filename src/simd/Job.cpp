#include "simd/Job.h"

#include "platform/Platform.h"

namespace Zan::simd {
namespace {

constexpr std::size_t kAlwaysFits = std::size_t{1} << 18;
std::atomic<bool> forced{false};

}  // namespace

namespace detail {

constinit std::atomic<std::size_t> alwaysFits{kAlwaysFits};

bool ExceedsLastLevelCache(std::size_t bytes) noexcept {
    if (forced.load(std::memory_order_relaxed)) [[unlikely]] {
        return true;
    }
    static const std::size_t cache = LastLevelCacheBytes();
    return cache != 0 && bytes > cache / 2;
}

}  // namespace detail

void ForceStreaming(int mode) noexcept {
    forced.store(mode == 1, std::memory_order_relaxed);
    detail::alwaysFits.store(mode == 1 ? 0 : mode == 0 ? SIZE_MAX : kAlwaysFits, std::memory_order_relaxed);
}

}  // namespace Zan::simd
