#include "simd/LongRuns.h"

#include <cstring>

#include "simd/Targets.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace Zan::simd {

namespace {

constexpr std::size_t kLeastPicture = std::size_t{1} << 20;

// "Enhanced rep movsb and stosb": without it the string instructions are slower than vectors.
bool HasFastStrings() noexcept {
#if defined(__x86_64__) || defined(__i386__)
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & (1U << 9)) != 0;
#else
    return false;
#endif
}

}  // namespace

bool LongRunsPay(std::size_t bytes) noexcept {
    static const bool fast = HasFastStrings();
    return fast && bytes >= kLeastPicture && CurrentTarget() != kPortable;
}

void CopyLongRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) noexcept {
#if defined(__x86_64__) || defined(__i386__)
    __asm__ volatile("rep movsb" : "+D"(to), "+S"(from), "+c"(bytes) : : "memory");
#else
    std::memcpy(to, from, bytes);
#endif
}

void FillLongRun(std::uint8_t* to, std::size_t bytes, std::uint32_t pattern) noexcept {
#if defined(__x86_64__) || defined(__i386__)
    std::size_t words = bytes / 4;
    __asm__ volatile("rep stosl" : "+D"(to), "+c"(words) : "a"(pattern) : "memory");
    bytes %= 4;
#endif
    for (std::size_t i = 0; i < bytes; ++i)
        to[i] = static_cast<std::uint8_t>(pattern >> (8 * (i % 4)));
}

}  // namespace Zan::simd
