#include "simd/LongRuns.h"

#include <algorithm>
#include <cstring>

#include "simd/Targets.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif
#ifdef __SSE2__
#include <emmintrin.h>
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

#ifdef __SSE2__
void CopyAroundCache(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes) noexcept {
    constexpr std::size_t kLine = 64, kVector = sizeof(__m128i), kVectors = kLine / kVector;
    const std::size_t head = std::min(bytes, -reinterpret_cast<std::uintptr_t>(to) % kLine);
    std::memcpy(to, from, head);
    std::size_t done = head;
    for (; done + kLine <= bytes; done += kLine) {
        __m128i line[kVectors];
        for (std::size_t i = 0; i < kVectors; ++i)
            line[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done + i * kVector));
        for (std::size_t i = 0; i < kVectors; ++i)
            _mm_stream_si128(reinterpret_cast<__m128i*>(to + done + i * kVector), line[i]);
    }
    _mm_sfence();
    std::memcpy(to + done, from + done, bytes - done);
}
#endif

}  // namespace

bool LongRunsPay(std::size_t bytes) noexcept {
    static const bool fast = HasFastStrings();
    return fast && bytes >= kLeastPicture && CurrentTarget() != kPortable;
}

void CopyLongRun(std::uint8_t* to, const std::uint8_t* from, std::size_t bytes,
                 [[maybe_unused]] bool aroundCache) noexcept {
#ifdef __SSE2__
    if (aroundCache) {
        CopyAroundCache(to, from, bytes);
        return;
    }
#endif
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
