#include <unistd.h>
#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "platform/Platform.h"

namespace Zan {
namespace {

#if defined(__x86_64__) || defined(__i386__)
// Leaves 4 (Intel) and 0x8000001D (AMD) list the caches in the same form. Old processors answer other leaves
// in place of an unknown one, so each is asked only where it exists.
std::size_t LargestCacheInLeaf(unsigned leaf) {
    std::size_t best = 0;
    unsigned bestLevel = 0;
    for (unsigned index = 0; index < 16; ++index) {
        unsigned eax = 0;
        unsigned ebx = 0;
        unsigned ecx = 0;
        unsigned edx = 0;
        if (!__get_cpuid_count(leaf, index, &eax, &ebx, &ecx, &edx) || (eax & 0x1F) == 0) {
            break;
        }
        const unsigned kind = eax & 0x1F;
        const unsigned level = (eax >> 5) & 7;
        const bool holdsData = kind == 1 || kind == 3;
        if (holdsData && level > bestLevel) {
            const std::uint64_t ways = ((ebx >> 22) & 0x3FF) + std::uint64_t{1};
            const std::uint64_t partitions = ((ebx >> 12) & 0x3FF) + std::uint64_t{1};
            const std::uint64_t lineBytes = (ebx & 0xFFF) + std::uint64_t{1};
            const std::uint64_t sets = ecx + std::uint64_t{1};
            best = static_cast<std::size_t>(ways * partitions * lineBytes * sets);
            bestLevel = level;
        }
    }
    return best;
}

std::size_t CacheFromProcessor() {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    constexpr unsigned kTopologyExtensions = 1U << 22;
    if (__get_cpuid(0x80000001U, &eax, &ebx, &ecx, &edx) && (ecx & kTopologyExtensions) != 0) {
        if (const std::size_t bytes = LargestCacheInLeaf(0x8000001DU)) {
            return bytes;
        }
    }
    return LargestCacheInLeaf(4);
}
#else
std::size_t CacheFromProcessor() {
    return 0;
}
#endif

std::size_t CacheFromLibrary() {
#if defined(_SC_LEVEL3_CACHE_SIZE) && defined(_SC_LEVEL2_CACHE_SIZE)
    for (const int level : {_SC_LEVEL3_CACHE_SIZE, _SC_LEVEL2_CACHE_SIZE}) {
        const long bytes = ::sysconf(level);
        if (bytes > 0) {
            return static_cast<std::size_t>(bytes);
        }
    }
#endif
    return 0;
}

std::size_t CacheFromKernel() {
    std::size_t best = 0;
    for (int index = 0; index < 8; ++index) {
        char path[80];
        std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu0/cache/index%d/size", index);
        std::FILE* const file = std::fopen(path, "r");
        if (!file) {
            break;
        }
        unsigned long size = 0;
        char unit = 0;
        const int fields = std::fscanf(file, "%lu%c", &size, &unit);
        std::fclose(file);
        if (fields >= 1) {
            const std::size_t scale = unit == 'K' ? 1024U : unit == 'M' ? 1024U * 1024U : 1U;
            best = std::max(best, std::size_t{size} * scale);
        }
    }
    return best;
}

}  // namespace

std::size_t LastLevelCacheBytes() noexcept {
    static const std::size_t bytes = [] {
        for (const auto source : {CacheFromProcessor, CacheFromLibrary, CacheFromKernel}) {
            if (const std::size_t found = source()) {
                return found;
            }
        }
        return std::size_t{0};
    }();
    return bytes;
}

}  // namespace Zan
