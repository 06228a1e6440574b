#include "simd/Targets.h"

#include <atomic>
#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define TESSELU_X86 1
#else
#define TESSELU_X86 0
#endif

namespace Zan::simd {
namespace {

#if TESSELU_X86

struct Registers {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers Leaf(unsigned leaf, unsigned subleaf = 0) {
    Registers r;
    if (__get_cpuid_count(leaf, subleaf, &r.eax, &r.ebx, &r.ecx, &r.edx) == 0) {
        return Registers{};
    }
    return r;
}

// The register states that the operating system saves. Only to be asked when CPUID reports OSXSAVE.
std::uint32_t SavedStates() {
    std::uint32_t low = 0, high = 0;
    __asm__ volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

constexpr bool All(std::uint32_t word, std::uint32_t bits) {
    return (word & bits) == bits;
}
constexpr std::uint32_t Bit(int n) {
    return std::uint32_t{1} << n;
}

// The bits are those that Highway's targets of the same name are compiled with.
Target Detect() {
    const Registers one = Leaf(1);
    if (!All(one.edx, Bit(25) | Bit(26)) || !All(one.ecx, Bit(0) | Bit(9))) {
        return kPortable;
    }
    const Registers seven = Leaf(7), extended = Leaf(0x80000001U);
    const bool sse4 = All(one.ecx, Bit(19) | Bit(20) | Bit(1) | Bit(25));
    const bool osSavesAVX = All(one.ecx, Bit(27)) && All(SavedStates(), 0x6);
    const bool avx2 = osSavesAVX && sse4 && All(one.ecx, Bit(28) | Bit(12) | Bit(29)) &&
                      All(seven.ebx, Bit(5) | Bit(3) | Bit(8)) && All(extended.ecx, Bit(5));
#ifdef TESSELU_LEAST_TARGETS
    constexpr bool kHasMore = false;
#else
    constexpr bool kHasMore = sizeof(void*) != 4;
#endif
    // Kernels have no bodies above SSSE3 on 32-bit x86.
    if (!avx2 || !kHasMore) {
        return kSSSE3;
    }
    const bool avx512 =
        All(SavedStates(), 0xE6) && All(seven.ebx, Bit(16) | Bit(17) | Bit(28) | Bit(30) | Bit(31));
    if (!avx512) {
        return kAVX2;
    }
    // VBMI and VNNI.
    return All(seven.ecx, Bit(1) | Bit(11)) ? kAVX512DL : kAVX512;
}

#elif defined(__aarch64__)
Target Detect() {
    return kNEON;
}
#else
Target Detect() {
    return kPortable;
}
#endif

std::atomic<int> current{-1};

}  // namespace

Target BestTarget() noexcept {
    static const Target best = Detect();
    return best;
}

Target CurrentTarget() noexcept {
    const int value = current.load(std::memory_order_relaxed);
    if (value >= 0) [[likely]] {
        return static_cast<Target>(value);
    }
    const Target best = BestTarget();
    current.store(static_cast<int>(best), std::memory_order_relaxed);
    return best;
}

bool IsTargetAvailable(Target target) noexcept {
    const Target best = BestTarget();
    return best == kNEON ? target == kNEON || target == kPortable : target <= best;
}

void LimitTarget(Target target) noexcept {
    current.store(static_cast<int>(IsTargetAvailable(target) ? target : BestTarget()),
                  std::memory_order_relaxed);
}

const char* TargetName(Target target) noexcept {
    static constexpr const char* names[kTargetCount] = {"portable", "SSSE3",      "AVX2",
                                                        "AVX-512",  "AVX-512-DL", "NEON"};
    return target < kTargetCount ? names[target] : "?";
}

}  // namespace Zan::simd
